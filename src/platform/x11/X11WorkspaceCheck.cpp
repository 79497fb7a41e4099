#include "platform/x11/X11WorkspaceCheck.h"

#include <QWindow>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

namespace kelp {

namespace {

std::optional<uint32_t> cardinal(xcb_connection_t *c, xcb_window_t window, const char *name)
{
    auto *atom =
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 1, uint16_t(std::strlen(name)), name), nullptr);
    std::optional<uint32_t> value;
    if (atom && atom->atom != XCB_ATOM_NONE) {
        auto *reply = xcb_get_property_reply(
            c, xcb_get_property(c, 0, window, atom->atom, XCB_ATOM_CARDINAL, 0, 1), nullptr);
        if (reply && reply->format == 32 && xcb_get_property_value_length(reply) == 4)
            value = *static_cast<const uint32_t *>(xcb_get_property_value(reply));
        std::free(reply);
    }
    std::free(atom);
    return value;
}

} // namespace

std::optional<bool> X11WorkspaceCheck::isOnAllWorkspaces(QWindow *window)
{
    if (!window) return std::nullopt;
    int screenNumber = 0;
    xcb_connection_t *c = xcb_connect(nullptr, &screenNumber);
    std::optional<bool> answer;
    if (!xcb_connection_has_error(c)) {
        xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(c));
        for (int i = 0; i < screenNumber && it.rem; ++i)
            xcb_screen_next(&it);
        const auto count = cardinal(c, it.data->root, "_NET_NUMBER_OF_DESKTOPS");
        const auto desktop = cardinal(c, xcb_window_t(window->winId()), "_NET_WM_DESKTOP");
        if (count && *count > 1 && desktop) answer = *desktop == 0xFFFFFFFFu;
    }
    xcb_disconnect(c);
    return answer;
}

} // namespace kelp
