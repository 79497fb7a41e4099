#pragma once
// The hang watchdog: a thread that notices when Kelp's GUI thread has been away from its event
// loop for too long (5 seconds) and writes a hang report with the GUI thread's stack, taken by
// signalling that thread, under $XDG_STATE_HOME/Kelp/hangs. One report per hang. While Kelp is
// idle the watchdog sleeps without a timeout, so it wakes nothing.
#include <QString>

#include <chrono>
#include <memory>

namespace kelp {

class HangWatchdog
{
public:
    // Watches the thread it is made on, which must run a Qt event loop.
    explicit HangWatchdog(const QString &folder,
                          std::chrono::milliseconds limit = std::chrono::seconds(5));
    ~HangWatchdog();
    HangWatchdog(const HangWatchdog &) = delete;
    HangWatchdog &operator=(const HangWatchdog &) = delete;

    // How many reports were written (for tests).
    int reportsWritten() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace kelp
