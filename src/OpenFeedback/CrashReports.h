#pragma once
// Finding and reading the reports of earlier runs: crash reports (named "Kelp_….crash", written
// by CrashHandler) and hang reports (any "….hang", written by the hang watchdog). Plain file work
// meant for a worker thread; nothing here touches a widget.
#include <QDateTime>
#include <QString>
#include <QStringList>

namespace kelp {

// The folder hang reports go to: $XDG_STATE_HOME/Kelp/hangs.
QString hangReportFolder();

// The newest non-empty report in the folders (crash folders searched recursively) whose time is
// not older than `since` (every one when `since` is invalid); empty when there is none.
QString newestReport(const QStringList &crashFolders, const QStringList &hangFolders,
                     const QDateTime &since);
// Every such report, newest first.
QStringList newReports(const QStringList &crashFolders, const QStringList &hangFolders,
                       const QDateTime &since);

// The report as text to show: at most its last 256 KB, anything that is not text replaced, and
// for a crash report the names of its stack addresses where `addr2line` finds them. Empty when
// the file cannot be read.
QString readReport(const QString &path);

// The "Symbols:" section for a crash report's "Stack:" addresses, looked up in its "Modules:"
// map with addr2line; empty when none resolves.
QString symbolise(const QString &report);

} // namespace kelp
