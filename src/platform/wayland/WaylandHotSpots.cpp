#include "platform/wayland/WaylandHotSpots.h"

#include "extras/Logging.h"
#include "platform/wayland/WaylandClientDisplay.h"

#include <QGuiApplication>
#include <QScreen>

#include "wlr-layer-shell-unstable-v1-client-protocol.h"
#include <wayland-client.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace kelp {

struct WaylandHotSpots::Output
{
    WaylandHotSpots *owner = nullptr;
    uint32_t name = 0;
    wl_output *output = nullptr;
    wl_surface *surface = nullptr;
    zwlr_layer_surface_v1 *layer = nullptr;
    wl_buffer *buffer = nullptr;
    QSize bufferSize;
};

HotSpotLayerPlacement hotSpotLayerPlacement(const HotSpotPlace &place, const QRect &screen)
{
    HotSpotLayerPlacement p;
    for (const HotSpotPlace::Side &side : place.sides)
        p.anchors |= side.edge;
    p.size = place.rect.size();
    const bool horizontal = p.anchors == Qt::TopEdge || p.anchors == Qt::BottomEdge;
    const bool vertical = p.anchors == Qt::LeftEdge || p.anchors == Qt::RightEdge;
    if (horizontal) {
        // A strip along the top or bottom: as wide as each output leaves between the free ends.
        p.anchors |= Qt::LeftEdge | Qt::RightEdge;
        p.size.setWidth(0);
        p.margins.setLeft(place.rect.left() - screen.left());
        p.margins.setRight(screen.right() - place.rect.right());
    } else if (vertical) {
        p.anchors |= Qt::TopEdge | Qt::BottomEdge;
        p.size.setHeight(0);
        p.margins.setTop(place.rect.top() - screen.top());
        p.margins.setBottom(screen.bottom() - place.rect.bottom());
    } else if (!p.anchors) {
        // Touching no side: kept where it is from the top-left corner.
        p.anchors = Qt::TopEdge | Qt::LeftEdge;
        p.margins =
            QMargins(place.rect.left() - screen.left(), place.rect.top() - screen.top(), 0, 0);
    }
    return p;
}

namespace {

constexpr uint32_t kLayerShellVersion = 4;
constexpr uint32_t kCompositorVersion = 4;
constexpr uint32_t kDataDeviceManagerVersion = 3;

uint32_t layerAnchors(Qt::Edges edges)
{
    uint32_t anchors = 0;
    if (edges & Qt::TopEdge) anchors |= ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP;
    if (edges & Qt::BottomEdge) anchors |= ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM;
    if (edges & Qt::LeftEdge) anchors |= ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT;
    if (edges & Qt::RightEdge) anchors |= ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT;
    return anchors;
}

// A fully transparent ARGB buffer: the pages of a fresh memory file are zero.
wl_buffer *transparentBuffer(wl_shm *shm, const QSize &size)
{
    const int stride = size.width() * 4;
    const int bytes = stride * size.height();
    const int fd = memfd_create("kelp-hot-spot", MFD_CLOEXEC);
    if (fd < 0) return nullptr;
    wl_buffer *buffer = nullptr;
    if (ftruncate(fd, bytes) == 0) {
        wl_shm_pool *pool = wl_shm_create_pool(shm, fd, bytes);
        buffer = wl_shm_pool_create_buffer(pool, 0, size.width(), size.height(), stride,
                                           WL_SHM_FORMAT_ARGB8888);
        wl_shm_pool_destroy(pool);
    }
    close(fd);
    return buffer;
}

WaylandHotSpots *self(void *data)
{
    return static_cast<WaylandHotSpots *>(data);
}

struct Listeners
{
    static void global(void *data, wl_registry *registry, uint32_t name, const char *interface,
                       uint32_t version);
    static void globalRemove(void *data, wl_registry *, uint32_t name)
    {
        self(data)->globalRemoved(name);
    }
    static constexpr wl_registry_listener registry = {global, globalRemove};

