#pragma once
// PanelSurface: where the desktop places the panel itself rather than leaving it to a window
// manager. On a Wayland compositor with layer surfaces the panel is one: above every window
// (fullscreen ones too), on every workspace, out of the task list, with the keyboard from the
// moment it shows. Kelp says where it goes: centred on the output the compositor picks (the one
// with the pointer or the focus), or, for a panel the user moved, at its place on its screen.
// Without an implementation the panel is an ordinary window.
#include <QRect>
#include <Qt>

class QScreen;
class QWindow;

namespace kelp {

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
};

} // namespace kelp
