// Kelp's status item on Wayland, under a headless sway: there is no tray that takes windows, so
// the item is a StatusNotifierItem. With a watcher and host on the session bus (waybar, KDE, GNOME
// with the AppIndicator extension) the item registers and the host's Activate toggles the panel;
// without one Kelp says once that the panel's gear button carries the menu.
#include "support/SwaySession.h"
#include "support/TestSupport.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <gtest/gtest.h>

namespace kelp::test {
namespace {

const QColor kFullscreen(0, 0, 255);

class WaylandStatusItem : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty())
            GTEST_SKIP() << "dbus-daemon is not installed";
        ASSERT_TRUE(home.isValid());
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("config/Kelp/Kelp.plist")),
                              "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                              "<key>searchDirectories</key><array><dict><key>path</key><string>" +
                                  home.filePath(QStringLiteral("data/applications")).toUtf8() +
                                  "</string></dict></array>"
                                  "<key>showWindowAtLaunch</key><false/></dict></plist>"));
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("data/applications/.keep")), ""));
        SwaySession &sway = SwaySession::instance();
        QString why;
        if (!sway.start(&why)) GTEST_SKIP() << why.toStdString();
        ASSERT_TRUE(sway.giveToUser(home.path()));
        env = sway.clientEnvironment(privateHomeEnvironment(home.path()));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), sway.runtimeDir());
        env.remove(QStringLiteral("QT_QPA_PLATFORM"));
        env.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("kelp.triggers.info=true"));
        // The user's session bus.
        sway.startAsUser(bus, QStringLiteral("dbus-daemon"),
                         {QStringLiteral("--session"), QStringLiteral("--nofork"),
                          QStringLiteral("--print-address")},
                         env);
        ASSERT_TRUE(waitUntil([&] { return bus.canReadLine(); }, 10000)) << "no session bus";
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                   QString::fromLatin1(bus.readLine().trimmed()));
    }

    void TearDown() override
    {
        for (QProcess *p : {&kelp, &colour, &watcher, &bus}) {
            if (p->state() == QProcess::NotRunning) continue;
            p->terminate();
            if (!p->waitForFinished(5000)) p->kill();
            p->waitForFinished(3000);
        }
        SwaySession::instance().stop();
    }

    void startKelp()
    {
        kelp.setProcessChannelMode(QProcess::MergedChannels);
        SwaySession::instance().startAsUser(kelp, QStringLiteral(KELP_BINARY), {}, env);
        ASSERT_TRUE(kelp.waitForStarted());
    }

    bool logged(const QByteArray &text)
    {
        log += kelp.readAll();
        return log.contains(text);
    }

    bool panelShowing()
    {
        const QImage shot = SwaySession::instance().screenshot();
        if (shot.isNull()) return false;
        return (shot.pixel(shot.width() / 2, shot.height() / 2) | 0xff000000u) != kFullscreen.rgb();
    }

    QTemporaryDir home;
    QProcessEnvironment env;
    // What the watcher wrote so far holds the line.
    bool said(const QByteArray &line)
    {
        watcherOut += watcher.readAllStandardOutput();
        return watcherOut.contains(line);
    }

    QProcess bus, kelp, colour, watcher;
    QByteArray log, watcherOut;
};

TEST_F(WaylandStatusItem, RegistersWithTheWatcherAndActivateTogglesThePanel)
{
    // The desktop's side is there before Kelp, as on a desktop.
    SwaySession::instance().startAsUser(watcher, QStringLiteral(SNI_WATCHER), {}, env);
    ASSERT_TRUE(waitUntil([&] { return said("ready"); }, 10000))
        << "the watcher never started: " << watcher.readAllStandardError().toStdString();

    QProcessEnvironment wayland = env;
    wayland.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
    SwaySession::instance().startAsUser(colour, QStringLiteral(COLOUR_WINDOW), {kFullscreen.name()},
                                        wayland);
    ASSERT_TRUE(waitUntil([this] { return !panelShowing(); }, 20000));
    QTest::qWait(500);
    ASSERT_FALSE(panelShowing());

    ASSERT_NO_FATAL_FAILURE(startKelp());
    ASSERT_TRUE(waitUntil([&] { return said("registered "); }, 20000))
        << "Kelp's item never registered\n"
        << (log += kelp.readAll()).constData();
    EXPECT_TRUE(waitUntil([&] { return logged("in the tray (status notifier)"); }, 5000))
        << log.constData();
    EXPECT_FALSE(logged("XEmbed")) << log.constData();

    // A click on the icon (Activate) toggles the panel.
    watcher.write("activate\n");
    EXPECT_TRUE(waitUntil([&] { return said("activate ok"); }, 10000)) << watcherOut.constData();
    EXPECT_TRUE(waitUntil([&] { return panelShowing(); }, 10000)) << "Activate showed the panel";
    QTest::qWait(1000);
    watcherOut.clear();
    watcher.write("activate\n");
    EXPECT_TRUE(waitUntil([&] { return said("activate ok"); }, 10000)) << watcherOut.constData();
    EXPECT_TRUE(waitUntil([&] { return !panelShowing(); }, 10000)) << "and hid it";
}

TEST_F(WaylandStatusItem, WithoutAWatcherTheGearButtonCarriesTheMenuSaidOnce)
{
    ASSERT_NO_FATAL_FAILURE(startKelp());
    ASSERT_TRUE(
        waitUntil([&] { return logged("the panel's gear button carries the menu"); }, 20000))
        << log.constData();
    QTest::qWait(1000);
    EXPECT_EQ(log.count("gear button carries the menu"), 1) << log.constData();
    EXPECT_FALSE(logged("in the tray")) << log.constData();
    EXPECT_EQ(kelp.state(), QProcess::Running);
}

} // namespace
} // namespace kelp::test
