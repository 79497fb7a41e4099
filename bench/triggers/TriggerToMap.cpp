// trigger-to-map: works a trigger of a running launcher through XTEST, as a keyboard or a pointer
// would, and prints the milliseconds from the trigger to the X server mapping the launcher's
// window (WM_CLASS), once per round; after each round it works the trigger again to close the
// window and waits for it to go.
//   trigger-to-map --class NAME --key    [--rounds N]   Control-Tab pressed and released
//   trigger-to-map --class NAME --corner [--rounds N]   the pointer jumped into the top-left corner
// Between rounds the pointer rests in the middle of the screen.
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

#include <X11/keysym.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>

namespace {

using Clock = std::chrono::steady_clock;

struct X
{
    xcb_connection_t *c = nullptr;
    xcb_screen_t *screen = nullptr;
    std::string wanted;
};

bool hasClass(const X &x, xcb_window_t w, int depth = 0)
{
    auto *prop = xcb_get_property_reply(
        x.c, xcb_get_property(x.c, 0, w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256), nullptr);
    bool found = false;
    if (prop) {
        const char *value = static_cast<const char *>(xcb_get_property_value(prop));
        const int length = xcb_get_property_value_length(prop);
        const size_t first = strnlen(value, static_cast<size_t>(length));
        found = std::string(value, first) == x.wanted;
        if (!found && static_cast<int>(first) + 1 < length)
            found = std::string(value + first + 1,
                                strnlen(value + first + 1,
                                        static_cast<size_t>(length) - first - 1)) == x.wanted;
        std::free(prop);
    }
    if (found || depth > 2) return found;
    auto *tree = xcb_query_tree_reply(x.c, xcb_query_tree(x.c, w), nullptr);
    if (!tree) return false;
    const xcb_window_t *children = xcb_query_tree_children(tree);
    for (int i = 0; i < xcb_query_tree_children_length(tree) && !found; ++i)
        found = hasClass(x, children[i], depth + 1);
    std::free(tree);
    return found;
}

// Waits for a map (or unmap) of a window of the class; the time it came, or none after 10 s.
bool waitFor(const X &x, uint8_t type, Clock::time_point *at)
{
    const auto start = Clock::now();
    while (Clock::now() - start < std::chrono::seconds(10)) {
        pollfd p{xcb_get_file_descriptor(x.c), POLLIN, 0};
        poll(&p, 1, 100);
        while (xcb_generic_event_t *e = xcb_poll_for_event(x.c)) {
            const auto now = Clock::now();
            bool match = false;
            if ((e->response_type & 0x7f) == type) {
                const xcb_window_t w =
                    type == XCB_MAP_NOTIFY
                        ? reinterpret_cast<xcb_map_notify_event_t *>(e)->window
                        : reinterpret_cast<xcb_unmap_notify_event_t *>(e)->window;
                match = hasClass(x, w);
            }
            std::free(e);
            if (match) {
                if (at) *at = now;
                return true;
            }
        }
        if (xcb_connection_has_error(x.c)) return false;
    }
    return false;
}

void moveTo(const X &x, int px, int py)
{
    xcb_test_fake_input(x.c, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, x.screen->root, int16_t(px),
                        int16_t(py), 0);
    xcb_flush(x.c);
}

} // namespace

int main(int argc, char **argv)
{
    X x;
    bool key = false, corner = false;
    int rounds = 10;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--class") && i + 1 < argc)
            x.wanted = argv[++i];
        else if (!std::strcmp(argv[i], "--rounds") && i + 1 < argc)
            rounds = std::atoi(argv[++i]);
        else if (!std::strcmp(argv[i], "--key"))
            key = true;
        else if (!std::strcmp(argv[i], "--corner"))
            corner = true;
    }
    if (x.wanted.empty() || key == corner || rounds < 1) {
        std::fputs("usage: trigger-to-map --class NAME (--key | --corner) [--rounds N]\n", stderr);
        return 2;
    }
    x.c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(x.c)) {
        std::fputs("trigger-to-map: no X display\n", stderr);
        return 1;
    }
    x.screen = xcb_setup_roots_iterator(xcb_get_setup(x.c)).data;
    const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(x.c, x.screen->root, XCB_CW_EVENT_MASK, &mask);

    xcb_key_symbols_t *symbols = xcb_key_symbols_alloc(x.c);
    xcb_keycode_t *control = xcb_key_symbols_get_keycode(symbols, XK_Control_L);
    xcb_keycode_t *tab = xcb_key_symbols_get_keycode(symbols, XK_Tab);
    auto pressHotKey = [&] {
        for (uint8_t type : {XCB_KEY_PRESS, XCB_KEY_RELEASE}) {
            if (type == XCB_KEY_PRESS)
                xcb_test_fake_input(x.c, type, control[0], XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
            xcb_test_fake_input(x.c, type, tab[0], XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
            if (type == XCB_KEY_RELEASE)
                xcb_test_fake_input(x.c, type, control[0], XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        }
        xcb_flush(x.c);
    };
    const int midX = x.screen->width_in_pixels / 2, midY = x.screen->height_in_pixels / 2;
    auto pause = [](int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); };

    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        moveTo(x, midX, midY);
        pause(600);
        // Events from before the trigger do not count.
        while (xcb_generic_event_t *e = xcb_poll_for_event(x.c))
            std::free(e);
        const auto start = Clock::now();
        if (key)
            pressHotKey();
        else
            moveTo(x, 0, 0);
        Clock::time_point mapped;
        if (!waitFor(x, XCB_MAP_NOTIFY, &mapped)) {
            std::fprintf(stderr, "trigger-to-map: round %d: no window of that class mapped\n",
                         round + 1);
            return 1;
        }
        times.push_back(std::chrono::duration<double, std::milli>(mapped - start).count());
        // Closed again the same way: the key once more, or out of the corner and back in.
        pause(400);
        if (key) {
            pressHotKey();
        } else {
            moveTo(x, midX, midY);
            pause(400);
            moveTo(x, 0, 0);
        }
        waitFor(x, XCB_UNMAP_NOTIFY, nullptr);
    }
    moveTo(x, midX, midY);
    std::free(control);
    std::free(tab);
    xcb_key_symbols_free(symbols);
    xcb_disconnect(x.c);

    std::sort(times.begin(), times.end());
    std::printf("median %.1f ms, best %.1f ms, worst %.1f ms (%zu rounds)\n",
                times[(times.size() - 1) / 2], times.front(), times.back(), times.size());
    return 0;
}
