// What the catalogue reads from outside: files it is pointed at that are not regular files, the
// name cache, and walks over link loops, the kernel's file systems and unusable paths.
#include "catalogue/FolderWalker.h"
#include "catalogue/NameCache.h"
#include "extras/Plist.h"
#include "platform/gio/GioAppsOnDisk.h"

#include "Watchdog.h"
#include "support/TestSupport.h"

#include <QDataStream>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace kelp::test {
namespace {

QByteArray entry(const QByteArray &name, const QByteArray &more = {})
{
    return "[Desktop Entry]\nType=Application\nName=" + name + "\n" + more + "Exec=true\n";
}

class CatalogueReading : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(home.isValid()); }
    QString path(const QString &relative) const { return home.filePath(relative); }

    // kelp --print-catalogue in the private home; a run that does not end fails the test.
    QJsonObject printCatalogue(const QStringList &arguments, const QByteArray &language = {})
    {
        QProcessEnvironment env = privateHomeEnvironment(home.path());
        env.insert(QStringLiteral("LANGUAGE"), QString::fromUtf8(language));
        env.insert(QStringLiteral("LANG"), QStringLiteral("C.UTF-8"));
        env.remove(QStringLiteral("LC_ALL"));
        env.remove(QStringLiteral("LC_MESSAGES"));
        QProcess kelp;
        kelp.setProcessEnvironment(env);
        kelp.start(QStringLiteral(KELP_BINARY),
                   QStringList{QStringLiteral("--print-catalogue")} + arguments);
        if (!kelp.waitForFinished(30000)) {
            kelp.kill();
            kelp.waitForFinished();
            ADD_FAILURE() << "kelp --print-catalogue did not end";
            return {};
        }
        EXPECT_EQ(kelp.exitCode(), 0) << kelp.readAllStandardError().constData();
        return QJsonDocument::fromJson(kelp.readAllStandardOutput()).object();
    }

    QTemporaryDir home;
};

TEST_F(CatalogueReading, CatalogueFilesNamingAFifoNeitherHangNorLoseTheRest)
{
    const QString apps = path(QStringLiteral("data/applications"));
    ASSERT_TRUE(writeFile(apps + QStringLiteral("/real.desktop"), entry("Real")));
    const QString fifo = apps + QStringLiteral("/fifo.desktop");
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    const QString catalogue = path(QStringLiteral("data/Kelp/"));
    ASSERT_TRUE(QDir().mkpath(catalogue));
    const QVariantList all{QVariantList{fifo, apps + QStringLiteral("/real.desktop")}};
    ASSERT_TRUE(plist::writeXmlFile(catalogue + QStringLiteral("AllApplications.plist"), all));
    ASSERT_TRUE(plist::writeXmlFile(catalogue + QStringLiteral("UserApplications.plist"),
                                    QVariantList{QVariantList{fifo}}));
    ASSERT_TRUE(plist::writeXmlFile(catalogue + QStringLiteral("UserApplications1D.plist"),
                                    QVariantList{fifo}));
    // With and without the icons: each reads the entries' files.
    for (const QStringList &arguments : {QStringList{}, QStringList{QStringLiteral("--icons")}}) {
        const QJsonObject report = printCatalogue(arguments);
        const QJsonObject names = report.value(QStringLiteral("apps")).toObject();
        EXPECT_EQ(names.value(apps + QStringLiteral("/real.desktop"))
                      .toObject()
                      .value(QStringLiteral("name"))
                      .toString(),
                  QStringLiteral("Real"));
        // The favourite stays the user's, even though it cannot be read now.
        EXPECT_TRUE(readFile(catalogue + QStringLiteral("UserApplications1D.plist"))
                        .contains(QFile::encodeName(fifo)));
    }
}

TEST_F(CatalogueReading, PropertyListsNestedTooDeeplyAreKeptAsideOrIgnoredNeverCrash)
{
    const QByteArray bomb = "<plist>" + QByteArray("<array>").repeated(100000) +
                            QByteArray("</array>").repeated(100000) + "</plist>";
    const QString apps = path(QStringLiteral("data/applications"));
    ASSERT_TRUE(writeFile(apps + QStringLiteral("/real.desktop"), entry("Real")));
    // A bundle's Info.plist, the administrator's exclusions and the user's favourites.
    ASSERT_TRUE(writeFile(apps + QStringLiteral("/Deep.app/Contents/Info.plist"), bomb));
    const QString machine = path(QStringLiteral("machine/Kelp/ExcludedApplications.plist"));
    ASSERT_TRUE(writeFile(machine, bomb));
    const QString favourites = path(QStringLiteral("data/Kelp/UserApplications.plist"));
    ASSERT_TRUE(writeFile(favourites, bomb));
    const QJsonObject report =
        printCatalogue({QStringLiteral("--rescan"), QStringLiteral("--icons")});
    EXPECT_TRUE(report.value(QStringLiteral("apps"))
                    .toObject()
                    .contains(apps + QStringLiteral("/Deep.app")));
    // The user's file is kept aside as it was; the administrator's is left alone.
    const QStringList aside = QDir(path(QStringLiteral("data/Kelp")))
                                  .entryList({QStringLiteral("UserApplications.plist.corrupt-*")});
    ASSERT_EQ(aside.size(), 1);
    EXPECT_EQ(readFile(path(QStringLiteral("data/Kelp/")) + aside.first()), bomb);
    EXPECT_EQ(readFile(machine), bomb);
}

