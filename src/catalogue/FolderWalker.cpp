#include "catalogue/FolderWalker.h"

#include "catalogue/TQApp.h"
#include "extras/Logging.h"
#include "extras/RegularFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace kelp {
namespace {

// The kernel's own file systems: no application lives there, and their links (/proc/*/cwd,
// /proc/*/root) lead back into the whole tree.
bool onKernelFileSystem(const QByteArray &native)
{
    struct statfs fs
    {
    };
    if (::statfs(native.constData(), &fs) != 0) return false;
    switch (fs.f_type) {
    case PROC_SUPER_MAGIC:
    case SYSFS_MAGIC:
    case DEBUGFS_MAGIC:
    case TRACEFS_MAGIC:
    case SECURITYFS_MAGIC:
    case CGROUP_SUPER_MAGIC:
    case CGROUP2_SUPER_MAGIC:
        return true;
    default:
        return false;
    }
}

// The folder's identity (device and inode, links followed), or nothing when it is not a folder
// Kelp may enter.
std::optional<FolderWalker::FolderId> folderId(const QString &folder)
{
    const QByteArray native = QFile::encodeName(folder);
    struct stat st
    {
    };
    if (::stat(native.constData(), &st) != 0 || !S_ISDIR(st.st_mode)) return std::nullopt;
    if (onKernelFileSystem(native)) {
        qCDebug(lcCatalogue) << "Not entering" << folder << ": it belongs to the kernel";
        return std::nullopt;
    }
    return FolderWalker::FolderId{static_cast<quint64>(st.st_dev), static_cast<quint64>(st.st_ino)};
}

} // namespace

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
    if (setting > kDeepestScan) return kDeepestScan;
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
        if (!isUsablePath(folder)) {
            qCWarning(lcCatalogue) << "Not walking the scan folder" << folder
                                   << ": its path is empty or holds a NUL byte";
            continue;
        }
        QList<FoundApp> found;
        _depth = 0;
        _visited.clear();
        walkFolder(folder, found, result);
        if (!found.isEmpty()) result.perFolder.append(found);
    }
    return result;
}

void FolderWalker::walkFolder(const QString &folderPath, QList<FoundApp> &into, WalkResult &result)
{
    const QString folder = TQApp::standardizePath(folderPath);
    // Each folder is listed once per scan folder, however many links lead to it: a link loop or a
    // link back up the tree ends here.
    const std::optional<FolderId> id = folderId(folder);
    if (!id) return;
    if (_visited.contains(*id)) {
        qCDebug(lcCatalogue) << "Not entering" << folder << "again";
        return;
    }
    _visited.insert(*id);
    ++_depth;
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
    --_depth;
}

QStringList FolderWalker::foldersToWatch(const QStringList &roots, int maxDepth)
{
    QStringList out;
    const int limit = clampDepth(maxDepth);
    QSet<FolderId> visited;
    std::function<void(const QString &, int)> visit = [&](const QString &folder, int depth) {
        const std::optional<FolderId> id = folderId(folder);
        if (!id || visited.contains(*id)) return;
        visited.insert(*id);
        out.append(folder);
        if (depth >= limit) return;
        const QStringList subs =
            QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
        for (const QString &sub : subs) {
            if (sub.endsWith(QLatin1String(".framework")) || sub.endsWith(QLatin1String(".app")))
                continue;
            visit(folder + QLatin1Char('/') + sub, depth + 1);
        }
    };
    // Each root is listed to its own depth, even below a folder another root reached at its limit.
    for (const QString &root : roots) {
        visited.clear();
        if (isUsablePath(root)) visit(TQApp::standardizePath(root), 1);
    }
    out.removeDuplicates();
    return out;
}

} // namespace kelp
