// Running applications from a compositor whose window list is the read-only ext foreign-toplevel
// list: toplevels come into group 0 by app id (claimed by an entry, or standing alone), a title
// change is no new application, a closed toplevel leaves, and the end of the list keeps what is
// known. The compositor is the tests' own one-protocol server (no compositor in Debian 12 offers
// this list); Kelp talks to it over a real socket, as to any compositor.
#include "catalogue/CatalogueFixture.h"

#include "desktop/Desktop.h"
#include "desktop/RunningApplications.h"
#include "platform/DesktopFactory.h"
#include "platform/wayland/WaylandClientDisplay.h"
#include "platform/wayland/WaylandRunningApplications.h"
#include "platform/wayland/WaylandWindowSystem.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace kelp::test {
namespace {

class WaylandToplevelListTest : public CatalogueFixture
{
protected:
    void SetUp() override
    {
        CatalogueFixture::SetUp();
        ASSERT_TRUE(runtime.isValid());
        qputenv("XDG_RUNTIME_DIR", runtime.path().toUtf8());
        server.start(QStringLiteral(TOPLEVEL_LIST_SERVER), QStringList{});
        ASSERT_TRUE(server.waitForStarted());
        ASSERT_TRUE(waitUntil([this] { return server.canReadLine(); }));
        const QByteArray ready = server.readLine().trimmed();
        ASSERT_TRUE(ready.startsWith("ready ")) << ready.constData();
        display = WaylandClientDisplay::connectTo(ready.mid(6));
        ASSERT_TRUE(display);
    }
    void TearDown() override
    {
        catalogue.reset();
        setDesktop({});
        display.reset();
        server.closeWriteChannel();
        if (!server.waitForFinished(5000)) server.kill();
    }

    // Kelp's running applications on the server's list, with these entries in the catalogue.
    void startKelp(const QStringList &entries)
    {
        Desktop services = makeDesktop(QStringLiteral("offscreen"));
        ASSERT_TRUE(addWaylandRunningApplications(services, display))
            << "the list was not taken for a window list";
        running = services.running;
        setDesktop(services);
        makeCatalogue();
        setAll({entries});
        catalogue->refreshRunningApps();
        ASSERT_TRUE(waitUntil([this]() { return !running->isMatchingPending(); }));
    }
    // A command to the server; true once it said "ok".
    bool tell(const QByteArray &command)
    {
        server.write(command + '\n');
        if (!waitUntil([this] { return server.canReadLine(); })) return false;
        return server.readLine().trimmed() == "ok";
    }
    QString entry(const QString &name, const QByteArray &body)
    {
        const QString path = home.filePath(QStringLiteral("data/applications/") + name);
        EXPECT_TRUE(writeFile(path, "[Desktop Entry]\nType=Application\n" + body));
        return path;
    }
    QStringList group0() { return paths(catalogue->runningApps()); }

    QTemporaryDir runtime;
    QProcess server;
    std::shared_ptr<WaylandClientDisplay> display;
    std::shared_ptr<RunningApplications> running;
};

TEST_F(WaylandToplevelListTest, ToplevelsComeByAppIdAndGoWhenClosed)
{
    const QString notes =
        entry(QStringLiteral("org.kelp.Notes.desktop"), "Name=Notes\nExec=notes\n");
    const QString paint =
        entry(QStringLiteral("paint.desktop"), "Name=Paint\nExec=paint\nStartupWMClass=Painter\n");
    // One toplevel exists before Kelp binds the list.
    ASSERT_TRUE(tell("add 1 org.kelp.Notes Shopping list"));
    startKelp({notes, paint});
    ASSERT_TRUE(waitUntil([&] { return group0() == QStringList{notes}; }))
        << group0().join(' ').toStdString();
    EXPECT_FALSE(desktop().windowControl) << "a list for listing only controls no window";

    // Claimed by StartupWMClass; an unknown app id and an empty one each stand alone, under the
    // app id or the title.
    ASSERT_TRUE(tell("add 2 Painter Untitled"));
    ASSERT_TRUE(tell("add 3 org.other.Tool Tool window"));
    ASSERT_TRUE(tell("add 4 - A window with no app id"));
    ASSERT_TRUE(waitUntil([&] { return group0().size() == 4; }))
        << group0().join(' ').toStdString();
    EXPECT_EQ(group0().mid(0, 2), (QStringList{notes, paint}));
    EXPECT_EQ(catalogue->runningApps().at(2)->name(), QStringLiteral("org.other.Tool"));
    EXPECT_EQ(catalogue->runningApps().at(3)->name(), QStringLiteral("A window with no app id"));

    // A second window of Notes and a new title are no new application.
    ASSERT_TRUE(tell("add 5 org.kelp.Notes Another list"));
    ASSERT_TRUE(tell("title 1 Shopping list (edited)"));
    QTest::qWait(200);
    EXPECT_EQ(group0().size(), 4);

    // Notes leaves with its last window only.
    ASSERT_TRUE(tell("close 1"));
    QTest::qWait(200);
    EXPECT_TRUE(group0().contains(notes));
    ASSERT_TRUE(tell("close 5"));
    ASSERT_TRUE(waitUntil([&] { return !group0().contains(notes); }))
        << group0().join(' ').toStdString();

    // The compositor ends the list: what is known stays, nothing breaks.
    ASSERT_TRUE(tell("finish"));
    QTest::qWait(200);
    EXPECT_EQ(group0().size(), 3);
}

} // namespace
} // namespace kelp::test
