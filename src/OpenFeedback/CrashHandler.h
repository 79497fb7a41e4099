#pragma once
// Kelp's crash handler. Installed once at start, it catches SIGSEGV, SIGBUS, SIGILL, SIGFPE and
// SIGABRT on a stack of its own and writes a report into a file it opened beforehand, with
// async-signal-safe calls only: the signal, the fault address, Kelp's version, the raw stack
// addresses and the module map (/proc/self/maps). Then the signal's default action runs, so Kelp
// still ends the way the signal says. The next start reads the report (CrashReports.h).
//
// The report file is opened at install and removed again when Kelp ends normally; a Kelp that is
// killed without a crash leaves an empty file, which the next start ignores.
#include <QString>

namespace kelp {

class CrashHandler
{
public:
    // Installs the handler, its report going to a new file in `folder`. Only one handler is
    // installed per process; returns false (logged) when the folder or file cannot be made.
    static bool install(const QString &folder, const QString &version);
    // Removes an unused report file and restores the default actions (at a normal end).
    static void uninstall();
    // The file a crash would be written to (empty when none is installed).
    static QString reportPath();
};

// The folder crash reports go to: $XDG_STATE_HOME/Kelp/crashes.
QString crashReportFolder();

} // namespace kelp
