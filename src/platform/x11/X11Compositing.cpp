#include "platform/x11/X11Compositing.h"

#include "extras/Logging.h"

#include <QSocketNotifier>

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstdlib>

namespace kelp {

struct X11Compositing::Connection
{
    xcb_connection_t *conn = nullptr;
    xcb_window_t root = XCB_NONE;
    xcb_atom_t selection = XCB_NONE;
    uint8_t xfixesFirstEvent = 0;

    ~Connection()
    {
        if (conn) xcb_disconnect(conn);
    }
};

X11Compositing::X11Compositing(const QByteArray &displayName, QObject *parent)
    : Compositing(parent), _x(std::make_unique<Connection>())
{
    int screen = 0;
    _x->conn = xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screen);
    if (!_x->conn || xcb_connection_has_error(_x->conn)) {
        qCInfo(lcPlatform) << "No X display to watch for a compositor";
        return;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(_x->conn));
    for (int i = 0; i < screen && it.rem; ++i)
        xcb_screen_next(&it);
    if (!it.rem) return;
    _x->root = it.data->root;

    const xcb_query_extension_reply_t *xfixes = xcb_get_extension_data(_x->conn, &xcb_xfixes_id);
    if (!xfixes || !xfixes->present) {
        qCInfo(lcPlatform) << "The X server has no XFixes: the panel assumes no compositor";
        return;
    }
    _x->xfixesFirstEvent = xfixes->first_event;
    // XFixes answers only clients that said which version they speak.
    std::free(xcb_xfixes_query_version_reply(
        _x->conn, xcb_xfixes_query_version(_x->conn, XCB_XFIXES_MAJOR_VERSION, 0), nullptr));

    const QByteArray name = "_NET_WM_CM_S" + QByteArray::number(screen);
    xcb_intern_atom_reply_t *atom = xcb_intern_atom_reply(
        _x->conn, xcb_intern_atom(_x->conn, 0, uint16_t(name.size()), name.constData()), nullptr);
    if (!atom) return;
    _x->selection = atom->atom;
    std::free(atom);

    // Watch first, then ask: a compositor starting in between is seen either way.
    xcb_xfixes_select_selection_input(_x->conn, _x->root, _x->selection,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    _watching = true;
    _active = readOwner();
    qCInfo(lcPlatform) << (_active ? "A compositor draws the screen" : "No compositor");

    _notifier = new QSocketNotifier(xcb_get_file_descriptor(_x->conn), QSocketNotifier::Read, this);
    connect(_notifier, &QSocketNotifier::activated, this, &X11Compositing::readEvents);
    // Replies waited for above may have brought events into xcb's queue already.
    QMetaObject::invokeMethod(this, &X11Compositing::readEvents, Qt::QueuedConnection);
}

X11Compositing::~X11Compositing() = default;

bool X11Compositing::readOwner()
{
    xcb_get_selection_owner_reply_t *reply = xcb_get_selection_owner_reply(
        _x->conn, xcb_get_selection_owner(_x->conn, _x->selection), nullptr);
    const bool owned = reply && reply->owner != XCB_NONE;
    std::free(reply);
    return owned;
}

void X11Compositing::readEvents()
{
    if (!_watching) return;
    bool ownerChanged = false;
    do {
        ownerChanged = false;
        while (xcb_generic_event_t *event = xcb_poll_for_event(_x->conn)) {
            if ((event->response_type & 0x7f) ==
                _x->xfixesFirstEvent + XCB_XFIXES_SELECTION_NOTIFY) {
                const auto *notify = reinterpret_cast<xcb_xfixes_selection_notify_event_t *>(event);
                if (notify->selection == _x->selection) ownerChanged = true;
            }
            std::free(event);
        }
        if (ownerChanged) {
            // The event says what happened to the last owner; asking tells who owns it now.
            const bool active = readOwner();
            if (active != _active) {
                _active = active;
                qCInfo(lcPlatform) << (active ? "A compositor arrived" : "The compositor left");
                Q_EMIT activeChanged(active);
            }
        }
    } while (ownerChanged);

    if (xcb_connection_has_error(_x->conn)) stopWatching("lost the connection to the X display");
}

void X11Compositing::stopWatching(const char *why)
{
    qCWarning(lcPlatform) << "Compositor watch stopped:" << why;
    _watching = false;
    if (_notifier) _notifier->setEnabled(false);
}

} // namespace kelp
