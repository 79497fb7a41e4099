#include "catalogue/Favourites.h"

#include "catalogue/GroupDerivation.h"
#include "extras/Logging.h"

#include <QFileInfo>

#include <algorithm>

namespace kelp {
namespace {

qint64 clampIndex(qint64 index, qsizetype count)
{
    return std::clamp<qint64>(index, 0, static_cast<qint64>(count));
}

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

bool Favourites::moveInFlatOrder(const TQAppPtr &app, qint64 index)
{
    const qsizetype i = indexOfApp(_flat, app);
    if (i == index) return false;
    qint64 target = index;
    if (i < 0) {
        _bunches.append(AppList{app});
    } else {
        _flat.removeAt(i);
        if (i < index) --target;
    }
    _flat.insert(clampIndex(target, _flat.size()), app);
    return true;
}

bool Favourites::moveInBunches(const TQAppPtr &app, qint64 bunch, qint64 index)
{
    qsizetype f = -1, p = -1;
    for (qsizetype b = 0; b < _bunches.size() && f < 0; ++b) {
        const qsizetype at = indexOfApp(_bunches.at(b), app);
        if (at >= 0) {
            f = b;
            p = at;
        }
    }
    const qsizetype countBefore = _bunches.size();
    qint64 targetBunch = bunch;
    qint64 targetIndex = index;
    if (f >= 0) {
        if (f == bunch && p == index) return false;
        _bunches[f].removeAt(p);
        if (_bunches.at(f).isEmpty() && f != bunch) {
            _bunches.removeAt(f);
            if (f < bunch) --targetBunch;
        } else if (targetBunch == f && p < index) {
            --targetIndex;
        }
    } else {
        _flat.append(app);
    }
    targetBunch = std::max<qint64>(targetBunch, 0);
    if (targetBunch < countBefore && targetBunch < _bunches.size()) {
        AppList &target = _bunches[targetBunch];
        target.insert(clampIndex(targetIndex, target.size()), app);
    } else {
        _bunches.append(AppList{app});
    }
    return true;
}

void Favourites::moveToNewBunch(const TQAppPtr &app, qint64 index)
{
    qint64 target = clampIndex(index, _bunches.size());
    qsizetype holder = -1;
    for (qsizetype b = 0; b < _bunches.size(); ++b) {
        if (containsApp(_bunches.at(b), app)) {
            holder = b;
            break;
        }
    }
    if (holder >= 0) {
        _bunches[holder].removeAt(indexOfApp(_bunches.at(holder), app));
        if (_bunches.at(holder).isEmpty()) {
            _bunches.removeAt(holder);
            if (target > holder) --target;
        }
    } else {
        _flat.append(app);
    }
    _bunches.insert(target, AppList{app});
}

bool Favourites::remove(const QSet<QString> &paths)
{
    if (!sharesAny(_flat, paths)) return false;
    for (AppList &bunch : _bunches)
        removePaths(bunch, paths);
    _bunches.removeIf([](const AppList &bunch) { return bunch.isEmpty(); });
    removePaths(_flat, paths);
    return true;
}

void Favourites::locate(AppList candidates)
{
    removePaths(candidates, pathSet(_flat));
    for (AppList &bunch : _bunches) {
        for (TQAppPtr &entry : bunch) {
            entry->setPathIsValid(QFileInfo::exists(entry->path()));
            if (entry->isPathValid()) continue;
            const TQAppPtr match = bestMatchForApp(entry, AppLists{candidates});
            if (!match) continue;
            qCInfo(lcCatalogue).noquote()
                << "Favourite" << entry->path() << "found again at" << match->path();
            entry = match;
            candidates.removeAt(indexOfApp(candidates, match)); // one found app, one favourite
        }
    }
    _flat = GroupDerivation::flatten(_bunches);
}

TQAppPtr Favourites::bestMatchForApp(const TQAppPtr &app, const AppLists &candidates)
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

} // namespace kelp
