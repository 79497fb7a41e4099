#include "platform/x11/X11StatusTray.h"

#include "extras/Logging.h"
#include "platform/x11/XSettings.h"

#include <QSocketNotifier>
#include <QWindow>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

namespace kelp {

namespace {
constexpr uint32_t kRequestDock = 0;  // SYSTEM_TRAY_REQUEST_DOCK
constexpr uint32_t kXembedMapped = 1; // XEMBED_MAPPED

xcb_atom_t intern(xcb_connection_t *c, const QByteArray &name)
{
    auto *reply = xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 0, uint16_t(name.size()), name.constData()), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return atom;
}
} // namespace

struct X11StatusTray::Connection
{
    xcb_connection_t *conn = nullptr;
    xcb_window_t root = 0;
    xcb_atom_t selection = 0, opcode = 0, manager = 0, xembedInfo = 0, colours = 0;
    xcb_window_t owner = 0;
    xcb_window_t docked = 0; // the icon window handed to the tray

    ~Connection()
    {
        if (conn) xcb_disconnect(conn);
    }
};

X11StatusTray::X11StatusTray(const QByteArray &displayName, QObject *parent)
    : StatusTray(parent), _x(std::make_unique<Connection>())
{
    int screenNumber = 0;
    _x->conn =
        xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screenNumber);
    if (xcb_connection_has_error(_x->conn)) {
        qCWarning(lcTriggers) << "No X connection for the tray";
        return;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(_x->conn));
    for (int i = 0; i < screenNumber && it.rem; ++i)
        xcb_screen_next(&it);
    _x->root = it.data->root;
    _x->selection = intern(_x->conn, "_NET_SYSTEM_TRAY_S" + QByteArray::number(screenNumber));
    _x->opcode = intern(_x->conn, "_NET_SYSTEM_TRAY_OPCODE");
    _x->manager = intern(_x->conn, "MANAGER");
    _x->xembedInfo = intern(_x->conn, "_XEMBED_INFO");
    _x->colours = intern(_x->conn, "_NET_SYSTEM_TRAY_COLORS");
    // A tray starting announces itself to the root window's structure listeners.
    const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(_x->conn, _x->root, XCB_CW_EVENT_MASK, &mask);
    watchOwner();
    xcb_flush(_x->conn);
    _notifier = new QSocketNotifier(xcb_get_file_descriptor(_x->conn), QSocketNotifier::Read, this);
    connect(_notifier, &QSocketNotifier::activated, this, &X11StatusTray::readEvents);
    _xsettings = new X11XSettingsWatch(displayName, this, X11XSettingsWatch::DarkMode);
    connect(_xsettings, &X11XSettingsWatch::darkModeChanged, this, &StatusTray::appearanceChanged);
}

X11StatusTray::~X11StatusTray() = default;

bool X11StatusTray::isConnected() const
{
    return _x->conn && !xcb_connection_has_error(_x->conn);
}

quint32 X11StatusTray::trayOwner() const
{
    if (!isConnected() || !_x->selection) return 0;
    auto *reply = xcb_get_selection_owner_reply(
        _x->conn, xcb_get_selection_owner(_x->conn, _x->selection), nullptr);
    const xcb_window_t owner = reply ? reply->owner : 0;
    std::free(reply);
    return owner;
}

void X11StatusTray::watchOwner()
{
    _x->owner = trayOwner();
    if (!_x->owner) return;
    // The tray's window going away is the tray going away; its properties hold its colours.
    const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(_x->conn, _x->owner, XCB_CW_EVENT_MASK, &mask);
}

bool X11StatusTray::isAvailable() const
{
    return trayOwner() != 0;
}

void X11StatusTray::prepare(QWindow *window)
{
    if (!isConnected() || !window) return;
    const uint32_t info[] = {0, kXembedMapped}; // XEmbed version 0, mapped once embedded
    xcb_change_property(_x->conn, XCB_PROP_MODE_REPLACE, xcb_window_t(window->winId()),
                        _x->xembedInfo, _x->xembedInfo, 32, 2, info);
    xcb_flush(_x->conn);
}

bool X11StatusTray::dock(QWindow *window)
{
    const xcb_window_t owner = trayOwner();
    if (!owner || !window) return false;
    // The tray reparents and maps the window; Kelp hears of it to draw the icon there.
    _x->docked = xcb_window_t(window->winId());
    const uint32_t structure = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(_x->conn, _x->docked, XCB_CW_EVENT_MASK, &structure);
    xcb_client_message_event_t message;
    std::memset(&message, 0, sizeof(message));
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = owner;
    message.type = _x->opcode;
    message.data.data32[0] = XCB_CURRENT_TIME;
    message.data.data32[1] = kRequestDock;
    message.data.data32[2] = uint32_t(window->winId());
    xcb_send_event(_x->conn, 0, owner, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char *>(&message));
    xcb_flush(_x->conn);
    return true;
}

std::optional<QColor> X11StatusTray::foreground() const
{
    const xcb_window_t owner = trayOwner();
    if (!owner || !_x->colours) return std::nullopt;
    auto *reply = xcb_get_property_reply(
        _x->conn, xcb_get_property(_x->conn, 0, owner, _x->colours, XCB_ATOM_CARDINAL, 0, 12),
        nullptr);
    std::optional<QColor> colour;
    if (reply && reply->format == 32 && xcb_get_property_value_length(reply) >= 12) {
        const auto *v = static_cast<const uint32_t *>(xcb_get_property_value(reply));
        colour = QColor::fromRgba64(quint16(v[0]), quint16(v[1]), quint16(v[2]));
    }
    std::free(reply);
    return colour;
}

std::optional<bool> X11StatusTray::darkDesktop() const
{
    return _xsettings ? _xsettings->darkMode() : std::nullopt;
}

void X11StatusTray::readEvents()
{
    if (!isConnected()) {
        if (!_lostLogged) qCWarning(lcTriggers) << "The tray's X connection was lost";
        _lostLogged = true;
        _notifier->setEnabled(false);
        return;
    }
    bool changed = false;
    bool colours = false;
    bool embedded = false;
    while (xcb_generic_event_t *event = xcb_poll_for_event(_x->conn)) {
        const uint8_t type = event->response_type & 0x7f;
        if (type == XCB_CLIENT_MESSAGE) {
            auto *message = reinterpret_cast<xcb_client_message_event_t *>(event);
            if (message->type == _x->manager && message->data.data32[1] == _x->selection)
                changed = true;
        } else if (type == XCB_DESTROY_NOTIFY) {
            if (reinterpret_cast<xcb_destroy_notify_event_t *>(event)->window == _x->owner)
                changed = true;
        } else if (type == XCB_MAP_NOTIFY) {
            embedded =
                embedded || reinterpret_cast<xcb_map_notify_event_t *>(event)->window == _x->docked;
        } else if (type == XCB_REPARENT_NOTIFY) {
            embedded = embedded ||
                       reinterpret_cast<xcb_reparent_notify_event_t *>(event)->window == _x->docked;
        } else if (type == XCB_PROPERTY_NOTIFY) {
            auto *property = reinterpret_cast<xcb_property_notify_event_t *>(event);
            colours = colours || (property->window == _x->owner && property->atom == _x->colours);
        }
        std::free(event);
    }
    if (colours) Q_EMIT appearanceChanged();
    if (embedded) Q_EMIT windowEmbedded();
    if (!changed) return;
    watchOwner();
    xcb_flush(_x->conn);
    Q_EMIT availabilityChanged(_x->owner != 0);
}

} // namespace kelp
