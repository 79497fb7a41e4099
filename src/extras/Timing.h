#pragma once
// Timing marks for the figures in docs/PERFORMANCE.md. Off unless the category kelp.timing is
// enabled at debug level (QT_LOGGING_RULES="kelp.timing.debug=true"); then the time from a request
// to show the panel until its first paint is logged, and each rebuild of the running group. Each
// line carries the wall clock (milliseconds since the epoch, to the microsecond), so that tools
// outside Kelp (bench/wayland/) can line their own marks up with Kelp's.
#include <QLoggingCategory>
#include <QStringList>

Q_DECLARE_LOGGING_CATEGORY(lcTiming)

namespace kelp::timing {

// A request to show the panel arrived.
void markShowRequest();
// The panel finished painting; logs the time since the last request, once per request.
void panelPainted();
// The running group was rebuilt; logs its paths.
void runningGroupRebuilt(const QStringList &paths);

} // namespace kelp::timing
