// The walk over a real tree of desktop entries, read through the desktop layer.
#include "CatalogueFixture.h"

#include "catalogue/FolderWalker.h"
#include "platform/gio/GioAppsOnDisk.h"

#include <QFile>
#include <QSignalSpy>

#include <unistd.h>

using namespace kelp;
using kelp::test::CatalogueFixture;

namespace {

QByteArray entry(const QByteArray &name, const QByteArray &extra = QByteArray())
{
    return "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=true\n" + extra;
}

} // namespace

class Scan : public CatalogueFixture
{
protected:
    void SetUp() override
    {
        CatalogueFixture::SetUp();
        root = home.filePath(QStringLiteral("tree"));
        auto put = [this](const QString &rel, const QByteArray &content) {
            ASSERT_TRUE(test::writeFile(root + QLatin1Char('/') + rel, content)) << qPrintable(rel);
        };
        put(QStringLiteral("apps/a.desktop"), entry("Alpha"));
        put(QStringLiteral("apps/sub/b.desktop"), entry("Beta"));
        put(QStringLiteral("apps/sub/deeper/c.desktop"), entry("Gamma"));
        put(QStringLiteral("apps/sub/deeper/deepest/d.desktop"), entry("Delta"));
        put(QStringLiteral("apps/sub/deeper/deepest/too-deep/e.desktop"), entry("Epsilon"));
        put(QStringLiteral("apps/Foo.framework/f.desktop"), entry("Framework"));
        put(QStringLiteral("apps/Tool.app/Contents/Info.plist"), "<plist><dict/></plist>");
        put(QStringLiteral("apps/Tool.app/Contents/Inner.app/Contents/Info.plist"),
            "<plist><dict/></plist>");
        put(QStringLiteral("apps/.hidden.desktop"), entry("Hidden"));
        put(QStringLiteral("apps/nodisplay.desktop"), entry("NoDisplay", "NoDisplay=true\n"));
        put(QStringLiteral("apps/elsewhere-only.desktop"),
            entry("Elsewhere", "OnlyShowIn=NoSuchDesktop;\n"));
        put(QStringLiteral("apps/classic.desktop"),
            entry("Classic", "TryExec=/nonexistent/program\n"));
        put(QStringLiteral("apps/link.desktop"),
            "[Desktop Entry]\nType=Link\nName=Site\nURL=https://example.org\n");
        put(QStringLiteral("apps/garbage.desktop"),
            QByteArray::fromHex("0102") + " not a key file [[[");
        put(QStringLiteral("apps/no-exec.desktop"),
            "[Desktop Entry]\nType=Application\nName=NoExec\n");
        put(QStringLiteral("apps/bad-utf8.desktop"), entry("Bad\xff\xfe"));
        put(QStringLiteral("apps/readme.txt"), "not an application");
        put(QStringLiteral("apps/nested/n.desktop"), entry("Nested"));
        put(QStringLiteral("elsewhere/x.desktop"), entry("Linked"));
        put(QStringLiteral("user/applications/foo.desktop"), entry("Foo", "Hidden=true\n"));
        put(QStringLiteral("user/applications/bar.desktop"), entry("Bar (mine)"));
        put(QStringLiteral("system/applications/foo.desktop"), entry("Foo"));
        put(QStringLiteral("system/applications/bar.desktop"), entry("Bar"));
        put(QStringLiteral("system/applications/baz.desktop"), entry("Baz"));
        put(QStringLiteral("system/applications/kde/baz.desktop"), entry("KDE Baz"));
        ASSERT_EQ(
            symlink("../elsewhere", qPrintable(root + QStringLiteral("/apps/link-to-folder"))), 0);
        ASSERT_EQ(symlink("a.desktop", qPrintable(root + QStringLiteral("/apps/alias.desktop"))),
                  0);
        ASSERT_EQ(symlink(".", qPrintable(root + QStringLiteral("/apps/sub/loop"))), 0);
        ASSERT_EQ(symlink("..", qPrintable(root + QStringLiteral("/apps/sub/up"))), 0);
        ASSERT_EQ(
            symlink("/nonexistent/target", qPrintable(root + QStringLiteral("/apps/dangling"))), 0);
    }

    void setScanFolders(const QStringList &relative)
    {
        QVariantList records;
        for (const QString &rel : relative)
            records.append(QVariantMap{{QStringLiteral("path"), root + QLatin1Char('/') + rel}});
        defaults->setValue(QStringLiteral("searchDirectories"), records);
    }

    QString at(const QString &rel) const { return root + QLatin1Char('/') + rel; }

    QStringList namesOf(const AppList &apps) const
    {
        QStringList out;
        for (const TQAppPtr &a : apps)
            out.append(a->name());
        return out;
    }

