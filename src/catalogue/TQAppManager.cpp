#include "catalogue/TQAppManager.h"

#include "catalogue/FolderWalker.h"
#include "catalogue/TQNode.h"
#include "desktop/AppsOnDisk.h"
#include "desktop/Desktop.h"
#include "desktop/RunningApplications.h"
#include "extras/Logging.h"
#include "extras/Notifications.h"
#include "extras/Plist.h"
#include "settings/Defaults.h"

#include <QDataStream>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QSaveFile>
#include <QStandardPaths>
#include <QThreadPool>

#include <algorithm>

namespace kelp {
namespace {

bool containsApp(const AppList &list, const TQAppPtr &app)
{
    if (!app) return false;
    return std::any_of(list.cbegin(), list.cend(),
                       [&](const TQAppPtr &a) { return a->path() == app->path(); });
}

qsizetype indexOfApp(const AppList &list, const TQAppPtr &app)
{
    if (!app) return -1;
    for (qsizetype i = 0; i < list.size(); ++i) {
        if (list.at(i)->path() == app->path()) return i;
    }
    return -1;
}

QSet<QString> pathSet(const AppList &list)
{
    QSet<QString> set;
    set.reserve(list.size());
    for (const TQAppPtr &a : list)
        set.insert(a->path());
    return set;
}

// Removes the entries whose path is in the set; returns whether anything was removed.
bool removePaths(AppList &list, const QSet<QString> &paths)
{
    const qsizetype before = list.size();
    list.removeIf([&](const TQAppPtr &a) { return paths.contains(a->path()); });
    return list.size() != before;
}

bool sharesAny(const AppList &list, const QSet<QString> &paths)
{
    return std::any_of(list.cbegin(), list.cend(),
                       [&](const TQAppPtr &a) { return paths.contains(a->path()); });
}

qint64 clampIndex(qint64 index, qsizetype count)
{
    return std::clamp<qint64>(index, 0, static_cast<qint64>(count));
}

bool isTwoLevelVariant(const QVariantList &list)
{
    return !list.isEmpty() && list.first().typeId() == QMetaType::QVariantList;
}

QStringList stringsOf(const QVariant &value)
{
    QStringList out;
    for (const QVariant &v : value.toList()) {
        if (v.typeId() == QMetaType::QString && !v.toString().isEmpty()) out.append(v.toString());
    }
    return out;
}

QString nameCachePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
           QStringLiteral("/Kelp/AppNames.cache");
}

// Keeps a file that could not be understood beside the new one, so nothing the user arranged is
// lost for good when Kelp writes the file again.
void keepAside(const QString &path, const QString &reason)
{
    const QString aside = path + QStringLiteral(".corrupt-") +
                          QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    if (QFile::rename(path, aside))
        qCWarning(lcCatalogue).noquote()
            << path << "could not be read (" + reason + "); kept as" << aside;
    else
        qCWarning(lcCatalogue).noquote() << path << "could not be read (" + reason + ")";
}

} // namespace

QVariantMap TQAppManager::registeredDefaults()
{
    return registeredDefaultsOf(SettingOwner::Catalogue);
}

TQAppManager::TQAppManager(Defaults &defaults, std::shared_ptr<const AppsOnDisk> appsOnDisk,
                           QObject *parent)
    : QObject(parent), _defaults(defaults), _appsOnDisk(std::move(appsOnDisk))
{
    _defaults.registerDefaults(registeredDefaults());
    updateMaxRecursionDepth();

    _fullScanTimer.setSingleShot(true);
    _fullScanTimer.setInterval(5000);
    connect(&_fullScanTimer, &QTimer::timeout, this, &TQAppManager::fullScan);

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
    if (!_nameCacheLoaded) loadNameCache();
    const auto cached = _nameCache.constFind(app->path());
    app->setDisplayName(cached == _nameCache.constEnd() ? QString() : cached->name);
}

bool TQAppManager::isTwoLevelGroup(int group)
{
    return group == Included || group == Excluded || group == All || group == User;
}

const AppList *TQAppManager::flatArrayForGroup(int group) const
{
    switch (group) {
    case Running:
        return &_runningApps;
    case Included1D:
        return &_includedApps1D;
    case Excluded1D:
        return &_excludedApps1D;
    case All1D:
        return &_allApps1D;
    case Missing:
        return &_missingApps;
    case User1D:
        return &_userApps1D;
    default:
        return nullptr;
    }
}

