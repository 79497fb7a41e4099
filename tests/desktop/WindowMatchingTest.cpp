// Which entry a window belongs to, how windows group into applications, and launch order.
#include "desktop/WindowMatching.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

namespace kelp {
namespace {

EntryFacts entry(const QString &id, const QString &program = {}, const QString &wmClass = {})
{
    return {QStringLiteral("/apps/") + id, id, wmClass, program};
}

WindowFacts window(quint32 id, qint64 pid, const QString &cls, const QString &exe = {})
{
    WindowFacts w;
    w.window = id;
    w.pid = pid;
    w.wmInstance = cls.toLower();
    w.wmClass = cls;
    w.executable = exe;
    return w;
}

const QList<EntryFacts> kEntries = {
    entry(QStringLiteral("org.example.Viewer.desktop"), QStringLiteral("/usr/bin/viewer")),
    entry(QStringLiteral("viewer-beta.desktop"), QStringLiteral("/usr/bin/viewer"),
          QStringLiteral("ViewerBeta")),
    entry(QStringLiteral("xterm-top.desktop"), QStringLiteral("/usr/bin/xterm")),
    entry(QStringLiteral("xterm.desktop"), QStringLiteral("/usr/bin/xterm")),
    entry(QStringLiteral("script.desktop"), QStringLiteral("/usr/bin/bash")),
};

TEST(WindowMatching, RulesApplyInOrder)
{
    // The GIO launch record wins over everything else, but only for the process GIO started.
    WindowFacts launched =
        window(1, 40, QStringLiteral("ViewerBeta"), QStringLiteral("/usr/bin/x"));
    launched.launchedDesktopFile = QStringLiteral("/apps/xterm.desktop");
    launched.launchedDesktopFilePid = 40;
    EXPECT_EQ(matchWindow(launched, kEntries), QStringLiteral("/apps/xterm.desktop"));

    WindowFacts inherited = launched; // a program started from inside the launched one
    inherited.launchedDesktopFilePid = 39;
    EXPECT_EQ(matchWindow(inherited, kEntries), QStringLiteral("/apps/viewer-beta.desktop"));

    // StartupWMClass is exact; the desktop-file ID ignores case and may be the instance.
    EXPECT_EQ(matchWindow(window(2, 0, QStringLiteral("ViewerBeta")), kEntries),
              QStringLiteral("/apps/viewer-beta.desktop"));
    EXPECT_EQ(matchWindow(window(3, 0, QStringLiteral("viewerbeta")), kEntries), QString());
    EXPECT_EQ(matchWindow(window(4, 0, QStringLiteral("ORG.EXAMPLE.VIEWER")), kEntries),
              QStringLiteral("/apps/org.example.Viewer.desktop"));
    WindowFacts byInstance = window(5, 0, QStringLiteral("Other"));
    byInstance.wmInstance = QStringLiteral("xterm");
    EXPECT_EQ(matchWindow(byInstance, kEntries), QStringLiteral("/apps/xterm.desktop"));
}

TEST(WindowMatching, ExecutableMatchPrefersTheEntryNamedAfterTheProgram)
{
    EXPECT_EQ(
        matchWindow(window(1, 7, QStringLiteral("X"), QStringLiteral("/usr/bin/xterm")), kEntries),
        QStringLiteral("/apps/xterm.desktop"));
    // Otherwise the first in scan order.
    EXPECT_EQ(
        matchWindow(window(1, 7, QStringLiteral("X"), QStringLiteral("/usr/bin/viewer")), kEntries),
        QStringLiteral("/apps/org.example.Viewer.desktop"));
    // A shell or an interpreter says nothing about the application it runs.
    EXPECT_EQ(
        matchWindow(window(1, 7, QStringLiteral("X"), QStringLiteral("/usr/bin/bash")), kEntries),
        QString());
    EXPECT_TRUE(isLauncherProgram(QStringLiteral("/usr/bin/python3.11")));
    EXPECT_FALSE(isLauncherProgram(QStringLiteral("/usr/bin/xclock")));
}

TEST(WindowMatching, GroupingKeepsRegularWindowsOnePerApplication)
{
    WindowFacts dock = window(10, 1, QStringLiteral("Panel"), QStringLiteral("/usr/bin/panel"));
    dock.regular = false;
    const QList<WindowFacts> windows = {
        window(1, 100, QStringLiteral("Clock"), QStringLiteral("/usr/bin/clock")),
        dock,
        window(2, 200, QStringLiteral("XTerm"), QStringLiteral("/usr/bin/xterm")),
        window(3, 100, QStringLiteral("Clock"), QStringLiteral("/usr/bin/clock")),
        window(4, 0, QString()), // no process, no class: nothing to name it by
        window(5, 300, QStringLiteral("XTerm"), QStringLiteral("/usr/bin/xterm")),
    };
    const QList<RunningApp> apps = groupWindows(windows, kEntries);
    ASSERT_EQ(apps.size(), 2);
    EXPECT_EQ(apps[0].path, QStringLiteral("/usr/bin/clock")); // unclaimed: its executable
    EXPECT_FALSE(apps[0].matched);
    EXPECT_EQ(apps[0].windows, (QList<quint32>{1, 3}));
    EXPECT_EQ(apps[1].path, QStringLiteral("/apps/xterm.desktop"));
    EXPECT_TRUE(apps[1].matched);
    EXPECT_EQ(apps[1].pid, 200);
    EXPECT_EQ(apps[1].windows, (QList<quint32>{2, 5}));
}

WindowFacts toplevel(quint32 id, const QString &appId)
{
    WindowFacts w;
    w.window = id;
    w.appId = appId;
    w.unclaimedPath =
        QStringLiteral("wayland:/toplevel/%1").arg(appId.isEmpty() ? QString::number(id) : appId);
    return w;
}

TEST(WindowMatching, WaylandToplevelsGoByTheirAppId)
{
    const QList<EntryFacts> entries = {
        entry(QStringLiteral("org.example.Viewer.desktop"), QStringLiteral("/usr/bin/viewer")),
        entry(QStringLiteral("gimp.desktop"), QStringLiteral("/usr/bin/gimp-2.10"),
              QStringLiteral("Gimp-2.10")),
        entry(QStringLiteral("run-tool.desktop"), QStringLiteral("/usr/bin/env")),
        entry(QStringLiteral("editor.desktop"), QStringLiteral("/opt/editor/bin/Ed")),
    };
    // The desktop-file ID, ignoring case; StartupWMClass exactly (an XWayland window's class),
    // then ignoring case, as toolkits lower-case it.
    EXPECT_EQ(matchWindow(toplevel(1, QStringLiteral("org.example.viewer")), entries),
              QStringLiteral("/apps/org.example.Viewer.desktop"));
    EXPECT_EQ(matchWindow(toplevel(2, QStringLiteral("Gimp-2.10")), entries),
              QStringLiteral("/apps/gimp.desktop"));
    EXPECT_EQ(matchWindow(toplevel(3, QStringLiteral("gimp-2.10")), entries),
              QStringLiteral("/apps/gimp.desktop"));
    // A program without an app id of its own goes by its executable's name; launchers never.
    EXPECT_EQ(matchWindow(toplevel(4, QStringLiteral("ed")), entries),
              QStringLiteral("/apps/editor.desktop"));
    EXPECT_EQ(matchWindow(toplevel(5, QStringLiteral("env")), entries), QString());
    EXPECT_EQ(matchWindow(toplevel(6, QString()), entries), QString());
    EXPECT_EQ(matchWindow(toplevel(7, QStringLiteral("unknown.App")), entries), QString());
}

TEST(WindowMatching, UnclaimedToplevelsAreApplicationsOfTheirOwn)
{
    // Toplevels of one unknown app id group together; each without an app id stands alone;
    // matched ones group under their entry, in the order of their first window.
    const QList<WindowFacts> toplevels = {
        toplevel(1, QStringLiteral("unknown.App")),
        toplevel(2, QString()),
        toplevel(3, QStringLiteral("xterm")),
        toplevel(4, QStringLiteral("unknown.App")),
        toplevel(5, QString()),
    };
    const QList<RunningApp> apps = groupWindows(toplevels, kEntries);
    ASSERT_EQ(apps.size(), 4);
    EXPECT_EQ(apps.at(0).path, QStringLiteral("wayland:/toplevel/unknown.App"));
    EXPECT_EQ(apps.at(0).windows, (QList<quint32>{1, 4}));
    EXPECT_FALSE(apps.at(0).matched);
    EXPECT_EQ(apps.at(1).windows, QList<quint32>{2});
    EXPECT_EQ(apps.at(2).path, QStringLiteral("/apps/xterm.desktop"));
    EXPECT_TRUE(apps.at(2).matched);
    EXPECT_EQ(apps.at(3).windows, QList<quint32>{5});
    EXPECT_NE(apps.at(1).path, apps.at(3).path);
}

TEST(WindowMatching, LaunchOrderSurvivesUpdates)
{
    auto app = [](const char *path) {
        RunningApp a;
        a.path = QString::fromLatin1(path);
        return a;
    };
    auto paths = [](const QList<RunningApp> &apps) {
        QStringList out;
        for (const RunningApp &a : apps)
            out.append(a.path);
        return out;
    };
    QStringList order;
    EXPECT_EQ(paths(keepLaunchOrder({app("b"), app("a")}, order)), (QStringList{"b", "a"}));
    // The window manager lists "a" first now (it restacked): the order stays; "c" is new.
    EXPECT_EQ(paths(keepLaunchOrder({app("a"), app("c"), app("b")}, order)),
              (QStringList{"b", "a", "c"}));
    // "b" quits and comes back: it is the newest now.
    keepLaunchOrder({app("a"), app("c")}, order);
    EXPECT_EQ(paths(keepLaunchOrder({app("b"), app("a"), app("c")}, order)),
              (QStringList{"a", "c", "b"}));
}

} // namespace
} // namespace kelp
