#include "CatalogueFixture.h"

using namespace kelp;
using kelp::test::CatalogueFixture;

namespace {
const QString A = QStringLiteral("/apps/Alpha.app");
const QString B = QStringLiteral("/apps/Beta.app");
const QString C = QStringLiteral("/apps/Gamma.app");
const QString D = QStringLiteral("/more/Delta.app");
const QString E = QStringLiteral("/more/Epsilon.app");
} // namespace

class Groups : public CatalogueFixture
{
};

TEST_F(Groups, DerivedGroupsFollowAllAndExclusions)
{
    makeCatalogue();
    // One entry per standardised path, and paths compare case-sensitively.
    EXPECT_EQ(app(A).get(), app(QStringLiteral("/apps/../apps/Alpha.app")).get());
    EXPECT_NE(app(A).get(), app(QStringLiteral("/apps/alpha.app")).get());
    setAll({{C, A, B}, {E, D}});
    EXPECT_EQ(paths(catalogue->allApps1D()), (QStringList{C, A, B, E, D}));
    EXPECT_EQ(catalogue->allAppsTotalCount(), 5);
    EXPECT_EQ(catalogue->allAppsLongestArrayCount(), 3);

    catalogue->excludeApp(app(D));
    catalogue->excludeApp(app(E));
    // The included groups lose the excluded entries; a folder whose entries are all excluded
    // leaves no empty inner array.
    EXPECT_EQ(paths(catalogue->includedApps()), (QList<QStringList>{{C, A, B}}));
    EXPECT_EQ(paths(catalogue->includedApps1D()), (QStringList{A, B, C})) << "sorted by name";
    EXPECT_EQ(paths(catalogue->excludedApps()), (QList<QStringList>{{E, D}})) << "the scan's order";
    EXPECT_EQ(paths(catalogue->excludedApps1D()), (QStringList{D, E}));
    EXPECT_EQ(catalogue->includedAppsLongestArrayCount(), 3);

    catalogue->includeApp(app(E));
    EXPECT_EQ(paths(catalogue->includedApps()), (QList<QStringList>{{C, A, B}, {E}}));
    EXPECT_EQ(paths(catalogue->excludedApps1D()), (QStringList{D}));
}

TEST_F(Groups, ExcludedAppThatIsGoneBecomesMissingAndLeavesTheFavourites)
{
    makeCatalogue();
    setAll({{A, B}});
    catalogue->moveApp(app(C), Group::User, TQAppManager::kAtEnd, 0);
    catalogue->moveApp(app(A), Group::User, 0, 0);
    catalogue->excludeApp(app(C));
    EXPECT_EQ(paths(catalogue->missingApps()), (QStringList{C}));
    EXPECT_TRUE(catalogue->excludedApps1D().isEmpty());
    EXPECT_EQ(paths(catalogue->userApps1D()), (QStringList{A}));
    EXPECT_EQ(paths(catalogue->userApps()), (QList<QStringList>{{A}}));
}

TEST_F(Groups, AutoExclusionByNameAndDockFile)
{
    makeCatalogue();
    const QString uninstaller = QStringLiteral("/apps/Foo Uninstaller.app");
    setAll({{A, B, uninstaller}});
    ASSERT_TRUE(test::writeFile(CatalogueFiles::dockPreferencesFile(),
                                R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>persistent-apps</key><array>
<dict><key>tile-data</key><dict><key>file-data</key><dict><key>_CFURLString</key><string>file:///apps/Beta.app/</string></dict></dict></dict>
<dict><key>tile-data</key><dict></dict></dict>
<dict><key>tile-data</key><dict><key>file-data</key><dict><key>_CFURLString</key><string>/elsewhere/Other.app</string></dict></dict></dict>
</array></dict></plist>)"));
    for (const TQAppPtr &a : catalogue->allApps1D())
        a->findExcludedStringsInName();
    EXPECT_EQ(catalogue->autoExcludeDockApps(false, true), 1);
    EXPECT_EQ(paths(catalogue->excludedApps1D()), (QStringList{uninstaller}));
    EXPECT_EQ(catalogue->autoExcludeDockApps(true, false), 1) << "only apps the scan found";
    EXPECT_EQ(paths(catalogue->excludedApps1D()), (QStringList{uninstaller, B})) << "appended";
    EXPECT_EQ(catalogue->autoExcludeDockApps(true, true), 0);
    EXPECT_EQ(paths(catalogue->includedApps1D()), (QStringList{A}));
}

TEST_F(Groups, StoredNumbersOutsideTheTenAreNoGroup)
{
    makeCatalogue();
    for (qint64 stored : {qint64(-2), qint64(10), qint64(1) << 32})
        EXPECT_EQ(groupFromStored(stored), Group::None) << stored;
    EXPECT_EQ(groupFromStored(9), Group::User1D);
    EXPECT_EQ(catalogue->flatArrayForGroup(Group::None), nullptr);
    EXPECT_EQ(catalogue->bunchedArrayForGroup(Group::None), nullptr);
}

TEST_F(Groups, SortOrdersLeaveTheFavouritesAlone)
{
    makeCatalogue();
    const QString zeta = QStringLiteral("/Applications/Zeta.app");
    const QString alpha = QStringLiteral("/Users/a/Applications/Alpha.app");
    setAll({{zeta, alpha}});
    catalogue->moveApp(app(alpha), Group::User1D, 0, TQAppManager::kAtEnd);
    catalogue->moveApp(app(zeta), Group::User1D, 0, TQAppManager::kAtEnd);
    int announced = 0;
    QObject::connect(catalogue.get(), &TQAppManager::groupChanged,
                     [&](Group group) { announced += group == Group::All1D; });

    defaults->setValue(Key::GroupContentsSortOrder, 0);
    EXPECT_EQ(paths(catalogue->allApps1D()), (QStringList{zeta, alpha})) << "by full path";
    defaults->setValue(Key::GroupContentsSortOrder, 1);
    EXPECT_EQ(paths(catalogue->allApps1D()), (QStringList{alpha, zeta})) << "by name";
    EXPECT_GE(announced, 2);

    app(zeta)->setColorSortValue(0.5);
    app(alpha)->setColorSortValue(3.0);
    defaults->setValue(Key::GroupContentsSortOrder, 2);
    EXPECT_EQ(paths(catalogue->allApps1D()), (QStringList{zeta, alpha})) << "by colour, ascending";

    // Names compare case-insensitively, using the localised name when there is one.
    defaults->setValue(Key::GroupContentsSortOrder, 1);
    app(zeta)->setDisplayName(QStringLiteral("aardvark"));
    app(alpha)->setDisplayName(QStringLiteral("Beaver"));
    catalogue->sortAllArrays();
    EXPECT_EQ(paths(catalogue->allApps1D()), (QStringList{zeta, alpha}));
    EXPECT_EQ(paths(catalogue->userApps1D()), (QStringList{alpha, zeta})) << "never sorted";
    EXPECT_EQ(paths(catalogue->userApps()), (QList<QStringList>{{alpha}, {zeta}}));
}