const AppLists *TQAppManager::bunchedArrayForGroup(int group) const
{
    switch (group) {
    case Included:
        return &_includedApps;
    case Excluded:
        return &_excludedApps;
    case All:
        return &_allApps;
    case User:
        return &_userApps;
    default:
        return nullptr;
    }
}

int TQAppManager::groupForAppArray(const void *array) const
{
    static const int order[] = {Running,  All,        All1D,   Included, Included1D,
                                Excluded, Excluded1D, Missing, User,     User1D};
    for (int group : order) {
        const void *candidate = isTwoLevelGroup(group)
                                    ? static_cast<const void *>(bunchedArrayForGroup(group))
                                    : static_cast<const void *>(flatArrayForGroup(group));
        if (candidate == array) return group;
    }
    return NoGroup;
}

QString TQAppManager::arrayNameForGroup(int group)
{
    static const char *names[] = {
        "runningApps", "includedApps", "includedApps1D", "excludedApps", "excludedApps1D",
        "allApps",     "allApps1D",    "missingApps",    "userApps",     "userApps1D"};
    return group >= 0 && group <= 9 ? QString::fromLatin1(names[group]) : QString();
}

qsizetype TQAppManager::allAppsTotalCount() const
{
    qsizetype n = 0;
    for (const AppList &inner : _allApps)
        n += inner.size();
    return n;
}

qsizetype TQAppManager::allAppsLongestArrayCount() const
{
    qsizetype n = 0;
    for (const AppList &inner : _allApps)
        n = std::max(n, inner.size());
    return n;
}

qsizetype TQAppManager::includedAppsLongestArrayCount() const
{
    qsizetype n = 0;
    for (const AppList &inner : _includedApps)
        n = std::max(n, inner.size());
    return n;
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

AppLists TQAppManager::appArraysFromPathArrays(const QList<QStringList> &paths)
{
    AppLists out;
    out.reserve(paths.size());
    for (const QStringList &inner : paths)
        out.append(appsFromPaths(inner));
    return out;
}

void TQAppManager::announce(int group)
{
    switch (group) {
    case Running:
        Q_EMIT runningAppsChanged();
        break;
    case Included:
        Q_EMIT includedAppsChanged();
        break;
    case Included1D:
        Q_EMIT includedApps1DChanged();
        break;
    case Excluded:
        Q_EMIT excludedAppsChanged();
        break;
    case Excluded1D:
        Q_EMIT excludedApps1DChanged();
        break;
    case All:
        Q_EMIT allAppsChanged();
        break;
    case All1D:
        Q_EMIT allApps1DChanged();
        break;
    case Missing:
        Q_EMIT missingAppsChanged();
        break;
    case User:
        Q_EMIT userAppsChanged();
        break;
    case User1D:
        Q_EMIT userApps1DChanged();
        break;
    default:
        break;
    }
}

// --- Files ----------------------------------------------------------------------------------

QString TQAppManager::catalogueFolder()
{
    QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (base.isEmpty()) base = QDir::tempPath();
    return base + QStringLiteral("/Kelp");
}

QStringList TQAppManager::machineCatalogueFolders()
{
    QStringList out;
    const QString user = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    for (const QString &dir :
         QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation)) {
        if (dir != user) out.append(dir + QStringLiteral("/Kelp"));
    }
    return out;
}

bool TQAppManager::writePaths(const QVariant &paths, const QString &fileName, Domain domain)
{
    if (domain != UserDomain) return false; // the machine's files are the administrator's
    if (!_usesApplicationSupportFolder) {
        _defaults.setValue(QFileInfo(fileName).completeBaseName(), paths);
        _defaults.synchronize();
        return true;
    }
    const QString folder = catalogueFolder();
    if (!QDir().mkpath(folder)) {
        qCWarning(lcCatalogue) << "Cannot create the catalogue folder" << folder;
        return false;
    }
    QString error;
    const QString path = folder + QLatin1Char('/') + fileName;
    if (!plist::writeXmlFile(path, paths, &error)) {
        qCWarning(lcCatalogue).noquote() << "Cannot write" << path << ":" << error;
        return false;
    }
    return true;
}

