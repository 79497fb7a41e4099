#include "platform/x11/X11WindowControl.h"

#include "platform/x11/X11RunningApplications.h"

namespace kelp {

X11WindowControl::X11WindowControl(std::shared_ptr<X11RunningApplications> running)
    : _running(std::move(running))
{}

qint64 X11WindowControl::pid(const QString &path) const
{
    for (const RunningApp &app : _running->runningApplications()) {
        if (app.path == path) return app.pid;
    }
    return 0;
}

bool X11WindowControl::activate(const QString &path)
{
    const QList<quint32> windows = _running->windowsForPath(path);
    if (windows.isEmpty()) return false;
    _running->activateWindows(windows);
    return true;
}

bool X11WindowControl::isVisible(const QString &path) const
{
    return _running->anyWindowShown(_running->windowsForPath(path));
}

void X11WindowControl::show(const QString &path)
{
    // Bringing an iconified window back is the window manager's business; asking for it to be
    // activated is the one request every EWMH window manager honours for that.
    _running->activateWindows(_running->windowsForPath(path));
}

void X11WindowControl::hide(const QString &path)
{
    _running->iconifyWindows(_running->windowsForPath(path));
}

void X11WindowControl::quit(const QString &path)
{
    _running->closeWindows(_running->windowsForPath(path));
}

} // namespace kelp
