// The catalogue's running side: group 0, the front-application history and the questions the
// panel asks about running applications and dropped items.
#include "catalogue/TQAppManager.h"

#include "desktop/AppLauncher.h"
#include "desktop/AppsOnDisk.h"
#include "desktop/Desktop.h"
#include "desktop/RunningApplications.h"
#include "extras/Logging.h"
#include "extras/Notifications.h"
#include "settings/Defaults.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace kelp {
namespace {

qsizetype indexOfPath(const AppList &list, const QString &path)
{
    for (qsizetype i = 0; i < list.size(); ++i) {
        if (list.at(i)->path() == path) return i;
    }
    return -1;
}

// Group 6's entries whose path, or whose desktop-file ID, is among the applications given.
AppList entriesFor(const AppList &all, const QStringList &appPaths)
{
    QSet<QString> paths;
    QSet<QString> ids;
    for (const QString &p : appPaths) {
        paths.insert(TQApp::standardizePath(p));
        ids.insert(QFileInfo(p).fileName());
    }
    AppList out;
    for (const TQAppPtr &app : all) {
        if (paths.contains(app->path()) || (app->path().endsWith(QLatin1String(".desktop")) &&
                                            ids.contains(desktopIdForPath(app->path()))))
            out.append(app);
    }
    return out;
}

} // namespace

void TQAppManager::setRunningApplications(std::shared_ptr<RunningApplications> running)
{
    if (_running) disconnect(_running.get(), nullptr, this, nullptr);
    _running = std::move(running);
    _frontApps.clear();
    if (!_running) return;
    connect(_running.get(), &RunningApplications::launched, this, &TQAppManager::handleAppLaunched);
    connect(_running.get(), &RunningApplications::terminated, this,
            &TQAppManager::handleAppTerminated);
    connect(_running.get(), &RunningApplications::frontSwitched, this,
            &TQAppManager::handleAppFrontSwitched);
    connect(_running.get(), &RunningApplications::matchingChanged, this,
            &TQAppManager::runningAppsListDidChange);
    if (TQAppPtr active = activeApp()) _frontApps.append(active);
}

AppList TQAppManager::_launchedTQApps() const
{
    AppList out;
    if (!_running) return out;
    for (const RunningApp &running : _running->runningApplications()) {
        auto app = std::make_shared<TQApp>(running.path);
        if (!running.icon.isNull()) app->setIcon(running.icon);
        out.append(app);
    }
    return out;
}

const AppList &TQAppManager::runningApps()
{
    if (_runningApps.isEmpty() && _running) {
        _runningApps = _launchedTQApps();
        for (const TQAppPtr &app : std::as_const(_runningApps))
            nameEntry(app);
    }
    return _runningApps;
}

void TQAppManager::runningAppsListDidChange()
{
    QHash<QString, TQAppPtr> remembered;
    for (const TQAppPtr &app : std::as_const(_runningApps))
        remembered.insert(app->path(), app);

    AppList rebuilt;
    AppList withEntryIcons; // entries whose icon comes from their file, not from a window
    if (_running) {
        for (const RunningApp &running : _running->runningApplications()) {
            TQAppPtr app = remembered.value(TQApp::standardizePath(running.path));
            if (!app) {
                app = std::make_shared<TQApp>(running.path);
                if (const TQAppPtr known = existingAppForPath(app->path());
                    known && known->hasDisplayName())
                    app->setDisplayName(known->name());
                else
                    nameEntry(app);
                if (!running.icon.isNull()) app->setIcon(running.icon);
            }
            if (running.matched) withEntryIcons.append(app);
            rebuilt.append(app);
        }
    }
    _runningApps = rebuilt;
    sortArray(_runningApps); // leaves launch order alone when "sortRunningByLaunchOrder" is on
    loadIconsForApps(withEntryIcons);
    _frontApps.removeIf(
        [this](const TQAppPtr &app) { return indexOfPath(_runningApps, app->path()) < 0; });
    announce(Running);
}

bool TQAppManager::isAppRunning(const TQAppPtr &app) const
{
    return app && indexOfPath(_runningApps, app->path()) >= 0;
}

void TQAppManager::quitApp(const TQAppPtr &app) const
{
    if (app) app->quit();
}

TQAppPtr TQAppManager::activeApp()
{
    if (!_running) return nullptr;
    const QString path = _running->activeApplicationPath();
    if (path.isEmpty()) return nullptr;
    const AppList &running = runningApps();
    const qsizetype index = indexOfPath(running, TQApp::standardizePath(path));
    if (index >= 0) return running.at(index);
    auto app = std::make_shared<TQApp>(path);
    nameEntry(app);
    loadIconsForApps(AppList{app});
    return app;
}

void TQAppManager::handleAppFrontSwitched()
{
    const TQAppPtr active = activeApp();
    if (!active) return;
    const qsizetype index = indexOfPath(_frontApps, active->path());
    if (index >= 0) _frontApps.removeAt(index);
    _frontApps.append(active);
}

TQAppPtr TQAppManager::lastActiveApp()
{
    // Kelp itself, as the running layer names it (its desktop entry when one launched it).
    QString selfPath =
        _running ? _running->pathForPid(QCoreApplication::applicationPid()) : QString();
    if (selfPath.isEmpty()) selfPath = QCoreApplication::applicationFilePath();
    selfPath = TQApp::standardizePath(selfPath);

    for (auto it = _frontApps.crbegin(); it != _frontApps.crend(); ++it) {
        if ((*it)->path() != selfPath) return *it;
    }
    const AppList &running = runningApps();
    if (running.isEmpty()) return nullptr;
    for (auto it = running.crbegin(); it != running.crend(); ++it) {
        if ((*it)->path() != selfPath) return *it;
    }
    return running.first();
}

void TQAppManager::refreshRunningApps()
{
    if (!_running) return;
    _running->setKnownApplications(pathsFromApps(_allApps1D));
    runningAppsListDidChange();
}

AppList TQAppManager::allAppsThatCanAcceptURL(const QUrl &item) const
{
    const AppLauncher *launcher = desktop().launcher.get();
    return launcher ? entriesFor(_allApps1D, launcher->appsThatCanAccept(item)) : AppList();
}

AppList TQAppManager::allAppsThatPreferURL(const QUrl &item) const
{
    const AppLauncher *launcher = desktop().launcher.get();
    return launcher ? entriesFor(_allApps1D, launcher->appsThatPrefer(item)) : AppList();
}

} // namespace kelp
