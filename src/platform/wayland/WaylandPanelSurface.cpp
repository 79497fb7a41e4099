#include "platform/wayland/WaylandPanelSurface.h"

#include "extras/Logging.h"
#include "platform/wayland/WaylandSession.h"

#include <QScreen>
#include <QWindow>

#include "wlr-layer-shell-unstable-v1-client-protocol.h"
#include <wayland-client.h>

namespace kelp {

namespace {

void onConfigure(void *data, zwlr_layer_surface_v1 *, uint32_t serial, uint32_t, uint32_t)
{
    static_cast<WaylandPanelSurface *>(data)->configured(serial);
}

void onClosed(void *data, zwlr_layer_surface_v1 *)
{
    static_cast<WaylandPanelSurface *>(data)->closed();
}

const zwlr_layer_surface_v1_listener layerListener = {onConfigure, onClosed};

} // namespace

WaylandPanelSurface::WaylandPanelSurface(WaylandSession &session) : _session(session)
{
    _shell = _session.bind<zwlr_layer_shell_v1>(&zwlr_layer_shell_v1_interface, 4, 1, &_version);
}

WaylandPanelSurface::~WaylandPanelSurface()
{
    if (!WaylandSession::isConnectionOpen()) return;
    if (_layer) zwlr_layer_surface_v1_destroy(_layer);
    if (_shell) {
        if (_version >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION)
            zwlr_layer_shell_v1_destroy(_shell);
        else
            wl_proxy_destroy(reinterpret_cast<wl_proxy *>(_shell));
    }
}

Qt::WindowFlags WaylandPanelSurface::windowFlags() const
{
    return _shell ? Qt::BypassWindowManagerHint : Qt::WindowFlags();
}

bool WaylandPanelSurface::attach(QWindow *window, const QRect &frame, QScreen *screen, bool moved)
{
    if (!_shell) return false;
    wl_surface *surface = WaylandSession::surfaceOf(window);
    if (!surface) {
        qCWarning(lcPlatform) << "The panel has no Wayland surface to place";
        return false;
    }
    if (_layer && surface == _surface) {
        setFrame(window, frame, screen, moved);
        return true;
    }
    detach(window);
    _surface = surface;
    _configured = false;
    // A moved panel stays on its screen; otherwise the compositor picks the output (the one with
    // the pointer or the focus) and centres the panel on it.
    wl_output *output = moved ? WaylandSession::outputOf(screen) : nullptr;
    _layer = zwlr_layer_shell_v1_get_layer_surface(_shell, surface, output, shellLayer(_panelLayer),
                                                   "kelp");
    zwlr_layer_surface_v1_add_listener(_layer, &layerListener, this);
    zwlr_layer_surface_v1_set_keyboard_interactivity(
        _layer, ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE);
    zwlr_layer_surface_v1_set_exclusive_zone(_layer, 0);
    place(frame, screen, moved);
    wl_surface_commit(surface);
    // Qt must not draw into the surface before the compositor's first configure: wait for it.
    for (int i = 0; i < 3 && !_configured && _layer; ++i)
        if (!_session.roundTrip(nullptr)) break;
    if (!_configured) qCWarning(lcPlatform) << "The compositor did not configure the panel";
    return _configured;
}

uint32_t WaylandPanelSurface::shellLayer(PanelLayer layer)
{
    return layer == PanelLayer::Top ? ZWLR_LAYER_SHELL_V1_LAYER_TOP
                                    : ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY;
}

void WaylandPanelSurface::setLayer(PanelLayer layer)
{
    if (layer == _panelLayer) return;
    _panelLayer = layer;
    // The shown panel moves at once where the compositor can move a layer surface (version 2);
    // otherwise it takes the new layer at the next show.
    if (_layer && _surface && _version >= ZWLR_LAYER_SURFACE_V1_SET_LAYER_SINCE_VERSION &&
        WaylandSession::isConnectionOpen()) {
        zwlr_layer_surface_v1_set_layer(_layer, shellLayer(layer));
        wl_surface_commit(_surface);
    }
}

void WaylandPanelSurface::place(const QRect &frame, QScreen *screen, bool moved)
{
    zwlr_layer_surface_v1_set_size(_layer, uint32_t(frame.width()), uint32_t(frame.height()));
    if (moved && screen) {
        const QPoint offset = frame.topLeft() - screen->geometry().topLeft();
        zwlr_layer_surface_v1_set_anchor(_layer, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP |
                                                     ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT);
        zwlr_layer_surface_v1_set_margin(_layer, offset.y(), 0, 0, offset.x());
    } else {
        zwlr_layer_surface_v1_set_anchor(_layer, 0);
        zwlr_layer_surface_v1_set_margin(_layer, 0, 0, 0, 0);
    }
}

void WaylandPanelSurface::setFrame(QWindow *window, const QRect &frame, QScreen *screen, bool moved)
{
    if (!_layer || WaylandSession::surfaceOf(window) != _surface) return;
    place(frame, screen, moved);
    wl_surface_commit(_surface);
}

void WaylandPanelSurface::detach(QWindow *)
{
    if (_layer) zwlr_layer_surface_v1_destroy(_layer);
    _layer = nullptr;
    _surface = nullptr;
    _configured = false;
}

void WaylandPanelSurface::configured(uint32_t serial)
{
    if (!_layer) return;
    zwlr_layer_surface_v1_ack_configure(_layer, serial);
    _configured = true;
}

void WaylandPanelSurface::closed()
{
    // The compositor took the panel away (its output went): the next show makes it again.
    qCInfo(lcPlatform) << "The compositor closed the panel's layer surface";
    if (_layer) zwlr_layer_surface_v1_destroy(_layer);
    _layer = nullptr;
    _configured = false;
}

} // namespace kelp