TEST_F(CatalogueReading, NamesCachedInAnotherLanguageAreReadAgain)
{
    const QString file = path(QStringLiteral("data/applications/lang.desktop"));
    ASSERT_TRUE(writeFile(file, entry("English", "Name[de]=Deutsch\nName[fr]=Francais\n")));
    auto nameIn = [&](const QJsonObject &report) {
        return report.value(QStringLiteral("apps"))
            .toObject()
            .value(file)
            .toObject()
            .value(QStringLiteral("name"))
            .toString();
    };
    EXPECT_EQ(nameIn(printCatalogue({QStringLiteral("--rescan")}, "fr")),
              QStringLiteral("Francais"));
    // A start from the cached catalogue, in another language.
    EXPECT_EQ(nameIn(printCatalogue({}, "de")), QStringLiteral("Deutsch"));
    EXPECT_EQ(nameIn(printCatalogue({})), QStringLiteral("English"));
}

TEST_F(CatalogueReading, ANameCacheClaimingMoreThanItHoldsIsIgnored)
{
    qputenv("XDG_CACHE_HOME", path(QStringLiteral("cache")).toUtf8());
    const QString cacheFile = NameCache::filePath();
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out.setVersion(QDataStream::Qt_6_4);
        out << quint32(0x4b4e4332) << NameCache::languageKey() << qint64(10'000'000)
            << QStringLiteral("/a.desktop") << QStringLiteral("A") << qint64(1);
    }
    ASSERT_TRUE(writeFile(cacheFile, bytes));
    NameCache claims;
    EXPECT_TRUE(claims.name(QStringLiteral("/a.desktop")).isEmpty());
    // Written again, it reads back.
    claims.remember(QStringLiteral("/a.desktop"), QStringLiteral("A"), 1);
    claims.save([](const QString &) { return true; });
    NameCache again;
    EXPECT_EQ(again.name(QStringLiteral("/a.desktop")), QStringLiteral("A"));
    qunsetenv("XDG_CACHE_HOME");
}

TEST_F(CatalogueReading, WalksVisitEachFolderOnceAndStayOutOfTheKernel)
{
    const QString root = path(QStringLiteral("apps"));
    ASSERT_TRUE(writeFile(root + QStringLiteral("/one.desktop"), entry("One")));
    ASSERT_TRUE(writeFile(root + QStringLiteral("/sub/two.desktop"), entry("Two")));
    // A link back to the scan folder, a loop between two folders, and the links of /proc that
    // lead back into the whole tree.
    ASSERT_TRUE(QFile::link(root, root + QStringLiteral("/sub/back")));
    ASSERT_TRUE(QFile::link(root + QStringLiteral("/sub"), root + QStringLiteral("/sub/again")));
    ASSERT_TRUE(
        QFile::link(QStringLiteral("/proc/thread-self/cwd"), root + QStringLiteral("/cwd")));
    ASSERT_TRUE(QFile::link(QStringLiteral("/proc"), root + QStringLiteral("/proc")));
    const GioAppsOnDisk apps(QStringList{});
    Watchdog watchdog("walks over links and /proc", std::chrono::seconds(60));
    {
        FolderWalker walker(apps, {root}, 99);
        const WalkResult result = walker.walk();
        ASSERT_EQ(result.perFolder.size(), 1);
        QStringList found;
        for (const FoundApp &app : result.perFolder.first())
            found.append(QFileInfo(app.path).fileName());
        EXPECT_EQ(found,
                  (QStringList{QStringLiteral("one.desktop"), QStringLiteral("two.desktop")}));
        EXPECT_FALSE(result.listedFolders.join(u' ').contains(QStringLiteral("/proc")));
    }
    // /proc itself as a scan folder, to the deepest limit: nothing, at once.
    FolderWalker proc(apps, {QStringLiteral("/proc"), QStringLiteral("/sys")}, 99);
    EXPECT_TRUE(proc.walk().perFolder.isEmpty());
    EXPECT_TRUE(FolderWalker::foldersToWatch({QStringLiteral("/proc")}, 99).isEmpty());
}

TEST_F(CatalogueReading, AScanFolderWithANulByteIsRefused)
{
    const QString root = path(QStringLiteral("apps"));
    for (int i = 0; i < 30; ++i)
        ASSERT_TRUE(QDir().mkpath(root + QStringLiteral("/d%1").arg(i)));
    ASSERT_TRUE(writeFile(root + QStringLiteral("/one.desktop"), entry("One")));
    const GioAppsOnDisk apps(QStringList{});
    Watchdog watchdog("a walk of a path with a NUL byte", std::chrono::seconds(60));
    const QString withNul = root + QChar(u'\0') + QStringLiteral("/d0");
    FolderWalker walker(apps, {withNul, root}, 99);
    const WalkResult result = walker.walk();
    // Only the usable folder was walked, once.
    ASSERT_EQ(result.perFolder.size(), 1);
    EXPECT_EQ(result.perFolder.first().size(), 1);
    EXPECT_EQ(result.listedFolders.count(root), 1);
    EXPECT_TRUE(FolderWalker::foldersToWatch({withNul}, 99).isEmpty());
}

} // namespace
} // namespace kelp::test
