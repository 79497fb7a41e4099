#include "CatalogueFixture.h"

#include <QDirIterator>

using namespace kelp;
using kelp::test::CatalogueFixture;

namespace {
const QString A = QStringLiteral("/apps/Alpha.app");
const QString B = QStringLiteral("/apps/Beta.app");
const QString C = QStringLiteral("/apps/Gamma.app");
} // namespace

class Files : public CatalogueFixture
{
protected:
    QStringList asideCopies() const
    {
        return QDir(TQAppManager::catalogueFolder())
            .entryList({QStringLiteral("*.corrupt-*")}, QDir::Files);
    }
};

TEST_F(Files, RoundTripThroughANewCatalogue)
{
    makeCatalogue();
    setAll({{A, B}, {C}});
    catalogue->moveApp(app(C), TQAppManager::User, TQAppManager::kAtEnd, 0);
    catalogue->moveApp(app(A), TQAppManager::User, TQAppManager::kAtEnd, 0);
    catalogue->moveApp(app(B), TQAppManager::User, 1, 0);
    catalogue->moveApp(app(A), TQAppManager::User1D, 0, 0);
    catalogue->excludeApp(app(B));

    makeCatalogue(); // a restart
    catalogue->readAllAppsFromDisk();
    catalogue->readExcludedApps1DFromDisk();
    catalogue->readUserAppsFromDisk();
    catalogue->rebuildDependentApps();
    EXPECT_EQ(paths(catalogue->allApps()), (QList<QStringList>{{A, B}, {C}}));
    EXPECT_EQ(paths(catalogue->userApps()), (QList<QStringList>{{C}, {B, A}}));
    EXPECT_EQ(paths(catalogue->userApps1D()), (QStringList{A, C, B}));
    EXPECT_EQ(paths(catalogue->excludedApps1D()), (QStringList{B}));
    EXPECT_EQ(paths(catalogue->includedApps()), (QList<QStringList>{{A}, {C}}));

    // The files are plain XML property lists of paths.
    const QByteArray xml = test::readFile(userFile(TQAppManager::kUserApplicationsFile));
    EXPECT_TRUE(xml.contains("<array>\n\t<array>\n\t\t<string>/apps/Gamma.app</string>"))
        << xml.constData();
}

TEST_F(Files, MissingFlatListIsRebuiltFromTheBunches)
{
    makeCatalogue();
    ASSERT_TRUE(QDir().mkpath(TQAppManager::catalogueFolder()));
    ASSERT_TRUE(plist::writeXmlFile(userFile(TQAppManager::kUserApplicationsFile),
                                    pathsVariant({{B}, {A, C}})));
    catalogue->readUserAppsFromDisk();
    EXPECT_EQ(paths(catalogue->userApps1D()), (QStringList{B, A, C}));
}

TEST_F(Files, ExclusionsMergeTheMachineList)
{
    makeCatalogue();
    setAll({{A, B, C}});
    ASSERT_TRUE(
        QDir().mkpath(QFileInfo(machineFile(TQAppManager::kExcludedApplicationsFile)).path()));
    ASSERT_TRUE(plist::writeXmlFile(machineFile(TQAppManager::kExcludedApplicationsFile),
                                    QStringList{C, A}));
    ASSERT_TRUE(QDir().mkpath(TQAppManager::catalogueFolder()));
    ASSERT_TRUE(
        plist::writeXmlFile(userFile(TQAppManager::kExcludedApplicationsFile), QStringList{A, B}));
    catalogue->readExcludedApps1DFromDisk();
    catalogue->rebuildDependentApps();
    EXPECT_EQ(paths(catalogue->excludedApps1D()), (QStringList{A, B, C})) << "union, sorted";

    // Including writes only the user's file, so the machine's entry comes back at the next read.
    catalogue->includeApp(app(C));
    EXPECT_EQ(
        plist::readFile(userFile(TQAppManager::kExcludedApplicationsFile)).value.toStringList(),
        (QStringList{A, B}));
    catalogue->readExcludedApps1DFromDisk();
    EXPECT_EQ(paths(catalogue->excludedApps1D()), (QStringList{A, B, C}));
}