bool TQAppManager::writeAppArrays(const AppList &apps, const QString &fileName, Domain domain)
{
    return writePaths(QVariant(pathsFromApps(apps)), fileName, domain);
}

bool TQAppManager::writeAppArrays(const AppLists &apps, const QString &fileName, Domain domain)
{
    QVariantList outer;
    outer.reserve(apps.size());
    for (const AppList &inner : apps)
        outer.append(QVariant(pathsFromApps(inner)));
    return writePaths(QVariant(outer), fileName, domain);
}

QVariant TQAppManager::readPathArraysFromAppSupportFile(const QString &fileName, Domain domain)
{
    if (!_usesApplicationSupportFolder) {
        if (domain != UserDomain) return {};
        const QVariant v = _defaults.value(QFileInfo(fileName).completeBaseName());
        return v.typeId() == QMetaType::QVariantList ? v : QVariant();
    }
    const QStringList folders =
        domain == UserDomain ? QStringList{catalogueFolder()} : machineCatalogueFolders();
    QVariantList merged;
    bool found = false;
    for (const QString &folder : folders) {
        const QString path = folder + QLatin1Char('/') + fileName;
        const plist::ReadResult read = plist::readFile(path);
        switch (read.status) {
        case plist::ReadResult::Missing:
            continue;
        case plist::ReadResult::Unreadable:
            qCWarning(lcCatalogue).noquote() << "Cannot read" << path << ":" << read.error;
            continue;
        case plist::ReadResult::Corrupt:
            if (domain == UserDomain)
                keepAside(path, read.error);
            else
                qCWarning(lcCatalogue).noquote() << "Ignoring" << path << ":" << read.error;
            continue;
        case plist::ReadResult::Ok:
            break;
        }
        if (read.value.typeId() != QMetaType::QVariantList) {
            if (domain == UserDomain)
                keepAside(path, QStringLiteral("its root is not an array"));
            else
                qCWarning(lcCatalogue).noquote()
                    << "Ignoring" << path << ": its root is not an array";
            continue;
        }
        found = true;
        merged.append(read.value.toList());
    }
    return found ? QVariant(merged) : QVariant();
}

void TQAppManager::readAllAppsFromDisk()
{
    const QVariantList root =
        readPathArraysFromAppSupportFile(kAllApplicationsFile, UserDomain).toList();
    if (!isTwoLevelVariant(root)) return;
    AppLists all;
    for (const QVariant &inner : root) {
        const QStringList paths = stringsOf(inner);
        if (!paths.isEmpty()) all.append(appsFromPaths(paths));
    }
    _allApps = all;
    announce(All);
    rebuildAllApps1D();
}

void TQAppManager::readExcludedApps1DFromDisk()
{
    QStringList paths =
        stringsOf(readPathArraysFromAppSupportFile(kExcludedApplicationsFile, UserDomain));
    paths += stringsOf(readPathArraysFromAppSupportFile(kExcludedApplicationsFile, LocalDomain));
    QSet<QString> unique;
    AppList excluded;
    for (const QString &p : paths) {
        const QString standard = TQApp::standardizePath(p);
        if (unique.contains(standard)) continue;
        unique.insert(standard);
        excluded.append(appForPath(standard));
    }
    if (excluded.isEmpty()) return;
    _excludedApps1D = excluded;
    sortArray(_excludedApps1D);
    announce(Excluded1D);
}

void TQAppManager::readUserAppsFromDisk()
{
    const QVariant file = readPathArraysFromAppSupportFile(kUserApplicationsFile, UserDomain);
    if (!file.isValid()) return;
    const QVariantList root = file.toList();
    if (isTwoLevelVariant(root)) {
        AppLists bunches;
        for (const QVariant &inner : root) {
            const QStringList paths = stringsOf(inner);
            if (!paths.isEmpty()) bunches.append(appsFromPaths(paths)); // a bunch is never empty
        }
        _userApps = bunches;
        announce(User);
    }
    const QStringList flat =
        stringsOf(readPathArraysFromAppSupportFile(kUserApplications1DFile, UserDomain));
    if (!flat.isEmpty()) {
        _userApps1D = appsFromPaths(flat);
        announce(User1D);
    } else {
        rebuildUserApps1D();
    }
}

