#pragma once
// TQAppManager: Kelp's catalogue.
//
// Owns every application entry (one shared TQApp per path), the ten group arrays the panel shows,
// the user's favourites in bunches and the exclusion list, and keeps them in four XML property
// lists under the user's data folder. Scanning fills the "all" group (a bounded walk of the scan
// folders, run on a worker thread); everything else derives from it and from the user's files.
//
// Group numbers:
//   0 running        1 included (per scan folder)   2 included, flat
//   3 excluded (per scan folder)                    4 excluded, flat (the exclusion list)
//   5 all (per scan folder)                         6 all, flat
//   7 missing (excluded but no longer found)
//   8 favourites (bunches)                          9 favourites, flat (an order of its own)
#include "catalogue/TQApp.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QThreadPool>
#include <QTimer>
#include <QVariant>

#include <atomic>
#include <functional>
#include <memory>

class QFileSystemWatcher;

namespace kelp {

class AppsOnDisk;
class RunningApplications;
class Defaults;
struct WalkResult;

// The icon parameters as the settings give them (icon size and the five colour-sort keys).
ColorSortParams colorSortParamsFromDefaults(const Defaults &defaults);

class TQAppManager : public QObject
{
    Q_OBJECT
public:
    enum Group {
        NoGroup = -1,
        Running = 0,
        Included = 1,
        Included1D = 2,
        Excluded = 3,
        Excluded1D = 4,
        All = 5,
        All1D = 6,
        Missing = 7,
        User = 8,
        User1D = 9,
    };
    enum Domain { UserDomain = 1, LocalDomain = 2 };
    // As an index: the end of the array. As a bunch: a new bunch.
    static constexpr qint64 kAtEnd = 2147483647;

    static inline const QString kAllApplicationsFile = QStringLiteral("AllApplications.plist");
    static inline const QString kExcludedApplicationsFile =
        QStringLiteral("ExcludedApplications.plist");
    static inline const QString kUserApplicationsFile = QStringLiteral("UserApplications.plist");
    static inline const QString kUserApplications1DFile =
        QStringLiteral("UserApplications1D.plist");

    // The catalogue's registered settings defaults.
    static QVariantMap registeredDefaults();

    TQAppManager(Defaults &defaults, std::shared_ptr<const AppsOnDisk> appsOnDisk,
                 QObject *parent = nullptr);
    ~TQAppManager() override;

    // Walks run on a worker thread unless this is off (tests and tools may want them inline).
    void setWalksInBackground(bool background) { _walkInBackground = background; }

    // --- Entries and groups -------------------------------------------------------------------
    TQAppPtr appForPath(const QString &path);
    TQAppPtr existingAppForPath(const QString &path) const;
    QList<TQAppPtr> everythingSet() const { return _everything.values(); }

    const AppList &runningApps() const { return _runningApps; }
    const AppLists &includedApps() const { return _includedApps; }
    const AppList &includedApps1D() const { return _includedApps1D; }
    const AppLists &excludedApps() const { return _excludedApps; }
    const AppList &excludedApps1D() const { return _excludedApps1D; }
    const AppLists &allApps() const { return _allApps; }
    const AppList &allApps1D() const { return _allApps1D; }
    const AppList &missingApps() const { return _missingApps; }
    const AppLists &userApps() const { return _userApps; }
    const AppList &userApps1D() const { return _userApps1D; }

    static bool isTwoLevelGroup(int group);
    // The group's array; nullptr when the group is two-level (or out of range), and vice versa.
    const AppList *flatArrayForGroup(int group) const;
    const AppLists *bunchedArrayForGroup(int group) const;
    // The group whose array is that very object (not an equal copy), else -1.
    int groupForAppArray(const void *array) const;
    static QString arrayNameForGroup(int group);

    qsizetype allAppsTotalCount() const;
    qsizetype allAppsLongestArrayCount() const;
    qsizetype includedAppsLongestArrayCount() const;

    static QStringList pathsFromApps(const AppList &apps);
    static QList<QStringList> pathArraysFromAppArrays(const AppLists &apps);
    AppList appsFromPaths(const QStringList &paths);
    AppLists appArraysFromPathArrays(const QList<QStringList> &paths);

