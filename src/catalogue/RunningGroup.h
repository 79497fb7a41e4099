#pragma once
// RunningGroup: group 0, the applications running now, and the front-application history.
//
// Follows the desktop's running-application layer: rebuilt on each launch and termination, in
// launch order or sorted as "sortRunningByLaunchOrder" says, its entries reused from one rebuild
// to the next. Its entries are not the catalogue's own (a running program may have none); they
// take the catalogue entry's name when there is one, else the name cache's.
#include "catalogue/TQApp.h"

#include <QObject>

#include <functional>
#include <memory>

class QUrl;

namespace kelp {

class Defaults;
class NameCache;
class RunningApplications;

class RunningGroup : public QObject
{
    Q_OBJECT
public:
    // The catalogue's entry for a path, if it has one.
    using KnownEntry = std::function<TQAppPtr(const QString &path)>;
    // Gives entries the icon parameters, so they fetch their icons.
    using LoadIcons = std::function<void(const AppList &apps)>;

    RunningGroup(Defaults &defaults, NameCache &names, KnownEntry knownEntry, LoadIcons loadIcons,
                 QObject *parent = nullptr);

    void setRunningApplications(std::shared_ptr<RunningApplications> running);
    // New entries (not interned) for the regular applications running now, in launch order.
    AppList launchedApps() const;
    // Group 0 as it is.
    const AppList &apps() const { return _apps; }
    // Group 0, filled from launchedApps first when it is empty.
    const AppList &appsFilled();
    // Rebuilds group 0 from the running layer and announces changed().
    void rebuild();
    // Sorts group 0 unless it keeps launch order.
    void sort();
    bool isRunning(const TQAppPtr &app) const;
    // The application in front: group 0's entry when it is there, else a new entry; nullptr when
    // nothing is in front.
    TQAppPtr activeApp();
    // The application in front before Kelp: the newest of the front history that is not Kelp,
    // else the last entry of group 0 that is not Kelp (the first when all are), else nullptr.
    TQAppPtr lastActiveApp();
    // Front history, oldest first, each application once.
    const AppList &frontApps() const { return _frontApps; }
    // Hands the catalogue's entries (group 6) to the running layer for matching; rebuilds.
    void refresh(const AppList &catalogueEntries);
    // The entries among those given that can open the item / that list its type among their
    // preferred ones.
    static AppList appsThatCanAcceptURL(const QUrl &item, const AppList &entries);
    static AppList appsThatPreferURL(const QUrl &item, const AppList &entries);

Q_SIGNALS:
    void changed();

private:
    void frontSwitched();
    void nameEntry(const TQAppPtr &app) const;

    Defaults &_defaults;
    NameCache &_names;
    KnownEntry _knownEntry;
    LoadIcons _loadIcons;
    std::shared_ptr<RunningApplications> _running;
    AppList _apps;
    AppList _frontApps;
};

} // namespace kelp