    static void capabilities(void *data, wl_seat *, uint32_t capabilities)
    {
        self(data)->seatCapabilities(capabilities);
    }
    static void seatName(void *, wl_seat *, const char *) {}
    static constexpr wl_seat_listener seat = {capabilities, seatName};

    static void enter(void *data, wl_pointer *, uint32_t, wl_surface *surface, wl_fixed_t,
                      wl_fixed_t)
    {
        self(data)->surfaceEntered(surface);
    }
    static void leave(void *data, wl_pointer *, uint32_t, wl_surface *)
    {
        self(data)->surfaceLeft();
    }
    static void motion(void *, wl_pointer *, uint32_t, wl_fixed_t, wl_fixed_t) {}
    static void button(void *, wl_pointer *, uint32_t, uint32_t, uint32_t, uint32_t) {}
    static void axis(void *, wl_pointer *, uint32_t, uint32_t, wl_fixed_t) {}
    // The seat is bound at version 1, so the later pointer events should never come; a compositor
    // that sends them anyway must not end Kelp (libwayland aborts on an event without a handler).
    static void frame(void *, wl_pointer *) {}
    static void axisSource(void *, wl_pointer *, uint32_t) {}
    static void axisStop(void *, wl_pointer *, uint32_t, uint32_t) {}
    static void axisStep(void *, wl_pointer *, uint32_t, int32_t) {}
    static constexpr wl_pointer_listener pointer = {
        enter, leave, motion, button, axis, frame, axisSource, axisStop, axisStep, axisStep};

    static void dataOffer(void *data, wl_data_device *, wl_data_offer *offer)
    {
        self(data)->dataOffered(offer);
    }
    static void dragEnter(void *data, wl_data_device *, uint32_t, wl_surface *surface, wl_fixed_t,
                          wl_fixed_t, wl_data_offer *offer)
    {
        self(data)->dragEntered(surface, offer);
    }
    static void dragLeave(void *data, wl_data_device *) { self(data)->dragLeft(); }
    static void dragMotion(void *, wl_data_device *, uint32_t, wl_fixed_t, wl_fixed_t) {}
    static void drop(void *data, wl_data_device *) { self(data)->dragLeft(); }
    static void selection(void *data, wl_data_device *, wl_data_offer *offer)
    {
        // The clipboard's offers are Qt's business; Kelp's copies go.
        self(data)->forgetOffer(offer);
    }
    static constexpr wl_data_device_listener dataDevice = {dataOffer,  dragEnter, dragLeave,
                                                           dragMotion, drop,      selection};

    static void configure(void *data, zwlr_layer_surface_v1 *, uint32_t serial, uint32_t width,
                          uint32_t height)
    {
        auto *output = static_cast<WaylandHotSpots::Output *>(data);
        output->owner->configured(*output, serial, width, height);
    }
    static void layerClosed(void *data, zwlr_layer_surface_v1 *)
    {
        auto *output = static_cast<WaylandHotSpots::Output *>(data);
        output->owner->closed(*output);
    }
    static constexpr zwlr_layer_surface_v1_listener layer = {configure, layerClosed};
};

struct Wanted
{
    uint32_t compositorName = 0, compositorVersion = 0;
    uint32_t shmName = 0;
    uint32_t shellName = 0, shellVersion = 0;
    uint32_t seatName = 0;
    uint32_t dataName = 0, dataVersion = 0;
    std::vector<std::pair<uint32_t, uint32_t>> outputs;
};

// While the constructor lists the globals they are gathered here; later only outputs matter.
thread_local Wanted *gathering = nullptr;

void Listeners::global(void *data, wl_registry *, uint32_t name, const char *interface,
                       uint32_t version)
{
    if (std::strcmp(interface, wl_output_interface.name) == 0) {
        if (gathering)
            gathering->outputs.emplace_back(name, version);
        else
            self(data)->outputAdded(name, version);
        return;
    }
    if (!gathering) return;
    if (std::strcmp(interface, wl_compositor_interface.name) == 0) {
        gathering->compositorName = name;
        gathering->compositorVersion = version;
    } else if (std::strcmp(interface, wl_shm_interface.name) == 0) {
        gathering->shmName = name;
    } else if (std::strcmp(interface, zwlr_layer_shell_v1_interface.name) == 0) {
        gathering->shellName = name;
        gathering->shellVersion = version;
    } else if (std::strcmp(interface, wl_seat_interface.name) == 0 && !gathering->seatName) {
        gathering->seatName = name;
    } else if (std::strcmp(interface, wl_data_device_manager_interface.name) == 0) {
        gathering->dataName = name;
        gathering->dataVersion = version;
    }
}

} // namespace

