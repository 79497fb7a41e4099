#pragma once
// TQAppManager: Kelp's catalogue.
//
// Owns every application entry (one shared TQApp per path), the ten group arrays the panel shows
// (see catalogue/Group.h), the user's favourites in bunches and the exclusion list, and offers the
// operations the rest of Kelp calls on them. Scanning fills the "all" group (a bounded walk of the
// scan folders, run on a worker thread); everything else derives from it and from the user's
// files. The work is shared out among its parts:
//
//   CatalogueFiles      the four property lists under the user's data folder
//   NameCache           the localised names kept between runs
//   ScanFolderWatcher   the live watch of the scan folders
//   GroupDerivation     the groups that follow from "all", the exclusions and the favourites
//   Favourites          the edits of the favourites
//   RunningGroup        group 0 and the front-application history
#include "catalogue/CatalogueFiles.h"
#include "catalogue/Favourites.h"
#include "catalogue/Group.h"
#include "catalogue/GroupDerivation.h"
#include "catalogue/NameCache.h"
#include "catalogue/RunningGroup.h"
#include "catalogue/ScanFolderWatcher.h"
#include "catalogue/TQApp.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QThreadPool>
#include <QTimer>
#include <QVariant>

#include <atomic>
#include <functional>
#include <memory>

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
    // As an index: the end of the array. As a bunch: a new bunch.
    static constexpr qint64 kAtEnd = Favourites::kAtEnd;

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

    const AppList &runningApps() const { return _running.apps(); }
    const AppLists &includedApps() const { return _groups.included; }
    const AppList &includedApps1D() const { return _groups.included1D; }
    const AppLists &excludedApps() const { return _groups.excluded; }
    const AppList &excludedApps1D() const { return _groups.excluded1D; }
    const AppLists &allApps() const { return _groups.all; }
    const AppList &allApps1D() const { return _groups.all1D; }
    const AppList &missingApps() const { return _groups.missing; }
    const AppLists &userApps() const { return _groups.user; }
    const AppList &userApps1D() const { return _groups.user1D; }

    // The group's array; nullptr when the group is two-level (or not a group), and vice versa.
    const AppList *flatArrayForGroup(Group group) const;
    const AppLists *bunchedArrayForGroup(Group group) const;

    qsizetype allAppsTotalCount() const;
    qsizetype allAppsLongestArrayCount() const;
    qsizetype includedAppsLongestArrayCount() const;

    static QStringList pathsFromApps(const AppList &apps);
    static QList<QStringList> pathArraysFromAppArrays(const AppLists &apps);
    AppList appsFromPaths(const QStringList &paths);

    // --- Catalogue files ----------------------------------------------------------------------
    CatalogueFiles &files() { return _files; }
    void readAllAppsFromDisk();
    // The user's exclusion list with the machine's merged in.
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
    // Excludes the entries of group 6 whose names hold an excluded keyword (namedApps) and those
    // the dock file or the desktop's favourites list (dockApps). Returns the number of new
    // exclusions.
    int autoExcludeDockApps(bool dockApps, bool namedApps);

    // --- Favourites (only groups 8 and 9 take moves) ------------------------------------------
    void moveApp(const TQAppPtr &app, Group group, qint64 bunch, qint64 index);
    void moveAppToNewBunch(const TQAppPtr &app, Group group, qint64 index);
    void removeAppsFromAllArrays(const AppList &apps);
    void removeAppsFromUserApps(const AppList &apps);
    // Favourites whose path is gone are replaced by their best match among group 6.
    void locateUserApps();

    // --- Sorting ------------------------------------------------------------------------------
    void sortAllApps();
    void sortAllArrays();

    // --- Scanning -----------------------------------------------------------------------------
    // The scan folders, standardised, links resolved, each once.
    QStringList pathsToScan() const;
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
    void rescanAllAppsPrioritizingGroup(Group group, bool forceWalk = false);
    bool isFullScanPending() const { return _watcher.isScanScheduled(); }
    // The scan-folder list changed, or a launched application was missing: scan now.
    void scanPathListDidChange();
    // The outermost scan folders.
    QStringList spotlightScanPaths() const;
    // Starts (or restarts) watching the scan folders for applications that come and go.
    void startSpotlightQuery();
    QStringList watchedFolders() const { return _watcher.watchedFolders(); }

    void showProgressStep(int step, int count, const QString &label);

    // --- Running applications (see RunningGroup) ----------------------------------------------
    // Group 0 follows the desktop's running-application layer (desktop().running when the
    // catalogue is made).
    void setRunningApplications(std::shared_ptr<RunningApplications> running)
    {
        _running.setRunningApplications(std::move(running));
    }
    // Group 0, filled from the running layer first when it is empty.
    const AppList &runningApps() { return _running.appsFilled(); }
    bool isAppRunning(const TQAppPtr &app) const { return _running.isRunning(app); }
    void quitApp(const TQAppPtr &app) const
    {
        if (app) app->quit();
    }
    TQAppPtr activeApp() { return _running.activeApp(); }
    TQAppPtr lastActiveApp() { return _running.lastActiveApp(); }
    const AppList &frontApps() const { return _running.frontApps(); }
    // After a scan: hands the catalogue's entries to the running layer for matching, rebuilds
    // group 0.
    void refreshRunningApps() { _running.refresh(_groups.all1D); }
    // The entries of group 6 that can open the item / that list its type among their preferred.
    AppList allAppsThatCanAcceptURL(const QUrl &item) const
    {
        return RunningGroup::appsThatCanAcceptURL(item, _groups.all1D);
    }
    AppList allAppsThatPreferURL(const QUrl &item) const
    {
        return RunningGroup::appsThatPreferURL(item, _groups.all1D);
    }

    // --- Icon loading (TQAppManagerIcons.cpp) -------------------------------------------------
    // The icon parameters from the settings (maximumIconSize and the five colour-sort keys).
    ColorSortParams iconParametersFromDefaults() const;
    // Gives every entry the current icon parameters; each fetches its icon only when needed.
    void loadIconsForApps(const AppList &apps);
    void loadIconsForApps(const AppLists &apps);
    // Loads the icons of the list behind the group first (the flat form of the excluded, all
    // and favourites groups, else the included flat list), then those of every other entry.
    void loadAllIconsPrioritizingGroup(Group group);
    // Every entry of group 6 back to the dot, then its icons fetched again.
    void clearIconsForAllApps();
    // An icon (and so a colour key) changed: re-sort by colour a second after the last change.
    void appIconChanged(const TQAppPtr &app);
    void sortIconColorTimerFire();
    bool isColourSortPending() const { return _sortColourTimer.isActive(); }

    // Settings changes (wired to the settings store in the constructor).
    void defaultsChanged(const QString &key, const QVariant &oldValue, const QVariant &newValue);

