#include "catalogue/TQAppManager.h"

#include "catalogue/FolderWalker.h"
#include "catalogue/TQNode.h"
#include "desktop/AppsOnDisk.h"
#include "desktop/Desktop.h"
#include "desktop/RunningApplications.h"
#include "extras/Logging.h"
#include "extras/Notifications.h"
#include "settings/Defaults.h"

#include <QFileInfo>

#include <algorithm>

namespace kelp {

QVariantMap TQAppManager::registeredDefaults()
{
    return registeredDefaultsOf(SettingOwner::Catalogue);
}

TQAppManager::TQAppManager(Defaults &defaults, std::shared_ptr<const AppsOnDisk> appsOnDisk,
                           QObject *parent)
    : QObject(parent), _defaults(defaults), _appsOnDisk(std::move(appsOnDisk)), _files(defaults),
      _running(
          defaults, _names, [this](const QString &path) { return existingAppForPath(path); },
          [this](const AppList &apps) { loadIconsForApps(apps); })
{
    _defaults.registerDefaults(registeredDefaults());
    updateMaxRecursionDepth();

    connect(&_watcher, &ScanFolderWatcher::scanDue, this, &TQAppManager::fullScan);
    connect(&_watcher, &ScanFolderWatcher::watchStarted, this, &TQAppManager::watchStarted);
    connect(&_running, &RunningGroup::changed, this, [this]() { announce(Group::Running); });

    // Several edits of the scan-folder list in a row cause one scan, once the edits are over.
    _scanPathListTimer.setSingleShot(true);
    _scanPathListTimer.setInterval(0);
    connect(&_scanPathListTimer, &QTimer::timeout, this, &TQAppManager::scanPathListDidChange);

    connect(&_defaults, &Defaults::changed, this, &TQAppManager::defaultsChanged);
    setUpIconLoading();
    // A launch (on a thread of its own) found its entry or program gone: scan again.
    connect(
        &Notifications::instance(), &Notifications::appIsMissing, this,
        [this]() { queueScanPathListChanged(); }, Qt::QueuedConnection);
    setRunningApplications(desktop().running);
}

TQAppManager::~TQAppManager()
{
    // Workers post their results to this object: let them finish first.
    if (_cancelWalk) _cancelWalk->store(true);
    _pool.waitForDone();
}

// --- Entries and groups ---------------------------------------------------------------------

TQAppPtr TQAppManager::appForPath(const QString &path)
{
    const QString standard = TQApp::standardizePath(path);
    if (TQAppPtr existing = _everything.value(standard)) return existing;
    auto app = std::make_shared<TQApp>(standard);
    nameEntry(app);
    _everything.insert(standard, app);
    return app;
}

TQAppPtr TQAppManager::existingAppForPath(const QString &path) const
{
    return _everything.value(TQApp::standardizePath(path));
}

void TQAppManager::nameEntry(const TQAppPtr &app)
{
    app->setDisplayName(_names.name(app->path()));
}

const AppList *TQAppManager::flatArrayForGroup(Group group) const
{
    switch (group) {
    case Group::Running:
        return &_running.apps();
    case Group::Included1D:
        return &_groups.included1D;
    case Group::Excluded1D:
        return &_groups.excluded1D;
    case Group::All1D:
        return &_groups.all1D;
    case Group::Missing:
        return &_groups.missing;
    case Group::User1D:
        return &_groups.user1D;
    default:
        return nullptr;
    }
}

const AppLists *TQAppManager::bunchedArrayForGroup(Group group) const
{
    switch (group) {
    case Group::Included:
        return &_groups.included;
    case Group::Excluded:
        return &_groups.excluded;
    case Group::All:
        return &_groups.all;
    case Group::User:
        return &_groups.user;
    default:
        return nullptr;
    }
}

qsizetype TQAppManager::allAppsTotalCount() const
{
    qsizetype n = 0;
    for (const AppList &inner : _groups.all)
        n += inner.size();
    return n;
}

namespace {
qsizetype longest(const AppLists &lists)
{
    qsizetype n = 0;
    for (const AppList &inner : lists)
        n = std::max(n, inner.size());
    return n;
}
} // namespace

qsizetype TQAppManager::allAppsLongestArrayCount() const
{
    return longest(_groups.all);
}

qsizetype TQAppManager::includedAppsLongestArrayCount() const
{
    return longest(_groups.included);
}

QStringList TQAppManager::pathsFromApps(const AppList &apps)
{
    QStringList paths;
    paths.reserve(apps.size());
    for (const TQAppPtr &a : apps)
        paths.append(a->path());
    return paths;
}

QList<QStringList> TQAppManager::pathArraysFromAppArrays(const AppLists &apps)
{
    QList<QStringList> out;
    out.reserve(apps.size());
    for (const AppList &inner : apps)
        out.append(pathsFromApps(inner));
    return out;
}

AppList TQAppManager::appsFromPaths(const QStringList &paths)
{
    AppList apps;
    apps.reserve(paths.size());
    for (const QString &p : paths)
        apps.append(appForPath(p));
    return apps;
}

// --- Files ----------------------------------------------------------------------------------

void TQAppManager::readAllAppsFromDisk()
{
    const auto all = CatalogueFiles::pathListsIn(
        _files.read(CatalogueFiles::kAllApplicationsFile, CatalogueFiles::UserDomain));
    if (!all) return;
    _groups.all.clear();
    for (const QStringList &paths : *all)
        _groups.all.append(appsFromPaths(paths));
    announce(Group::All);
    rebuildAllApps1D();
}

void TQAppManager::readExcludedApps1DFromDisk()
{
    const QString file = CatalogueFiles::kExcludedApplicationsFile;
    const QStringList paths =
        CatalogueFiles::pathsIn(_files.read(file, CatalogueFiles::UserDomain)) +
        CatalogueFiles::pathsIn(_files.read(file, CatalogueFiles::LocalDomain));
    QSet<QString> unique;
    AppList excluded;
    for (const QString &p : paths) {
        const QString standard = TQApp::standardizePath(p);
        if (unique.contains(standard)) continue;
        unique.insert(standard);
        excluded.append(appForPath(standard));
    }
    if (excluded.isEmpty()) return;
    _groups.excluded1D = excluded;
    sortArray(_groups.excluded1D);
    announce(Group::Excluded1D);
}

void TQAppManager::readUserAppsFromDisk()
{
    const QVariant file =
        _files.read(CatalogueFiles::kUserApplicationsFile, CatalogueFiles::UserDomain);
    if (!file.isValid()) return;
    if (const auto bunches = CatalogueFiles::pathListsIn(file)) {
        _groups.user.clear();
        for (const QStringList &paths : *bunches)
            _groups.user.append(appsFromPaths(paths)); // a bunch is never empty
        announce(Group::User);
    }
    const QStringList flat = CatalogueFiles::pathsIn(
        _files.read(CatalogueFiles::kUserApplications1DFile, CatalogueFiles::UserDomain));
    if (!flat.isEmpty()) {
        _groups.user1D = appsFromPaths(flat);
        announce(Group::User1D);
    } else {
        rebuildUserApps1D();
    }
}

void TQAppManager::favouritesChanged()
{
    announce({Group::User, Group::User1D});
    _files.write(pathArraysFromAppArrays(_groups.user), CatalogueFiles::kUserApplicationsFile);
    _files.write(pathsFromApps(_groups.user1D), CatalogueFiles::kUserApplications1DFile);
}

void TQAppManager::writeExclusionFile()
{
    _files.write(pathsFromApps(_groups.excluded1D), CatalogueFiles::kExcludedApplicationsFile);
}

// --- Derivations ----------------------------------------------------------------------------

void TQAppManager::rebuildAllApps1D()
{
    _groups.all1D = GroupDerivation::flatten(_groups.all);
    announce(Group::All1D);
}

void TQAppManager::rebuildUserApps1D()
{
    _groups.user1D = GroupDerivation::flatten(_groups.user);
    announce(Group::User1D);
}

void TQAppManager::rebuildEverythingSet()
{
    _everything = GroupDerivation::everything(_groups);
}

void TQAppManager::rebuildDependentApps()
{
    announce(
        GroupDerivation::rebuildDependent(_groups, [this](AppList &array) { sortArray(array); }));
}

// --- Exclusions -----------------------------------------------------------------------------

void TQAppManager::excludeApp(const TQAppPtr &app)
{
    if (!app) return;
    if (!containsApp(_groups.excluded1D, app)) {
        _groups.excluded1D.append(app);
        announce(Group::Excluded1D);
        writeExclusionFile();
    }
    rebuildDependentApps();
}

void TQAppManager::includeApp(const TQAppPtr &app)
{
    if (!app) return;
    removePaths(_groups.excluded1D, {app->path()});
    announce(Group::Excluded1D);
    writeExclusionFile();
    rebuildDependentApps();
}

int TQAppManager::autoExcludeDockApps(bool dockApps, bool namedApps)
{
    int count = 0;
    auto exclude = [&](const TQAppPtr &app) {
        if (app && containsApp(_groups.all1D, app) && !containsApp(_groups.excluded1D, app)) {
            _groups.excluded1D.append(app);
            ++count;
        }
    };
    if (namedApps) {
        for (const TQAppPtr &a : std::as_const(_groups.all1D)) {
            if (a->containsExcludedKeywords()) exclude(a);
        }
    }
    if (dockApps) {
        for (const QString &path : CatalogueFiles::dockApplicationPaths())
            exclude(appForPath(path));
        // The desktop's own favourites are already one click away.
        if (_appsOnDisk) {
            const QStringList ids = _appsOnDisk->desktopFavouriteIds();
            if (!ids.isEmpty()) {
                for (const TQAppPtr &a : std::as_const(_groups.all1D)) {
                    if (ids.contains(desktopIdForPath(a->path()))) exclude(a);
                }
            }
        }
    }
    if (count > 0) {
        announce(Group::Excluded1D);
        writeExclusionFile();
        rebuildDependentApps();
    }
    return count;
}

// --- Favourites -----------------------------------------------------------------------------

void TQAppManager::moveApp(const TQAppPtr &app, Group group, qint64 bunch, qint64 index)
{
    if (!app || (group != Group::User && group != Group::User1D)) return;
    Favourites favourites(_groups.user, _groups.user1D);
    const bool moved = group == Group::User1D ? favourites.moveInFlatOrder(app, index)
                                              : favourites.moveInBunches(app, bunch, index);
    if (moved) favouritesChanged();
}

void TQAppManager::moveAppToNewBunch(const TQAppPtr &app, Group group, qint64 index)
{
    if (!app || (group != Group::User && group != Group::User1D)) return;
    Favourites(_groups.user, _groups.user1D).moveToNewBunch(app, index);
    favouritesChanged();
}

void TQAppManager::removeAppsFromUserApps(const AppList &apps)
{
    if (Favourites(_groups.user, _groups.user1D).remove(pathSet(apps))) favouritesChanged();
}

void TQAppManager::removeAppsFromAllArrays(const AppList &apps)
{
    const QSet<QString> paths = pathSet(apps);
    if (std::none_of(paths.cbegin(), paths.cend(),
                     [this](const QString &p) { return _everything.contains(p); }))
        return;
    removeAppsFromUserApps(apps);
    announce(GroupDerivation::removeFromScannedGroups(_groups, paths));
    rebuildEverythingSet();
}

void TQAppManager::locateUserApps()
{
    Favourites(_groups.user, _groups.user1D).locate(_groups.all1D);
    favouritesChanged();
}

// --- Sorting --------------------------------------------------------------------------------

// Every group but the favourites and, when it keeps launch order, the running one.
void TQAppManager::sortArray(AppList &array)
{
    if (array.isEmpty()) return;
    GroupDerivation::sortApps(array, _defaults.value(Key::GroupContentsSortOrder));
}

void TQAppManager::sortAllApps()
{
    for (AppList &inner : _groups.all)
        sortArray(inner);
    sortArray(_groups.all1D);
    announce({Group::All, Group::All1D});
}

void TQAppManager::sortAllArrays()
{
    sortAllApps();
    for (AppList &inner : _groups.included)
        sortArray(inner);
    sortArray(_groups.included1D);
    for (AppList &inner : _groups.excluded)
        sortArray(inner);
    sortArray(_groups.excluded1D);
    announce({Group::Included, Group::Included1D, Group::Excluded, Group::Excluded1D});
    if (!_defaults.value(Key::SortRunningByLaunchOrder)) {
        _running.sort();
        announce(Group::Running);
    }
}

// --- Settings -------------------------------------------------------------------------------

void TQAppManager::defaultsChanged(const QString &key, const QVariant &oldValue,
                                   const QVariant &newValue)
{
    if (Key::GroupContentsSortOrder.is(key)) {
        sortAllArrays();
    } else if (Key::SearchDirectories.is(key) || Key::ScanDirectories.is(key)) {
        queueScanPathListChanged();
    } else if (Key::SortRunningByLaunchOrder.is(key)) {
        _running.rebuild();
    } else if (Key::MaxFolderRecursionDepth.is(key)) {
        // Read at the start of the next walk.
    } else if (Key::ColorSortGrayThreshold.is(key) || Key::ColorSortWrapHue.is(key) ||
               Key::ColorSortMinSaturation.is(key) || Key::ColorSortMinLuminosity.is(key) ||
               Key::ColorSortGraysBySecondaryColor.is(key)) {
        colourSettingChanged(oldValue, newValue);
    }
}

void TQAppManager::queueScanPathListChanged()
{
    if (!_scanPathListTimer.isActive()) _scanPathListTimer.start();
}

// --- Scanning -------------------------------------------------------------------------------

QStringList TQAppManager::pathsToScan() const
{
    QStringList out;
    for (const QVariant &record : _defaults.value(Key::SearchDirectories)) {
        const QString p = record.toMap().value(QStringLiteral("path")).toString();
        if (p.isEmpty()) continue;
        const QString standard = TQApp::standardizePath(p);
        const QString resolved = QFileInfo(standard).canonicalFilePath();
        const QString path = resolved.isEmpty() ? standard : resolved;
        if (!out.contains(path)) out.append(path);
    }
    return out;
}

void TQAppManager::updateMaxRecursionDepth()
{
    _maxRecursionDepth = FolderWalker::clampDepth(_defaults.value(Key::MaxFolderRecursionDepth));
}

void TQAppManager::showProgressStep(int step, int count, const QString &label)
{
    const bool busy = step != 0 && count != 0;
    if (busy != _isBusyScanning) {
        _isBusyScanning = busy;
        Q_EMIT isBusyScanningChanged(busy);
    }
    Q_EMIT progressStep(step, count, label);
}

void TQAppManager::scanSearchFoldersForAllApps(std::function<void()> done)
{
    if (done) _afterWalk.append(std::move(done));
    if (_walking) {
        // The folders may have changed since the walk under way started: walk again after it.
        _walkAgain = true;
        return;
    }
    _walking = true;
    updateMaxRecursionDepth();
    _groups.all.clear();
    announce(Group::All);

    if (!_appsOnDisk) {
        qCWarning(lcCatalogue) << "No desktop layer to classify files; the catalogue stays empty";
        applyWalk(WalkResult{});
        return;
    }
    const QStringList folders = pathsToScan();
    const int depth = _maxRecursionDepth;
    if (!_walkInBackground) {
        FolderWalker walker(*_appsOnDisk, folders, depth);
        walker.setProgress([this](int s, int c, const QString &l) { showProgressStep(s, c, l); });
        applyWalk(walker.walk());
        return;
    }
    // The pool is waited for in the destructor, so `this` outlives the worker.
    _cancelWalk = std::make_shared<std::atomic<bool>>(false);
    auto appsOnDisk = _appsOnDisk;
    auto cancel = _cancelWalk;
    _pool.start([this, appsOnDisk, cancel, folders, depth]() {
        FolderWalker walker(*appsOnDisk, folders, depth);
        walker.setCancelFlag(cancel.get());
        walker.setProgress([this](int s, int c, const QString &l) {
            QMetaObject::invokeMethod(
                this, [this, s, c, l]() { showProgressStep(s, c, l); }, Qt::QueuedConnection);
        });
        WalkResult result = walker.walk();
        if (cancel->load()) return;
        QMetaObject::invokeMethod(
            this, [this, result = std::move(result)]() { applyWalk(result); },
            Qt::QueuedConnection);
    });
}

void TQAppManager::applyWalk(const WalkResult &result)
{
    _groups.all.clear();
    bool namesChanged = false;
    for (const QList<FoundApp> &folder : result.perFolder) {
        AppList inner;
        inner.reserve(folder.size());
        for (const FoundApp &found : folder) {
            TQAppPtr app = appForPath(found.path);
            if (app->name() != (found.name.isEmpty() ? app->fileBaseName() : found.name) ||
                !app->hasLetters())
                app->setDisplayName(found.name);
            namesChanged |= _names.remember(app->path(), found.name, found.modified);
            inner.append(app);
        }
        _groups.all.append(inner);
    }
    announce(Group::All);
    rebuildAllApps1D();
    _files.write(pathArraysFromAppArrays(_groups.all), CatalogueFiles::kAllApplicationsFile);
    if (namesChanged) saveNameCache();
    showProgressStep(0, 0, QString());
    _walking = false;
    if (_walkAgain) {
        _walkAgain = false;
        scanSearchFoldersForAllApps();
        return;
    }
    const auto continuations = std::exchange(_afterWalk, {});
    for (const auto &next : continuations)
        next();
}

void TQAppManager::saveNameCache()
{
    _names.save([this](const QString &path) { return _everything.contains(path); });
}

void TQAppManager::fullScan()
{
    _watcher.cancelScheduledScan();
    scanSearchFoldersForAllApps([this]() {
        sortAllApps();
        rebuildDependentApps();
        rebuildEverythingSet();
        refreshRunningApps();
        loadAllIconsPrioritizingGroup(Group::All);
        Q_EMIT rescanFinished();
    });
}

void TQAppManager::rescanAllAppsPrioritizingGroup(Group group, bool forceWalk)
{
    if (_groups.all.isEmpty() && !forceWalk) {
        readAllAppsFromDisk();
        if (!_groups.all.isEmpty()) {
            // Names come from the cache; check them against the files in the background.
            _names.refresh(pathsFromApps(_groups.all1D), _appsOnDisk,
                           _walkInBackground ? &_pool : nullptr, this,
                           [this, group](const QList<FoundApp> &fresh) {
                               for (const FoundApp &f : fresh) {
                                   if (TQAppPtr app = existingAppForPath(f.path))
                                       app->setDisplayName(f.name);
                               }
                               if (!fresh.isEmpty()) {
                                   saveNameCache();
                                   Q_EMIT namesRefreshed();
                               }
                               continueRescan(group);
                           });
            return;
        }
    }
    scanSearchFoldersForAllApps([this, group]() { continueRescan(group); });
}

void TQAppManager::continueRescan(Group group)
{
    sortAllApps();
    readExcludedApps1DFromDisk();
    readUserAppsFromDisk();
    rebuildDependentApps();
    rebuildEverythingSet();
    refreshRunningApps();
    loadAllIconsPrioritizingGroup(group);
    Q_EMIT rescanFinished();
}

void TQAppManager::scanPathListDidChange()
{
    fullScan();
    startSpotlightQuery();
}

QStringList TQAppManager::spotlightScanPaths() const
{
    QStringList standardised;
    for (const QString &p : pathsToScan())
        standardised.append(TQApp::standardizePath(p));
    return TQNode::scopeForPaths(standardised);
}

void TQAppManager::startSpotlightQuery()
{
    _watcher.watch(spotlightScanPaths(), _maxRecursionDepth);
}

} // namespace kelp