void TQAppManager::writeUserFiles()
{
    writeAppArrays(_userApps, kUserApplicationsFile);
    writeAppArrays(_userApps1D, kUserApplications1DFile);
}

void TQAppManager::writeExclusionFile()
{
    writeAppArrays(_excludedApps1D, kExcludedApplicationsFile);
}

// --- Derivations ----------------------------------------------------------------------------

void TQAppManager::rebuildAllApps1D()
{
    _allApps1D.clear();
    for (const AppList &inner : _allApps)
        _allApps1D.append(inner);
    announce(All1D);
}

void TQAppManager::rebuildUserApps1D()
{
    _userApps1D.clear();
    for (const AppList &bunch : _userApps)
        _userApps1D.append(bunch);
    announce(User1D);
}

void TQAppManager::rebuildEverythingSet()
{
    QHash<QString, TQAppPtr> set;
    for (const AppList &inner : _allApps)
        for (const TQAppPtr &a : inner)
            set.insert(a->path(), a);
    for (const AppList &bunch : _userApps)
        for (const TQAppPtr &a : bunch)
            set.insert(a->path(), a);
    _everything = set;
}

void TQAppManager::rebuildDependentApps()
{
    const QSet<QString> all = pathSet(_allApps1D);

    // An excluded application that the scan no longer finds is missing.
    _missingApps.clear();
    for (const TQAppPtr &a : std::as_const(_excludedApps1D)) {
        if (!all.contains(a->path())) _missingApps.append(a);
    }
    announce(Missing);

    const QSet<QString> missing = pathSet(_missingApps);
    if (sharesAny(_userApps1D, missing)) {
        for (AppList &bunch : _userApps)
            removePaths(bunch, missing); // emptied bunches stay
        removePaths(_userApps1D, missing);
        announce(User);
        announce(User1D);
    }
    if (!_missingApps.isEmpty()) {
        removePaths(_excludedApps1D, missing);
        sortArray(_excludedApps1D);
        announce(Excluded1D);
    }

    const QSet<QString> excluded = pathSet(_excludedApps1D);
    _includedApps.clear();
    _includedApps1D.clear();
    _excludedApps.clear();
    for (const AppList &inner : std::as_const(_allApps)) {
        AppList included, excludedPart;
        for (const TQAppPtr &a : inner)
            (excluded.contains(a->path()) ? excludedPart : included).append(a);
        if (!included.isEmpty()) {
            _includedApps.append(included);
            _includedApps1D.append(included);
        }
        if (!excludedPart.isEmpty()) _excludedApps.append(excludedPart);
    }
    sortArray(_includedApps1D);
    announce(Excluded);
    announce(Included);
    announce(Included1D);
}

// --- Exclusions -----------------------------------------------------------------------------

void TQAppManager::excludeApp(const TQAppPtr &app)
{
    if (!app) return;
    if (!containsApp(_excludedApps1D, app)) {
        _excludedApps1D.append(app);
        announce(Excluded1D);
        writeExclusionFile();
    }
    rebuildDependentApps();
}

void TQAppManager::includeApp(const TQAppPtr &app)
{
    if (!app) return;
    removePaths(_excludedApps1D, {app->path()});
    announce(Excluded1D);
    writeExclusionFile();
    rebuildDependentApps();
}

QString TQAppManager::dockPreferencesFile()
{
    return QDir::homePath() + QStringLiteral("/Library/Preferences/com.apple.dock.plist");
}