Q_SIGNALS:
    // A group's array changed.
    void groupChanged(kelp::Group group);
    // Scan progress: step of count, with a label; step 0 and count 0 end the display.
    void progressStep(int step, int count, const QString &label);
    void isBusyScanningChanged(bool busy);
    void rescanFinished();
    // Names read again after a start from the cached file.
    void namesRefreshed();
    // The live watch is in place.
    void watchStarted();

private:
    void announce(Group group) { Q_EMIT groupChanged(group); }
    void announce(const QList<Group> &groups)
    {
        for (Group group : groups)
            announce(group);
    }
    void sortArray(AppList &array);
    void applyWalk(const WalkResult &result);
    void continueRescan(Group group);
    void saveNameCache();
    void nameEntry(const TQAppPtr &app);
    void favouritesChanged();
    void writeExclusionFile();
    void queueScanPathListChanged();
    void setUpIconLoading();
    void colourSettingChanged(const QVariant &oldValue, const QVariant &newValue);
    void updateMaxRecursionDepth();

    Defaults &_defaults;
    std::shared_ptr<const AppsOnDisk> _appsOnDisk;
    CatalogueFiles _files;
    NameCache _names;
    GroupArrays _groups;
    QHash<QString, TQAppPtr> _everything;
    RunningGroup _running;
    ScanFolderWatcher _watcher;

    bool _walkInBackground = true;
    bool _walking = false;
    bool _walkAgain = false;
    QList<std::function<void()>> _afterWalk;
    std::shared_ptr<std::atomic<bool>> _cancelWalk;
    int _maxRecursionDepth = 4;
    bool _isBusyScanning = false;
    QTimer _scanPathListTimer;
    QTimer _sortColourTimer; // icon loading: the colour re-sort after icons arrive
    QThreadPool _pool;
};

} // namespace kelp
