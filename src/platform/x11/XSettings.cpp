#include "platform/x11/XSettings.h"

#include "extras/Logging.h"

#include <QSocketNotifier>
#include <QtEndian>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

namespace kelp {

// --- The property's format ----------------------------------------------------------------------

namespace {

// Reads the block front to back; every read checks the bytes left first.
struct Reader
{
    const uchar *data;
    qsizetype size;
    bool bigEndian;
    qsizetype at = 0;

    bool has(qsizetype n) const { return n >= 0 && size - at >= n; }
    bool skip(qsizetype n)
    {
        if (!has(n)) return false;
        at += n;
        return true;
    }
    bool pad4(qsizetype n) { return skip((4 - n % 4) % 4); }
    bool u8(quint8 &out)
    {
        if (!has(1)) return false;
        out = data[at++];
        return true;
    }
    bool u16(quint16 &out)
    {
        if (!has(2)) return false;
        out =
            bigEndian ? qFromBigEndian<quint16>(data + at) : qFromLittleEndian<quint16>(data + at);
        at += 2;
        return true;
    }
    bool u32(quint32 &out)
    {
        if (!has(4)) return false;
        out =
            bigEndian ? qFromBigEndian<quint32>(data + at) : qFromLittleEndian<quint32>(data + at);
        at += 4;
        return true;
    }
    bool bytes(qsizetype n, QByteArray &out)
    {
        if (!has(n)) return false;
        out = QByteArray(reinterpret_cast<const char *>(data + at), n);
        at += n;
        return pad4(n);
    }
};

} // namespace

std::optional<QHash<QString, QVariant>> parseXSettings(const QByteArray &data)
{
    Reader r{reinterpret_cast<const uchar *>(data.constData()), data.size(), false};
    quint8 order = 0;
    quint32 serial = 0;
    quint32 count = 0;
    if (!r.u8(order) || order > 1 || !r.skip(3)) return std::nullopt;
    r.bigEndian = order == 1;
    if (!r.u32(serial) || !r.u32(count)) return std::nullopt;
    QHash<QString, QVariant> settings;
    // Each setting takes at least 12 bytes: a count beyond that is a lie, not a reason to loop.
    if (count > static_cast<quint32>(data.size() / 12)) return std::nullopt;
    for (quint32 i = 0; i < count; ++i) {
        quint8 type = 0;
        quint16 nameLength = 0;
        QByteArray name;
        quint32 lastChange = 0;
        if (!r.u8(type) || !r.skip(1) || !r.u16(nameLength) || !r.bytes(nameLength, name) ||
            !r.u32(lastChange))
            return std::nullopt;
        QVariant value;
        switch (type) {
        case 0: { // integer
            quint32 v = 0;
            if (!r.u32(v)) return std::nullopt;
            value = static_cast<int>(v);
            break;
        }
        case 1: { // string
            quint32 length = 0;
            QByteArray text;
            if (!r.u32(length) || length > static_cast<quint32>(data.size()) ||
                !r.bytes(static_cast<qsizetype>(length), text))
                return std::nullopt;
            value = QString::fromUtf8(text);
            break;
        }
        case 2: { // colour: red, blue, green, alpha on the wire
            quint16 red = 0, blue = 0, green = 0, alpha = 0;
            if (!r.u16(red) || !r.u16(blue) || !r.u16(green) || !r.u16(alpha)) return std::nullopt;
            value = QVariantList{red, green, blue, alpha};
            break;
        }
        default:
            return std::nullopt;
        }
        settings.insert(QString::fromUtf8(name), value);
    }
    return settings;
}

// --- Following the manager ----------------------------------------------------------------------

namespace {

template <typename T> struct Freed
{
    T *p;
    explicit Freed(T *reply) : p(reply) {}
    ~Freed() { std::free(p); }
    Freed(const Freed &) = delete;
    Freed &operator=(const Freed &) = delete;
    T *operator->() const { return p; }
    explicit operator bool() const { return p != nullptr; }
};

// The largest settings block read: real ones are a few kilobytes.
constexpr uint32_t kLargestBlockWords = 256 * 1024;

xcb_atom_t internAtom(xcb_connection_t *c, const QByteArray &name)
{
    Freed<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 0, static_cast<uint16_t>(name.size()), name.constData()), nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

} // namespace

struct X11XSettingsWatch::Connection
{
    xcb_connection_t *conn = nullptr;
    xcb_window_t root = XCB_WINDOW_NONE;
    xcb_window_t owner = XCB_WINDOW_NONE;
    xcb_atom_t selection = XCB_ATOM_NONE;
    xcb_atom_t settings = XCB_ATOM_NONE;
    xcb_atom_t manager = XCB_ATOM_NONE;
    QSocketNotifier *notifier = nullptr;

