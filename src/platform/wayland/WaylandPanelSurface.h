#pragma once
// PanelSurface as a wlr layer surface. Qt makes the panel's wl_surface without a shell role (the
// window carries Qt::BypassWindowManagerHint and Kelp starts with
// QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT=1); right after each show, before Qt draws, Kelp gives
// that surface the layer surface role: on the overlay layer (or the top layer, under fullscreen
// windows, as the setting panelLayer says), keyboard exclusive while shown, no
// exclusive zone, centred by the compositor or anchored at the moved panel's place. Qt makes a
// new wl_surface on every show and drops it on hide, so the role is given and taken each time.
// Where the compositor offers no layer shell (weston, Mutter) the panel stays an ordinary window;
// its fades are painted all the same, since no Wayland window has an opacity.
#include "desktop/PanelSurface.h"

#include <cstdint>
#include <memory>

struct wl_surface;
struct xdg_popup;
struct xdg_surface;
struct xdg_wm_base;
struct zwlr_layer_shell_v1;
struct zwlr_layer_surface_v1;

namespace kelp {

class WaylandSession;

class WaylandPanelSurface : public PanelSurface
{
public:
    // Binds zwlr_layer_shell_v1 (version 4 at most, as offered); isBound() says.
    explicit WaylandPanelSurface(WaylandSession &session);
    ~WaylandPanelSurface() override;
    bool isBound() const { return _shell != nullptr; }
    uint32_t version() const { return _version; }

    Qt::WindowFlags windowFlags() const override;
    bool attach(QWindow *window, const QRect &frame, QScreen *screen, bool moved) override;
    void setFrame(QWindow *window, const QRect &frame, QScreen *screen, bool moved) override;
    void detach(QWindow *window) override;
    bool paintsOpacity() const override { return true; }
    bool choosesLayer() const override { return isBound(); }
    void setLayer(PanelLayer layer) override;
    // The layer shell's layer for the panel's.
    static uint32_t shellLayer(PanelLayer layer);

    // Menus of the shown panel become xdg popups of its layer surface, with the pointer and
    // keyboard grabbed as any menu's: a click elsewhere dismisses them.
    Qt::WindowFlags popupFlags() const override;
    bool attachPopup(QWindow *popup, const QRect &anchor, std::function<void()> dismissed) override;
    // Right before the menu's surface goes (its window hides), or when the compositor dismissed it.
    void detachPopup();

    // Called by the compositor's events.
    void configured(uint32_t serial);
    void closed();
    void popupConfigured(uint32_t serial);
    void popupDone();

private:
    void place(const QRect &frame, QScreen *screen, bool moved);

    WaylandSession &_session;
    zwlr_layer_shell_v1 *_shell = nullptr;
    uint32_t _version = 0;
    zwlr_layer_surface_v1 *_layer = nullptr;
    wl_surface *_surface = nullptr;
    bool _configured = false;
    PanelLayer _panelLayer = PanelLayer::Overlay;

    xdg_wm_base *_wm = nullptr;
    struct Popup;
    std::unique_ptr<Popup> _popup;
};

} // namespace kelp
