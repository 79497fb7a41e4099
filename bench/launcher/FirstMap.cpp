// first-map: starts a program and prints the milliseconds until the X server maps its first
// window of a given class (WM_CLASS), then ends the program. It times launchers from outside, the
// same way for Kelp and for any other launcher, with nothing in the program's own code.
//   first-map [--class NAME] [--hold MS] [--after-exit] -- COMMAND [ARG...]
// --after-exit keeps waiting when the program ends first: for a client that asks a running
// program (`kelp --show`) to map its window.
#include <xcb/xcb.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <csignal>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Whether the window or one of its children (a window manager's frame holds the client) has
// the class.
bool hasClass(xcb_connection_t *c, xcb_window_t w, const std::string &wanted, int depth = 0)
{
    auto *prop = xcb_get_property_reply(
        c, xcb_get_property(c, 0, w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256), nullptr);
    bool found = false;
    if (prop) {
        const char *value = static_cast<const char *>(xcb_get_property_value(prop));
        const int length = xcb_get_property_value_length(prop);
        // "instance\0class\0"
        const size_t first = strnlen(value, static_cast<size_t>(length));
        if (static_cast<int>(first) + 1 < length) {
            const std::string cls(
                value + first + 1,
                strnlen(value + first + 1, static_cast<size_t>(length) - first - 1));
            found = cls == wanted || std::string(value, first) == wanted;
        }
        std::free(prop);
    }
    if (found || depth > 2) return found;
    auto *tree = xcb_query_tree_reply(c, xcb_query_tree(c, w), nullptr);
    if (!tree) return false;
    const xcb_window_t *children = xcb_query_tree_children(tree);
    for (int i = 0; i < xcb_query_tree_children_length(tree) && !found; ++i)
        found = hasClass(c, children[i], wanted, depth + 1);
    std::free(tree);
    return found;
}

} // namespace

int main(int argc, char **argv)
{
    std::string wanted;
    int holdMs = 0;
    bool afterExit = false;
    int i = 1;
    for (; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
        if (!std::strcmp(argv[i], "--class") && i + 1 < argc)
            wanted = argv[++i];
        else if (!std::strcmp(argv[i], "--hold") && i + 1 < argc)
            holdMs = std::atoi(argv[++i]);
        else if (!std::strcmp(argv[i], "--after-exit"))
            afterExit = true;
    }
    if (i + 1 >= argc || wanted.empty()) {
        std::fputs("usage: first-map --class NAME [--hold MS] [--after-exit] -- COMMAND [ARG...]\n",
                   stderr);
        return 2;
    }
    xcb_connection_t *c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        std::fputs("first-map: no X display\n", stderr);
        return 1;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(c, root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(c);

    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        execvp(argv[i + 1], argv + i + 1);
        _exit(127);
    }
    double ms = -1;
    bool exited = false;
    while (ms < 0 && !exited) {
        if (std::chrono::steady_clock::now() - start > std::chrono::seconds(30)) break;
        pollfd p{xcb_get_file_descriptor(c), POLLIN, 0};
        poll(&p, 1, 100);
        // A program that ends without a window ends the wait too.
        if (waitpid(child, nullptr, WNOHANG) == child) exited = !afterExit;
        while (xcb_generic_event_t *e = xcb_poll_for_event(c)) {
            if ((e->response_type & 0x7f) == XCB_MAP_NOTIFY && ms < 0) {
                const auto *map = reinterpret_cast<xcb_map_notify_event_t *>(e);
                const auto at = std::chrono::steady_clock::now();
                if (hasClass(c, map->window, wanted))
                    ms = std::chrono::duration<double, std::milli>(at - start).count();
            }
            std::free(e);
        }
        if (xcb_connection_has_error(c)) break;
    }
    if (holdMs > 0) usleep(static_cast<useconds_t>(holdMs) * 1000);
    if (!exited && kill(child, 0) == 0) {
        kill(child, SIGTERM);
        waitpid(child, nullptr, 0);
    }
    xcb_disconnect(c);
    if (ms < 0) {
        std::fputs("first-map: no window of that class was mapped (in 30 s, or before the program "
                   "ended)\n",
                   stderr);
        return 1;
    }
    std::printf("%.1f\n", ms);
    return 0;
}
