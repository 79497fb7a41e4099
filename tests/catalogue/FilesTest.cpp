#include "CatalogueFixture.h"

#include <QDataStream>

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
        return QDir(CatalogueFiles::catalogueFolder())
            .entryList({QStringLiteral("*.corrupt-*")}, QDir::Files);
    }
};

TEST_F(Files, RoundTripThroughANewCatalogue)
{
    makeCatalogue();
    setAll({{A, B}, {C}});
    catalogue->moveApp(app(C), Group::User, TQAppManager::kAtEnd, 0);
    catalogue->moveApp(app(A), Group::User, TQAppManager::kAtEnd, 0);
    catalogue->moveApp(app(B), Group::User, 1, 0);
    catalogue->moveApp(app(A), Group::User1D, 0, 0);
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
    const QByteArray xml = test::readFile(userFile(CatalogueFiles::kUserApplicationsFile));
    EXPECT_TRUE(xml.contains("<array>\n\t<array>\n\t\t<string>/apps/Gamma.app</string>"))
        << xml.constData();

    // Without its flat order the favourites' bunches give it.
    ASSERT_TRUE(QFile::remove(userFile(CatalogueFiles::kUserApplications1DFile)));
    catalogue->readUserAppsFromDisk();
    EXPECT_EQ(paths(catalogue->userApps1D()), (QStringList{C, B, A}));
}

TEST_F(Files, ExclusionsMergeTheMachineList)
{
    makeCatalogue();
    setAll({{A, B, C}});
    ASSERT_TRUE(
        QDir().mkpath(QFileInfo(machineFile(CatalogueFiles::kExcludedApplicationsFile)).path()));
    ASSERT_TRUE(plist::writeXmlFile(machineFile(CatalogueFiles::kExcludedApplicationsFile),
                                    QStringList{C, A}));
    ASSERT_TRUE(QDir().mkpath(CatalogueFiles::catalogueFolder()));
    ASSERT_TRUE(plist::writeXmlFile(userFile(CatalogueFiles::kExcludedApplicationsFile),
                                    QStringList{A, B}));
    catalogue->readExcludedApps1DFromDisk();
    catalogue->rebuildDependentApps();
    EXPECT_EQ(paths(catalogue->excludedApps1D()), (QStringList{A, B, C})) << "union, sorted";

    // Including writes only the user's file, so the machine's entry comes back at the next read.
    catalogue->includeApp(app(C));
    EXPECT_EQ(
        plist::readFile(userFile(CatalogueFiles::kExcludedApplicationsFile)).value.toStringList(),
        (QStringList{A, B}));
    catalogue->readExcludedApps1DFromDisk();
    EXPECT_EQ(paths(catalogue->excludedApps1D()), (QStringList{A, B, C}));
}

TEST_F(Files, BadFilesChangeNothingAndAreKeptAside)
{
    makeCatalogue();
    setAll({{A, B}});
    catalogue->moveApp(app(A), Group::User, TQAppManager::kAtEnd, 0);
    const QList<QStringList> favourites = paths(catalogue->userApps());

    const QByteArray garbage[] = {
        QByteArray(),                                                       // empty
        QByteArray("<?xml version=\"1.0\"?><plist><array><string>/x</str"), // truncated
        QByteArray::fromHex("0001fffe2062696e617279206e6f697365"),          // noise
        QByteArray("bplist00"),                                             // a lying header
    };
    for (const QByteArray &bytes : garbage) {
        ASSERT_TRUE(test::writeFile(userFile(CatalogueFiles::kUserApplicationsFile), bytes));
        ASSERT_TRUE(test::writeFile(userFile(CatalogueFiles::kAllApplicationsFile), bytes));
        catalogue->readUserAppsFromDisk();
        catalogue->readAllAppsFromDisk();
        EXPECT_EQ(paths(catalogue->userApps()), favourites);
        EXPECT_EQ(paths(catalogue->allApps()), (QList<QStringList>{{A, B}}));
    }
    EXPECT_GE(asideCopies().size(), 1) << "the unreadable files are kept for the user";

    // Wrong shapes: a flat "all" file and a dictionary are ignored.
    ASSERT_TRUE(
        plist::writeXmlFile(userFile(CatalogueFiles::kAllApplicationsFile), QStringList{C}));
    catalogue->readAllAppsFromDisk();
    EXPECT_EQ(paths(catalogue->allApps()), (QList<QStringList>{{A, B}}));
    ASSERT_TRUE(plist::writeXmlFile(userFile(CatalogueFiles::kUserApplicationsFile),
                                    QVariantMap{{QStringLiteral("x"), 1}}));
    catalogue->readUserAppsFromDisk();
    EXPECT_EQ(paths(catalogue->userApps()), favourites);
    // Non-string items inside a list are skipped.
    ASSERT_TRUE(
        plist::writeXmlFile(userFile(CatalogueFiles::kUserApplicationsFile),
                            QVariantList{QVariantList{A, 5, QVariantMap()}, QVariantList{}}));
    catalogue->readUserAppsFromDisk();
    EXPECT_EQ(paths(catalogue->userApps()), (QList<QStringList>{{A}}));
}

TEST_F(Files, UnwritableFolderKeepsWorking)
{
    // The data folder is a file: nothing can be created below it.
    ASSERT_TRUE(test::writeFile(home.filePath(QStringLiteral("data")), "not a folder"));
    makeCatalogue();
    catalogue->moveApp(app(A), Group::User, TQAppManager::kAtEnd, 0);
    EXPECT_EQ(paths(catalogue->userApps1D()), QStringList{A});
    EXPECT_FALSE(catalogue->files().write(QStringList{A}, CatalogueFiles::kUserApplications1DFile));
}

TEST_F(Files, ArraysCanLiveInTheSettingsInstead)
{
    makeCatalogue();
    catalogue->files().setUsesApplicationSupportFolder(false);
    catalogue->moveApp(app(B), Group::User, TQAppManager::kAtEnd, 0);
    EXPECT_FALSE(QFile::exists(userFile(CatalogueFiles::kUserApplicationsFile)));
    EXPECT_EQ(defaults->value(QStringLiteral("UserApplications1D")).toStringList(), QStringList{B});
    EXPECT_FALSE(catalogue->files()
                     .read(CatalogueFiles::kExcludedApplicationsFile, CatalogueFiles::LocalDomain)
                     .isValid());
}

TEST_F(Files, NameCacheOfAnotherKindOrTruncatedIsIgnored)
{
    ASSERT_TRUE(QDir().mkpath(QFileInfo(NameCache::filePath()).path()));
    const struct
    {
        const char *why;
        quint32 magic;
        qint64 count;
    } rows[] = {{"another program's file", 0x12345678, 1}, {"truncated", 0x4b4e4331, 2}};
    for (const auto &row : rows) {
        // One well-formed entry whatever the header says.
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out.setVersion(QDataStream::Qt_6_4);
        out << row.magic << row.count << A << QStringLiteral("Wrong") << qint64(0);
        ASSERT_TRUE(test::writeFile(NameCache::filePath(), bytes));
        makeCatalogue();
        EXPECT_EQ(app(A)->name(), QStringLiteral("Alpha")) << row.why;
    }
}