WaylandHotSpots::WaylandHotSpots(std::shared_ptr<WaylandClientDisplay> display, QObject *parent)
    : HotSpots(parent), _display(std::move(display))
{
    if (!_display || _display->isBroken()) return;
    Wanted wanted;
    gathering = &wanted;
    _registry = wl_display_get_registry(_display->display());
    wl_registry_add_listener(_registry, &Listeners::registry, this);
    _display->roundtrip();
    gathering = nullptr;

    // Without the layer shell there is no hot spot; the desktop's summary line says so.
    if (!wanted.shellName) return;
    if (!wanted.compositorName || !wanted.shmName || !wanted.seatName) {
        qCInfo(lcTriggers) << "No cursor hot spot: the compositor offers no"
                           << (!wanted.compositorName ? "wl_compositor"
                               : !wanted.shmName      ? "wl_shm"
                                                      : "seat");
        return;
    }
    // Each at the lower of what Kelp knows and what the compositor offers.
    _compositor = static_cast<wl_compositor *>(
        wl_registry_bind(_registry, wanted.compositorName, &wl_compositor_interface,
                         std::min(wanted.compositorVersion, kCompositorVersion)));
    _shm = static_cast<wl_shm *>(wl_registry_bind(_registry, wanted.shmName, &wl_shm_interface, 1));
    _shellVersion = std::min(wanted.shellVersion, kLayerShellVersion);
    _shell = static_cast<zwlr_layer_shell_v1 *>(wl_registry_bind(
        _registry, wanted.shellName, &zwlr_layer_shell_v1_interface, _shellVersion));
    _seatName = wanted.seatName;
    _seat =
        static_cast<wl_seat *>(wl_registry_bind(_registry, wanted.seatName, &wl_seat_interface, 1));
    wl_seat_add_listener(_seat, &Listeners::seat, this);
    if (wanted.dataName) {
        _dataDeviceManager = static_cast<wl_data_device_manager *>(
            wl_registry_bind(_registry, wanted.dataName, &wl_data_device_manager_interface,
                             std::min(wanted.dataVersion, kDataDeviceManagerVersion)));
        _dataDevice = wl_data_device_manager_get_data_device(_dataDeviceManager, _seat);
        wl_data_device_add_listener(_dataDevice, &Listeners::dataDevice, this);
    } else {
        qCInfo(lcTriggers) << "The compositor offers no data device: a drag does not open the "
                              "panel at the hot spot";
    }
    for (const auto &[name, version] : wanted.outputs)
        outputAdded(name, version);
    _display->flush();
}

WaylandHotSpots::~WaylandHotSpots()
{
    _pointerSurface = nullptr;
    _dragSurface = nullptr;
    _inside = false;
    if (!isLive()) return;
    for (auto &output : _outputs) {
        dropSurface(*output);
        wl_output_destroy(output->output);
    }
    for (wl_data_offer *offer : _offers)
        wl_data_offer_destroy(offer);
    if (_dataDevice) {
        if (wl_proxy_get_version(reinterpret_cast<wl_proxy *>(_dataDevice)) >=
            WL_DATA_DEVICE_RELEASE_SINCE_VERSION)
            wl_data_device_release(_dataDevice);
        else
            wl_data_device_destroy(_dataDevice);
    }
    if (_dataDeviceManager) wl_data_device_manager_destroy(_dataDeviceManager);
    if (_pointer) wl_pointer_destroy(_pointer);
    if (_seat) wl_seat_destroy(_seat);
    if (_shell) {
        if (_shellVersion >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION)
            zwlr_layer_shell_v1_destroy(_shell);
        else
            wl_proxy_destroy(reinterpret_cast<wl_proxy *>(_shell));
    }
    if (_shm) wl_shm_destroy(_shm);
    if (_compositor) wl_compositor_destroy(_compositor);
    if (_registry) wl_registry_destroy(_registry);
    _display->flush();
}

