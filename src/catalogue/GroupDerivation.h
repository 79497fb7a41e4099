#pragma once
// GroupDerivation: how the catalogue's groups follow from one another.
//
// "All" is what the walk found; the exclusion list and the favourites are the user's. Everything
// else derives from those three: the flat forms, the included and excluded groups (per scan
// folder, in the walk's order, and the included flat list sorted), and the missing group (excluded
// entries the walk no longer finds, which leave the exclusions and the favourites). The functions
// here touch nothing but the arrays they are given, and tell which groups changed, in the order
// the catalogue announces them.
#include "catalogue/Group.h"
#include "catalogue/TQApp.h"

#include <QHash>
#include <QList>
#include <QSet>

#include <functional>

namespace kelp {

// The groups except the running one.
struct GroupArrays
{
    AppLists all;
    AppList all1D;
    AppLists included;
    AppList included1D;
    AppLists excluded;
    AppList excluded1D;
    AppList missing;
    AppLists user;
    AppList user1D;
};

// Entries compare by path throughout.
bool containsApp(const AppList &list, const TQAppPtr &app);
qsizetype indexOfApp(const AppList &list, const TQAppPtr &app);
QSet<QString> pathSet(const AppList &list);
// Removes the entries whose path is in the set; returns whether anything was removed.
bool removePaths(AppList &list, const QSet<QString> &paths);
bool sharesAny(const AppList &list, const QSet<QString> &paths);

class GroupDerivation
{
public:
    // The order groupContentsSortOrder asks for: 0 by path, 1 by name, 2 by colour.
    enum SortOrder : qint64 { ByPath = 0, ByName = 1, ByColour = 2 };
    using Sort = std::function<void(AppList &)>;

    // A stable sort in that order (names case-insensitively, paths too).
    static void sortApps(AppList &apps, qint64 order);

    // The inner arrays one after the other.
    static AppList flatten(const AppLists &lists);

    // Missing, included and excluded again from all1D, the exclusions and the favourites: the
    // missing entries leave the exclusions and the favourites (emptied bunches stay), the
    // exclusions and the included flat list are sorted with sort. Returns the groups changed.
    static QList<Group> rebuildDependent(GroupArrays &groups, const Sort &sort);

    // Every entry of "all" and of the favourites, by path.
    static QHash<QString, TQAppPtr> everything(const GroupArrays &groups);

    // Takes the entries of the paths out of every group but the favourites and the missing one
    // (emptied inner arrays stay); returns the groups changed.
    static QList<Group> removeFromScannedGroups(GroupArrays &groups, const QSet<QString> &paths);
};

} // namespace kelp
