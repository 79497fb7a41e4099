#include "catalogue/ScanFolderWatcher.h"

#include "catalogue/FolderWalker.h"
#include "extras/Logging.h"

#include <QFileSystemWatcher>

namespace kelp {

ScanFolderWatcher::ScanFolderWatcher(QObject *parent) : QObject(parent)
{
    _settleTimer.setSingleShot(true);
    _settleTimer.setInterval(kSettleDelayMs);
    connect(&_settleTimer, &QTimer::timeout, this, &ScanFolderWatcher::scanDue);
}

ScanFolderWatcher::~ScanFolderWatcher()
{
    // The worker posts its list to this object: let it finish first.
    _pool.waitForDone();
}

void ScanFolderWatcher::watch(const QStringList &scope, int maxDepth)
{
    ++_generation;
    delete _watcher;
    _watcher = nullptr;
    if (scope.isEmpty()) return;

    const quint64 generation = _generation;
    _pool.start([this, scope, maxDepth, generation]() {
        const QStringList folders = FolderWalker::foldersToWatch(scope, maxDepth);
        QMetaObject::invokeMethod(
            this,
            [this, folders, generation]() {
                if (generation != _generation) return; // a newer watch is being set up
                _watcher = new QFileSystemWatcher(this);
                const QStringList failed = _watcher->addPaths(folders);
                if (!failed.isEmpty())
                    qCInfo(lcCatalogue)
                        << "Not watching" << failed.size() << "folders, e.g." << failed.first();
                connect(_watcher, &QFileSystemWatcher::directoryChanged, this,
                        [this](const QString &path) {
                            qCDebug(lcCatalogue) << "Change in" << path;
                            scheduleScan();
                        });
                Q_EMIT watchStarted();
            },
            Qt::QueuedConnection);
    });
}

QStringList ScanFolderWatcher::watchedFolders() const
{
    return _watcher ? _watcher->directories() : QStringList();
}

} // namespace kelp
