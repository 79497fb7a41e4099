// Kelp's status item on Wayland, under a headless sway: there is no tray that takes windows, so
// the item is a StatusNotifierItem. With a watcher and host on the session bus (waybar, KDE, GNOME
// with the AppIndicator extension) the item registers and the host's Activate toggles the panel;
// without one Kelp says once that the panel's gear button carries the menu.
#include "support/SwaySession.h"
#include "support/TestSupport.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <gtest/gtest.h>

namespace kelp::test {
namespace {

const QColor kFullscreen(0, 0, 255);

// The desktop's StatusNotifierWatcher with a host registered.
class Watcher : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ registeredItems)
public:
    bool isHostRegistered() const { return true; }
    int protocolVersion() const { return 0; }
    QStringList registeredItems() const { return items; }

    QStringList items;

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString &service, const QDBusMessage &message)
    {
        items << (service.startsWith(QLatin1Char('/')) ? message.service() : service);
        Q_EMIT StatusNotifierItemRegistered(service);
    }
    void RegisterStatusNotifierHost(const QString &) {}

Q_SIGNALS:
    void StatusNotifierItemRegistered(const QString &service);
    void StatusNotifierItemUnregistered(const QString &service);
    void StatusNotifierHostRegistered();
};

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
        // The user's session bus; the test (root under CI) may connect to it too.
        sway.startAsUser(bus, QStringLiteral("dbus-daemon"),
                         {QStringLiteral("--session"), QStringLiteral("--nofork"),
                          QStringLiteral("--print-address")},
                         env);
        ASSERT_TRUE(waitUntil([&] { return bus.canReadLine(); }, 10000)) << "no session bus";
        address = QString::fromLatin1(bus.readLine().trimmed());
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), address);
    }

    void TearDown() override
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("kelp-test-host"));
        for (QProcess *p : {&kelp, &colour, &bus}) {
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
    QString address;
    QProcess bus, kelp, colour;
    QByteArray log;
};

TEST_F(WaylandStatusItem, RegistersWithTheWatcherAndActivateTogglesThePanel)
{
    QDBusConnection desktop =
        QDBusConnection::connectToBus(address, QStringLiteral("kelp-test-host"));
    if (!desktop.isConnected())
        GTEST_SKIP() << "the test cannot reach the user's session bus: "
                     << desktop.lastError().message().toStdString();
    Watcher watcher;
    ASSERT_TRUE(desktop.registerObject(QStringLiteral("/StatusNotifierWatcher"), &watcher,
                                       QDBusConnection::ExportAllContents));
    ASSERT_TRUE(desktop.registerService(QStringLiteral("org.kde.StatusNotifierWatcher")));

    QProcessEnvironment wayland = env;
    wayland.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
    SwaySession::instance().startAsUser(colour, QStringLiteral(COLOUR_WINDOW), {kFullscreen.name()},
                                        wayland);
    ASSERT_TRUE(waitUntil([this] { return !panelShowing(); }, 20000));
    QTest::qWait(500);
    ASSERT_FALSE(panelShowing());

    ASSERT_NO_FATAL_FAILURE(startKelp());
    ASSERT_TRUE(waitUntil([&] { return !watcher.items.isEmpty(); }, 20000))
        << "Kelp's item never registered\n"
        << log.constData();
    EXPECT_TRUE(waitUntil([&] { return logged("in the tray (status notifier)"); }, 5000))
        << log.constData();
    EXPECT_FALSE(logged("XEmbed")) << log.constData();

    auto activate = [&] {
        QDBusMessage call = QDBusMessage::createMethodCall(
            watcher.items.first(), QStringLiteral("/StatusNotifierItem"),
            QStringLiteral("org.kde.StatusNotifierItem"), QStringLiteral("Activate"));
        call << 10 << 10;
        return desktop.call(call, QDBus::Block, 5000).type() != QDBusMessage::ErrorMessage;
    };
    EXPECT_TRUE(activate());
    EXPECT_TRUE(waitUntil([&] { return panelShowing(); }, 10000)) << "Activate showed the panel";
    QTest::qWait(1000);
    EXPECT_TRUE(activate());
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

#include "WaylandStatusItemEndToEndTest.moc"