int TQAppManager::autoExcludeDockApps(bool dockApps, bool namedApps)
{
    int count = 0;
    auto exclude = [&](const TQAppPtr &app) {
        if (app && containsApp(_allApps1D, app) && !containsApp(_excludedApps1D, app)) {
            _excludedApps1D.append(app);
            ++count;
        }
    };
    if (namedApps) {
        for (const TQAppPtr &a : std::as_const(_allApps1D)) {
            if (a->containsExcludedKeywords()) exclude(a);
        }
    }
    if (dockApps) {
        const plist::ReadResult dock = plist::readFile(dockPreferencesFile());
        if (dock.ok()) {
            for (const QVariant &item :
                 dock.value.toMap().value(QStringLiteral("persistent-apps")).toList()) {
                const QString url = item.toMap()
                                        .value(QStringLiteral("tile-data"))
                                        .toMap()
                                        .value(QStringLiteral("file-data"))
                                        .toMap()
                                        .value(QStringLiteral("_CFURLString"))
                                        .toString();
                if (url.isEmpty()) continue;
                // Taken as a path even when it is written as a file URL.
                const QString path =
                    url.startsWith(QLatin1String("file:")) ? QUrl(url).toLocalFile() : url;
                exclude(appForPath(path));
            }
        } else if (dock.status != plist::ReadResult::Missing) {
            qCInfo(lcCatalogue).noquote()
                << "Ignoring the dock file" << dockPreferencesFile() << ":" << dock.error;
        }
        // The desktop's own favourites are already one click away.
        if (_appsOnDisk) {
            const QStringList ids = _appsOnDisk->desktopFavouriteIds();
            if (!ids.isEmpty()) {
                for (const TQAppPtr &a : std::as_const(_allApps1D)) {
                    if (ids.contains(desktopIdForPath(a->path()))) exclude(a);
                }
            }
        }
    }
    if (count > 0) {
        announce(Excluded1D);
        writeExclusionFile();
        rebuildDependentApps();
    }
    return count;
}

// --- Favourites -----------------------------------------------------------------------------

void TQAppManager::moveApp(const TQAppPtr &app, int group, qint64 bunch, qint64 index)
{
    if (!app || (group != User && group != User1D)) return;

    if (group == User1D) {
        const qsizetype i = indexOfApp(_userApps1D, app);
        if (i == index) return;
        qint64 target = index;
        if (i < 0) {
            _userApps.append(AppList{app});
        } else {
            _userApps1D.removeAt(i);
            if (i < index) --target;
        }
        _userApps1D.insert(clampIndex(target, _userApps1D.size()), app);
        announce(User);
        announce(User1D);
        writeUserFiles();
        return;
    }

    // Bunches.
    qsizetype f = -1, p = -1;
    for (qsizetype b = 0; b < _userApps.size() && f < 0; ++b) {
        const qsizetype at = indexOfApp(_userApps.at(b), app);
        if (at >= 0) {
            f = b;
            p = at;
        }
    }
    const qsizetype countBefore = _userApps.size();
    qint64 targetBunch = bunch;
    qint64 targetIndex = index;
    if (f >= 0) {
        if (f == bunch && p == index) return;
        _userApps[f].removeAt(p);
        if (_userApps.at(f).isEmpty() && f != bunch) {
            _userApps.removeAt(f);
            if (f < bunch) --targetBunch;
        } else if (targetBunch == f && p < index) {
            --targetIndex;
        }
    } else {
        _userApps1D.append(app);
    }
    targetBunch = std::max<qint64>(targetBunch, 0);
    // A bunch that existed before the move receives the entry; anything past the end (kAtEnd
    // among them) starts a new bunch.
    if (targetBunch < countBefore && targetBunch < _userApps.size()) {
        AppList &target = _userApps[targetBunch];
        target.insert(clampIndex(targetIndex, target.size()), app);
    } else {
        _userApps.append(AppList{app});
    }
    announce(User);
    announce(User1D);
    writeUserFiles();
}

void TQAppManager::moveAppToNewBunch(const TQAppPtr &app, int group, qint64 index)
{
    if (!app || (group != User && group != User1D)) return;
    qint64 target = std::clamp<qint64>(index, 0, _userApps.size());
    qsizetype holder = -1;
    for (qsizetype b = 0; b < _userApps.size(); ++b) {
        if (containsApp(_userApps.at(b), app)) {
            holder = b;
            break;
        }
    }
    if (holder >= 0) {
        _userApps[holder].removeAt(indexOfApp(_userApps.at(holder), app));
        if (_userApps.at(holder).isEmpty()) {
            _userApps.removeAt(holder);
            if (target > holder) --target;
        }
    } else {
        _userApps1D.append(app);
    }
    _userApps.insert(target, AppList{app});
    announce(User);
    announce(User1D);
    writeUserFiles();
}

