#include "platform/wayland/WaylandPanelSurface.h"

#include "extras/Logging.h"
#include "platform/wayland/WaylandSession.h"

#include <QEvent>
#include <QObject>
#include <QPointer>
#include <QScreen>
#include <QWindow>
#include <algorithm>

#include "wlr-layer-shell-unstable-v1-client-protocol.h"
#include "xdg-shell-client-protocol.h"
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

void onPing(void *, xdg_wm_base *wm, uint32_t serial)
{
    xdg_wm_base_pong(wm, serial);
}

const xdg_wm_base_listener wmListener = {onPing};

void onPopupSurfaceConfigure(void *data, xdg_surface *, uint32_t serial)
{
    static_cast<WaylandPanelSurface *>(data)->popupConfigured(serial);
}

const xdg_surface_listener popupSurfaceListener = {onPopupSurfaceConfigure};

void onPopupConfigure(void *, xdg_popup *, int32_t, int32_t, int32_t, int32_t) {}

void onPopupDone(void *data, xdg_popup *)
{
    static_cast<WaylandPanelSurface *>(data)->popupDone();
}

void onRepositioned(void *, xdg_popup *, uint32_t) {}

const xdg_popup_listener popupListener = {onPopupConfigure, onPopupDone, onRepositioned};

// Lets the popup go right before Qt drops the menu's surface.
class PopupHideWatch : public QObject
{
public:
    PopupHideWatch(QWindow *window, WaylandPanelSurface &surface)
        : QObject(window), _surface(surface)
    {
        window->installEventFilter(this);
    }
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Hide) _surface.detachPopup();
        return false;
    }

private:
    WaylandPanelSurface &_surface;
};

} // namespace

struct WaylandPanelSurface::Popup
{
    QPointer<QWindow> window;
    QPointer<QObject> watch;
    wl_surface *surface = nullptr;
    xdg_surface *xdgSurface = nullptr;
    xdg_popup *popup = nullptr;
    std::function<void()> dismissed;
    bool configured = false;
};

WaylandPanelSurface::WaylandPanelSurface(WaylandSession &session) : _session(session)
{
    _shell = _session.bind<zwlr_layer_shell_v1>(&zwlr_layer_shell_v1_interface, 4, 1, &_version);
    if (_shell) {
        // Kelp's own binding, for the panel's menus; Qt keeps its own for ordinary windows.
        _wm = _session.bind<xdg_wm_base>(&xdg_wm_base_interface, 2, 1, nullptr);
        if (_wm) xdg_wm_base_add_listener(_wm, &wmListener, this);
    }
}

WaylandPanelSurface::~WaylandPanelSurface()
{
    if (!WaylandSession::isConnectionOpen()) return;
    detachPopup();
    if (_wm) xdg_wm_base_destroy(_wm);
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
    detachPopup();
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

Qt::WindowFlags WaylandPanelSurface::popupFlags() const
{
    return _shell && _wm ? Qt::BypassWindowManagerHint : Qt::WindowFlags();
}

bool WaylandPanelSurface::attachPopup(QWindow *window, const QRect &anchor,
                                      std::function<void()> dismissed)
{
    if (!_wm || !_layer || !_configured || !window) return false;
    wl_surface *surface = WaylandSession::surfaceOf(window);
    if (!surface) {
        qCWarning(lcPlatform) << "The panel's menu has no Wayland surface";
        return false;
    }
    detachPopup();
    auto popup = std::make_unique<Popup>();
    popup->window = window;
    popup->surface = surface;
    popup->dismissed = std::move(dismissed);
    popup->xdgSurface = xdg_wm_base_get_xdg_surface(_wm, surface);
    xdg_surface_add_listener(popup->xdgSurface, &popupSurfaceListener, this);
    // Below the anchor, sliding or flipping to stay on the output.
    xdg_positioner *positioner = xdg_wm_base_create_positioner(_wm);
    xdg_positioner_set_size(positioner, std::max(1, window->width()),
                            std::max(1, window->height()));
    xdg_positioner_set_anchor_rect(positioner, anchor.x(), anchor.y(), std::max(1, anchor.width()),
                                   std::max(1, anchor.height()));
    xdg_positioner_set_anchor(positioner, XDG_POSITIONER_ANCHOR_BOTTOM_LEFT);
    xdg_positioner_set_gravity(positioner, XDG_POSITIONER_GRAVITY_BOTTOM_RIGHT);
    xdg_positioner_set_constraint_adjustment(positioner,
                                             XDG_POSITIONER_CONSTRAINT_ADJUSTMENT_SLIDE_X |
                                                 XDG_POSITIONER_CONSTRAINT_ADJUSTMENT_SLIDE_Y |
                                                 XDG_POSITIONER_CONSTRAINT_ADJUSTMENT_FLIP_Y);
    popup->popup = xdg_surface_get_popup(popup->xdgSurface, nullptr, positioner);
    xdg_positioner_destroy(positioner);
    xdg_popup_add_listener(popup->popup, &popupListener, this);
    zwlr_layer_surface_v1_get_popup(_layer, popup->popup);
    if (wl_seat *seat = WaylandSession::seat())
        xdg_popup_grab(popup->popup, seat, WaylandSession::lastInputSerial());
    popup->watch = new PopupHideWatch(window, *this);
    _popup = std::move(popup);
    wl_surface_commit(surface);
    // As for the panel: no drawing before the compositor's first configure.
    for (int i = 0; i < 3 && _popup && !_popup->configured; ++i)
        if (!_session.roundTrip(nullptr)) break;
    if (!_popup || !_popup->configured) {
        qCWarning(lcPlatform) << "The compositor did not configure the panel's menu";
        return false;
    }
    return true;
}

void WaylandPanelSurface::detachPopup()
{
    if (!_popup) return;
    std::unique_ptr<Popup> popup = std::move(_popup);
    delete popup->watch.data();
    if (!WaylandSession::isConnectionOpen()) return;
    if (popup->popup) xdg_popup_destroy(popup->popup);
    if (popup->xdgSurface) xdg_surface_destroy(popup->xdgSurface);
}

void WaylandPanelSurface::popupConfigured(uint32_t serial)
{
    if (!_popup) return;
    xdg_surface_ack_configure(_popup->xdgSurface, serial);
    _popup->configured = true;
}

void WaylandPanelSurface::popupDone()
{
    // A click elsewhere: the compositor took the menu away; the menu hides as Qt's would.
    if (!_popup) return;
    std::function<void()> dismissed = _popup->dismissed;
    detachPopup();
    if (dismissed) dismissed();
}

} // namespace kelp
