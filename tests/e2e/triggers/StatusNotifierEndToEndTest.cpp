// Kelp's icon where the desktop offers a StatusNotifierItem host and no XEmbed tray (KDE Plasma,
// GNOME with the AppIndicator extension). This test is the desktop's side: the watcher and its
// host, on a private session bus, with Kelp on Xvfb + openbox. It sees Kelp's item register,
// activates it as a click would, and reads and uses its menu (com.canonical.dbusmenu).
#include "support/XSession.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace kelp::test;

namespace {

// The desktop's StatusNotifierWatcher, with a host registered (without one Qt shows no item).
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
        // An item may give its object path alone; it then lives on the caller's connection.
        items << (service.startsWith(QLatin1Char('/')) ? message.service() : service);
        Q_EMIT StatusNotifierItemRegistered(service);
    }
    void RegisterStatusNotifierHost(const QString &) {}

Q_SIGNALS:
    void StatusNotifierItemRegistered(const QString &service);
    void StatusNotifierItemUnregistered(const QString &service);
    void StatusNotifierHostRegistered();
};

struct MenuItem
{
    int id = 0;
    QString label;
    bool enabled = true;
};

// A dbusmenu layout, (ia{sv}av) with each child a variant holding the same, flattened.
void readLayout(const QDBusArgument &arg, QList<MenuItem> &items)
{
    int id = 0;
    QVariantMap properties;
    arg.beginStructure();
    arg >> id >> properties;
    arg.beginArray();
    while (!arg.atEnd()) {
        QDBusVariant child;
        arg >> child;
        readLayout(qvariant_cast<QDBusArgument>(child.variant()), items);
    }
    arg.endArray();
    arg.endStructure();
    if (properties.contains(QStringLiteral("label")))
        items << MenuItem{id, properties.value(QStringLiteral("label")).toString(),
                          properties.value(QStringLiteral("enabled"), true).toBool()};
}

class StatusNotifier : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QString why;
        if (!XSession::instance().start(&why, QStringLiteral("1280x800x24")))
            GTEST_SKIP() << qPrintable(why);
        for (const char *tool : {"dbus-daemon", "xwininfo"})
            if (QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty())
                GTEST_SKIP() << tool << " is not installed";
        bus.start(QStringLiteral("dbus-daemon"),
                  {QStringLiteral("--session"), QStringLiteral("--nofork"),
                   QStringLiteral("--print-address")});
        ASSERT_TRUE(waitUntil([&] { return bus.canReadLine(); }, 10000));
        address = QString::fromLatin1(bus.readLine().trimmed());
        ASSERT_TRUE(home.isValid());
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("data/applications/clock.desktop")),
                              "[Desktop Entry]\nType=Application\nName=Zebra Clock\n"
                              "Exec=xclock\n"));
        ASSERT_TRUE(writeScanSettings(home.path(), "<key>showWindowAtLaunch</key><false/>"));
        env = displayHomeEnvironment(home.path());
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), address);
        env.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("kelp.triggers.info=true"));
    }

    void TearDown() override
    {
        if (kelp.state() != QProcess::NotRunning) {
            QProcess quit;
            quit.setProcessEnvironment(env);
            quit.start(QStringLiteral(KELP_BINARY), {QStringLiteral("--quit")});
            quit.waitForFinished(10000);
            if (!kelp.waitForFinished(5000)) kelp.kill();
        }
        QDBusConnection::disconnectFromBus(QStringLiteral("kelp-test-watcher"));
        bus.kill();
        bus.waitForFinished(3000);
    }

    bool shown(const QString &window)
    {
        QProcess p;
        p.setProcessEnvironment(env);
        p.start(QStringLiteral("xwininfo"), {QStringLiteral("-name"), window});
        p.waitForFinished(10000);
        return p.readAllStandardOutput().contains("IsViewable");
    }
    bool panelShown() { return shown(QStringLiteral("Kelp Main")); }

    QProcess bus, kelp;
    QByteArray log;
    QString address;
    QTemporaryDir home;
    QProcessEnvironment env;
};

} // namespace

