// The desktop layer end to end: a real X server (Xvfb), a real window manager (openbox) and real
// programs (xclock, xeyes), launched through catalogue entries and followed into group 0.
#include "catalogue/CatalogueFixture.h"
#include "support/XSession.h"

#include "desktop/Desktop.h"
#include "desktop/RunningApplications.h"
#include "extras/Notifications.h"
#include "platform/DesktopFactory.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <xcb/xcb.h>
#include <xcb/xcb_icccm.h>

#include <csignal>
#include <sys/types.h>
#include <unistd.h>

namespace kelp::test {
namespace {

class X11DesktopTest : public CatalogueFixture
{
protected:
    void SetUp() override
    {
        QString why;
        if (!XSession::instance().start(&why)) GTEST_SKIP() << why.toStdString();
        CatalogueFixture::SetUp();
        // The window list as Kelp reads it, for the log of a test that fails.
        QLoggingCategory::setFilterRules(QStringLiteral("kelp.platform.debug=true"));
        apps = home.filePath(QStringLiteral("data/applications"));
        const Desktop services = makeDesktop(QStringLiteral("xcb"));
        ASSERT_TRUE(services.windowControl) << "no connection to the X server";
        running = services.running;
        setDesktop(services);
        makeCatalogue();
    }
    void TearDown() override
    {
        // Whatever a test left running goes now, politely or not.
        if (running) {
            for (const RunningApp &app : running->runningApplications()) {
                if (app.pid > 0 && app.pid != QCoreApplication::applicationPid())
                    ::kill(static_cast<pid_t>(app.pid), SIGKILL);
            }
            waitUntil([this]() { return running->runningApplications().isEmpty(); }, 5000);
        }
        catalogue.reset();
        setDesktop({});
        running.reset();
    }

    QString entry(const QString &name, const QByteArray &body)
    {
        const QString path = apps + QLatin1Char('/') + name;
        EXPECT_TRUE(writeFile(path, "[Desktop Entry]\nType=Application\n" + body));
        return path;
    }
    void useEntries(const QStringList &paths)
    {
        setAll({paths});
        catalogue->refreshRunningApps();
        ASSERT_TRUE(waitUntil([this]() { return !running->isMatchingPending(); }));
    }
    TQAppPtr launch(const QString &path, const TQApp::DroppedItems *items = nullptr)
    {
        TQAppPtr app = catalogue->appForPath(path);
        std::atomic<int> result{-1};
        app->launchInBackground(items, [&result](bool ok) { result = ok ? 1 : 0; });
        EXPECT_TRUE(waitUntil([&result]() { return result >= 0; }));
        EXPECT_EQ(result, 1) << "launching " << path.toStdString();
        return app;
    }
    QStringList group0() { return paths(catalogue->runningApps()); }
    QString front()
    {
        const TQAppPtr a = catalogue->activeApp();
        return a ? a->path() : QString();
    }

