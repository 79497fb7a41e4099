// Kelp under GNOME's compositor, Mutter, run headless with one virtual monitor and a session bus
// of its own, as the unprivileged test user. Mutter offers no layer shell and keeps its window
// list to itself: Kelp says once that the panel is an ordinary window, that there is no hot spot
// and that the running group cannot be filled; `kelp --toggle` shows and hides the panel, keys
// typed through Mutter's remote desktop service filter and launch, and Kelp ends cleanly with its
// files intact both when asked to quit and when Mutter goes away.
#include "support/SwaySession.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace kelp::test {
namespace {

class WaylandUnderMutter : public ::testing::Test
{
protected:
    void SetUp() override
    {
        for (const char *tool : {"mutter", "dbus-daemon"})
            if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
                GTEST_SKIP() << tool << " is not installed";
        QString why;
        ASSERT_TRUE(session().ensureUser(&why)) << why.toStdString();
        ASSERT_TRUE(dir.isValid());
        QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                              QFileDevice::ExeOwner | QFileDevice::ExeOther);
        runtime = dir.filePath(QStringLiteral("runtime"));
        home = dir.filePath(QStringLiteral("home"));
        QDir().mkpath(runtime);
        QDir().mkpath(home + QStringLiteral("/data/applications"));
        QFile::setPermissions(runtime, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                           QFileDevice::ExeOwner);
        // An application that writes down the environment it was started with.
        const QString launched = home + QStringLiteral("/launched");
        const QString script = home + QStringLiteral("/zebra.sh");
        ASSERT_TRUE(writeFile(script, "#!/bin/sh\nenv > " + launched.toUtf8() + ".tmp && mv " +
                                          launched.toUtf8() + ".tmp " + launched.toUtf8() + "\n"));
        QFile::setPermissions(script, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                          QFileDevice::ExeOwner);
        ASSERT_TRUE(writeFile(
            home + QStringLiteral("/data/applications/zebra.desktop"),
            "[Desktop Entry]\nType=Application\nName=Zebra Notes\nExec=" + script.toUtf8() + "\n"));
        ASSERT_TRUE(writeFile(settingsFile(),
                              "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                              "<key>showWelcomeWindow</key><false/>"
                              "<key>searchDirectories</key><array><dict><key>path</key><string>" +
                                  home.toUtf8() +
                                  "/data/applications</string></dict></array></dict></plist>"));
        ASSERT_TRUE(session().giveToUser(runtime) && session().giveToUser(home));

