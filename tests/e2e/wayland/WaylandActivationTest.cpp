// Return on the icon of an application that already runs, under a headless sway: Kelp brings the
// program's window forward over the one the user was in, and starts no second copy. Sway's tree
// says which window has the focus; wlroots' own foreign-toplevel tool counts the windows.
#include "support/SwaySession.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>

namespace kelp::test {
namespace {

const QString kAmber = QStringLiteral("kelp-test-amber");
const QString kBlue = QStringLiteral("kelp-test-blue");

// The app id of the window sway has focused (empty: none, or a layer surface).
QString focusedAppId()
{
    const QByteArray tree =
        SwaySession::instance().swaymsg({QStringLiteral("-t"), QStringLiteral("get_tree")});
    std::function<QString(const QJsonObject &)> find = [&](const QJsonObject &node) {
        if (node.value(QStringLiteral("focused")).toBool())
            return node.value(QStringLiteral("app_id")).toString();
        for (const QString &key : {QStringLiteral("nodes"), QStringLiteral("floating_nodes")}) {
            for (const QJsonValue &child : node.value(key).toArray()) {
                const QString found = find(child.toObject());
                if (!found.isEmpty()) return found;
            }
        }
        return QString();
    };
    return find(QJsonDocument::fromJson(tree).object());
}

// How many toplevels wlroots' own tool lists with this app id.
int toplevelsWithAppId(const QString &appId)
{
    const QString listed = QString::fromUtf8(SwaySession::instance().run(
        QStringLiteral("/usr/lib/wlroots/foreign-toplevel"), QStringList{}));
    // "app_id=ID" then whatever the tool prints next, never more of an app id.
    const QRegularExpression id(QStringLiteral("app_id=") + QRegularExpression::escape(appId) +
                                QStringLiteral("(?![\\w.-])"));
    return int(listed.count(id));
}

class WaylandActivation : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!QFile::exists(QStringLiteral("/usr/lib/wlroots/foreign-toplevel")))
            GTEST_SKIP() << "wlroots' foreign-toplevel tool is not installed";
        ASSERT_TRUE(home.isValid());
        QFile::setPermissions(home.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                               QFileDevice::ExeOwner);
        // The amber window's entry: its desktop-file ID is the window's app id. Starting it from
        // the entry would make a second amber window.
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("data/applications/") + kAmber +
                                            QStringLiteral(".desktop")),
                              "[Desktop Entry]\nType=Application\nName=Amber Window\n"
                              "Exec=env QT_QPA_PLATFORM=wayland " +
                                  QByteArray(COLOUR_WINDOW) + " \"#ffbf00\" " + kAmber.toUtf8() +
                                  "\n"));
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("config/Kelp/Kelp.plist")),
                              "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                              "<key>searchDirectories</key><array><dict><key>path</key><string>" +
                                  home.filePath(QStringLiteral("data/applications")).toUtf8() +
                                  "</string></dict></array></dict></plist>"));
        SwaySession &sway = SwaySession::instance();
        QString why;
        if (!sway.start(&why)) GTEST_SKIP() << why.toStdString();
        ASSERT_TRUE(sway.giveToUser(home.path()));
        env = sway.clientEnvironment(privateHomeEnvironment(home.path()));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), sway.runtimeDir());
        env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    }

    void TearDown() override
    {
        for (QProcess *p : {&kelp, &amber, &blue})
            endProcess(*p);
        SwaySession::instance().stop();
    }

    void startWindow(QProcess &process, const QString &colour, const QString &appId)
    {
        QProcessEnvironment wayland = env;
        wayland.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        SwaySession::instance().startAsUser(process, QStringLiteral(COLOUR_WINDOW), {colour, appId},
                                            wayland);
        ASSERT_TRUE(waitUntil([&] { return focusedAppId() == appId; }, 20000))
            << appId.toStdString() << " never took the focus";
    }

    // The windows, side by side or alone, fill the output: the centre has another colour only
    // where the panel is drawn over it.
    bool panelShowing()
    {
        const QImage shot = SwaySession::instance().screenshot();
        if (shot.isNull()) return false;
        const QRgb centre = shot.pixel(shot.width() / 2, shot.height() / 2) | 0xff000000u;
        return centre != 0xff0000ffu && centre != 0xffffbf00u;
    }

    QTemporaryDir home;
    QProcessEnvironment env;
    QProcess kelp, amber, blue;
};

