#include "extras/Timing.h"

#include <QElapsedTimer>

Q_LOGGING_CATEGORY(lcTiming, "kelp.timing", QtWarningMsg)

namespace kelp::timing {
namespace {
QElapsedTimer &requestTimer()
{
    static QElapsedTimer timer; // GUI thread only
    return timer;
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
    qCDebug(lcTiming, "panel painted %.2f ms after the request", timer.nsecsElapsed() / 1e6);
    timer.invalidate();
}

} // namespace kelp::timing