void TQAppManager::removeAppsFromUserApps(const AppList &apps)
{
    const QSet<QString> paths = pathSet(apps);
    if (!sharesAny(_userApps1D, paths)) return;
    for (AppList &bunch : _userApps)
        removePaths(bunch, paths);
    _userApps.removeIf([](const AppList &bunch) { return bunch.isEmpty(); });
    removePaths(_userApps1D, paths);
    announce(User);
    announce(User1D);
    writeUserFiles();
}

void TQAppManager::removeAppsFromAllArrays(const AppList &apps)
{
    const QSet<QString> paths = pathSet(apps);
    bool inSet = false;
    for (const QString &p : paths)
        inSet = inSet || _everything.contains(p);
    if (!inSet) return;

    removeAppsFromUserApps(apps);
    auto strip = [&](AppLists &twoLevel, AppList &flat, int twoLevelGroup, int flatGroup) {
        if (!sharesAny(flat, paths)) return;
        for (AppList &inner : twoLevel)
            removePaths(inner, paths); // emptied inner arrays stay
        removePaths(flat, paths);
        announce(twoLevelGroup);
        announce(flatGroup);
    };
    strip(_allApps, _allApps1D, All, All1D);
    strip(_includedApps, _includedApps1D, Included, Included1D);
    strip(_excludedApps, _excludedApps1D, Excluded, Excluded1D);
    rebuildEverythingSet();
}

namespace {
int runFromEnd(const QString &a, const QString &b)
{
    const QStringList pa = a.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    const QStringList pb = b.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    int run = 0;
    for (qsizetype i = pa.size() - 1, j = pb.size() - 1; i >= 0 && j >= 0; --i, --j) {
        if (pa.at(i) != pb.at(j)) break;
        ++run;
    }
    return run;
}
} // namespace

TQAppPtr TQAppManager::bestMatchForApp(const TQAppPtr &app, const AppList &candidates)
{
    return bestMatchForApp(app, AppLists{candidates});
}

TQAppPtr TQAppManager::bestMatchForApp(const TQAppPtr &app, const AppLists &candidates)
{
    if (!app) return nullptr;
    const QString name = app->name();
    AppList sameName;
    for (const AppList &inner : candidates)
        for (const TQAppPtr &c : inner)
            if (c->name() == name) sameName.append(c);
    if (sameName.isEmpty()) return nullptr;
    if (sameName.size() == 1) return sameName.first();
    TQAppPtr best;
    int bestRun = 0;
    for (const TQAppPtr &c : std::as_const(sameName)) {
        const int run = runFromEnd(app->path(), c->path());
        if (run > bestRun) {
            bestRun = run;
            best = c;
        }
    }
    return best;
}

void TQAppManager::locateUserApps()
{
    AppList candidates = _allApps1D;
    removePaths(candidates, pathSet(_userApps1D));
    for (AppList &bunch : _userApps) {
        for (TQAppPtr &entry : bunch) {
            entry->setPathIsValid(QFileInfo::exists(entry->path()));
            if (entry->isPathValid()) continue;
            const TQAppPtr match = bestMatchForApp(entry, candidates);
            if (!match) continue;
            qCInfo(lcCatalogue).noquote()
                << "Favourite" << entry->path() << "found again at" << match->path();
            entry = match;
            candidates.removeAt(
                indexOfApp(candidates, match)); // one found app replaces one favourite
        }
    }
    announce(User);
    rebuildUserApps1D();
    writeUserFiles();
}

// --- Sorting --------------------------------------------------------------------------------

void TQAppManager::sortArray(AppList &array)
{
    if (array.isEmpty() || &array == &_userApps1D) return;
    for (const AppList &bunch : std::as_const(_userApps)) {
        if (&bunch == &array) return;
    }
    if (&array == &_runningApps && _defaults.value(Key::SortRunningByLaunchOrder)) return;

    const qint64 order = _defaults.value(Key::GroupContentsSortOrder);
    if (order == 0) {
        std::stable_sort(array.begin(), array.end(), [](const TQAppPtr &a, const TQAppPtr &b) {
            return a->path().compare(b->path(), Qt::CaseInsensitive) < 0;
        });
    } else if (order == 2) {
        std::stable_sort(array.begin(), array.end(), [](const TQAppPtr &a, const TQAppPtr &b) {
            return a->colorSortValue() < b->colorSortValue();
        });
    } else {
        // Names compare case-insensitively (folded once per entry, not per comparison).
        std::stable_sort(array.begin(), array.end(), [](const TQAppPtr &a, const TQAppPtr &b) {
            return a->foldedName() < b->foldedName();
        });
    }
}

