#include "extras/Timing.h"

#include <QElapsedTimer>

#include <chrono>

Q_LOGGING_CATEGORY(lcTiming, "kelp.timing", QtWarningMsg)

namespace kelp::timing {
namespace {
QElapsedTimer &requestTimer()
{
    static QElapsedTimer timer; // GUI thread only
    return timer;
}
double wallClockMs()
{
    using namespace std::chrono;
    return double(duration_cast<microseconds>(system_clock::now().time_since_epoch()).count()) /
           1000.0;
}
} // namespace

void markShowRequest()
{
    if (lcTiming().isDebugEnabled()) requestTimer().start();
}

void panelPainted()
{
    QElapsedTimer &timer = requestTimer();
    if (!timer.isValid()) return;
    qCDebug(lcTiming, "panel painted %.2f ms after the request, wall clock %.3f ms",
            timer.nsecsElapsed() / 1e6, wallClockMs());
    timer.invalidate();
}

void runningGroupRebuilt(const QStringList &paths)
{
    if (!lcTiming().isDebugEnabled()) return;
    qCDebug(lcTiming).noquote() << QStringLiteral("running group rebuilt, wall clock %1 ms: %2")
                                       .arg(wallClockMs(), 0, 'f', 3)
                                       .arg(paths.join(QLatin1Char(' ')));
}

} // namespace kelp::timing
