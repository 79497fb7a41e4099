#include "OpenFeedback/HangWatchdog.h"

#include "extras/Logging.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QThread>

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <execinfo.h>
#include <mutex>
#include <pthread.h>
#include <thread>

namespace kelp {
namespace {

constexpr int kMaxFrames = 64;
// The GUI thread's stack, filled in by the signal handler on that thread.
void *g_frames[kMaxFrames];
std::atomic<int> g_frameCount{-1};

void onStackRequest(int)
{
    const int saved = errno;
    g_frameCount.store(::backtrace(g_frames, kMaxFrames), std::memory_order_release);
    errno = saved;
}

} // namespace

struct HangWatchdog::Private
{
    QString folder;
    std::chrono::milliseconds limit;
    pthread_t watched = pthread_self();
    std::mutex mutex;
    std::condition_variable changed;
    bool busy = false;
    quint64 busyRound = 0; // counts the events the GUI thread took up
    bool stopping = false;
    std::atomic<int> written{0};
    std::thread thread;
    QMetaObject::Connection aboutToBlock;

    struct Filter : QObject
    {
        Private *p = nullptr;
        bool eventFilter(QObject *, QEvent *) override
        {
            std::lock_guard lock(p->mutex);
            ++p->busyRound;
            if (!p->busy) {
                p->busy = true;
                p->changed.notify_one();
            }
            return false;
        }
    } filter;

    void run()
    {
        std::unique_lock lock(mutex);
        while (!stopping) {
            changed.wait(lock, [this] { return stopping || busy; });
            if (stopping) break;
            const quint64 round = busyRound;
            // Busy: the GUI thread has this long to finish its event.
            if (changed.wait_for(lock, limit,
                                 [&] { return stopping || !busy || busyRound != round; }))
                continue;
            lock.unlock();
            writeReport();
            lock.lock();
            // One report per hang: wait for this one to end.
            changed.wait(lock, [&] { return stopping || !busy || busyRound != round; });
        }
    }

    void writeReport()
    {
        g_frameCount.store(-1);
        QString stack;
        if (pthread_kill(watched, SIGPROF) == 0) {
            for (int i = 0; i < 100 && g_frameCount.load(std::memory_order_acquire) < 0; ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            const int count = g_frameCount.load(std::memory_order_acquire);
            for (int i = 0; i < count; ++i)
                stack += QStringLiteral("0x%1\n").arg(
                    QString::number(reinterpret_cast<quintptr>(g_frames[i]), 16));
        }
        QFile maps(QStringLiteral("/proc/self/maps"));
        const QByteArray modules = maps.open(QIODevice::ReadOnly) ? maps.readAll() : QByteArray();
        QDir().mkpath(folder);
        const QString path = QDir(folder).filePath(
            QStringLiteral("Kelp_%1_%2.hang")
                .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd-HHmmss")))
                .arg(QCoreApplication::applicationPid()));
        QSaveFile out(path);
        if (out.open(QIODevice::WriteOnly)) {
            out.write(QStringLiteral("Kelp hang report\nThe GUI thread has not returned to its "
                                     "event loop for %1 ms.\nVersion: %2\n\nStack:\n%3\nModules:\n")
                          .arg(limit.count())
                          .arg(QCoreApplication::applicationVersion(), stack)
                          .toUtf8());
            out.write(modules);
        }
        if (out.commit()) {
            ++written;
            qCWarning(lcFeedback) << "Kelp is not responding; a hang report is in" << path;
        } else {
            qCWarning(lcFeedback) << "A hang report cannot be written to" << path;
        }
    }
};

HangWatchdog::HangWatchdog(const QString &folder, std::chrono::milliseconds limit)
    : d(std::make_unique<Private>())
{
    d->folder = folder;
    d->limit = limit;
    struct sigaction action
    {
    };
    action.sa_handler = onStackRequest;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGPROF, &action, nullptr);
    void *warmUp[1];
    ::backtrace(warmUp, 1); // loads libgcc now rather than inside the handler

    // Every event the GUI thread takes up counts as progress; the dispatcher announces the
    // moment it is about to sleep again.
    d->filter.p = d.get();
    QCoreApplication::instance()->installEventFilter(&d->filter);
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    Private *p = d.get();
    d->aboutToBlock = QObject::connect(
        dispatcher, &QAbstractEventDispatcher::aboutToBlock, dispatcher,
        [p] {
            std::lock_guard lock(p->mutex);
            p->busy = false;
        },
        Qt::DirectConnection);
    d->thread = std::thread([p] { p->run(); });
}

HangWatchdog::~HangWatchdog()
{
    QCoreApplication::instance()->removeEventFilter(&d->filter);
    QObject::disconnect(d->aboutToBlock);
    {
        std::lock_guard lock(d->mutex);
        d->stopping = true;
        d->changed.notify_one();
    }
    d->thread.join();
    ::signal(SIGPROF, SIG_DFL);
}

int HangWatchdog::reportsWritten() const
{
    return d->written.load();
}

} // namespace kelp