        env = privateHomeEnvironment(home);
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
        env.remove(QStringLiteral("QT_QPA_PLATFORM")); // Kelp picks wayland itself
        const QString bus = QStringLiteral("unix:path=") + runtime + QStringLiteral("/bus");
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus);
        env.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("GNOME"));
        env.insert(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("wayland"));
        // The session bus and Mutter see the machine's data folders (Mutter stops at once without
        // its GSettings schemas, and the bus finds the services it starts there); Kelp keeps its
        // private ones.
        desktopEnv = env;
        desktopEnv.insert(QStringLiteral("XDG_DATA_DIRS"),
                          QStringLiteral("/usr/local/share:/usr/share"));
        session().startAsUser(dbus, QStringLiteral("dbus-daemon"),
                              {QStringLiteral("--session"), QStringLiteral("--nofork"),
                               QStringLiteral("--address=") + bus},
                              desktopEnv);
        ASSERT_TRUE(
            waitUntil([&] { return QFile::exists(runtime + QStringLiteral("/bus")); }, 20000))
            << "the session bus did not start";
        startMutter();
        env.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("wayland-kelp"));
        env.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("kelp.platform.debug=true"));
    }

    void startMutter()
    {
        mutter.setProcessChannelMode(QProcess::MergedChannels);
        session().startAsUser(mutter, QStringLiteral("mutter"),
                              {QStringLiteral("--headless"), QStringLiteral("--wayland"),
                               QStringLiteral("--no-x11"), QStringLiteral("--virtual-monitor"),
                               QStringLiteral("1280x720"),
                               QStringLiteral("--wayland-display=wayland-kelp")},
                              desktopEnv);
        // Ready once it names the display it listens on.
        ASSERT_TRUE(waitUntil(
            [&] {
                mutterLog += mutter.readAll();
                return QFile::exists(runtime + QStringLiteral("/wayland-kelp")) &&
                       mutterLog.contains("Using Wayland display name");
            },
            30000))
            << "Mutter did not start: " << mutterLog.toStdString();
    }

    void TearDown() override
    {
        for (QProcess *p : {&keyboard, &colour, &kelp, &mutter, &dbus})
            endProcess(*p);
    }

    static SwaySession &session() { return SwaySession::instance(); }
    QString settingsFile() const { return home + QStringLiteral("/config/Kelp/Kelp.plist"); }

    void startKelp(const QStringList &arguments)
    {
        kelp.setProcessChannelMode(QProcess::MergedChannels);
        session().startAsUser(kelp, QStringLiteral(KELP_BINARY), arguments, env);
        ASSERT_TRUE(kelp.waitForStarted());
    }

    // Runs a second kelp with `arguments`; its exit code (-1 when it did not end).
    int runKelp(const QStringList &arguments)
    {
        QProcess p;
        session().startAsUser(p, QStringLiteral(KELP_BINARY), arguments, env);
        return p.waitForFinished(20000) ? p.exitCode() : -1;
    }

    // Reads Kelp's log until it holds `text` `count` times.
    bool logShows(const QByteArray &text, int count = 1, int timeoutMs = 20000)
    {
        return waitUntil(
            [&] {
                log += kelp.readAll();
                return log.count(text) >= count;
            },
            timeoutMs);
    }

    // Starts the remote desktop keyboard; false with Mutter's answer when Mutter refuses one.
    bool startKeyboard(QByteArray *answer)
    {
        session().startAsUser(keyboard, QStringLiteral(MUTTER_KEYBOARD), {}, env);
        if (!waitUntil([&] { return keyboard.canReadLine(); }, 20000)) return false;
        *answer = keyboard.readLine().trimmed();
        return *answer == "ready";
    }

    // Presses and releases the keys (X keysyms in hexadecimal); true once Mutter took them.
    bool type(const QByteArray &keysyms)
    {
        keyboard.write(keysyms + '\n');
        if (!waitUntil([&] { return keyboard.canReadLine(); }, 10000)) return false;
        return keyboard.readLine().trimmed() == "ok";
    }

    // Every file Kelp keeps, by its path below the home.
    QMap<QString, QByteArray> keptFiles() const
    {
        QMap<QString, QByteArray> files;
        for (const QString &folder : {QStringLiteral("config/Kelp"), QStringLiteral("data/Kelp")}) {
            const QDir folderDir(home + QLatin1Char('/') + folder);
            for (const QString &name : folderDir.entryList(QDir::Files))
                files.insert(folder + QLatin1Char('/') + name, readFile(folderDir.filePath(name)));
        }
        return files;
    }

    bool keptFilesWritten() const
    {
        return QFile::exists(settingsFile()) &&
               !QDir(home + QStringLiteral("/data/Kelp")).isEmpty();
    }

    QTemporaryDir dir;
    QString runtime;
    QString home;
    QProcessEnvironment env;
    QProcessEnvironment desktopEnv;
    QProcess dbus;
    QProcess mutter;
    QProcess kelp;
    QProcess keyboard;
    QProcess colour;
    QByteArray log;
    QByteArray mutterLog;
};

