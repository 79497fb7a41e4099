// Group 0 and the front-application history, driven by a running-application layer played by
// hand: rebuilds, reuse of entries, launch order, the history and the previous application.
#include "catalogue/CatalogueFixture.h"

#include "desktop/AppLauncher.h"
#include "desktop/Desktop.h"
#include "desktop/RunningApplications.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace kelp::test {
namespace {

class HandRunning : public RunningApplications
{
public:
    QList<RunningApp> runningApplications() const override { return apps; }
    QString activeApplicationPath() const override { return active; }
    QString pathForPid(qint64 pid) const override
    {
        return pid == QCoreApplication::applicationPid() ? self : QString();
    }
    void setKnownApplications(const QStringList &paths) override { known = paths; }

    void run(const QStringList &paths, const QString &front)
    {
        const qsizetype before = apps.size();
        apps.clear();
        for (const QString &p : paths) {
            RunningApp a;
            a.path = p;
            a.matched = true;
            apps.append(a);
        }
        if (apps.size() >= before)
            Q_EMIT launched();
        else
            Q_EMIT terminated();
        bringForward(front);
    }
    void bringForward(const QString &path)
    {
        active = path;
        Q_EMIT frontSwitched();
    }

    QList<RunningApp> apps;
    QString active;
    QString self;
    QStringList known;
};

// A launcher that lists the applications GIO would offer for any item, and does nothing else.
class ListingLauncher : public AppLauncher
{
public:
    QStringList appsThatCanAccept(const QUrl &) const override { return accept; }
    QStringList appsThatPrefer(const QUrl &) const override { return prefer; }
    QStringList accept, prefer;

    LaunchResult launch(const QString &, const QList<QUrl> &) override { return {}; }
    bool canAcceptURL(const QString &, const QUrl &) const override { return false; }
    bool prefersURL(const QString &, const QUrl &) const override { return false; }
    void reveal(const QString &) override {}
    bool sendForDeletionWithDesktopId(const QString &, const QString &) override { return false; }
    bool sendForDeletionWithApp(const QString &, const QString &) override { return false; }
};

class RunningCatalogueTest : public CatalogueFixture
{
protected:
    void SetUp() override
    {
        CatalogueFixture::SetUp();
        running = std::make_shared<HandRunning>();
        running->self = QStringLiteral("/apps/kelp.desktop");
        makeCatalogue();
        catalogue->setRunningApplications(running);
    }
    void TearDown() override { setDesktop({}); }

    QStringList group0() { return paths(catalogue->runningApps()); }
    QStringList history() { return paths(catalogue->frontApps()); }

