// Running applications on Wayland end to end: a headless sway, real Wayland programs (weston's
// demo clients) launched through catalogue entries, followed into group 0, brought to the front
// and closed through the compositor's window list. Cross-checked with wlroots' own foreign-toplevel
// tool and with sway's tree.
#include "catalogue/CatalogueFixture.h"

#include "desktop/Desktop.h"
#include "desktop/RunningApplications.h"
#include "desktop/WindowControl.h"
#include "platform/DesktopFactory.h"
#include "platform/wayland/WaylandClientDisplay.h"
#include "platform/wayland/WaylandRunningApplications.h"
#include "platform/wayland/WaylandWindowSystem.h"
#include "support/SwaySession.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace kelp::test {
namespace {

// The app id of the focused window, from sway's tree.
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

// What wlroots' own foreign-toplevel tool lists: one line per toplevel with its app id.
QString toplevelTool()
{
    return QString::fromUtf8(SwaySession::instance().run(
        QStringLiteral("/usr/lib/wlroots/foreign-toplevel"), QStringList{}));
}

const QString kTerminalId = QStringLiteral("org.freedesktop.weston.wayland-terminal");
const QString kFlowerId = QStringLiteral("org.freedesktop.weston.flower");

class WaylandDesktopTest : public CatalogueFixture
{
protected:
    void SetUp() override
    {
        QString why;
        if (!SwaySession::instance().start(&why)) GTEST_SKIP() << why.toStdString();
        if (QStandardPaths::findExecutable(QStringLiteral("weston-terminal")).isEmpty())
            GTEST_SKIP() << "weston's demo clients are not installed";
        CatalogueFixture::SetUp();
        apps = home.filePath(QStringLiteral("data/applications"));
        // This process talks to sway as a client of its own (Qt itself runs offscreen here).
        const QProcessEnvironment env = SwaySession::instance().clientEnvironment();
        for (const char *name : {"WAYLAND_DISPLAY", "XDG_RUNTIME_DIR", "SWAYSOCK"})
            qputenv(name, env.value(QString::fromLatin1(name)).toUtf8());
        display = WaylandClientDisplay::connectTo();
        ASSERT_TRUE(display);
        Desktop services = makeDesktop(QStringLiteral("offscreen"));
        ASSERT_TRUE(addWaylandRunningApplications(services, display))
            << "sway shares no window list";
        running = services.running;
        setDesktop(services);
        makeCatalogue();
    }
    void TearDown() override
    {
        for (QProcess *p : programs) {
            // runuser hands the signal on to the program it runs.
            p->terminate();
            if (!p->waitForFinished(5000)) p->kill();
            p->waitForFinished();
            delete p;
        }
        if (running) waitUntil([this]() { return running->runningApplications().isEmpty(); });
        catalogue.reset();
        setDesktop({});
        running.reset();
        display.reset();
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
    void start(const QString &program)
    {
        auto *p = new QProcess;
        p->setStandardOutputFile(QProcess::nullDevice());
        p->setStandardErrorFile(QProcess::nullDevice());
        SwaySession::instance().startAsUser(*p, program, {},
                                            SwaySession::instance().clientEnvironment());
        programs.append(p);
    }
    QStringList group0() { return paths(catalogue->runningApps()); }
    QString front()
    {
        const TQAppPtr a = catalogue->activeApp();
        return a ? a->path() : QString();
    }

    QString apps;
    std::shared_ptr<WaylandClientDisplay> display;
    std::shared_ptr<RunningApplications> running;
    QList<QProcess *> programs;
};

TEST_F(WaylandDesktopTest, ToplevelsJoinGroupZeroComeToTheFrontAndLeave)
{
    // The terminal is claimed by its desktop-file ID; the flower has no entry and stands alone
    // under its app id.
    const QString terminal =
        entry(kTerminalId + QStringLiteral(".desktop"), "Name=Terminal\nExec=weston-terminal\n");
    useEntries({terminal});

    start(QStringLiteral("weston-terminal"));
    ASSERT_TRUE(waitUntil([&]() { return group0() == QStringList{terminal}; }))
        << group0().join(' ').toStdString();
    EXPECT_TRUE(toplevelTool().contains(QStringLiteral("app_id=") + kTerminalId));

    start(QStringLiteral("weston-flower"));
    ASSERT_TRUE(waitUntil([&]() { return group0().size() == 2; }))
        << group0().join(' ').toStdString();
    const TQAppPtr flower = catalogue->runningApps().at(1);
    EXPECT_EQ(flower->name(), kFlowerId);
    EXPECT_NE(flower->path(), terminal);
    EXPECT_TRUE(toplevelTool().contains(QStringLiteral("app_id=") + kFlowerId));

    // Sway focuses new windows: the flower is in front; activating the terminal brings it back.
    ASSERT_TRUE(waitUntil([&]() { return front() == flower->path(); })) << front().toStdString();
    const TQAppPtr terminalApp = catalogue->runningApps().first();
    ASSERT_TRUE(desktop().windowControl->activate(terminal));
    ASSERT_TRUE(waitUntil([&]() { return front() == terminal; })) << front().toStdString();
    EXPECT_EQ(focusedAppId(), kTerminalId);
    EXPECT_EQ(paths(catalogue->frontApps()), (QStringList{flower->path(), terminal}));
    // Sway has no minimised state: both stay visible.
    EXPECT_TRUE(desktop().windowControl->isVisible(terminal));
    EXPECT_EQ(desktop().windowControl->pid(terminal), 0);

    // A polite close: the flower ends of itself and leaves group 0 and the history.
    desktop().windowControl->quit(flower->path());
    ASSERT_TRUE(waitUntil([&]() { return group0() == QStringList{terminal}; }))
        << group0().join(' ').toStdString();
    EXPECT_FALSE(paths(catalogue->frontApps()).contains(flower->path()));
}

TEST_F(WaylandDesktopTest, KelpOnQtsOwnConnectionSeesTheRunningProgram)
{
    // The factory's path in the running Kelp: Qt on its wayland platform, Kelp's objects on Qt's
    // connection, dispatched by Qt.
    const QString terminal =
        entry(kTerminalId + QStringLiteral(".desktop"), "Name=Terminal\nExec=weston-terminal\n");
    useEntries({terminal});
    start(QStringLiteral("weston-terminal"));
    ASSERT_TRUE(waitUntil([&]() { return group0() == QStringList{terminal}; }));

    QProcessEnvironment env = SwaySession::instance().clientEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
    const KelpRun printed =
        runKelp(QStringLiteral(KELP_BINARY), {QStringLiteral("--print-catalogue")}, env);
    EXPECT_EQ(printed.status, 0) << printed.err.toStdString();
    EXPECT_TRUE(QJsonDocument::fromJson(printed.out)
                    .object()
                    .value(QStringLiteral("runningApps"))
                    .toArray()
                    .contains(terminal))
        << printed.out.toStdString() << printed.err.toStdString();
}

TEST_F(WaylandDesktopTest, TheCompositorGoingAwayEmptiesGroupZeroQuietly)
{
    const QString terminal =
        entry(kTerminalId + QStringLiteral(".desktop"), "Name=Terminal\nExec=weston-terminal\n");
    useEntries({terminal});
    start(QStringLiteral("weston-terminal"));
    ASSERT_TRUE(waitUntil([&]() { return group0() == QStringList{terminal}; }));

    SwaySession::instance().stop();
    ASSERT_TRUE(waitUntil([&]() { return group0().isEmpty(); }));
    EXPECT_TRUE(display->isBroken());
    EXPECT_FALSE(desktop().windowControl->activate(terminal));
}

} // namespace
} // namespace kelp::test
