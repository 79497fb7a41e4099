#pragma once
// The cursor hot spot on Wayland, where a program cannot follow the pointer across the screen: a
// few transparent pixels of Kelp's own in the chosen corner or along the chosen edge of every
// output, each a wlr layer surface on the overlay layer (no exclusive zone, never taking the
// keyboard). The pointer entering one is the hot spot entered (wl_pointer.enter on Kelp's own
// seat binding), and so is a drag held by any program (wl_data_device.enter): the compositor
// tells the client under the pointer, whoever holds the button. The price is that those pixels
// take the clicks meant for what lies beneath. Outputs that come get a hot spot, outputs that go
// take theirs along. Without the layer shell (weston, Mutter) there is none, which one line says.
//
// Everything lives on the WaylandClientDisplay (Qt's connection in the running Kelp), so the
// listeners run from Qt's event dispatch and nothing wakes while the pointer is elsewhere.
#include "desktop/HotSpots.h"

#include <QMargins>
#include <QSize>

#include <cstdint>
#include <memory>
#include <vector>

struct wl_compositor;
struct wl_data_device;
struct wl_data_device_manager;
struct wl_data_offer;
struct wl_output;
struct wl_pointer;
struct wl_registry;
struct wl_seat;
struct wl_shm;
struct wl_surface;
struct zwlr_layer_shell_v1;

namespace kelp {

class WaylandClientDisplay;

// How a hot spot placed on the primary screen (`screen`) is asked of the layer shell on any
// output: the screen sides it is anchored to, its size (0 along a side it stretches on) and its
// distance from the anchored sides. A corner keeps its size in its corner; an edge strip runs
// along its side, leaving the same free ends on every output.
struct HotSpotLayerPlacement
{
    Qt::Edges anchors;
    QSize size;
    QMargins margins;
};
HotSpotLayerPlacement hotSpotLayerPlacement(const HotSpotPlace &place, const QRect &screen);

class WaylandHotSpots : public HotSpots
{
    Q_OBJECT
public:
    // Looks for the layer shell, the compositor, shared memory and a seat with one roundtrip.
    explicit WaylandHotSpots(std::shared_ptr<WaylandClientDisplay> display,
                             QObject *parent = nullptr);
    ~WaylandHotSpots() override;

    // Whether there can be a hot spot (the compositor offers what it needs).
    bool isAvailable() const;
    uint32_t layerShellVersion() const { return _shellVersion; }
    void setHotSpot(const std::optional<HotSpotPlace> &place) override;

    // Called by the compositor's events.
    struct Output;
    void outputAdded(uint32_t name, uint32_t version);
    void globalRemoved(uint32_t name);
    void seatCapabilities(uint32_t capabilities);
    void surfaceEntered(wl_surface *surface);
    void surfaceLeft();
    void configured(Output &output, uint32_t serial, uint32_t width, uint32_t height);
    void closed(Output &output);
    void dataOffered(wl_data_offer *offer);
    void dragEntered(wl_surface *surface, wl_data_offer *offer);
    void dragLeft();
    void forgetOffer(wl_data_offer *offer);

private:
    void makeSurface(Output &output);
    void dropSurface(Output &output);
    bool isHotSpot(wl_surface *surface) const;
    void updateInside();
    bool isLive() const;

    std::shared_ptr<WaylandClientDisplay> _display;
    wl_registry *_registry = nullptr;
    wl_compositor *_compositor = nullptr;
    wl_shm *_shm = nullptr;
    zwlr_layer_shell_v1 *_shell = nullptr;
    uint32_t _shellVersion = 0;
    wl_seat *_seat = nullptr;
    uint32_t _seatName = 0;
    wl_pointer *_pointer = nullptr;
    wl_data_device_manager *_dataDeviceManager = nullptr;
    wl_data_device *_dataDevice = nullptr;
    std::vector<wl_data_offer *> _offers; // offers the compositor made, freed once done with
    std::vector<std::unique_ptr<Output>> _outputs;
    std::optional<HotSpotLayerPlacement> _placement;
    // The hot spot the pointer, or a drag, is in.
    wl_surface *_pointerSurface = nullptr;
    wl_surface *_dragSurface = nullptr;
    bool _inside = false;
};

} // namespace kelp