    std::shared_ptr<HandRunning> running;
    const QString a = QStringLiteral("/apps/zeta.desktop");
    const QString b = QStringLiteral("/apps/alpha.desktop");
    const QString c = QStringLiteral("/apps/mid.desktop");
    const QString self = QStringLiteral("/apps/kelp.desktop");
};

TEST_F(RunningCatalogueTest, Group0FollowsLaunchesAndKeepsItsEntries)
{
    running->run({a, b}, b);
    EXPECT_EQ(group0(), (QStringList{a, b})); // launch order (the default)
    const TQAppPtr first = catalogue->runningApps().first();

    int announced = 0;
    QObject::connect(catalogue.get(), &TQAppManager::groupChanged,
                     [&announced](Group group) { announced += group == Group::Running; });
    running->run({a, b, c}, c);
    EXPECT_EQ(group0(), (QStringList{a, b, c}));
    EXPECT_EQ(catalogue->runningApps().first(), first) << "entries must survive rebuilds";
    EXPECT_EQ(announced, 1);
    EXPECT_TRUE(catalogue->isAppRunning(std::make_shared<TQApp>(c)));

    // Sorted by name when launch order is off; switching the setting rebuilds at once.
    defaults->setValue(Key::SortRunningByLaunchOrder, false);
    EXPECT_EQ(group0(), (QStringList{b, c, a}));
    defaults->setValue(Key::SortRunningByLaunchOrder, true);
    EXPECT_EQ(group0(), (QStringList{a, b, c}));

    running->run({a, c}, c);
    EXPECT_EQ(group0(), (QStringList{a, c}));
    EXPECT_FALSE(catalogue->isAppRunning(std::make_shared<TQApp>(b)));

    // A scan hands the catalogue's entries to the running layer for matching.
    setAll({{a, b}});
    catalogue->refreshRunningApps();
    EXPECT_EQ(running->known, (QStringList{a, b}));
}

TEST_F(RunningCatalogueTest, Group0AndTheHistoryAreReadWithoutWaitingForAnEvent)
{
    // Programs that were running before Kelp first asks...
    RunningApp app;
    app.path = a;
    running->apps = {app};
    EXPECT_EQ(group0(), (QStringList{a}));

    // ...and a running layer installed while a program is in front.
    auto other = std::make_shared<HandRunning>();
    app.path = c;
    other->apps = {app};
    other->active = c;
    catalogue->setRunningApplications(other);
    EXPECT_EQ(history(), (QStringList{c}));
}

TEST_F(RunningCatalogueTest, HistoryKeepsEachApplicationOnceNewestLast)
{
    running->run({a, b}, a);
    running->bringForward(b);
    running->bringForward(a);
    EXPECT_EQ(history(), (QStringList{b, a}));
    // The same entry objects as group 0.
    EXPECT_EQ(catalogue->frontApps().last(), catalogue->runningApps().first());

    // Quitting b takes it out of the history at the next rebuild.
    running->run({a}, a);
    EXPECT_EQ(history(), (QStringList{a}));
}

TEST_F(RunningCatalogueTest, LastActiveAppSkipsKelpItself)
{
    EXPECT_EQ(catalogue->lastActiveApp(), nullptr) << "nothing runs";

    // Only Kelp runs and nothing was in front before: Kelp's own entry.
    running->apps.clear();
    running->run({self}, QString());
    ASSERT_NE(catalogue->lastActiveApp(), nullptr);
    EXPECT_EQ(catalogue->lastActiveApp()->path(), self);

    // Without history: the last running entry that is not Kelp.
    running->run({a, b, self}, QString());
    EXPECT_EQ(catalogue->lastActiveApp()->path(), b);

    // With history: the newest that is not Kelp, wherever Kelp stands.
    running->bringForward(a);
    running->bringForward(self);
    EXPECT_EQ(history(), (QStringList{a, self}));
    EXPECT_EQ(catalogue->lastActiveApp()->path(), a);
}

TEST_F(RunningCatalogueTest, ActiveAppOutsideGroup0IsANewEntry)
{
    running->run({a}, a);
    EXPECT_EQ(catalogue->activeApp(), catalogue->runningApps().first());
    running->active = c; // a window of a program that is not regular
    const TQAppPtr active = catalogue->activeApp();
    ASSERT_NE(active, nullptr);
    EXPECT_EQ(active->path(), c);
    EXPECT_FALSE(catalogue->isAppRunning(active));
    running->active.clear();
    EXPECT_EQ(catalogue->activeApp(), nullptr);
}

TEST_F(RunningCatalogueTest, DroppedItemsOfferCatalogueEntriesOnly)
{
    auto launcher = std::make_shared<ListingLauncher>();
    // GIO names the user's copy of an entry by the same ID as the catalogue's system copy.
    const QString system = home.filePath(QStringLiteral("machine/applications/viewer.desktop"));
    const QString user = home.filePath(QStringLiteral("data/applications/viewer.desktop"));
    launcher->accept = {a, user, QStringLiteral("/elsewhere/unknown.desktop")};
    launcher->prefer = {b};
    Desktop services;
    services.launcher = launcher;
    setDesktop(services);
    setAll({{a, b, system}});

    const QUrl item = QUrl::fromLocalFile(QStringLiteral("/tmp/x.txt"));
    EXPECT_EQ(paths(catalogue->allAppsThatCanAcceptURL(item)), (QStringList{a, system}));
    EXPECT_EQ(paths(catalogue->allAppsThatPreferURL(item)), (QStringList{b}));
}

} // namespace
} // namespace kelp::test
