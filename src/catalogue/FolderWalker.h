#pragma once
// FolderWalker: the bounded walk of the scan folders.
//
// Lists each scan folder, keeps the applications it finds and descends into plain folders up to
// the depth limit. Each scan folder is walked once, by itself: a scan folder met inside another is
// not entered there. Folders named "*.framework" and application bundles are never entered. A
// folder is listed at most once per scan folder, known by its device and inode, so link loops
// and links back up the tree end; the kernel's file systems (/proc, /sys) are never entered, and
// a scan folder whose path holds a NUL byte is refused with a log line.
//
// The walk touches no catalogue state: it can run on a worker thread and its result is applied on
// the GUI thread.
#include "desktop/AppsOnDisk.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <optional>

namespace kelp {

// A file's modification time in milliseconds since the epoch, 0 when it cannot be read. One
// stat(2): this runs for every entry at every start.
qint64 modificationTimeMs(const QString &path);

struct FoundApp
{
    QString path;        // standardised
    QString name;        // localised name, empty when the entry has none of its own
    qint64 modified = 0; // modification time (ms since the epoch) when the name was read
};

struct WalkResult
{
    // One list per scan folder that yielded something, in scan-folder order.
    QList<QList<FoundApp>> perFolder;
    // Every folder that was listed (for the live watch).
    QStringList listedFolders;
};

class FolderWalker
{
public:
    using Progress = std::function<void(int step, int count, const QString &label)>;
    // A folder as the file system knows it: device and inode.
    using FolderId = std::pair<quint64, quint64>;

    // The depth limit as the settings give it: below 1 means 1, more than the deepest means the
    // deepest.
    static constexpr int kDeepestScan = 99;
    static int clampDepth(qint64 setting);

    FolderWalker(const AppsOnDisk &appsOnDisk, QStringList scanFolders, int maxDepth);

    void setProgress(Progress progress) { _progress = std::move(progress); }
    void setCancelFlag(const std::atomic<bool> *cancel) { _cancel = cancel; }

    WalkResult walk();

    // Lists the folders the walk would list, without classifying files (for the live watch).
    static QStringList foldersToWatch(const QStringList &roots, int maxDepth);

private:
    void walkFolder(const QString &folder, QList<FoundApp> &into, WalkResult &result);

    const AppsOnDisk &_appsOnDisk;
    QStringList _scanFolders;
    int _maxDepth;
    int _depth = 0;
    QSet<FolderId> _visited;                 // the folders listed for the current scan folder
    QHash<QString, QString> _seenDesktopIds; // desktop-file ID -> path of the entry that owns it
    Progress _progress;
    const std::atomic<bool> *_cancel = nullptr;
};

} // namespace kelp
