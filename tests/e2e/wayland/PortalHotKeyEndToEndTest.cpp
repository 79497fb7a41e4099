// Kelp's hot key through the desktop's GlobalShortcuts portal, under a headless sway: the real
// xdg-desktop-portal on a private session bus, with a backend of the test's own (the part a
// desktop such as KDE provides) found through a .portal file. The backend sees Kelp's bind request
// with the user's chord as the preferred trigger, and its Activated signal toggles the panel; a
// user refusing the shortcut leaves Kelp running with the steps to bind kelp --toggle by hand.
#include "support/SwaySession.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <gtest/gtest.h>

namespace kelp::test {
namespace {

const QColor kFullscreen(0, 255, 0);
const QString kPortal = QStringLiteral("/usr/libexec/xdg-desktop-portal");

class PortalHotKey : public ::testing::Test
{
protected:
    void SetUp() override
    {
        for (const QString &tool : {QStringLiteral("dbus-daemon"), QStringLiteral("dbus-send")})
            if (QStandardPaths::findExecutable(tool).isEmpty())
                GTEST_SKIP() << tool.toStdString() << " is not installed";
        if (!QFile::exists(kPortal)) GTEST_SKIP() << "xdg-desktop-portal is not installed";
        ASSERT_TRUE(home.isValid());
        // No applications to scan; the panel stays hidden until the hot key asks for it. The
        // stored hot key is control-K.
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("config/Kelp/Kelp.plist")),
                              "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                              "<key>searchDirectories</key><array><dict><key>path</key><string>" +
                                  home.filePath(QStringLiteral("data/applications")).toUtf8() +
                                  "</string></dict></array>"
                                  "<key>showWindowAtLaunch</key><false/>"
                                  "<key>hotKeyCode</key><integer>40</integer>"
                                  "<key>hotKeyModifiers</key><integer>4096</integer>"
                                  "</dict></plist>"));
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("data/applications/.keep")), ""));
        // The portal takes its backends from .portal files, for the desktops they name.
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("portals/kelptest.portal")),
                              "[portal]\nDBusName=org.freedesktop.impl.portal.desktop.kelptest\n"
                              "Interfaces=org.freedesktop.impl.portal.GlobalShortcuts;\n"
                              "UseIn=kelptest\n"));
        SwaySession &sway = SwaySession::instance();
        QString why;
        if (!sway.start(&why)) GTEST_SKIP() << why.toStdString();
        ASSERT_TRUE(sway.giveToUser(home.path()));
        env = sway.clientEnvironment(privateHomeEnvironment(home.path()));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), sway.runtimeDir());
        env.remove(QStringLiteral("QT_QPA_PLATFORM"));

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
        for (QProcess *p : {&kelp, &portal, &backend, &colour, &bus})
            endProcess(*p);
        SwaySession::instance().stop();
    }

    // The desktop's side: the backend, then the portal once the backend is on the bus.
    void startPortal(const QStringList &backendArguments)
    {
        SwaySession &sway = SwaySession::instance();
        backend.setProcessChannelMode(QProcess::SeparateChannels);
        sway.startAsUser(backend, QStringLiteral(PORTAL_BACKEND), backendArguments, env);
        ASSERT_TRUE(waitUntil([&] { return said("ready"); }, 10000))
            << "the backend never started: " << backend.readAllStandardError().toStdString();
        QProcessEnvironment portalEnv = env;
        portalEnv.insert(QStringLiteral("XDG_DESKTOP_PORTAL_DIR"),
                         home.filePath(QStringLiteral("portals")));
        portalEnv.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("kelptest"));
        // The home's private data folders hold no GSettings schemas, and with glib-networking
        // installed the portal's GIO asks for the proxy settings and aborts without them.
        portalEnv.insert(QStringLiteral("GSETTINGS_SCHEMA_DIR"),
                         QStringLiteral("/usr/share/glib-2.0/schemas"));
        portal.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        sway.startAsUser(portal, kPortal, {}, portalEnv);
        ASSERT_TRUE(waitUntil([&] { return portalOnBus(); }, 15000)) << "the portal never started";
    }

    bool portalOnBus()
    {
        QProcess p;
        SwaySession::instance().startAsUser(
            p, QStringLiteral("dbus-send"),
            {QStringLiteral("--session"), QStringLiteral("--print-reply"),
             QStringLiteral("--dest=org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
             QStringLiteral("org.freedesktop.DBus.NameHasOwner"),
             QStringLiteral("string:org.freedesktop.portal.Desktop")},
            env);
        p.waitForFinished(5000);
        return p.readAllStandardOutput().contains("boolean true");
    }

    // What the backend wrote so far holds the line.
    bool said(const QByteArray &line)
    {
        backendOut += backend.readAllStandardOutput();
        return backendOut.contains(line);
    }

    void startKelp()
    {
        QProcessEnvironment kelpEnv = env;
        kelpEnv.insert(QStringLiteral("QT_LOGGING_RULES"),
                       QStringLiteral("kelp.triggers.info=true"));
        kelp.setProcessChannelMode(QProcess::MergedChannels);
        SwaySession::instance().startAsUser(kelp, QStringLiteral(KELP_BINARY), {}, kelpEnv);
        ASSERT_TRUE(kelp.waitForStarted());
    }

    bool logged(const QByteArray &text)
    {
        log += kelp.readAll();
        return log.contains(text);
    }

    void startFullscreenWindow()
    {
        QProcessEnvironment wayland = env;
        wayland.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
        SwaySession::instance().startAsUser(colour, QStringLiteral(COLOUR_WINDOW),
                                            {kFullscreen.name()}, wayland);
        ASSERT_TRUE(waitUntil([this] { return !panelShowing(); }, 20000))
            << "the fullscreen window never covered the output";
    }

    bool panelShowing()
    {
        const QImage shot = SwaySession::instance().screenshot();
        if (shot.isNull()) return false;
        return (shot.pixel(shot.width() / 2, shot.height() / 2) | 0xff000000u) != kFullscreen.rgb();
    }

    QTemporaryDir home;
    QProcessEnvironment env;
    QProcess bus, backend, portal, kelp, colour;
    QByteArray backendOut, log;
};

