#pragma once
// WaylandSession: Kelp's view of the Wayland connection Qt made. It takes the wl_display (and a
// window's wl_surface) from Qt's platform native interface, lists the compositor's globals with
// their versions once, and binds them for the Wayland parts of the desktop layer (the panel's
// layer surface, activation tokens, running applications). Binding never asks for a version
// higher than the compositor offers. Exists only when Qt runs on its "wayland" platform.
#include <QByteArray>
#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

class QScreen;
class QWindow;
struct wl_display;
struct wl_event_queue;
struct wl_interface;
struct wl_output;
struct wl_proxy;
struct wl_registry;
struct wl_seat;
struct wl_surface;

namespace kelp {

struct WaylandGlobal
{
    QByteArray interface;
    uint32_t name = 0;
    uint32_t version = 0;
};

class WaylandSession
{
public:
    // The session of Qt's connection, made on first use (GUI thread); null when Qt is not on
    // Wayland or gives no wl_display.
    static WaylandSession *instance();
    // Frees the session (its registry, queue and display wrapper) while Qt's connection is still
    // open; instance() is null from then on.
    static void release();

    wl_display *display() const { return _display; }
    const std::vector<WaylandGlobal> &globals() const { return _globals; }

    // The version of `interface` the compositor offers (0: not offered).
    uint32_t offeredVersion(const char *interface) const;
    bool offers(const char *interface, uint32_t minimumVersion = 1) const
    {
        return offeredVersion(interface) >= minimumVersion;
    }

    // Binds the global for `interface` at the lower of `wanted` and the version offered, or
    // returns null when it is not offered or only below `minimum`. The object's events are
    // dispatched on the GUI thread with Qt's own (the default queue). Casts to the proxy type.
    template <typename T>
    T *bind(const wl_interface *interface, uint32_t wanted, uint32_t minimum = 1,
            uint32_t *bound = nullptr)
    {
        return reinterpret_cast<T *>(bindProxy(interface, wanted, minimum, bound));
    }

    // Sends what is queued and waits until the compositor has handled it; events for objects on
    // `queue` (a private queue; null: none) are dispatched meanwhile.
    bool roundTrip(wl_event_queue *queue);
    // A private event queue, for requests whose answer Kelp waits for (activation tokens).
    wl_event_queue *makeQueue();

    // What Qt gives for a window (null before the window is shown: Qt makes its wl_surface on
    // show and drops it on hide), a screen, the input.
    static wl_surface *surfaceOf(QWindow *window);
    static wl_output *outputOf(QScreen *screen);
    static wl_seat *seat();
    // The serial of the last input event Qt saw (0 when Qt does not say).
    static uint32_t lastInputSerial();

    // Whether Qt's connection is still open. The running Kelp frees its Wayland objects before
    // Qt closes it (freeWaylandBeforeQtDisconnects); an object that outlives the application
    // object anyway is left alone, since freeing it on a closed connection would crash.
    static bool isConnectionOpen();

    // "wl_compositor 5, zwlr_layer_shell_v1 4, ...": the globals for the log.
    QString describeGlobals() const;

    ~WaylandSession();
    WaylandSession(const WaylandSession &) = delete;
    WaylandSession &operator=(const WaylandSession &) = delete;

private:
    explicit WaylandSession(wl_display *display);
    wl_proxy *bindProxy(const wl_interface *interface, uint32_t wanted, uint32_t minimum,
                        uint32_t *bound);

    wl_display *_display = nullptr;
    wl_event_queue *_queue = nullptr;
    wl_proxy *_displayWrapper = nullptr;
    wl_registry *_registry = nullptr;
    std::vector<WaylandGlobal> _globals;
};

} // namespace kelp
