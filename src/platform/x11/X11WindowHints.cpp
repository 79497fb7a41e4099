#include "platform/x11/X11WindowHints.h"

#include "extras/Logging.h"

#include <QGuiApplication>
#include <QWindow>
#include <QtGui/qguiapplication_platform.h>

#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>

#include <cstdlib>
#include <vector>

namespace kelp {

namespace {
constexpr quint32 kAllDesktops = 0xFFFFFFFF;
}

struct X11WindowHints::Private
{
    xcb_connection_t *connection = nullptr;
    xcb_ewmh_connection_t ewmh{};
    bool ready = false;

    // Adds or removes atoms in a window's _NET_WM_STATE, both as the property (read by the window
    // manager when the window is mapped) and as a request (for a window already managed).
    void changeState(xcb_window_t window, bool add, xcb_atom_t first, xcb_atom_t second)
    {
        std::vector<xcb_atom_t> atoms;
        xcb_get_property_cookie_t cookie = xcb_ewmh_get_wm_state(&ewmh, window);
        xcb_ewmh_get_atoms_reply_t reply;
        if (xcb_ewmh_get_wm_state_reply(&ewmh, cookie, &reply, nullptr)) {
            atoms.assign(reply.atoms, reply.atoms + reply.atoms_len);
            xcb_ewmh_get_atoms_reply_wipe(&reply);
        }
        for (xcb_atom_t atom : {first, second}) {
            if (atom == XCB_ATOM_NONE) continue;
            std::erase(atoms, atom);
            if (add) atoms.push_back(atom);
        }
        xcb_ewmh_set_wm_state(&ewmh, window, uint32_t(atoms.size()), atoms.data());
        xcb_ewmh_request_change_wm_state(&ewmh, 0, window,
                                         add ? XCB_EWMH_WM_STATE_ADD : XCB_EWMH_WM_STATE_REMOVE,
                                         first, second, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
        xcb_flush(connection);
    }
};

X11WindowHints::X11WindowHints() : d(std::make_unique<Private>())
{
    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    d->connection = x11 ? x11->connection() : nullptr;
    if (!d->connection) {
        qCInfo(lcPlatform) << "No X11 connection: window manager hints are off";
        return;
    }
    xcb_intern_atom_cookie_t *cookies = xcb_ewmh_init_atoms(d->connection, &d->ewmh);
    d->ready = xcb_ewmh_init_atoms_replies(&d->ewmh, cookies, nullptr) != 0;
    if (!d->ready) qCWarning(lcPlatform) << "Could not read the EWMH atoms: hints are off";
}

X11WindowHints::~X11WindowHints()
{
    if (d->ready) xcb_ewmh_connection_wipe(&d->ewmh);
}

bool X11WindowHints::isConnected() const
{
    return d->ready;
}

void X11WindowHints::setOnAllDesktops(QWindow *window)
{
    if (!d->ready || !window) return;
    const auto id = xcb_window_t(window->winId());
    xcb_ewmh_set_wm_desktop(&d->ewmh, id, kAllDesktops);
    xcb_ewmh_request_change_wm_desktop(&d->ewmh, 0, id, kAllDesktops,
                                       XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
    xcb_flush(d->connection);
}

void X11WindowHints::setSkipTaskbar(QWindow *window, bool skip)
{
    if (!d->ready || !window) return;
    d->changeState(xcb_window_t(window->winId()), skip, d->ewmh._NET_WM_STATE_SKIP_TASKBAR,
                   d->ewmh._NET_WM_STATE_SKIP_PAGER);
}

void X11WindowHints::setKeepAbove(QWindow *window, bool above)
{
    if (!d->ready || !window) return;
    d->changeState(xcb_window_t(window->winId()), above, d->ewmh._NET_WM_STATE_ABOVE,
                   XCB_ATOM_NONE);
}

} // namespace kelp