TEST_F(WaylandActivation, ReturnOnARunningApplicationBringsItsWindowForward)
{
    startWindow(amber, QStringLiteral("#ffbf00"), kAmber);
    startWindow(blue, QStringLiteral("#0000ff"), kBlue);
    // The blue window is fullscreen over the amber one: sway focuses no window a fullscreen one
    // hides, so bringing amber forward takes blue out of fullscreen.

    kelp.setProcessChannelMode(QProcess::MergedChannels);
    QProcessEnvironment logging = env;
    logging.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("kelp.platform.debug=true"));
    SwaySession::instance().startAsUser(kelp, QStringLiteral(KELP_BINARY),
                                        {QStringLiteral("--show")}, logging);
    ASSERT_TRUE(kelp.waitForStarted());
    ASSERT_TRUE(waitUntil([this] { return panelShowing(); }, 20000))
        << "the panel never showed: " << kelp.readAll().toStdString();
    QTest::qWait(3000); // the catalogue read, the amber window matched to its entry

    SwaySession &sway = SwaySession::instance();
    ASSERT_TRUE(sway.type({QStringLiteral("amb")}));
    QTest::qWait(300);
    ASSERT_TRUE(sway.type({QStringLiteral("-k"), QStringLiteral("Return")}));
    EXPECT_TRUE(waitUntil([] { return focusedAppId() == kAmber; }, 10000))
        << "the amber window did not come forward; focused: " << focusedAppId().toStdString()
        << "\n"
        << kelp.readAll().toStdString();
    // Brought forward, not started again.
    QTest::qWait(1500);
    EXPECT_EQ(toplevelsWithAppId(kAmber), 1);
    EXPECT_EQ(toplevelsWithAppId(kBlue), 1);
    EXPECT_EQ(focusedAppId(), kAmber) << "the focus did not stay with the amber window";

    // The window gone, the same Return starts the program from its entry.
    amber.terminate();
    ASSERT_TRUE(amber.waitForFinished(10000));
    ASSERT_TRUE(waitUntil([] { return toplevelsWithAppId(kAmber) == 0; }, 10000));
    QProcess show;
    sway.startAsUser(show, QStringLiteral(KELP_BINARY), {QStringLiteral("--show")}, env);
    ASSERT_TRUE(show.waitForFinished(20000));
    ASSERT_TRUE(waitUntil([this] { return panelShowing(); }, 10000))
        << "the panel did not show again";
    QTest::qWait(500);
    ASSERT_TRUE(sway.type({QStringLiteral("amb")}));
    QTest::qWait(300);
    ASSERT_TRUE(sway.type({QStringLiteral("-k"), QStringLiteral("Return")}));
    EXPECT_TRUE(waitUntil([] { return toplevelsWithAppId(kAmber) == 1; }, 20000))
        << kelp.readAll().toStdString();
    EXPECT_TRUE(waitUntil([] { return focusedAppId() == kAmber; }, 10000))
        << "the started window did not take the front; focused: " << focusedAppId().toStdString();

    QProcess quit;
    sway.startAsUser(quit, QStringLiteral(KELP_BINARY), {QStringLiteral("--quit")}, env);
    EXPECT_TRUE(quit.waitForFinished(20000));
    EXPECT_TRUE(kelp.waitForFinished(15000));
    EXPECT_EQ(kelp.exitCode(), 0);
    // Its toplevel handles, layer surface and queues went while Qt's connection was open.
    EXPECT_TRUE(kelp.readAll().contains("Freed Kelp's Wayland objects"));
}

} // namespace
} // namespace kelp::test