    QString apps;
    std::shared_ptr<RunningApplications> running;
};

TEST_F(X11DesktopTest, LaunchFrontSwitchHideShowAndQuit)
{
    // Two terminals told apart by their window class (xclock and xeyes take no focus, so the
    // window manager never puts them in front).
    const QString one = entry(QStringLiteral("zz-one.desktop"),
                              "Name=One\nExec=xterm -class KelpOne -geometry 40x5+0+0 -e "
                              "sleep 600\n"
                              "StartupWMClass=KelpOne\n");
    const QString two = entry(QStringLiteral("org.example.Two.desktop"),
                              "Name=Two\nExec=xterm -class KelpTwo -geometry 40x5+0+200 -e "
                              "sleep 600\n"
                              "StartupWMClass=KelpTwo\n");
    useEntries({one, two});

    const TQAppPtr oneApp = launch(one);
    ASSERT_TRUE(waitUntil([&]() { return group0() == QStringList{one}; }))
        << group0().join(' ').toStdString();
    const TQAppPtr twoApp = launch(two);
    ASSERT_TRUE(waitUntil([&]() {
        return group0() == (QStringList{one, two});
    })) << group0().join(' ').toStdString();
    qint64 pid = 0;
    EXPECT_TRUE(twoApp->pid(pid));
    EXPECT_GT(pid, 0);

    // The window manager focuses new windows: Two is in front, then One, then Two again.
    ASSERT_TRUE(waitUntil([&]() { return front() == two; })) << front().toStdString();
    EXPECT_TRUE(oneApp->activate());
    ASSERT_TRUE(waitUntil([&]() { return front() == one; })) << front().toStdString();
    EXPECT_TRUE(twoApp->activate());
    ASSERT_TRUE(waitUntil([&]() { return front() == two; }));
    EXPECT_EQ(paths(catalogue->frontApps()), (QStringList{one, two}));
    ASSERT_NE(catalogue->lastActiveApp(), nullptr);
    EXPECT_EQ(catalogue->lastActiveApp()->path(), two);

    // Hide and show.
    EXPECT_TRUE(oneApp->isVisible());
    oneApp->hide();
    ASSERT_TRUE(waitUntil([&]() { return !oneApp->isVisible(); }));
    oneApp->show();
    ASSERT_TRUE(waitUntil([&]() { return oneApp->isVisible(); }));

    // Polite quits: each program closes its own window and leaves group 0 and the history. xterm
    // hangs up its child and waits for it to end; the child is a plain `sleep`, since a shell
    // still starting took up to 30 s. Should it fail, the server's client list and the process
    // tell a program that did not close from a close Kelp did not see.
    catalogue->quitApp(twoApp);
    ASSERT_TRUE(waitUntil([&]() { return group0() == QStringList{one}; }, 30000))
        << group0().join(' ').toStdString() << "\nTwo's process (" << pid << ") "
        << (::kill(static_cast<pid_t>(pid), 0) == 0 ? "still runs" : "has ended")
        << "; the window manager's client list: "
        << runTool(QProcessEnvironment::systemEnvironment(), QStringLiteral("xprop"),
                   {QStringLiteral("-root"), QStringLiteral("_NET_CLIENT_LIST")})
               .toStdString();
    EXPECT_FALSE(paths(catalogue->frontApps()).contains(two));
    EXPECT_FALSE(catalogue->isAppRunning(twoApp));
    oneApp->quit();
    ASSERT_TRUE(waitUntil([&]() { return group0().isEmpty(); }, 30000));
    EXPECT_FALSE(oneApp->isVisible());
    EXPECT_FALSE(oneApp->activate()) << "not running any more";
}

// A program no entry claims, as this process sees it and as `kelp --print-catalogue` prints it.
TEST_F(X11DesktopTest, UnclaimedProgramAppearsUnderItsExecutable)
{
    useEntries({});
    QProcess xclock;
    xclock.start(QStringLiteral("/usr/bin/xclock"), {});
    ASSERT_TRUE(xclock.waitForStarted());
    ASSERT_TRUE(waitUntil([&]() {
        return group0() == QStringList{QStringLiteral("/usr/bin/xclock")};
    })) << group0().join(' ').toStdString();
    // xclock sets no _NET_WM_ICON: the entry keeps its placeholder rather than failing.
    EXPECT_FALSE(catalogue->runningApps().first()->icon().isNull());

    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    const KelpRun printed =
        runKelp(QStringLiteral(KELP_BINARY), {QStringLiteral("--print-catalogue")}, env);
    EXPECT_TRUE(QJsonDocument::fromJson(printed.out)
                    .object()
                    .value(QStringLiteral("runningApps"))
                    .toArray()
                    .contains(QStringLiteral("/usr/bin/xclock")))
        << printed.err.toStdString();

    xclock.kill();
    xclock.waitForFinished();
    ASSERT_TRUE(waitUntil([&]() { return group0().isEmpty(); }));
}

TEST_F(X11DesktopTest, DroppedFilesAndURLsReachTheProgram)
{
    const QString out = home.filePath(QStringLiteral("received"));
    const QString script = home.filePath(QStringLiteral("record.sh"));
    ASSERT_TRUE(writeFile(script, "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"" + out.toUtf8() +
                                      ".tmp\" && mv \"" + out.toUtf8() + ".tmp\" \"" +
                                      out.toUtf8() + "\"\n"));
    QFile(script).setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QString files =
        entry(QStringLiteral("files.desktop"), "Name=Files\nExec=" + script.toUtf8() + " %F\n");
    const QString urls =
        entry(QStringLiteral("urls.desktop"), "Name=Urls\nExec=" + script.toUtf8() + " %U\n");

    // The files exist: files gone by the time of the launch are left out.
    ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("a b.txt")), "a"));
    ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("c.txt")), "c"));
    QDir().mkpath(home.filePath(QStringLiteral("sub")));
    TQApp::DroppedItems dropped;
    dropped.filePaths = {home.filePath(QStringLiteral("a b.txt")),
                         home.filePath(QStringLiteral("sub/../c.txt")),
                         home.filePath(QStringLiteral("gone.txt"))};
    launch(files, &dropped);
    ASSERT_TRUE(waitUntil([&]() { return QFile::exists(out); }));
    EXPECT_EQ(QString::fromUtf8(readFile(out)),
              home.filePath(QStringLiteral("a b.txt")) + QLatin1Char('\n') +
                  home.filePath(QStringLiteral("c.txt")) + QLatin1Char('\n'));

    QFile::remove(out);
    TQApp::DroppedItems link;
    link.url = QUrl(QStringLiteral("https://example.org/page?q=1"));
    launch(urls, &link);
    ASSERT_TRUE(waitUntil([&]() { return QFile::exists(out); }));
    EXPECT_EQ(readFile(out), QByteArray("https://example.org/page?q=1\n"));

    // Neither files nor a URL: started with nothing.
    QFile::remove(out);
    TQApp::DroppedItems nothing;
    launch(files, &nothing);
    ASSERT_TRUE(waitUntil([&]() { return QFile::exists(out); }));
    EXPECT_EQ(readFile(out), QByteArray("\n"));
}

