#include "catalogue/RunningGroup.h"

#include "catalogue/GroupDerivation.h"
#include "catalogue/NameCache.h"
#include "desktop/AppLauncher.h"
#include "desktop/Desktop.h"
#include "desktop/RunningApplications.h"
#include "extras/Timing.h"
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

// The entries whose path, or whose desktop-file ID, is among the applications given.
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

RunningGroup::RunningGroup(Defaults &defaults, NameCache &names, KnownEntry knownEntry,
                           LoadIcons loadIcons, QObject *parent)
    : QObject(parent), _defaults(defaults), _names(names), _knownEntry(std::move(knownEntry)),
      _loadIcons(std::move(loadIcons))
{}

void RunningGroup::nameEntry(const TQAppPtr &app) const
{
    app->setDisplayName(_names.name(app->path()));
}

void RunningGroup::setRunningApplications(std::shared_ptr<RunningApplications> running)
{
    if (_running) disconnect(_running.get(), nullptr, this, nullptr);
    _running = std::move(running);
    _frontApps.clear();
    if (!_running) return;
    connect(_running.get(), &RunningApplications::launched, this, &RunningGroup::rebuild);
    connect(_running.get(), &RunningApplications::terminated, this, &RunningGroup::rebuild);
    connect(_running.get(), &RunningApplications::frontSwitched, this,
            &RunningGroup::frontSwitched);
    connect(_running.get(), &RunningApplications::matchingChanged, this, &RunningGroup::rebuild);
    if (TQAppPtr active = activeApp()) _frontApps.append(active);
}

AppList RunningGroup::launchedApps() const
{
    AppList out;
    if (!_running) return out;
    for (const RunningApp &running : _running->runningApplications()) {
        auto app = std::make_shared<TQApp>(running.path);
        if (!running.icon.isNull()) app->setIcon(running.icon);
        if (!running.name.isEmpty()) app->setDisplayName(running.name);
        out.append(app);
    }
    return out;
}

const AppList &RunningGroup::appsFilled()
{
    if (_apps.isEmpty() && _running) {
        _apps = launchedApps();
        for (const TQAppPtr &app : std::as_const(_apps)) {
            if (!app->hasDisplayName()) nameEntry(app);
        }
    }
    return _apps;
}

void RunningGroup::rebuild()
{
    QHash<QString, TQAppPtr> remembered;
    for (const TQAppPtr &app : std::as_const(_apps))
        remembered.insert(app->path(), app);

    AppList rebuilt;
    AppList withEntryIcons; // entries whose icon comes from their file, not from a window
    if (_running) {
        for (const RunningApp &running : _running->runningApplications()) {
            TQAppPtr app = remembered.value(TQApp::standardizePath(running.path));
            if (!app) {
                app = std::make_shared<TQApp>(running.path);
                if (const TQAppPtr known = _knownEntry(app->path());
                    known && known->hasDisplayName())
                    app->setDisplayName(known->name());
                else if (!running.name.isEmpty())
                    app->setDisplayName(running.name);
                else
                    nameEntry(app);
                if (!running.icon.isNull()) app->setIcon(running.icon);
            }
            if (running.matched) withEntryIcons.append(app);
            rebuilt.append(app);
        }
    }
    _apps = rebuilt;
    sort();
    if (!withEntryIcons.isEmpty()) _loadIcons(withEntryIcons);
    _frontApps.removeIf(
        [this](const TQAppPtr &app) { return indexOfPath(_apps, app->path()) < 0; });
    Q_EMIT changed();
    if (lcTiming().isDebugEnabled()) {
        QStringList paths;
        for (const TQAppPtr &app : std::as_const(_apps))
            paths.append(app->path());
        timing::runningGroupRebuilt(paths);
    }
}

void RunningGroup::sort()
{
    if (_apps.isEmpty() || _defaults.value(Key::SortRunningByLaunchOrder)) return;
    GroupDerivation::sortApps(_apps, _defaults.value(Key::GroupContentsSortOrder));
}

bool RunningGroup::isRunning(const TQAppPtr &app) const
{
    return app && indexOfPath(_apps, app->path()) >= 0;
}

TQAppPtr RunningGroup::activeApp()
{
    if (!_running) return nullptr;
    const QString path = _running->activeApplicationPath();
    if (path.isEmpty()) return nullptr;
    const AppList &running = appsFilled();
    const qsizetype index = indexOfPath(running, TQApp::standardizePath(path));
    if (index >= 0) return running.at(index);
    auto app = std::make_shared<TQApp>(path);
    nameEntry(app);
    _loadIcons(AppList{app});
    return app;
}

void RunningGroup::frontSwitched()
{
    const TQAppPtr active = activeApp();
    if (!active) return;
    const qsizetype index = indexOfPath(_frontApps, active->path());
    if (index >= 0) _frontApps.removeAt(index);
    _frontApps.append(active);
}

TQAppPtr RunningGroup::lastActiveApp()
{
    // Kelp itself, as the running layer names it (its desktop entry when one launched it).
    QString selfPath =
        _running ? _running->pathForPid(QCoreApplication::applicationPid()) : QString();
    if (selfPath.isEmpty()) selfPath = QCoreApplication::applicationFilePath();
    selfPath = TQApp::standardizePath(selfPath);

    for (auto it = _frontApps.crbegin(); it != _frontApps.crend(); ++it) {
        if ((*it)->path() != selfPath) return *it;
    }
    const AppList &running = appsFilled();
    if (running.isEmpty()) return nullptr;
    for (auto it = running.crbegin(); it != running.crend(); ++it) {
        if ((*it)->path() != selfPath) return *it;
    }
    return running.first();
}

void RunningGroup::refresh(const AppList &catalogueEntries)
{
    if (!_running) return;
    QStringList paths;
    paths.reserve(catalogueEntries.size());
    for (const TQAppPtr &a : catalogueEntries)
        paths.append(a->path());
    _running->setKnownApplications(paths);
    rebuild();
}

AppList RunningGroup::appsThatCanAcceptURL(const QUrl &item, const AppList &entries)
{
    const AppLauncher *launcher = desktop().launcher.get();
    return launcher ? entriesFor(entries, launcher->appsThatCanAccept(item)) : AppList();
}

AppList RunningGroup::appsThatPreferURL(const QUrl &item, const AppList &entries)
{
    const AppLauncher *launcher = desktop().launcher.get();
    return launcher ? entriesFor(entries, launcher->appsThatPrefer(item)) : AppList();
}

} // namespace kelp
