#include "CatalogueFixture.h"

using namespace kelp;
using kelp::test::CatalogueFixture;

namespace {
QString p(const char *name)
{
    return QStringLiteral("/apps/%1.app").arg(QLatin1String(name));
}
} // namespace

class Moves : public CatalogueFixture
{
protected:
    // Arranges the favourites: bunches in order, then the flat list as the bunches' concatenation.
    void arrange(const QList<QStringList> &bunches)
    {
        for (const QStringList &bunch : bunches) {
            bool first = true;
            for (const QString &path : bunch) {
                if (first)
                    catalogue->moveApp(app(path), Group::User, TQAppManager::kAtEnd, 0);
                else
                    catalogue->moveApp(app(path), Group::User, catalogue->userApps().size() - 1,
                                       TQAppManager::kAtEnd);
                first = false;
            }
        }
    }
    QList<QStringList> bunches() const { return paths(catalogue->userApps()); }
    QStringList flat() const { return paths(catalogue->userApps1D()); }
};

TEST_F(Moves, WithinTheFlatList)
{
    makeCatalogue();
    arrange({{p("A"), p("B"), p("C"), p("D")}});
    ASSERT_EQ(flat(), (QStringList{p("A"), p("B"), p("C"), p("D")}));

    // Forward: the target counts positions before the entry is taken out.
    catalogue->moveApp(app(p("A")), Group::User1D, 0, 3);
    EXPECT_EQ(flat(), (QStringList{p("B"), p("C"), p("A"), p("D")}));
    // Backward.
    catalogue->moveApp(app(p("D")), Group::User1D, 0, 0);
    EXPECT_EQ(flat(), (QStringList{p("D"), p("B"), p("C"), p("A")}));
    // Past the end is clamped.
    catalogue->moveApp(app(p("B")), Group::User1D, 0, 99);
    EXPECT_EQ(flat(), (QStringList{p("D"), p("C"), p("A"), p("B")}));
    // The bunches keep their own order throughout.
    EXPECT_EQ(bunches(), (QList<QStringList>{{p("A"), p("B"), p("C"), p("D")}}));

    // A new entry gets a bunch of its own and its place in the flat list.
    catalogue->moveApp(app(p("E")), Group::User1D, 0, 1);
    EXPECT_EQ(flat(), (QStringList{p("D"), p("E"), p("C"), p("A"), p("B")}));
    EXPECT_EQ(bunches().last(), QStringList{p("E")});
}

TEST_F(Moves, ToItsOwnPlaceWritesNothing)
{
    makeCatalogue();
    arrange({{p("A"), p("B")}});
    QFile::remove(userFile(CatalogueFiles::kUserApplicationsFile));
    int signals_ = 0;
    QObject::connect(catalogue.get(), &TQAppManager::groupChanged, [&] { ++signals_; });
    catalogue->moveApp(app(p("B")), Group::User1D, 0, 1);
    catalogue->moveApp(app(p("A")), Group::User, 0, 0);
    EXPECT_FALSE(QFile::exists(userFile(CatalogueFiles::kUserApplicationsFile)));
    EXPECT_EQ(signals_, 0);
    // Other groups, and no entry at all, are ignored.
    catalogue->moveApp(app(p("A")), Group::All1D, 0, 1);
    catalogue->moveApp(nullptr, Group::User, 0, 1);
    EXPECT_EQ(flat(), (QStringList{p("A"), p("B")}));
}

TEST_F(Moves, BetweenBunches)
{
    makeCatalogue();
    arrange({{p("A"), p("B")}, {p("C")}, {p("D"), p("E")}});

    // Within a bunch, forward.
    catalogue->moveApp(app(p("A")), Group::User, 0, 2);
    EXPECT_EQ(bunches(), (QList<QStringList>{{p("B"), p("A")}, {p("C")}, {p("D"), p("E")}}));
    // The only entry of a bunch moved into a later bunch: the emptied bunch goes, and the target
    // bunch number shifts down with it.
    catalogue->moveApp(app(p("C")), Group::User, 2, 1);
    EXPECT_EQ(bunches(), (QList<QStringList>{{p("B"), p("A")}, {p("D"), p("C"), p("E")}}));
    // Into an earlier bunch.
    catalogue->moveApp(app(p("E")), Group::User, 0, 0);
    EXPECT_EQ(bunches(), (QList<QStringList>{{p("E"), p("B"), p("A")}, {p("D"), p("C")}}));
    // To a new bunch at the end.
    catalogue->moveApp(app(p("B")), Group::User, TQAppManager::kAtEnd, 0);
    EXPECT_EQ(bunches(), (QList<QStringList>{{p("E"), p("A")}, {p("D"), p("C")}, {p("B")}}));
    // The only entry of the last bunch, to one past the last bunch: a new bunch again, not a crash.
    catalogue->moveApp(app(p("B")), Group::User, 3, 0);
    EXPECT_EQ(bunches(), (QList<QStringList>{{p("E"), p("A")}, {p("D"), p("C")}, {p("B")}}));
    // A newcomer joins a bunch and the end of the flat list.
    catalogue->moveApp(app(p("F")), Group::User, 1, 1);
    EXPECT_EQ(bunches(),
              (QList<QStringList>{{p("E"), p("A")}, {p("D"), p("F"), p("C")}, {p("B")}}));
    EXPECT_EQ(flat().last(), p("F"));
    // Moving never changes the flat list's order for entries already in it.
    EXPECT_EQ(flat(), (QStringList{p("A"), p("B"), p("C"), p("D"), p("E"), p("F")}));
}