TEST_F(Files, BadFilesChangeNothingAndAreKeptAside)
{
    makeCatalogue();
    setAll({{A, B}});
    catalogue->moveApp(app(A), TQAppManager::User, TQAppManager::kAtEnd, 0);
    const QList<QStringList> favourites = paths(catalogue->userApps());

    const QByteArray garbage[] = {
        QByteArray(),                                                       // empty
        QByteArray("<?xml version=\"1.0\"?><plist><array><string>/x</str"), // truncated
        QByteArray::fromHex("0001fffe2062696e617279206e6f697365"),          // noise
        QByteArray("bplist00"),                                             // a lying header
    };
    for (const QByteArray &bytes : garbage) {
        ASSERT_TRUE(test::writeFile(userFile(TQAppManager::kUserApplicationsFile), bytes));
        ASSERT_TRUE(test::writeFile(userFile(TQAppManager::kAllApplicationsFile), bytes));
        catalogue->readUserAppsFromDisk();
        catalogue->readAllAppsFromDisk();
        EXPECT_EQ(paths(catalogue->userApps()), favourites);
        EXPECT_EQ(paths(catalogue->allApps()), (QList<QStringList>{{A, B}}));
    }
    EXPECT_GE(asideCopies().size(), 1) << "the unreadable files are kept for the user";

    // Wrong shapes: a flat "all" file and a dictionary are ignored.
    ASSERT_TRUE(plist::writeXmlFile(userFile(TQAppManager::kAllApplicationsFile), QStringList{C}));
    catalogue->readAllAppsFromDisk();
    EXPECT_EQ(paths(catalogue->allApps()), (QList<QStringList>{{A, B}}));
    ASSERT_TRUE(plist::writeXmlFile(userFile(TQAppManager::kUserApplicationsFile),
                                    QVariantMap{{QStringLiteral("x"), 1}}));
    catalogue->readUserAppsFromDisk();
    EXPECT_EQ(paths(catalogue->userApps()), favourites);
    // Non-string items inside a list are skipped.
    ASSERT_TRUE(
        plist::writeXmlFile(userFile(TQAppManager::kUserApplicationsFile),
                            QVariantList{QVariantList{A, 5, QVariantMap()}, QVariantList{}}));
    catalogue->readUserAppsFromDisk();
    EXPECT_EQ(paths(catalogue->userApps()), (QList<QStringList>{{A}}));
}

TEST_F(Files, UnwritableFolderKeepsWorking)
{
    // The data folder is a file: nothing can be created below it.
    ASSERT_TRUE(test::writeFile(home.filePath(QStringLiteral("data")), "not a folder"));
    makeCatalogue();
    catalogue->moveApp(app(A), TQAppManager::User, TQAppManager::kAtEnd, 0);
    EXPECT_EQ(paths(catalogue->userApps1D()), QStringList{A});
    EXPECT_FALSE(
        catalogue->writeAppArrays(catalogue->userApps1D(), TQAppManager::kUserApplications1DFile));
}

TEST_F(Files, ArraysCanLiveInTheSettingsInstead)
{
    makeCatalogue();
    catalogue->setUsesApplicationSupportFolder(false);
    catalogue->moveApp(app(B), TQAppManager::User, TQAppManager::kAtEnd, 0);
    EXPECT_FALSE(QFile::exists(userFile(TQAppManager::kUserApplicationsFile)));
    EXPECT_EQ(defaults->value(QStringLiteral("UserApplications1D")).toStringList(), QStringList{B});
    EXPECT_FALSE(catalogue
                     ->readPathArraysFromAppSupportFile(TQAppManager::kExcludedApplicationsFile,
                                                        TQAppManager::LocalDomain)
                     .isValid());
}