TEST_F(PortalHotKey, BindsTheStoredChordAndActivatedTogglesThePanel)
{
    ASSERT_NO_FATAL_FAILURE(startPortal({}));
    ASSERT_NO_FATAL_FAILURE(startFullscreenWindow());
    ASSERT_NO_FATAL_FAILURE(startKelp());
    ASSERT_TRUE(waitUntil([&] { return said("bind toggle"); }, 20000))
        << "no bind request reached the backend\n"
        << log.constData();
    EXPECT_TRUE(said("bind toggle CTRL+k")) << backendOut.constData();
    ASSERT_TRUE(waitUntil([&] { return logged("through the GlobalShortcuts portal"); }, 10000))
        << log.constData();
    ASSERT_FALSE(panelShowing());

    // A press on the desktop: the portal passes the backend's Activated on to Kelp.
    backend.write("activate\n");
    EXPECT_TRUE(waitUntil([&] { return panelShowing(); }, 10000))
        << "Activated did not show the panel\n"
        << log.constData();
    QTest::qWait(1000); // the fade in done
    backend.write("activate\n");
    EXPECT_TRUE(waitUntil([&] { return !panelShowing(); }, 10000))
        << "Activated did not hide the panel\n"
        << log.constData();
}

TEST_F(PortalHotKey, ARefusedShortcutLeavesKelpRunningWithTheStepsByHand)
{
    ASSERT_NO_FATAL_FAILURE(startPortal({QStringLiteral("--refuse")}));
    ASSERT_NO_FATAL_FAILURE(startKelp());
    ASSERT_TRUE(waitUntil([&] { return said("bind toggle CTRL+k"); }, 20000))
        << backendOut.constData() << log.constData();
    ASSERT_TRUE(waitUntil([&] { return logged("refused in the desktop's dialog"); }, 10000))
        << log.constData();
    EXPECT_TRUE(logged("bindsym Ctrl+k exec kelp --toggle")) << log.constData();
    EXPECT_TRUE(logged("Custom Shortcuts")) << log.constData();
    EXPECT_EQ(kelp.state(), QProcess::Running);
}

} // namespace
} // namespace kelp::test
