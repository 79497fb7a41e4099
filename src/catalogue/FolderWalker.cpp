#include "catalogue/FolderWalker.h"

#include "catalogue/TQApp.h"
#include "extras/Logging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

namespace kelp {

QString desktopIdForPath(const QString &path)
{
    // The ID is the path below the nearest "applications" folder, with "/" turned into "-".
    const QStringList parts = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (qsizetype i = parts.size() - 2; i >= 0; --i) {
        if (parts.at(i) == QLatin1String("applications"))
            return parts.mid(i + 1).join(QLatin1Char('-'));
    }
    return parts.isEmpty() ? QString() : parts.last();
}

qint64 modificationTimeMs(const QString &path)
{
    struct stat st;
    if (::stat(QFile::encodeName(path).constData(), &st) != 0) return 0;
    return static_cast<qint64>(st.st_mtim.tv_sec) * 1000 + st.st_mtim.tv_nsec / 1000000;
}

int FolderWalker::clampDepth(qint64 setting)
{
    if (setting < 1) return 1;
    if (setting >= 100) return 99;
    return static_cast<int>(setting);
}

FolderWalker::FolderWalker(const AppsOnDisk &appsOnDisk, QStringList scanFolders, int maxDepth)
    : _appsOnDisk(appsOnDisk), _scanFolders(std::move(scanFolders)), _maxDepth(clampDepth(maxDepth))
{}

WalkResult FolderWalker::walk()
{
    WalkResult result;
    _seenDesktopIds.clear();
    const int count = static_cast<int>(_scanFolders.size());
    for (int i = 0; i < count; ++i) {
        if (_cancel && _cancel->load()) break;
        const QString &folder = _scanFolders.at(i);
        if (_progress) _progress(i + 1, count, folder);
        QList<FoundApp> found;
        _depth = 0;
        _descent.clear();
        walkFolder(folder, found, result);
        if (!found.isEmpty()) result.perFolder.append(found);
    }
    return result;
}

void FolderWalker::walkFolder(const QString &folderPath, QList<FoundApp> &into, WalkResult &result)
{
    ++_depth;
    const QString folder = TQApp::standardizePath(folderPath);
    const QString canonical = QFileInfo(folder).canonicalFilePath();
    if (canonical.isEmpty() || _descent.contains(canonical)) {
        if (!canonical.isEmpty())
            qCDebug(lcCatalogue) << "Not entering" << folder << "again: it leads back to"
                                 << canonical;
        --_depth;
        return;
    }
    _descent.append(canonical);
    result.listedFolders.append(folder);

    QDir dir(folder);
    const QStringList names = dir.entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    if (names.isEmpty() && !dir.isReadable()) qCDebug(lcCatalogue) << "Cannot list" << folder;

    for (const QString &entry : names) {
        if (_cancel && _cancel->load()) break;
        const QString path =
            folder == QLatin1String("/") ? folder + entry : folder + QLatin1Char('/') + entry;
        const ItemInfo info = _appsOnDisk.inspect(path);
        // A desktop entry shadows every later one with the same ID, even when it is hidden itself.
        bool shadowed = false;
        if (!info.desktopId.isEmpty()) {
            const auto seen = _seenDesktopIds.constFind(info.desktopId);
            if (seen == _seenDesktopIds.constEnd())
                _seenDesktopIds.insert(info.desktopId, path);
            else
                shadowed = seen.value() != path;
        }
        switch (info.kind) {
        case ItemInfo::Application:
            if (shadowed) {
                qCDebug(lcCatalogue)
                    << path << "is shadowed by" << _seenDesktopIds.value(info.desktopId);
                break;
            }
            into.append({path, info.name, modificationTimeMs(path)});
            break;
        case ItemInfo::Folder:
        case ItemInfo::AliasToFolder:
            if (entry.endsWith(QLatin1String(".framework"))) break;
            if (_scanFolders.contains(path)) break; // walked by itself
            if (_depth < _maxDepth) walkFolder(path, into, result);
            break;
        case ItemInfo::Other:
        case ItemInfo::Invisible:
        case ItemInfo::Alias:
        case ItemInfo::ClassicApplication:
            break;
        }
    }
    _descent.removeLast();
    --_depth;
}

QStringList FolderWalker::foldersToWatch(const QStringList &roots, int maxDepth)
{
    QStringList out;
    const int limit = clampDepth(maxDepth);
    std::function<void(const QString &, int, QStringList &)> visit = [&](const QString &folder,
                                                                         int depth,
                                                                         QStringList &descent) {
        const QString canonical = QFileInfo(folder).canonicalFilePath();
        if (canonical.isEmpty() || descent.contains(canonical)) return;
        out.append(folder);
        if (depth >= limit) return;
        descent.append(canonical);
        const QStringList subs =
            QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
        for (const QString &sub : subs) {
            if (sub.endsWith(QLatin1String(".framework")) || sub.endsWith(QLatin1String(".app")))
                continue;
            visit(folder + QLatin1Char('/') + sub, depth + 1, descent);
        }
        descent.removeLast();
    };
    for (const QString &root : roots) {
        QStringList descent;
        visit(TQApp::standardizePath(root), 1, descent);
    }
    out.removeDuplicates();
    return out;
}

} // namespace kelp
