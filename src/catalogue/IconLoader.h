#pragma once
// IconLoader: the process-wide queue that fetches application icons in the background.
//
// Each IconLoadOperation asks the desktop's IconSource for one file's icon on a worker thread
// (at most eight at once) and hands the bitmap to its entry on the GUI thread with a queued call;
// there only TQApp::setIcon and the colour analysis run. A result whose entry is gone, or whose
// entry has queued a newer load since, is dropped.
#include "catalogue/TQApp.h"

#include <QObject>
#include <QRunnable>
#include <QThreadPool>

#include <atomic>
#include <memory>

namespace kelp {

class IconSource;

class IconLoadOperation : public QRunnable
{
public:
    // The bitmap size for a parameter record: maximumIconSize, at most 128 (and at least 1).
    static int iconSizeFor(const ColorSortParams &params);

    IconLoadOperation(const QString &path, const ColorSortParams &params, const TQAppPtr &sender,
                      std::shared_ptr<const IconSource> source, qreal devicePixelRatio);

    QString filePath() const { return _filePath; }
    int iconSize() const { return _iconSize; }
    void run() override;

private:
    QString _filePath;
    int _iconSize;
    std::weak_ptr<TQApp> _sender;
    quint64 _generation;
    std::shared_ptr<const IconSource> _source;
    qreal _devicePixelRatio;
};

class IconLoader : public QObject
{
    Q_OBJECT
public:
    static constexpr int kMaxConcurrentLoads = 8;

    // Made on first use, lives for the process. Use from the GUI thread.
    static IconLoader &shared();

    QThreadPool &queue() { return _queue; }

    // The source new loads use; by default the desktop's (desktop().icons).
    void setIconSource(std::shared_ptr<const IconSource> source);
    std::shared_ptr<const IconSource> iconSource() const;

    // Queues a load of the entry's icon with the parameters it holds now. GUI thread.
    void loadIcon(const TQAppPtr &app);

    // Loads queued or running whose results have not been applied yet.
    int pendingLoads() const { return _pending; }
    // Runs the event loop until every queued load has been applied to its entry (tools and
    // benchmarks; the running Kelp never waits).
    void waitUntilAllDelivered();

    // Figures for tests and benchmarks.
    struct Statistics
    {
        quint64 queued = 0;           // loads started
        quint64 delivered = 0;        // results applied to their entry
        quint64 failed = 0;           // loads that found no icon
        qint64 longestDeliveryNs = 0; // the longest time one result took on the GUI thread
        qint64 totalDeliveryNs = 0;
    };
    Statistics statistics() const { return _stats; }
    void resetStatistics() { _stats = {}; }

Q_SIGNALS:
    // Every queued load has been applied (emitted when the count of pending loads drops to 0).
    void allLoadsDelivered();

private:
    friend class IconLoadOperation;
    IconLoader();
    // GUI thread: applies one result.
    void deliver(const std::weak_ptr<TQApp> &sender, quint64 generation, const QImage &icon,
                 const QImage &displayIcon);

    QThreadPool _queue;
    std::shared_ptr<const IconSource> _source;
    int _pending = 0;
    Statistics _stats;
};

} // namespace kelp