    ~Connection()
    {
        if (conn) xcb_disconnect(conn);
    }
};

X11XSettingsWatch::X11XSettingsWatch(const QByteArray &displayName, QObject *parent, int follows)
    : QObject(parent), _x(std::make_unique<Connection>()), _follows(follows)
{
    int screen = 0;
    _x->conn = xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screen);
    if (!_x->conn || xcb_connection_has_error(_x->conn)) {
        qCInfo(lcIcons) << "No X display: the desktop's XSETTINGS are not followed";
        xcb_disconnect(_x->conn);
        _x->conn = nullptr;
        return;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(_x->conn));
    for (int i = 0; i < screen && it.rem; ++i)
        xcb_screen_next(&it);
    if (!it.rem) return;
    _x->root = it.data->root;
    _x->selection = internAtom(_x->conn, "_XSETTINGS_S" + QByteArray::number(screen));
    _x->settings = internAtom(_x->conn, "_XSETTINGS_SETTINGS");
    _x->manager = internAtom(_x->conn, "MANAGER");
    // A manager that starts announces itself with a MANAGER message to the root window.
    const uint32_t rootMask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(_x->conn, _x->root, XCB_CW_EVENT_MASK, &rootMask);
    _x->notifier =
        new QSocketNotifier(xcb_get_file_descriptor(_x->conn), QSocketNotifier::Read, this);
    connect(_x->notifier, &QSocketNotifier::activated, this, &X11XSettingsWatch::readEvents);
    findManager();
    readSettings();
    // The round trips above may have queued events the notifier cannot see.
    QMetaObject::invokeMethod(this, &X11XSettingsWatch::readEvents, Qt::QueuedConnection);
}

X11XSettingsWatch::~X11XSettingsWatch() = default;

void X11XSettingsWatch::findManager()
{
    _x->owner = XCB_WINDOW_NONE;
    if (_x->selection == XCB_ATOM_NONE) return;
    Freed<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        _x->conn, xcb_get_selection_owner(_x->conn, _x->selection), nullptr));
    if (owner && owner->owner != XCB_WINDOW_NONE) {
        _x->owner = owner->owner;
        const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(_x->conn, _x->owner, XCB_CW_EVENT_MASK, &mask);
    }
    // An owner that went away in between only makes the request fail; its successor announces
    // itself. (No server grab: a grab held by a process that stops would freeze the display.)
    xcb_flush(_x->conn);
}

std::optional<bool> darkModeFromXSettings(const QHash<QString, QVariant> &settings)
{
    const QVariant prefer = settings.value(QStringLiteral("Gtk/ApplicationPreferDarkTheme"));
    const QVariant theme = settings.value(QStringLiteral("Net/ThemeName"));
    const bool preferKnown = prefer.typeId() == QMetaType::Int;
    const bool themeKnown = theme.typeId() == QMetaType::QString;
    if (!preferKnown && !themeKnown) return std::nullopt;
    return (preferKnown && prefer.toInt() != 0) ||
           (themeKnown && theme.toString().contains(QLatin1String("dark"), Qt::CaseInsensitive));
}

void X11XSettingsWatch::readSettings()
{
    QString theme;
    std::optional<bool> dark;
    if (_x->owner != XCB_WINDOW_NONE) {
        Freed<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            _x->conn,
            xcb_get_property(_x->conn, 0, _x->owner, _x->settings, XCB_GET_PROPERTY_TYPE_ANY, 0,
                             kLargestBlockWords),
            nullptr));
        if (reply && reply->format == 8) {
            const QByteArray block(static_cast<const char *>(xcb_get_property_value(reply.p)),
                                   xcb_get_property_value_length(reply.p));
            if (const auto settings = parseXSettings(block)) {
                theme = settings->value(QStringLiteral("Net/IconThemeName")).toString().trimmed();
                dark = darkModeFromXSettings(*settings);
            } else
                qCWarning(lcIcons) << "The XSETTINGS manager published a malformed block; ignored";
        }
    }
    if (dark != _dark) {
        _dark = dark;
        if (_follows & DarkMode)
            qCInfo(lcTriggers).noquote() << "XSETTINGS dark mode:"
                                         << (!dark   ? QStringLiteral("not said")
                                             : *dark ? QStringLiteral("on")
                                                     : QStringLiteral("off"));
        Q_EMIT darkModeChanged();
    }
    if (theme == _iconTheme) return;
    _iconTheme = theme;
    if (_follows & IconTheme)
        qCInfo(lcIcons).noquote() << "XSETTINGS icon theme:"
                                  << (theme.isEmpty() ? QStringLiteral("none") : theme);
    Q_EMIT iconThemeNameChanged();
}

void X11XSettingsWatch::readEvents()
{
    if (!_x->conn) return;
    bool reread = false;
    bool refind = false;
    while (xcb_generic_event_t *event = xcb_poll_for_event(_x->conn)) {
        switch (event->response_type & 0x7f) {
        case XCB_PROPERTY_NOTIFY: {
            const auto *e = reinterpret_cast<xcb_property_notify_event_t *>(event);
            if (e->window == _x->owner && e->atom == _x->settings) reread = true;
            break;
        }
        case XCB_DESTROY_NOTIFY: {
            const auto *e = reinterpret_cast<xcb_destroy_notify_event_t *>(event);
            if (e->window == _x->owner) refind = true;
            break;
        }
        case XCB_CLIENT_MESSAGE: {
            const auto *e = reinterpret_cast<xcb_client_message_event_t *>(event);
            if (e->type == _x->manager && e->format == 32 && e->data.data32[1] == _x->selection)
                refind = true;
            break;
        }
        default:
            break;
        }
        std::free(event);
    }
    if (xcb_connection_has_error(_x->conn)) {
        qCWarning(lcIcons) << "Lost the X connection that follows XSETTINGS";
        _x->notifier->setEnabled(false);
        return;
    }
    if (refind) findManager();
    if (refind || reread) readSettings();
}

} // namespace kelp