TEST_F(X11DesktopTest, MissingProgramsAnnounceThemselvesBrokenEntriesOnlyLog)
{
    const QString gone =
        entry(QStringLiteral("gone.desktop"), "Name=Gone\nExec=/nonexistent/prog\n");
    const QString broken =
        entry(QStringLiteral("broken.desktop"), "Name=Broken\nExec=xclock \"unterminated\n");
    const QString removed = apps + QStringLiteral("/removed.desktop");
    useEntries({gone, broken});

    QStringList missing;
    QObject::connect(&Notifications::instance(), &Notifications::appIsMissing, catalogue.get(),
                     [&missing](const TQAppPtr &app) { missing.append(app->path()); });
    bool rescanned = false;
    QObject::connect(catalogue.get(), &TQAppManager::rescanFinished,
                     [&rescanned]() { rescanned = true; });

    EXPECT_FALSE(catalogue->appForPath(broken)->launchWithPasteboard());
    EXPECT_FALSE(catalogue->appForPath(gone)->launchWithPasteboard());
    EXPECT_FALSE(catalogue->appForPath(removed)->launchWithPasteboard());
    ASSERT_TRUE(waitUntil([&]() { return missing.size() == 2 && rescanned; }));
    EXPECT_EQ(missing, (QStringList{gone, removed}));
}

// Windows that name no process, or a process that is gone, or no class.
TEST_F(X11DesktopTest, OddWindowsAreMatchedByClassOrLeftOut)
{
    const QString tool = entry(QStringLiteral("tool.desktop"),
                               "Name=Tool\nExec=/usr/bin/xclock\nStartupWMClass=KelpTestTool\n");
    const QString late = entry(QStringLiteral("late.desktop"),
                               "Name=Late\nExec=/usr/bin/xclock\nStartupWMClass=KelpLateTool\n");
    useEntries({tool, late});

    xcb_connection_t *c = xcb_connect(nullptr, nullptr);
    ASSERT_FALSE(xcb_connection_has_error(c));
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    auto makeWindow = [&](const char *cls, qint64 pid) {
        const xcb_window_t w = xcb_generate_id(c);
        xcb_create_window(c, XCB_COPY_FROM_PARENT, w, screen->root, 0, 0, 50, 50, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
        if (cls)
            xcb_icccm_set_wm_class(c, w, qstrlen(cls) + 1 + qstrlen(cls) + 1,
                                   QByteArray(cls).append('\0').append(cls).append('\0'));
        if (pid) {
            const char name[] = "_NET_WM_PID";
            auto *atom =
                xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, sizeof(name) - 1, name), nullptr);
            const uint32_t value = static_cast<uint32_t>(pid);
            xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, atom->atom, XCB_ATOM_CARDINAL, 32, 1,
                                &value);
            std::free(atom);
        }
        xcb_map_window(c, w);
        return w;
    };
    // A process that exited: spawn one and let it end, so its number names nobody.
    QProcess gone;
    gone.start(QStringLiteral("/bin/true"), {});
    gone.waitForStarted();
    const qint64 deadPid = gone.processId();
    gone.waitForFinished();
    ASSERT_GT(deadPid, 0);

    const xcb_window_t unnamed = makeWindow(nullptr, 0); // nothing to go by, for now
    makeWindow("Unknown", 0);                            // a class nobody claims, no process
    makeWindow("KelpTestTool", deadPid); // its process is gone: its class still names it
    xcb_flush(c);

    ASSERT_TRUE(waitUntil([&]() { return group0() == QStringList{tool}; }))
        << group0().join(' ').toStdString() << "\nopenbox "
        << (XSession::instance().openbox.state() == QProcess::Running ? "runs" : "has ended")
        << "; the window manager's client list: "
        << runTool(QProcessEnvironment::systemEnvironment(), QStringLiteral("xprop"),
                   {QStringLiteral("-root"), QStringLiteral("_NET_CLIENT_LIST")})
               .toStdString();
    // The window list settles; nothing else shows up.
    QTest::qWait(200);
    EXPECT_EQ(group0(), QStringList{tool});
    // A program that names its class only once its window is mapped is matched then.
    xcb_icccm_set_wm_class(c, unnamed, 26, "kelplatetool\0KelpLateTool\0");
    xcb_flush(c);
    EXPECT_TRUE(waitUntil([&]() { return group0().contains(late); }))
        << group0().join(' ').toStdString();
    xcb_disconnect(c);
    ASSERT_TRUE(waitUntil([&]() { return group0().isEmpty(); }));
}

} // namespace
} // namespace kelp::test