TEST_F(StatusNotifier, ItemRegistersTogglesOnActivateAndOffersTheMenu)
{
    // The desktop's side is there before Kelp, as on a desktop.
    QDBusConnection desktop =
        QDBusConnection::connectToBus(address, QStringLiteral("kelp-test-watcher"));
    ASSERT_TRUE(desktop.isConnected());
    Watcher watcher;
    ASSERT_TRUE(desktop.registerObject(QStringLiteral("/StatusNotifierWatcher"), &watcher,
                                       QDBusConnection::ExportAllContents));
    ASSERT_TRUE(desktop.registerService(QStringLiteral("org.kde.StatusNotifierWatcher")));

    kelp.setProcessEnvironment(env);
    kelp.setProcessChannelMode(QProcess::MergedChannels);
    QObject::connect(&kelp, &QProcess::readyRead, [&]() { log += kelp.readAll(); });
    kelp.start(QStringLiteral(KELP_BINARY), {});
    ASSERT_TRUE(kelp.waitForStarted());
    ASSERT_TRUE(waitUntil([&] { return !watcher.items.isEmpty(); }, 20000))
        << "Kelp's item never registered with the watcher\n"
        << log.constData();
    // The registration can arrive before Kelp's own line about it.
    EXPECT_TRUE(waitUntil([&] { return log.contains("in the tray (status notifier)"); }, 5000))
        << log.constData();
    const QString item = watcher.items.first();

    // A click on the icon (Activate) toggles the panel.
    auto activate = [&] {
        QDBusMessage call = QDBusMessage::createMethodCall(
            item, QStringLiteral("/StatusNotifierItem"),
            QStringLiteral("org.kde.StatusNotifierItem"), QStringLiteral("Activate"));
        call << 10 << 10;
        return desktop.call(call, QDBus::Block, 5000).type() != QDBusMessage::ErrorMessage;
    };
    ASSERT_FALSE(panelShown());
    EXPECT_TRUE(activate());
    EXPECT_TRUE(waitUntil([&] { return panelShown(); }, 10000)) << "Activate showed the panel";
    EXPECT_TRUE(activate());
    EXPECT_TRUE(waitUntil([&] { return !panelShown(); }, 10000)) << "and hid it";

    // The menu, as the host reads it: the item's Menu property, then the layout.
    QDBusMessage get = QDBusMessage::createMethodCall(
        item, QStringLiteral("/StatusNotifierItem"),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << QStringLiteral("org.kde.StatusNotifierItem") << QStringLiteral("Menu");
    const QDBusMessage menuReply = desktop.call(get, QDBus::Block, 5000);
    ASSERT_EQ(menuReply.type(), QDBusMessage::ReplyMessage) << qPrintable(menuReply.errorMessage());
    const QString menuPath =
        qvariant_cast<QDBusObjectPath>(
            qvariant_cast<QDBusVariant>(menuReply.arguments().value(0)).variant())
            .path();
    ASSERT_FALSE(menuPath.isEmpty());
    QDBusMessage layoutCall = QDBusMessage::createMethodCall(
        item, menuPath, QStringLiteral("com.canonical.dbusmenu"), QStringLiteral("GetLayout"));
    layoutCall << 0 << -1 << QStringList();
    const QDBusMessage layout = desktop.call(layoutCall, QDBus::Block, 5000);
    ASSERT_EQ(layout.type(), QDBusMessage::ReplyMessage) << qPrintable(layout.errorMessage());
    ASSERT_EQ(layout.arguments().size(), 2);
    QList<MenuItem> items;
    readLayout(qvariant_cast<QDBusArgument>(layout.arguments().at(1)), items);
    // The host's menu as it opens: AboutToShow, then the layout.
    auto menuAsShown = [&] {
        QDBusMessage about =
            QDBusMessage::createMethodCall(item, menuPath, QStringLiteral("com.canonical.dbusmenu"),
                                           QStringLiteral("AboutToShow"));
        about << 0;
        desktop.call(about, QDBus::Block, 5000);
        QList<MenuItem> now;
        const QDBusMessage reply = desktop.call(layoutCall, QDBus::Block, 5000);
        if (reply.arguments().size() == 2)
            readLayout(qvariant_cast<QDBusArgument>(reply.arguments().at(1)), now);
        return now;
    };
    auto itemCalled = [](const QList<MenuItem> &list, const QString &label) {
        const auto it = std::find_if(list.begin(), list.end(),
                                     [&](const MenuItem &i) { return i.label == label; });
        return it == list.end() ? MenuItem{} : *it;
    };
    QStringList labels;
    for (const MenuItem &i : items)
        if (!i.label.isEmpty()) labels << i.label;
    EXPECT_TRUE(labels.contains(QStringLiteral("Show/Hide Kelp"))) << qPrintable(labels.join(u','));
    EXPECT_TRUE(labels.contains(QStringLiteral("Rescan Applications")));
    EXPECT_TRUE(labels.contains(QStringLiteral("Quit Kelp")));

    // Choosing Show/Hide Kelp in the host's menu shows the panel.
    const auto showHide = std::find_if(items.begin(), items.end(), [](const MenuItem &i) {
        return i.label == QStringLiteral("Show/Hide Kelp");
    });
    ASSERT_NE(showHide, items.end());
    QDBusMessage event = QDBusMessage::createMethodCall(
        item, menuPath, QStringLiteral("com.canonical.dbusmenu"), QStringLiteral("Event"));
    event << showHide->id << QStringLiteral("clicked") << QVariant::fromValue(QDBusVariant(0))
          << 0u;
    desktop.call(event, QDBus::Block, 5000);
    EXPECT_TRUE(waitUntil([&] { return panelShown(); }, 10000)) << "the menu's Show/Hide Kelp";

    // Preferences… opens the preferences; while they are open the host's menu greys the item.
    const QString prefs = QStringLiteral("Preferences…");
    ASSERT_TRUE(itemCalled(items, prefs).enabled);
    QDBusMessage open = QDBusMessage::createMethodCall(
        item, menuPath, QStringLiteral("com.canonical.dbusmenu"), QStringLiteral("Event"));
    open << itemCalled(items, prefs).id << QStringLiteral("clicked")
         << QVariant::fromValue(QDBusVariant(0)) << 0u;
    desktop.call(open, QDBus::Block, 5000);
    ASSERT_TRUE(waitUntil([&] { return shown(QStringLiteral("Kelp Preferences")); }, 10000))
        << "the menu's Preferences… opened no preferences\n"
        << log.constData();
    EXPECT_FALSE(itemCalled(menuAsShown(), prefs).enabled)
        << "Preferences… stays available while the preferences are open";
}

#include "StatusNotifierEndToEndTest.moc"
