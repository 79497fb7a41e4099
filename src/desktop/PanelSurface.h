#pragma once
// PanelSurface: where the desktop places the panel itself rather than leaving it to a window
// manager. On a Wayland compositor with layer surfaces the panel is one: above every window
// (fullscreen ones too), on every workspace, out of the task list, with the keyboard from the
// moment it shows. Kelp says where it goes: centred on the output the compositor picks (the one
// with the pointer or the focus), or, for a panel the user moved, at its place on its screen.
// An implementation may leave the panel an ordinary window (attach() says) and still paint its
// fades; without one the panel is an ordinary window of the window manager's.
#include <QRect>
#include <Qt>

#include <functional>

class QScreen;
class QWindow;

namespace kelp {

// Where a desktop with layers puts the panel (the setting panelLayer): above every window,
// fullscreen ones too (Overlay, stored 0 and anything unknown), or above ordinary windows but
// under a fullscreen one (Top, stored 1).
enum class PanelLayer { Overlay, Top };
inline PanelLayer panelLayerFromStored(qint64 stored)
{
    return stored == 1 ? PanelLayer::Top : PanelLayer::Overlay;
}

class PanelSurface
{
public:
    virtual ~PanelSurface() = default;
    // The window flags the panel must carry, from its creation on, for the desktop to give it the
    // panel's role.
    virtual Qt::WindowFlags windowFlags() const = 0;
    // Call right after the window is shown (the desktop's surface exists, nothing drawn yet): gives
    // it the panel's role and place. `moved` says the user put the panel at `frame` on `screen`;
    // otherwise the desktop centres it. Returns false when the window stays an ordinary one.
    virtual bool attach(QWindow *window, const QRect &frame, QScreen *screen, bool moved) = 0;
    // The panel changed size or the user moved it while shown.
    virtual void setFrame(QWindow *window, const QRect &frame, QScreen *screen, bool moved) = 0;
    // Call right before the window is hidden.
    virtual void detach(QWindow *window) = 0;
    // Whether the panel's fades are painted (no window opacity here).
    virtual bool paintsOpacity() const = 0;
    // Whether the panel has a layer to choose (setLayer); false leaves it to the window manager.
    virtual bool choosesLayer() const { return false; }
    // The layer from the next attach on, and for the shown panel where the desktop can move it.
    virtual void setLayer(PanelLayer) {}

    // Menus opened from the shown panel. A panel the desktop places itself is no window a menu
    // could be the transient child of: the menu must carry popupFlags() from before its show, and
    // right after the show attachPopup() makes it a popup of the panel, opening below `anchor`
    // (in the panel's coordinates). The desktop may close it (a click elsewhere): `dismissed` is
    // then called. Returns false when the menu stays an ordinary one.
    virtual Qt::WindowFlags popupFlags() const { return {}; }
    virtual bool attachPopup(QWindow * /*popup*/, const QRect & /*anchor*/,
                             std::function<void()> /*dismissed*/)
    {
        return false;
    }
};

} // namespace kelp