bool WaylandHotSpots::isLive() const
{
    return _display && !_display->isBroken();
}

bool WaylandHotSpots::isAvailable() const
{
    return _shell && _compositor && _shm && _seat;
}

void WaylandHotSpots::setHotSpot(const std::optional<HotSpotPlace> &place)
{
    if (!isAvailable() || !isLive()) return;
    for (auto &output : _outputs)
        dropSurface(*output);
    _placement.reset();
    if (place) {
        const QScreen *primary = QGuiApplication::primaryScreen();
        _placement = hotSpotLayerPlacement(*place, primary ? primary->geometry() : place->rect);
        for (auto &output : _outputs)
            makeSurface(*output);
    }
    _display->flush();
}

void WaylandHotSpots::outputAdded(uint32_t name, uint32_t)
{
    if (!isAvailable()) return;
    auto output = std::make_unique<Output>();
    output->owner = this;
    output->name = name;
    output->output =
        static_cast<wl_output *>(wl_registry_bind(_registry, name, &wl_output_interface, 1));
    if (_placement) makeSurface(*output);
    _outputs.push_back(std::move(output));
    _display->flush();
}

void WaylandHotSpots::globalRemoved(uint32_t name)
{
    if (_seat && name == _seatName) {
        qCInfo(lcTriggers) << "The seat went away; the hot spot no longer sees the pointer";
        _pointerSurface = nullptr;
        updateInside();
        if (_pointer) wl_pointer_destroy(_pointer);
        _pointer = nullptr;
        return;
    }
    const auto it = std::find_if(_outputs.begin(), _outputs.end(),
                                 [name](const auto &o) { return o->name == name; });
    if (it == _outputs.end()) return;
    dropSurface(**it);
    wl_output_destroy((*it)->output);
    _outputs.erase(it);
    _display->flush();
}

void WaylandHotSpots::makeSurface(Output &output)
{
    output.surface = wl_compositor_create_surface(_compositor);
    output.layer = zwlr_layer_shell_v1_get_layer_surface(
        _shell, output.surface, output.output, ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, "kelp-hot-spot");
    zwlr_layer_surface_v1_add_listener(output.layer, &Listeners::layer, &output);
    zwlr_layer_surface_v1_set_size(output.layer, uint32_t(_placement->size.width()),
                                   uint32_t(_placement->size.height()));
    zwlr_layer_surface_v1_set_anchor(output.layer, layerAnchors(_placement->anchors));
    const QMargins m = _placement->margins;
    zwlr_layer_surface_v1_set_margin(output.layer, m.top(), m.right(), m.bottom(), m.left());
    // Over nothing that keeps its place: windows are not pushed aside for a few pixels.
    zwlr_layer_surface_v1_set_exclusive_zone(output.layer, -1);
    wl_surface_commit(output.surface);
}

void WaylandHotSpots::dropSurface(Output &output)
{
    // A hot spot taken away with the pointer in it is left.
    if (output.surface && output.surface == _pointerSurface) _pointerSurface = nullptr;
    if (output.surface && output.surface == _dragSurface) _dragSurface = nullptr;
    updateInside();
    if (output.layer) zwlr_layer_surface_v1_destroy(output.layer);
    if (output.surface) wl_surface_destroy(output.surface);
    if (output.buffer) wl_buffer_destroy(output.buffer);
    output.layer = nullptr;
    output.surface = nullptr;
    output.buffer = nullptr;
    output.bufferSize = QSize();
}