TEST_F(Moves, ToANewBunch)
{
    makeCatalogue();
    arrange({{p("A"), p("B")}, {p("C")}, {p("D")}});
    catalogue->moveAppToNewBunch(app(p("B")), Group::User, 0);
    EXPECT_EQ(bunches(), (QList<QStringList>{{p("B")}, {p("A")}, {p("C")}, {p("D")}}));
    // Out of an emptied bunch that lay before the target: the target moves down by one.
    catalogue->moveAppToNewBunch(app(p("C")), Group::User, 4);
    EXPECT_EQ(bunches(), (QList<QStringList>{{p("B")}, {p("A")}, {p("D")}, {p("C")}}));
    catalogue->moveAppToNewBunch(app(p("E")), Group::User, 99);
    EXPECT_EQ(bunches().last(), QStringList{p("E")});
    EXPECT_EQ(flat().last(), p("E"));
}

TEST_F(Moves, RemovingFavourites)
{
    makeCatalogue();
    setAll({{p("A"), p("B"), p("C")}});
    arrange({{p("A")}, {p("B"), p("C")}});
    catalogue->removeAppsFromUserApps({app(p("A")), app(p("C"))});
    EXPECT_EQ(bunches(), (QList<QStringList>{{p("B")}})) << "emptied bunches are removed";
    EXPECT_EQ(flat(), QStringList{p("B")});

    catalogue->removeAppsFromAllArrays({app(p("B"))});
    EXPECT_TRUE(catalogue->userApps().isEmpty());
    EXPECT_EQ(paths(catalogue->allApps1D()), (QStringList{p("A"), p("C")}));
    EXPECT_EQ(catalogue->existingAppForPath(p("B")), nullptr);
}

TEST_F(Moves, BestMatchForAMovedApp)
{
    makeCatalogue();
    const TQAppPtr missing = app(QStringLiteral("/Applications/Foo.app"));
    const TQAppPtr volume = app(QStringLiteral("/Volumes/X/Applications/Foo.app"));
    const TQAppPtr tools = app(QStringLiteral("/Applications/Tools/Foo.app"));
    const TQAppPtr other = app(QStringLiteral("/Applications/Bar.app"));
    const auto best = [](const TQAppPtr &a, const AppLists &candidates) {
        return Favourites::bestMatchForApp(a, candidates);
    };
    EXPECT_EQ(best(missing, {{tools}, {volume, other}}), volume) << "the longest trailing run";
    EXPECT_EQ(best(missing, {{tools, other}}), tools) << "a single name match";
    EXPECT_EQ(best(missing, {{other}}), nullptr);
    EXPECT_EQ(best(nullptr, {{tools}}), nullptr);
    // Equal runs: the earlier candidate. No common run at all: nothing.
    const TQAppPtr a = app(QStringLiteral("/x/Foo.app/"));
    const TQAppPtr b = app(QStringLiteral("/y/Foo.app"));
    EXPECT_EQ(best(app(QStringLiteral("/z/Foo.app")), {{b, a}}), b);
    const TQAppPtr renamedOne = app(QStringLiteral("/p/Foo.desktop"));
    const TQAppPtr renamedTwo = app(QStringLiteral("/q/Foo.desktop"));
    renamedOne->setDisplayName(QStringLiteral("Foo"));
    renamedTwo->setDisplayName(QStringLiteral("Foo"));
    EXPECT_EQ(best(missing, {{renamedOne, renamedTwo}}), nullptr);
}

TEST_F(Moves, LocateMovedFavourites)
{
    makeCatalogue();
    QTemporaryDir disk;
    const QString moved = disk.filePath(QStringLiteral("Tools/Foo.app"));
    const QString stays = disk.filePath(QStringLiteral("Bar.app"));
    ASSERT_TRUE(QDir().mkpath(moved));
    ASSERT_TRUE(QDir().mkpath(stays));
    const QString gone = disk.filePath(QStringLiteral("Foo.app")); // never created
    setAll({{stays, moved}});
    arrange({{stays, gone}});
    catalogue->locateUserApps();
    EXPECT_EQ(bunches(), (QList<QStringList>{{stays, moved}}));
    EXPECT_EQ(flat(), (QStringList{stays, moved}));
    // Written to disk too.
    const QVariant file = plist::readFile(userFile(CatalogueFiles::kUserApplications1DFile)).value;
    EXPECT_EQ(file.toStringList(), (QStringList{stays, moved}));
}
