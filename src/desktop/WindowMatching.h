#pragma once
// Matching windows to catalogue entries, and grouping them into running applications.
//
// Pure functions over facts the desktop layer gathers (window properties, /proc, desktop entries),
// so the rules can be checked without a display. A window belongs to an entry, in this order:
//   1. the entry GIO launched it from: GIO_LAUNCHED_DESKTOP_FILE in the process environment, when
//      GIO_LAUNCHED_DESKTOP_FILE_PID names that very process (children of a launched program
//      inherit the variable and must not count as it);
//   2. the entry whose StartupWMClass equals the window's WM_CLASS class or instance, then the
//      entry whose desktop-file ID (without ".desktop") equals one of them, ignoring case;
//   3. the entry whose Exec program is the process's executable (programs that merely run
//      another one, such as shells and env, never match this way).
// Wayland toplevels name no process: they go by their app id (XWayland windows by their X11
// class), compared like WM_CLASS in rule 2, then with StartupWMClass ignoring case (toolkits
// lower-case it), then with the file name of the entry's Exec program (a program that sets no
// app id of its own goes by its executable's name).
// A window none of these claims belongs to its executable's path, else to its unclaimed path
// (a Wayland toplevel's stand-in); a window with neither a match nor either path is left out.
#include "desktop/RunningApplications.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace kelp {

struct WindowFacts
{
    quint32 window = 0;
    qint64 pid = 0; // 0: the window names no process
    QString wmInstance;
    QString wmClass;
    QString launchedDesktopFile;       // GIO_LAUNCHED_DESKTOP_FILE, or empty
    qint64 launchedDesktopFilePid = 0; // GIO_LAUNCHED_DESKTOP_FILE_PID, 0 when absent
    QString executable;                // the resolved /proc/PID/exe, empty when unknown
    QString appId; // a Wayland toplevel's app id (an XWayland window's X11 class); empty on X11
    // What a window that names no executable goes by when no entry claims it; empty on X11.
    QString unclaimedPath;
    // A normal window that shows in the taskbar (not a dock, tool, dialog or skip-taskbar one).
    bool regular = true;
};

struct EntryFacts
{
    QString path;
    QString desktopId;      // "org.example.App.desktop"
    QString startupWmClass; // StartupWMClass, or empty
    QString program;        // the Exec program resolved to a canonical path, or empty
};

// The path of the entry the window belongs to, or an empty string.
QString matchWindow(const WindowFacts &window, const QList<EntryFacts> &entries);

// Whether a program only starts others (shells, env...), so its path says nothing about which
// application a window belongs to.
bool isLauncherProgram(const QString &program);

// The regular windows grouped into applications, in the order of each application's first window
// in `windows` (which is the window manager's client list, oldest first). Windows that are not
// regular are left out; so are windows with neither an entry nor an executable.
QList<RunningApp> groupWindows(const QList<WindowFacts> &windows, const QList<EntryFacts> &entries);

// Launch order across updates: applications still running keep their places (`order`, the paths
// of the previous update), new ones follow in the order given. Updates `order` to the result.
QList<RunningApp> keepLaunchOrder(const QList<RunningApp> &apps, QStringList &order);

} // namespace kelp
