#include "prefs/TQArrayController.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace kelp {

namespace {
const QString kPathKey = QStringLiteral("path");

QList<int> sortedUnique(QList<int> rows)
{
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}
} // namespace

TQArrayController::TQArrayController(QString homeFolder) : _home(std::move(homeFolder)) {}

void TQArrayController::setRecords(const QVariantList &records)
{
    _paths.clear();
    for (const QVariant &record : records)
        _paths.append(record.toMap().value(kPathKey).toString());
    _selection = validRows(_selection);
}

QVariantList TQArrayController::records() const
{
    QVariantList out;
    out.reserve(_paths.size());
    for (const QString &path : _paths)
        out.append(QVariantMap{{kPathKey, path}});
    return out;
}

void TQArrayController::setSelection(QList<int> rows)
{
    _selection = validRows(rows);
}

QList<int> TQArrayController::validRows(const QList<int> &rows) const
{
    QList<int> valid;
    for (int row : sortedUnique(rows))
        if (row >= 0 && row < count()) valid.append(row);
    return valid;
}

int TQArrayController::insertionIndex() const
{
    return _selection.isEmpty() ? 0 : _selection.last() + 1;
}

int TQArrayController::insertPaths(const QStringList &paths, int index)
{
    index = std::clamp(index, 0, count());
    QList<int> inserted;
    for (const QString &given : paths) {
        if (given.isEmpty()) continue;
        // A link to a folder is listed as the folder it leads to.
        const QFileInfo info(given);
        const QString resolved = info.isSymLink() ? info.symLinkTarget() : given;
        const QString path = abbreviateWithTilde(resolved, _home);
        const bool listed = std::any_of(_paths.begin(), _paths.end(), [&](const QString &p) {
            return p == path || expandTilde(p, _home) == expandTilde(path, _home);
        });
        if (listed) continue;
        _paths.insert(index, path);
        inserted.append(index);
        ++index;
    }
    if (!inserted.isEmpty()) _selection = inserted;
    return int(inserted.size());
}

int TQArrayController::rowsAboveRow(int row, const QList<int> &rows)
{
    return int(std::count_if(rows.begin(), rows.end(), [row](int r) { return r < row; }));
}

void TQArrayController::moveRows(const QList<int> &rows, int dropRow)
{
    const QList<int> moving = validRows(rows);
    if (moving.isEmpty()) return;
    dropRow = std::clamp(dropRow, 0, count());
    QStringList moved;
    // Taken out last first, so that the earlier rows keep their numbers.
    for (auto it = moving.crbegin(); it != moving.crend(); ++it)
        moved.prepend(_paths.takeAt(*it));
    const int start = dropRow - rowsAboveRow(dropRow, moving);
    QList<int> selection;
    for (int i = 0; i < moved.size(); ++i) {
        _paths.insert(start + i, moved[i]);
        selection.append(start + i);
    }
    _selection = selection;
}

void TQArrayController::copyRows(const QList<int> &rows, int dropRow)
{
    const QList<int> copying = validRows(rows);
    if (copying.isEmpty()) return;
    dropRow = std::clamp(dropRow, 0, count());
    QStringList copies;
    for (int row : copying)
        copies.append(_paths[row]);
    QList<int> selection;
    for (int i = 0; i < copies.size(); ++i) {
        _paths.insert(dropRow + i, copies[i]);
        selection.append(dropRow + i);
    }
    _selection = selection;
}

void TQArrayController::removeRows(const QList<int> &rows)
{
    const QList<int> removing = validRows(rows);
    for (auto it = removing.crbegin(); it != removing.crend(); ++it)
        _paths.removeAt(*it);
    _selection.clear();
}

QString TQArrayController::abbreviateWithTilde(const QString &path, const QString &home)
{
    const QString clean = QDir::cleanPath(path);
    const QString h = QDir::cleanPath(home);
    if (h.isEmpty() || h == QLatin1String("/")) return clean;
    if (clean == h) return QStringLiteral("~");
    if (clean.startsWith(h + QLatin1Char('/'))) return QLatin1Char('~') + clean.mid(h.size());
    return clean;
}

QString TQArrayController::expandTilde(const QString &path, const QString &home)
{
    if (path == QLatin1String("~")) return QDir::cleanPath(home);
    if (path.startsWith(QLatin1String("~/"))) return QDir::cleanPath(home) + path.mid(1);
    return path;
}

QString scanFolderProblem(const QString &path)
{
    const QString expanded = TQArrayController::expandTilde(path, QDir::homePath());
    const QFileInfo info(expanded);
    if (!info.exists())
        return QCoreApplication::translate("ScanFolders", "“%1” is gone.").arg(path);
    if (!info.isDir())
        return QCoreApplication::translate("ScanFolders", "“%1” is not a folder.").arg(path);
    if (!info.isReadable() || !info.isExecutable())
        return QCoreApplication::translate("ScanFolders", "“%1” cannot be read.").arg(path);
    return {};
}

} // namespace kelp
