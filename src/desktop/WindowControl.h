#pragma once
// WindowControl: what Kelp does to a running application's windows.
//
// Applications are named by the paths the catalogue uses (a desktop entry, or an executable for a
// program no entry claims). Every operation acts on the windows the running-application layer
// knows for that path, on the GUI thread; an application that is not running is left alone
// (activate and isVisible answer false, pid 0). Only a window system offers this: without one
// there is no WindowControl at all.
#include <QString>

namespace kelp {

class WindowControl
{
public:
    virtual ~WindowControl() = default;

    // The first process of the running application, or 0.
    virtual qint64 pid(const QString &path) const = 0;
    virtual bool activate(const QString &path) = 0;
    // True when one of its windows is on screen (not iconified).
    virtual bool isVisible(const QString &path) const = 0;
    virtual void show(const QString &path) = 0;
    virtual void hide(const QString &path) = 0;
    // Asks each of its windows to close (never a kill).
    virtual void quit(const QString &path) = 0;
};

} // namespace kelp