    QString root;
};

TEST_F(Scan, ClassifiesAndWalksToTheDepthLimit)
{
    setScanFolders({QStringLiteral("apps")});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{QStringLiteral("GNOME")}));
    QSignalSpy progress(catalogue.get(), &TQAppManager::progressStep);
    catalogue->scanSearchFoldersForAllApps();

    // Depth 4 (the default): the scan folder and three levels below it. Bundles count, their
    // insides and frameworks do not; links to folders are followed, other links are not; invisible,
    // classic, broken and non-application entries are left out.
    QStringList names = namesOf(catalogue->allApps1D());
    names.sort();
    EXPECT_EQ(names,
              (QStringList{QStringLiteral("Alpha"), QStringLiteral("Beta"), QStringLiteral("Delta"),
                           QStringLiteral("Gamma"), QStringLiteral("Linked"),
                           QStringLiteral("Nested"), QStringLiteral("Tool")}));
    // Progress: one step per scan folder, then the end.
    ASSERT_EQ(progress.size(), 2);
    EXPECT_EQ(progress.at(0).at(0).toInt(), 1);
    EXPECT_EQ(progress.at(0).at(1).toInt(), 1);
    EXPECT_EQ(progress.at(0).at(2).toString(), at(QStringLiteral("apps")));
    EXPECT_EQ(progress.at(1).at(0).toInt(), 0);
    EXPECT_FALSE(catalogue->isBusyScanning());
    // The walk is cached for the next start.
    EXPECT_TRUE(QFile::exists(userFile(CatalogueFiles::kAllApplicationsFile)));

    defaults->setValue(QStringLiteral("maxFolderRecursionDepth"), 2);
    catalogue->scanSearchFoldersForAllApps();
    names = namesOf(catalogue->allApps1D());
    names.sort();
    EXPECT_EQ(names, (QStringList{QStringLiteral("Alpha"), QStringLiteral("Beta"),
                                  QStringLiteral("Linked"), QStringLiteral("Nested"),
                                  QStringLiteral("Tool")}));

    for (qint64 depth : {0, -3}) {
        defaults->setValue(QStringLiteral("maxFolderRecursionDepth"), depth);
        catalogue->scanSearchFoldersForAllApps();
        names = namesOf(catalogue->allApps1D());
        names.sort();
        EXPECT_EQ(names, (QStringList{QStringLiteral("Alpha"), QStringLiteral("Tool")})) << depth;
    }
    EXPECT_EQ(FolderWalker::clampDepth(250), 99);
}

TEST_F(Scan, NestedScanFoldersAreWalkedOnceEach)
{
    defaults->setValue(QStringLiteral("maxFolderRecursionDepth"), 2);
    setScanFolders({QStringLiteral("apps"), QStringLiteral("apps/nested"),
                    QStringLiteral("empty-or-missing"), QStringLiteral("apps/nested/")});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    QSignalSpy progress(catalogue.get(), &TQAppManager::progressStep);
    catalogue->scanSearchFoldersForAllApps();

    ASSERT_EQ(catalogue->allApps().size(), 2)
        << "a folder that yields nothing leaves no inner array";
    EXPECT_FALSE(namesOf(catalogue->allApps().at(0)).contains(QStringLiteral("Nested")));
    EXPECT_EQ(namesOf(catalogue->allApps().at(1)), QStringList{QStringLiteral("Nested")});
    EXPECT_EQ(progress.size(), 4) << "three distinct folders, then the end";
    EXPECT_EQ(catalogue->spotlightScanPaths(),
              (QStringList{at(QStringLiteral("apps")), at(QStringLiteral("empty-or-missing"))}));
}

TEST_F(Scan, EarlierDesktopEntriesShadowLaterOnes)
{
    setScanFolders({QStringLiteral("user/applications"), QStringLiteral("system/applications")});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    catalogue->scanSearchFoldersForAllApps();
    EXPECT_EQ(paths(catalogue->allApps()),
              (QList<QStringList>{{at(QStringLiteral("user/applications/bar.desktop"))},
                                  {at(QStringLiteral("system/applications/baz.desktop")),
                                   at(QStringLiteral("system/applications/kde/baz.desktop"))}}))
        << "the user's hidden foo hides the system's foo; kde/baz.desktop has its own ID, "
           "kde-baz.desktop";
    EXPECT_EQ(catalogue->appForPath(at(QStringLiteral("user/applications/bar.desktop")))->name(),
              QStringLiteral("Bar (mine)"));
    EXPECT_EQ(desktopIdForPath(QStringLiteral("/usr/share/applications/kde/org.kde.foo.desktop")),
              QStringLiteral("kde-org.kde.foo.desktop"));
}