void TQAppManager::sortAllApps()
{
    for (AppList &inner : _allApps)
        sortArray(inner);
    sortArray(_allApps1D);
    announce(All);
    announce(All1D);
}

void TQAppManager::sortAllArrays()
{
    sortAllApps();
    for (AppList &inner : _includedApps)
        sortArray(inner);
    sortArray(_includedApps1D);
    for (AppList &inner : _excludedApps)
        sortArray(inner);
    sortArray(_excludedApps1D);
    announce(Included);
    announce(Included1D);
    announce(Excluded);
    announce(Excluded1D);
    if (!_defaults.value(Key::SortRunningByLaunchOrder)) {
        sortArray(_runningApps);
        announce(Running);
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
        runningAppsListDidChange();
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

QStringList TQAppManager::pathsFromPrefs() const
{
    QStringList paths;
    for (const QVariant &record : _defaults.value(Key::SearchDirectories)) {
        const QString p = record.toMap().value(QStringLiteral("path")).toString();
        if (!p.isEmpty()) paths.append(p);
    }
    return paths;
}

QStringList TQAppManager::uniquedPathsToScan() const
{
    QStringList out;
    for (const QString &p : pathsFromPrefs()) {
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
    _allApps.clear();
    announce(All);

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
    _allApps.clear();
    bool namesChanged = false;
    for (const QList<FoundApp> &folder : result.perFolder) {
        AppList inner;
        inner.reserve(folder.size());
        for (const FoundApp &found : folder) {
            TQAppPtr app = appForPath(found.path);
            if (app->name() != (found.name.isEmpty() ? app->fileBaseName() : found.name) ||
                !app->hasLetters())
                app->setDisplayName(found.name);
            CachedName &cached = _nameCache[app->path()];
            if (cached.name != found.name || cached.modified != found.modified) {
                cached = {found.name, found.modified};
                namesChanged = true;
            }
            inner.append(app);
        }
        _allApps.append(inner);
    }
    announce(All);
    rebuildAllApps1D();
    writeAppArrays(_allApps, kAllApplicationsFile);
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

void TQAppManager::fullScan()
{
    _fullScanTimer.stop();
    scanSearchFoldersForAllApps([this]() {
        sortAllApps();
        rebuildDependentApps();
        rebuildEverythingSet();
        refreshRunningApps();
        loadAllIconsPrioritizingGroup(All);
        Q_EMIT rescanFinished();
    });
}

void TQAppManager::rescanAllAppsPrioritizingGroup(int group, bool forceWalk)
{
    if (_allApps.isEmpty() && !forceWalk) {
        readAllAppsFromDisk();
        if (!_allApps.isEmpty()) {
            // Names come from the cache; check them against the files in the background.
            refreshNamesInBackground([this, group]() { continueRescan(group); });
            return;
        }
    }
    scanSearchFoldersForAllApps([this, group]() { continueRescan(group); });
}

void TQAppManager::continueRescan(int group)
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

void TQAppManager::startFullScanTimer()
{
    _fullScanTimer.start();
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
    ++_watchGeneration;
    delete _watcher;
    _watcher = nullptr;
    const QStringList scope = spotlightScanPaths();
    if (scope.isEmpty()) return;

    // Listing the folders to watch touches the disk: do it on a worker thread.
    const quint64 generation = _watchGeneration;
    const int depth = _maxRecursionDepth;
    _pool.start([this, scope, depth, generation]() {
        const QStringList folders = FolderWalker::foldersToWatch(scope, depth);
        QMetaObject::invokeMethod(
            this,
            [this, folders, generation]() {
                if (generation != _watchGeneration) return; // a newer watch is being set up
                _watcher = new QFileSystemWatcher(this);
                const QStringList failed = _watcher->addPaths(folders);
                if (!failed.isEmpty())
                    qCInfo(lcCatalogue)
                        << "Not watching" << failed.size() << "folders, e.g." << failed.first();
                connect(_watcher, &QFileSystemWatcher::directoryChanged, this,
                        [this](const QString &path) {
                            qCDebug(lcCatalogue) << "Change in" << path;
                            startFullScanTimer();
                        });
                Q_EMIT watchStarted();
            },
            Qt::QueuedConnection);
    });
}

QStringList TQAppManager::watchedFolders() const
{
    return _watcher ? _watcher->directories() : QStringList();
}

// --- Names ----------------------------------------------------------------------------------

// The name cache is Kelp's own: a versioned binary stream of (path, name, modification time).
namespace {
constexpr quint32 kNameCacheMagic = 0x4b4e4331; // "KNC1"
}

void TQAppManager::loadNameCache()
{
    _nameCacheLoaded = true;
    QFile file(nameCachePath());
    if (!file.open(QIODevice::ReadOnly)) return;
    QDataStream in(&file);
    in.setVersion(QDataStream::Qt_6_4);
    quint32 magic = 0;
    qint64 count = 0;
    in >> magic >> count;
    if (magic != kNameCacheMagic || count < 0 || count > 10'000'000) {
        qCInfo(lcCatalogue) << "Ignoring the name cache" << file.fileName()
                            << ": not one of Kelp's";
        return;
    }
    QHash<QString, CachedName> cache;
    cache.reserve(count);
    for (qint64 i = 0; i < count && in.status() == QDataStream::Ok; ++i) {
        QString path;
        CachedName entry;
        in >> path >> entry.name >> entry.modified;
        cache.insert(path, entry);
    }
    if (in.status() != QDataStream::Ok) {
        qCInfo(lcCatalogue) << "Ignoring the name cache" << file.fileName() << ": it is truncated";
        return;
    }
    _nameCache = std::move(cache);
}

void TQAppManager::saveNameCache()
{
    const QString path = nameCachePath();
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        qCInfo(lcCatalogue).noquote()
            << "Cannot write the name cache" << path << ":" << file.errorString();
        return;
    }
    QDataStream out(&file);
    out.setVersion(QDataStream::Qt_6_4);
    qint64 count = 0;
    for (auto it = _nameCache.cbegin(); it != _nameCache.cend(); ++it)
        count += _everything.contains(it.key());
    out << kNameCacheMagic << count;
    for (auto it = _nameCache.cbegin(); it != _nameCache.cend(); ++it) {
        if (_everything.contains(it.key())) out << it.key() << it->name << it->modified;
    }
    if (!file.commit())
        qCInfo(lcCatalogue).noquote()
            << "Cannot write the name cache" << path << ":" << file.errorString();
}

void TQAppManager::refreshNamesInBackground(std::function<void()> done)
{
    struct Item
    {
        QString path;
        qint64 modified;
        bool known;
    };
    QList<Item> items;
    items.reserve(_allApps1D.size());
    for (const TQAppPtr &a : std::as_const(_allApps1D)) {
        const auto cached = _nameCache.constFind(a->path());
        items.append({a->path(), cached == _nameCache.constEnd() ? -1 : cached->modified,
                      cached != _nameCache.constEnd()});
    }
    auto apply = [this, done](const QList<FoundApp> &fresh) {
        for (const FoundApp &f : fresh) {
            _nameCache.insert(f.path, {f.name, f.modified});
            if (TQAppPtr app = existingAppForPath(f.path)) app->setDisplayName(f.name);
        }
        if (!fresh.isEmpty()) {
            saveNameCache();
            Q_EMIT namesRefreshed();
        }
        done();
    };
    auto work = [appsOnDisk = _appsOnDisk, items]() {
        QList<FoundApp> fresh;
        for (const Item &item : items) {
            const qint64 modified = modificationTimeMs(item.path);
            if (item.known && modified == item.modified) continue;
            fresh.append({item.path,
                          appsOnDisk ? appsOnDisk->applicationName(item.path) : QString(),
                          modified});
        }
        return fresh;
    };
    if (!_walkInBackground) {
        apply(work());
        return;
    }
    _pool.start([this, work, apply]() {
        QList<FoundApp> fresh = work();
        QMetaObject::invokeMethod(
            this, [apply, fresh]() { apply(fresh); }, Qt::QueuedConnection);
    });
}

} // namespace kelp
