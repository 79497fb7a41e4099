#include "platform/wayland/WaylandWindowControl.h"

#include "platform/wayland/WaylandRunningApplications.h"

namespace kelp {

WaylandWindowControl::WaylandWindowControl(std::shared_ptr<WaylandRunningApplications> running)
    : _running(std::move(running))
{}

qint64 WaylandWindowControl::pid(const QString &path) const
{
    return _running->pidForPath(path);
}

bool WaylandWindowControl::activate(const QString &path)
{
    const QList<quint32> windows = _running->windowsForPath(path);
    return !windows.isEmpty() && _running->activateWindows(windows);
}

bool WaylandWindowControl::isVisible(const QString &path) const
{
    return _running->anyWindowShown(_running->windowsForPath(path));
}

void WaylandWindowControl::show(const QString &path)
{
    const QList<quint32> windows = _running->windowsForPath(path);
    _running->setWindowsMinimised(windows, false);
    _running->activateWindows(windows);
}

void WaylandWindowControl::hide(const QString &path)
{
    _running->setWindowsMinimised(_running->windowsForPath(path), true);
}

void WaylandWindowControl::quit(const QString &path)
{
    _running->closeWindows(_running->windowsForPath(path));
}

} // namespace kelp