TEST_F(Scan, StartFromTheCachedFileAndRescan)
{
    setScanFolders({QStringLiteral("apps")});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    catalogue->rescanAllAppsPrioritizingGroup(Group::All);
    const QStringList first = paths(catalogue->allApps1D());
    ASSERT_FALSE(first.isEmpty());

    // A restart reads the cached list: a new entry is not seen until a walk.
    ASSERT_TRUE(test::writeFile(at(QStringLiteral("apps/new.desktop")), entry("Newcomer")));
    ASSERT_TRUE(test::writeFile(at(QStringLiteral("apps/a.desktop")), entry("Alpha Renamed")));
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    QSignalSpy finished(catalogue.get(), &TQAppManager::rescanFinished);
    catalogue->rescanAllAppsPrioritizingGroup(Group::All);
    EXPECT_EQ(finished.size(), 1);
    QStringList cached = paths(catalogue->allApps1D());
    std::sort(cached.begin(), cached.end());
    QStringList sortedFirst = first;
    std::sort(sortedFirst.begin(), sortedFirst.end());
    EXPECT_EQ(cached, sortedFirst);
    // ...but names of changed entries are read again.
    EXPECT_EQ(catalogue->appForPath(at(QStringLiteral("apps/a.desktop")))->name(),
              QStringLiteral("Alpha Renamed"));

    catalogue->rescanAllAppsPrioritizingGroup(Group::All); // group 5 is full: walks
    EXPECT_TRUE(paths(catalogue->allApps1D()).contains(at(QStringLiteral("apps/new.desktop"))));
}

TEST_F(Scan, BackgroundWalkReportsOnTheGuiThread)
{
    setScanFolders({QStringLiteral("apps")});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    catalogue->setWalksInBackground(true);
    QSignalSpy finished(catalogue.get(), &TQAppManager::rescanFinished);
    QSignalSpy progress(catalogue.get(), &TQAppManager::progressStep);
    catalogue->rescanAllAppsPrioritizingGroup(Group::All, true);
    EXPECT_TRUE(catalogue->isWalking());
    ASSERT_TRUE(test::waitUntil([&] { return finished.size() == 1; }));
    EXPECT_EQ(catalogue->allApps1D().size(), 7);
    EXPECT_EQ(progress.size(), 2);
}

TEST_F(Scan, EditsOfTheScanFolderListCauseOneScan)
{
    setScanFolders({QStringLiteral("apps")});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    QSignalSpy finished(catalogue.get(), &TQAppManager::rescanFinished);
    setScanFolders({QStringLiteral("apps"), QStringLiteral("apps/nested")});
    setScanFolders({QStringLiteral("user/applications")});
    EXPECT_EQ(finished.size(), 0) << "the scan waits until the edits are over";
    ASSERT_TRUE(test::waitUntil([&] { return finished.size() == 1; }));
    test::waitUntil([] { return false; }, 200);
    EXPECT_EQ(finished.size(), 1);
    EXPECT_EQ(paths(catalogue->allApps1D()),
              QStringList{at(QStringLiteral("user/applications/bar.desktop"))});
}

TEST_F(Scan, LiveWatchAnswersABurstWithOneScan)
{
    setScanFolders({QStringLiteral("apps")});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    catalogue->rescanAllAppsPrioritizingGroup(Group::All, true);
    QSignalSpy watching(catalogue.get(), &TQAppManager::watchStarted);
    catalogue->startSpotlightQuery();
    ASSERT_TRUE(test::waitUntil([&] { return watching.size() == 1; }));
    EXPECT_TRUE(catalogue->watchedFolders().contains(at(QStringLiteral("apps/sub/deeper"))));

    QSignalSpy finished(catalogue.get(), &TQAppManager::rescanFinished);
    ASSERT_TRUE(test::writeFile(at(QStringLiteral("apps/one.desktop")), entry("One")));
    ASSERT_TRUE(test::writeFile(at(QStringLiteral("apps/sub/two.desktop")), entry("Two")));
    ASSERT_TRUE(QFile::remove(at(QStringLiteral("apps/a.desktop"))));
    ASSERT_TRUE(test::waitUntil([&] { return catalogue->isFullScanPending(); }, 3000));
    EXPECT_EQ(finished.size(), 0) << "the scan waits for the changes to settle";
    ASSERT_TRUE(test::waitUntil([&] { return finished.size() >= 1; }, 12000));
    test::waitUntil([] { return false; }, 1500); // room for a second scan, which must not come
    EXPECT_EQ(finished.size(), 1);
    const QStringList found = paths(catalogue->allApps1D());
    EXPECT_TRUE(found.contains(at(QStringLiteral("apps/sub/two.desktop"))));
    EXPECT_FALSE(found.contains(at(QStringLiteral("apps/a.desktop"))));
}
