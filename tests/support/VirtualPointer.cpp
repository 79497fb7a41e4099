// A pointer for the Wayland tests: a zwlr_virtual_pointer_v1 on the compositor's seat, driven by
// lines on standard input, one answer line ("ok", or "error ...") each once the compositor has
// handled the request:
//
//   move X Y        to (X, Y) of the output layout, whose size is given on the command line
//   press [BUTTON]  holds a button down (a Linux button code; the left button by default)
//   release [BUTTON]
//   click [BUTTON]  press and release
//
// One long-running pointer keeps the seat's pointer capability the whole time: a device that comes
// and goes with each command would make every client drop and remake its wl_pointer.
#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"
#include <wayland-client.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iostream>
#include <sstream>
#include <string>

namespace {

constexpr uint32_t kLeftButton = 0x110; // BTN_LEFT

struct Globals
{
    wl_seat *seat = nullptr;
    zwlr_virtual_pointer_manager_v1 *manager = nullptr;
};

void onGlobal(void *data, wl_registry *registry, uint32_t name, const char *interface, uint32_t)
{
    auto *globals = static_cast<Globals *>(data);
    if (std::strcmp(interface, wl_seat_interface.name) == 0 && !globals->seat) {
        globals->seat =
            static_cast<wl_seat *>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
    } else if (std::strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name) == 0) {
        globals->manager = static_cast<zwlr_virtual_pointer_manager_v1 *>(
            wl_registry_bind(registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1));
    }
}

void onGlobalRemove(void *, wl_registry *, uint32_t) {}

const wl_registry_listener registryListener = {onGlobal, onGlobalRemove};

uint32_t now()
{
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return uint32_t(t.tv_sec * 1000 + t.tv_nsec / 1000000);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s WIDTH HEIGHT (of the output layout)\n", argv[0]);
        return 2;
    }
    const uint32_t width = uint32_t(std::stoul(argv[1]));
    const uint32_t height = uint32_t(std::stoul(argv[2]));
    wl_display *display = wl_display_connect(nullptr);
    if (!display) {
        std::fprintf(stderr, "cannot connect to the Wayland display\n");
        return 1;
    }
    Globals globals;
    wl_registry *registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registryListener, &globals);
    wl_display_roundtrip(display);
    if (!globals.manager) {
        std::fprintf(stderr, "the compositor offers no zwlr_virtual_pointer_manager_v1\n");
        return 1;
    }
    zwlr_virtual_pointer_v1 *pointer =
        zwlr_virtual_pointer_manager_v1_create_virtual_pointer(globals.manager, globals.seat);
    wl_display_roundtrip(display);

    auto button = [&](uint32_t code, bool down) {
        zwlr_virtual_pointer_v1_button(pointer, now(), code,
                                       down ? WL_POINTER_BUTTON_STATE_PRESSED
                                            : WL_POINTER_BUTTON_STATE_RELEASED);
        zwlr_virtual_pointer_v1_frame(pointer);
    };
    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream in(line);
        std::string command;
        in >> command;
        uint32_t code = kLeftButton;
        std::string error;
        if (command == "move") {
            long x = -1;
            long y = -1;
            in >> x >> y;
            if (x < 0 || y < 0 || uint32_t(x) >= width || uint32_t(y) >= height) {
                error = "outside the layout";
            } else {
                zwlr_virtual_pointer_v1_motion_absolute(pointer, now(), uint32_t(x), uint32_t(y),
                                                        width, height);
                zwlr_virtual_pointer_v1_frame(pointer);
            }
        } else if (command == "press" || command == "release" || command == "click") {
            in >> code;
            if (command != "release") button(code, true);
            if (command != "press") button(code, false);
        } else {
            error = "unknown command";
        }
        if (wl_display_roundtrip(display) < 0) {
            std::printf("error the compositor went away\n");
            return 1;
        }
        if (error.empty())
            std::printf("ok\n");
        else
            std::printf("error %s\n", error.c_str());
        std::fflush(stdout);
    }
    zwlr_virtual_pointer_v1_destroy(pointer);
    zwlr_virtual_pointer_manager_v1_destroy(globals.manager);
    wl_display_roundtrip(display);
    wl_display_disconnect(display);
    return 0;
}