void WaylandHotSpots::configured(Output &output, uint32_t serial, uint32_t width, uint32_t height)
{
    if (!output.layer) return;
    zwlr_layer_surface_v1_ack_configure(output.layer, serial);
    const QSize size(int(std::max(width, 1u)), int(std::max(height, 1u)));
    if (size != output.bufferSize) {
        wl_buffer *buffer = transparentBuffer(_shm, size);
        if (!buffer) {
            qCWarning(lcTriggers) << "No memory for the hot spot's pixels";
            return;
        }
        wl_surface_attach(output.surface, buffer, 0, 0);
        wl_surface_damage(output.surface, 0, 0, size.width(), size.height());
        if (output.buffer) wl_buffer_destroy(output.buffer);
        output.buffer = buffer;
        output.bufferSize = size;
    }
    wl_surface_commit(output.surface);
    _display->flush();
}

void WaylandHotSpots::closed(Output &output)
{
    // The compositor took it away (its output is going): the output's removal follows.
    qCInfo(lcTriggers) << "The compositor closed a hot spot";
    dropSurface(output);
    _display->flush();
}

void WaylandHotSpots::seatCapabilities(uint32_t capabilities)
{
    const bool hasPointer = capabilities & WL_SEAT_CAPABILITY_POINTER;
    if (hasPointer && !_pointer) {
        _pointer = wl_seat_get_pointer(_seat);
        wl_pointer_add_listener(_pointer, &Listeners::pointer, this);
    } else if (!hasPointer && _pointer) {
        _pointerSurface = nullptr;
        updateInside();
        wl_pointer_destroy(_pointer);
        _pointer = nullptr;
    }
    _display->flush();
}

void WaylandHotSpots::surfaceEntered(wl_surface *surface)
{
    wl_surface *entered = isHotSpot(surface) ? surface : nullptr;
    // Another hot spot entered without a leave from the last (sway says nothing when the output
    // under the pointer is turned off): that one is left first, so that this one counts.
    if (entered && _pointerSurface && entered != _pointerSurface) {
        _pointerSurface = nullptr;
        updateInside();
    }
    _pointerSurface = entered;
    updateInside();
}

void WaylandHotSpots::surfaceLeft()
{
    _pointerSurface = nullptr;
    updateInside();
}

bool WaylandHotSpots::isHotSpot(wl_surface *surface) const
{
    // Kelp's other surfaces (the panel) are entered through the same connection.
    return surface && std::any_of(_outputs.begin(), _outputs.end(),
                                  [surface](const auto &o) { return o->surface == surface; });
}

void WaylandHotSpots::forgetOffer(wl_data_offer *offer)
{
    if (!offer) return;
    wl_data_offer_destroy(offer);
    std::erase(_offers, offer);
}

void WaylandHotSpots::dataOffered(wl_data_offer *offer)
{
    _offers.push_back(offer);
}

void WaylandHotSpots::dragEntered(wl_surface *surface, wl_data_offer *offer)
{
    // Only the newest offer is still of use to the compositor; the hot spot accepts nothing.
    std::erase_if(_offers, [offer](wl_data_offer *o) {
        if (o == offer) return false;
        wl_data_offer_destroy(o);
        return true;
    });
    _dragSurface = isHotSpot(surface) ? surface : nullptr;
    updateInside();
}

void WaylandHotSpots::dragLeft()
{
    for (wl_data_offer *offer : _offers)
        wl_data_offer_destroy(offer);
    _offers.clear();
    _dragSurface = nullptr;
    updateInside();
}

void WaylandHotSpots::updateInside()
{
    const bool inside = _pointerSurface || _dragSurface;
    if (inside == _inside) return;
    _inside = inside;
    if (inside)
        Q_EMIT entered();
    else
        Q_EMIT left();
}

} // namespace kelp