    // --- Catalogue files ----------------------------------------------------------------------
    // The catalogue folders: the user's ($XDG_DATA_HOME/Kelp) and the machine's
    // (each $XDG_DATA_DIRS entry + /Kelp, read only).
    static QString catalogueFolder();
    static QStringList machineCatalogueFolders();
    // When off, the arrays are kept in the settings instead (user domain only).
    void setUsesApplicationSupportFolder(bool on) { _usesApplicationSupportFolder = on; }
    bool writeAppArrays(const AppList &apps, const QString &fileName, Domain domain = UserDomain);
    bool writeAppArrays(const AppLists &apps, const QString &fileName, Domain domain = UserDomain);
    // The file's root array, or an invalid QVariant when the file is absent or unusable.
    QVariant readPathArraysFromAppSupportFile(const QString &fileName, Domain domain);

    void readAllAppsFromDisk();
    void readExcludedApps1DFromDisk();
    void readUserAppsFromDisk();

    // --- Derivations --------------------------------------------------------------------------
    void rebuildAllApps1D();
    void rebuildUserApps1D();
    void rebuildEverythingSet();
    void rebuildDependentApps();

    // --- Exclusions ---------------------------------------------------------------------------
    void excludeApp(const TQAppPtr &app);
    void includeApp(const TQAppPtr &app);
    // Returns the number of new exclusions.
    int autoExcludeDockApps(bool dockApps, bool namedApps);
    // The dock file read for automatic exclusion (a property list of the dock's applications).
    static QString dockPreferencesFile();

    // --- Favourites ---------------------------------------------------------------------------
    void moveApp(const TQAppPtr &app, int group, qint64 bunch, qint64 index);
    void moveAppToNewBunch(const TQAppPtr &app, int group, qint64 index);
    void removeAppsFromAllArrays(const AppList &apps);
    void removeAppsFromUserApps(const AppList &apps);
    void locateUserApps();
    static TQAppPtr bestMatchForApp(const TQAppPtr &app, const AppList &candidates);
    static TQAppPtr bestMatchForApp(const TQAppPtr &app, const AppLists &candidates);

    // --- Sorting ------------------------------------------------------------------------------
    void sortArray(AppList &array);
    void sortAllApps();
    void sortAllArrays();

    // --- Scanning -----------------------------------------------------------------------------
    QStringList pathsFromPrefs() const;
    QStringList uniquedPathsToScan() const;
    QStringList pathsToScan() const { return uniquedPathsToScan(); }
    int maxRecursionDepth() const { return _maxRecursionDepth; }
    void updateMaxRecursionDepth();
    bool isBusyScanning() const { return _isBusyScanning; }
    bool isWalking() const { return _walking; }

    // The walk of every scan folder into group 5; inline or in the background (see
    // setWalksInBackground); `done` runs on the GUI thread once group 5 is filled.
    void scanSearchFoldersForAllApps(std::function<void()> done = {});
    // Walk, sort, derive.
    void fullScan();
    // The general refresh: the cached "all" file the first time (else a walk), then sort, the
    // exclusions, the favourites, the derived groups. Emits rescanFinished() at the end.
    // forceWalk walks the folders even when the cached file could be used.
    void rescanAllAppsPrioritizingGroup(int group, bool forceWalk = false);
    void startFullScanTimer();
    bool isFullScanPending() const { return _fullScanTimer.isActive(); }
    // The scan-folder list changed, or a launched application was missing: scan now.
    void scanPathListDidChange();
    // The outermost scan folders.
    QStringList spotlightScanPaths() const;
    // Starts (or restarts) watching the scan folders for applications that come and go.
    void startSpotlightQuery();
    QStringList watchedFolders() const;

    void showProgressStep(int step, int count, const QString &label);

    // --- Running applications (TQAppManagerRunning.cpp) ---------------------------------------
    // Group 0 follows the desktop's running-application layer (desktop().running when the
    // catalogue is made): rebuilt on each launch and termination, in launch order or sorted as
    // "sortRunningByLaunchOrder" says, its entries reused from one rebuild to the next.
    void setRunningApplications(std::shared_ptr<RunningApplications> running);
    // New entries (not interned) for the regular applications running now, in launch order.
    AppList _launchedTQApps() const;
    // Group 0, filled from _launchedTQApps first when it is empty.
    const AppList &runningApps();
    void runningAppsListDidChange();
    bool isAppRunning(const TQAppPtr &app) const;
    void quitApp(const TQAppPtr &app) const;
    // The application in front: group 0's entry when it is there, else a new entry; nullptr when
    // nothing is in front.
    TQAppPtr activeApp();
    // The application in front before Kelp: the newest of the front history that is not Kelp,
    // else the last entry of group 0 that is not Kelp (the first when all are), else nullptr.
    TQAppPtr lastActiveApp();
    // Front history, oldest first, each application once.
    const AppList &frontApps() const { return _frontApps; }
    void handleAppFrontSwitched();
    void handleAppLaunched() { runningAppsListDidChange(); }
    void handleAppTerminated() { runningAppsListDidChange(); }
    // After a scan: hands the catalogue's entries to the running layer for matching, rebuilds
    // group 0.
    void refreshRunningApps();
    // The entries of group 6 that can open the item / that list its type among their preferred.
    AppList allAppsThatCanAcceptURL(const QUrl &item) const;
    AppList allAppsThatPreferURL(const QUrl &item) const;