TEST_F(WaylandUnderMutter, OrdinaryWindowTakesKeysOverAnotherWindowTogglesAndQuits)
{
    startKelp({QStringLiteral("--show")});
    ASSERT_TRUE(logShows("ordinary window")) << log.toStdString();
    // What GNOME does not give Kelp is said in the same line, and the running group says why it
    // is empty.
    EXPECT_TRUE(log.contains("no running applications (the compositor does not share"))
        << log.toStdString();
    EXPECT_TRUE(log.contains("the running group stays empty and says so")) << log.toStdString();
    EXPECT_TRUE(log.contains("no hot spot")) << log.toStdString();
    EXPECT_FALSE(log.contains("zwlr_layer_shell_v1")) << "Mutter has no layer shell";
    EXPECT_TRUE(log.contains("xdg_activation_v1")) << log.toStdString();

    ASSERT_TRUE(logShows("Kelp became active")) << log.toStdString();

    // Another application's window takes the focus; kelp --toggle, as a GNOME custom shortcut
    // runs it, brings the panel back over it, and letters and Return typed through Mutter's
    // remote desktop keyboard filter and launch the one match, with an activation token.
    colour.setProcessChannelMode(QProcess::MergedChannels);
    QProcessEnvironment wayland = env;
    wayland.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
    session().startAsUser(colour, QStringLiteral(COLOUR_WINDOW), {QStringLiteral("red")}, wayland);
    ASSERT_TRUE(logShows("Kelp resigned active")) << log.toStdString();
    QByteArray answer;
    ASSERT_TRUE(startKeyboard(&answer)) << "Mutter gave no keyboard: " << answer.toStdString();
    // A moment later, as a hand reaches for the shortcut: Mutter keeps the keyboard from a window
    // shown within a fraction of a second of another one taking it.
    QTest::qWait(3000);
    ASSERT_EQ(runKelp({QStringLiteral("--toggle")}), 0);
    ASSERT_TRUE(logShows("Kelp became active", 2)) << log.toStdString();
    QTest::qWait(500);
    ASSERT_TRUE(type("7a 65 62")); // zeb
    QTest::qWait(300);
    ASSERT_TRUE(type("ff0d")); // Return
    const QString launched = home + QStringLiteral("/launched");
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(launched); }, 15000))
        << "typing a filter and Return did not launch the application: "
        << (log + kelp.readAll()).toStdString();
    const QByteArray environment = readFile(launched);
    EXPECT_TRUE(environment.contains("XDG_ACTIVATION_TOKEN=")) << environment.toStdString();
    EXPECT_FALSE(environment.contains("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT"));

    // The launch hid the panel; kelp --toggle shows it, and hides it again.
    ASSERT_TRUE(logShows("Kelp resigned active with the panel hidden")) << log.toStdString();
    ASSERT_EQ(runKelp({QStringLiteral("--toggle")}), 0);
    ASSERT_TRUE(logShows("Kelp became active", 3)) << log.toStdString();
    QTest::qWait(500);
    ASSERT_EQ(runKelp({QStringLiteral("--toggle")}), 0);
    EXPECT_TRUE(logShows("Show or hide: the panel is shown,")) << log.toStdString();
    EXPECT_TRUE(logShows("Kelp resigned active with the panel hidden", 2)) << log.toStdString();

    ASSERT_TRUE(waitUntil([&] { return keptFilesWritten(); }, 20000));
    const auto before = keptFiles();
    EXPECT_EQ(runKelp({QStringLiteral("--quit")}), 0);
    ASSERT_TRUE(kelp.waitForFinished(15000)) << "Kelp did not quit on request";
    EXPECT_EQ(kelp.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(kelp.exitCode(), 0);
    log += kelp.readAll();
    EXPECT_EQ(log.count("ordinary window"), 1) << log.toStdString();
    EXPECT_EQ(log.count("no hot spot"), 1) << log.toStdString();
    EXPECT_FALSE(log.contains("does not support setting window opacity")) << log.toStdString();
    const auto after = keptFiles();
    EXPECT_EQ(after.keys(), before.keys());
    for (auto it = before.begin(); it != before.end(); ++it)
        EXPECT_FALSE(after.value(it.key()).isEmpty()) << it.key().toStdString() << " emptied";
    EXPECT_TRUE(readFile(settingsFile()).contains("searchDirectories"));
}

TEST_F(WaylandUnderMutter, MutterGoingAwayEndsKelpWithItsFilesIntact)
{
    startKelp({QStringLiteral("--show")});
    ASSERT_TRUE(logShows("ordinary window")) << log.toStdString();
    ASSERT_TRUE(waitUntil([&] { return keptFilesWritten(); }, 20000));
    QTest::qWait(2000);
    const auto before = keptFiles();
    // Qt's Wayland connection ends the program at once when the compositor goes (status 1); what
    // matters is that it ends, and that every file Kelp keeps was written whole before.
    endProcess(mutter);
    ASSERT_TRUE(kelp.waitForFinished(15000)) << "Kelp outlived Mutter";
    log += kelp.readAll();
    EXPECT_EQ(kelp.exitStatus(), QProcess::NormalExit) << log.toStdString();
    const auto after = keptFiles();
    EXPECT_EQ(after.keys(), before.keys());
    for (auto it = before.begin(); it != before.end(); ++it)
        EXPECT_FALSE(after.value(it.key()).isEmpty()) << it.key().toStdString() << " emptied";
    EXPECT_TRUE(readFile(settingsFile()).contains("searchDirectories"));
}

} // namespace
} // namespace kelp::test
