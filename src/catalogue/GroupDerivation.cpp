#include "catalogue/GroupDerivation.h"

#include <algorithm>

namespace kelp {

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

void GroupDerivation::sortApps(AppList &apps, qint64 order)
{
    if (order == ByPath) {
        std::stable_sort(apps.begin(), apps.end(), [](const TQAppPtr &a, const TQAppPtr &b) {
            return a->path().compare(b->path(), Qt::CaseInsensitive) < 0;
        });
    } else if (order == ByColour) {
        std::stable_sort(apps.begin(), apps.end(), [](const TQAppPtr &a, const TQAppPtr &b) {
            return a->colorSortValue() < b->colorSortValue();
        });
    } else {
        // Names compare case-insensitively (folded once per entry, not per comparison).
        std::stable_sort(apps.begin(), apps.end(), [](const TQAppPtr &a, const TQAppPtr &b) {
            return a->foldedName() < b->foldedName();
        });
    }
}

AppList GroupDerivation::flatten(const AppLists &lists)
{
    AppList flat;
    for (const AppList &inner : lists)
        flat.append(inner);
    return flat;
}

QList<Group> GroupDerivation::rebuildDependent(GroupArrays &g, const Sort &sort)
{
    QList<Group> changed;
    const QSet<QString> all = pathSet(g.all1D);

    // An excluded application that the scan no longer finds is missing.
    g.missing.clear();
    for (const TQAppPtr &a : std::as_const(g.excluded1D)) {
        if (!all.contains(a->path())) g.missing.append(a);
    }
    changed.append(Group::Missing);

    const QSet<QString> missing = pathSet(g.missing);
    if (sharesAny(g.user1D, missing)) {
        for (AppList &bunch : g.user)
            removePaths(bunch, missing); // emptied bunches stay
        removePaths(g.user1D, missing);
        changed.append({Group::User, Group::User1D});
    }
    if (!g.missing.isEmpty()) {
        removePaths(g.excluded1D, missing);
        sort(g.excluded1D);
        changed.append(Group::Excluded1D);
    }

    const QSet<QString> excluded = pathSet(g.excluded1D);
    g.included.clear();
    g.included1D.clear();
    g.excluded.clear();
    for (const AppList &inner : std::as_const(g.all)) {
        AppList included, excludedPart;
        for (const TQAppPtr &a : inner)
            (excluded.contains(a->path()) ? excludedPart : included).append(a);
        if (!included.isEmpty()) {
            g.included.append(included);
            g.included1D.append(included);
        }
        if (!excludedPart.isEmpty()) g.excluded.append(excludedPart);
    }
    sort(g.included1D);
    changed.append({Group::Excluded, Group::Included, Group::Included1D});
    return changed;
}

QHash<QString, TQAppPtr> GroupDerivation::everything(const GroupArrays &g)
{
    QHash<QString, TQAppPtr> set;
    for (const AppLists *lists : {&g.all, &g.user})
        for (const AppList &inner : *lists)
            for (const TQAppPtr &a : inner)
                set.insert(a->path(), a);
    return set;
}

QList<Group> GroupDerivation::removeFromScannedGroups(GroupArrays &g, const QSet<QString> &paths)
{
    QList<Group> changed;
    auto strip = [&](AppLists &twoLevel, AppList &flat, Group twoLevelGroup) {
        if (!sharesAny(flat, paths)) return;
        for (AppList &inner : twoLevel)
            removePaths(inner, paths); // emptied inner arrays stay
        removePaths(flat, paths);
        changed.append({twoLevelGroup, flatForm(twoLevelGroup)});
    };
    strip(g.all, g.all1D, Group::All);
    strip(g.included, g.included1D, Group::Included);
    strip(g.excluded, g.excluded1D, Group::Excluded);
    return changed;
}

} // namespace kelp