    // --- Icon loading (TQAppManagerIcons.cpp) -------------------------------------------------
    // The icon parameters from the settings (maximumIconSize and the five colour-sort keys).
    ColorSortParams iconParametersFromDefaults() const;
    // Gives every entry the current icon parameters; each fetches its icon only when needed.
    void loadIconsForApps(const AppList &apps);
    void loadIconsForApps(const AppLists &apps);
    // Loads the icons of the list behind the group first (4 for 3/4, 6 for 5/6, 9 for 8/9, else
    // 2), then those of every other entry.
    void loadAllIconsPrioritizingGroup(int group);
    // Every entry of group 6 back to the dot, then its icons fetched again.
    void clearIconsForAllApps();
    // An icon (and so a colour key) changed: re-sort by colour a second after the last change.
    void appIconChanged(const TQAppPtr &app);
    void sortIconColorTimerFire();
    bool isColourSortPending() const { return _sortColorTimer.isActive(); }

    // Settings changes (wired to the settings store in the constructor).
    void defaultsChanged(const QString &key, const QVariant &oldValue, const QVariant &newValue);

Q_SIGNALS:
    // One signal per group array, after it changed.
    void runningAppsChanged();
    void allAppsChanged();
    void allApps1DChanged();
    void includedAppsChanged();
    void includedApps1DChanged();
    void excludedAppsChanged();
    void excludedApps1DChanged();
    void missingAppsChanged();
    void userAppsChanged();
    void userApps1DChanged();
    // Scan progress: step of count, with a label; step 0 and count 0 end the display.
    void progressStep(int step, int count, const QString &label);
    void isBusyScanningChanged(bool busy);
    void rescanFinished();
    // Names read again after a start from the cached file.
    void namesRefreshed();
    // The live watch is in place.
    void watchStarted();

private:
    void announce(int group);
    void applyWalk(const WalkResult &result);
    void continueRescan(int group);
    void loadNameCache();
    void saveNameCache();
    void refreshNamesInBackground(std::function<void()> done);
    void nameEntry(const TQAppPtr &app);
    bool writePaths(const QVariant &paths, const QString &fileName, Domain domain);
    void writeUserFiles();
    void writeExclusionFile();
    void queueScanPathListChanged();
    void setUpIconLoading();
    void colourSettingChanged(const QVariant &oldValue, const QVariant &newValue);

    Defaults &_defaults;
    std::shared_ptr<const AppsOnDisk> _appsOnDisk;

    AppList _runningApps;
    AppList _frontApps;
    std::shared_ptr<RunningApplications> _running;
    AppLists _includedApps;
    AppList _includedApps1D;
    AppLists _excludedApps;
    AppList _excludedApps1D;
    AppLists _allApps;
    AppList _allApps1D;
    AppList _missingApps;
    AppLists _userApps;
    AppList _userApps1D;
    QHash<QString, TQAppPtr> _everything;

    // Localised names by path, with the modification time they were read at.
    struct CachedName
    {
        QString name;
        qint64 modified = 0;
    };
    QHash<QString, CachedName> _nameCache;
    bool _nameCacheLoaded = false;

    bool _usesApplicationSupportFolder = true;
    bool _walkInBackground = true;
    bool _walking = false;
    bool _walkAgain = false;
    QList<std::function<void()>> _afterWalk;
    std::shared_ptr<std::atomic<bool>> _cancelWalk;
    int _maxRecursionDepth = 4;
    bool _isBusyScanning = false;
    QTimer _fullScanTimer;
    QTimer _scanPathListTimer;
    QTimer _sortColorTimer; // icon loading: the colour re-sort after icons arrive
    QThreadPool _pool;
    QFileSystemWatcher *_watcher = nullptr;
    quint64 _watchGeneration = 0;
};

} // namespace kelp
