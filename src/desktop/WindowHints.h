#pragma once
// WindowHints: what Kelp asks of the window manager for its panel that Qt's window flags do not
// say: be on every virtual desktop, stay out of the taskbar and pager, float above other windows
// for a moment. Each call works on a window that is already shown as well as on one about to be.
// Without an implementation (no window system) the panel simply goes without these hints.
class QWindow;

namespace kelp {

class WindowHints
{
public:
    virtual ~WindowHints() = default;
    // Shows the window on every virtual desktop.
    virtual void setOnAllDesktops(QWindow *window) = 0;
    // Keeps the window out of the taskbar and the pager (or lets it in).
    virtual void setSkipTaskbar(QWindow *window, bool skip) = 0;
    // Puts the window above normal windows, or back among them.
    virtual void setKeepAbove(QWindow *window, bool above) = 0;
};

} // namespace kelp
