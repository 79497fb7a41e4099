#pragma once
// ScanFolderWatcher: the live watch of the scan folders.
//
// Watches every folder a walk of the scope would list (listed on a worker thread, since that
// touches the disk). A change anywhere starts a wait of five seconds, started again by each further
// change, so a burst of changes (an installation, an update) ends in one full scan, announced by
// scanDue().
#include <QObject>
#include <QStringList>
#include <QThreadPool>
#include <QTimer>

class QFileSystemWatcher;

namespace kelp {

class ScanFolderWatcher : public QObject
{
    Q_OBJECT
public:
    static constexpr int kSettleDelayMs = 5000;

    explicit ScanFolderWatcher(QObject *parent = nullptr);
    ~ScanFolderWatcher() override;

    // Starts (or restarts) watching the folders of the scope, down to the walk's depth limit; an
    // empty scope stops the watch.
    void watch(const QStringList &scope, int maxDepth);
    QStringList watchedFolders() const;

    // A change was seen: the scan comes once the changes have settled.
    void scheduleScan() { _settleTimer.start(); }
    void cancelScheduledScan() { _settleTimer.stop(); }
    bool isScanScheduled() const { return _settleTimer.isActive(); }

Q_SIGNALS:
    // The watch is in place.
    void watchStarted();
    // The changes have settled: time for one full scan.
    void scanDue();

private:
    QTimer _settleTimer;
    QFileSystemWatcher *_watcher = nullptr;
    quint64 _generation = 0;
    QThreadPool _pool;
};

} // namespace kelp
