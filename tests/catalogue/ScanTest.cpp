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
        put("apps/a.desktop", entry("Alpha"));
        put("apps/sub/b.desktop", entry("Beta"));
        put("apps/sub/deeper/c.desktop", entry("Gamma"));
        put("apps/sub/deeper/deepest/d.desktop", entry("Delta"));
        put("apps/sub/deeper/deepest/too-deep/e.desktop", entry("Epsilon"));
        put("apps/Foo.framework/f.desktop", entry("Framework"));
        put("apps/.hidden.desktop", entry("Hidden"));
        put("apps/bad-utf8.desktop", entry("Bad\xff\xfe"));
        put("apps/nested/n.desktop", entry("Nested"));
        put("elsewhere/x.desktop", entry("Linked"));
        put("user/applications/bar.desktop", entry("Bar (mine)"));
        put("system/applications/foo.desktop", entry("Foo"));
        put("system/applications/bar.desktop", entry("Bar"));
        put("system/applications/baz.desktop", entry("Baz"));
        put("system/applications/kde/baz.desktop", entry("KDE Baz"));
        put("apps/Tool.app/Contents/Info.plist", "<plist><dict/></plist>");
        put("apps/Tool.app/Contents/Inner.app/Contents/Info.plist", "<plist><dict/></plist>");
        put("apps/nodisplay.desktop", entry("NoDisplay", "NoDisplay=true\n"));
        put("apps/elsewhere-only.desktop", entry("Elsewhere", "OnlyShowIn=NoSuchDesktop;\n"));
        put("apps/classic.desktop", entry("Classic", "TryExec=/nonexistent/program\n"));
        put("apps/link.desktop",
            "[Desktop Entry]\nType=Link\nName=Site\nURL=https://example.org\n");
        put("apps/garbage.desktop", QByteArray::fromHex("0102") + " not a key file [[[");
        put("apps/no-exec.desktop", "[Desktop Entry]\nType=Application\nName=NoExec\n");
        put("apps/readme.txt", "not an application");
        put("user/applications/foo.desktop", entry("Foo", "Hidden=true\n"));
        for (const auto &[target, rel] : {std::pair{"../elsewhere", "apps/link-to-folder"},
                                          {"a.desktop", "apps/alias.desktop"},
                                          {".", "apps/sub/loop"},
                                          {"..", "apps/sub/up"},
                                          {"/nonexistent/target", "apps/dangling"}})
            ASSERT_EQ(symlink(target, qPrintable(at(QLatin1String(rel)))), 0) << rel;
    }

    void put(const char *rel, const QByteArray &content)
    {
        ASSERT_TRUE(test::writeFile(at(QLatin1String(rel)), content)) << rel;
    }

    void setScanFolders(const QStringList &relative)
    {
        QVariantList records;
        for (const QString &rel : relative)
            records.append(QVariantMap{{QStringLiteral("path"), at(rel)}});
        defaults->setValue(Key::SearchDirectories, records);
    }

    QString at(const QString &rel) const { return root + QLatin1Char('/') + rel; }

    static QStringList namesOf(const AppList &apps)
    {
        QStringList out;
        for (const TQAppPtr &a : apps)
            out.append(a->name());
        return out;
    }
    QStringList sortedNames() const
    {
        QStringList names = namesOf(catalogue->allApps1D());
        names.sort();
        return names;
    }

    QString root;
};

TEST_F(Scan, ClassifiesAndWalksToTheDepthLimit)
{
    setScanFolders({"apps"});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{QStringLiteral("GNOME")}));
    QSignalSpy progress(catalogue.get(), &TQAppManager::progressStep);
    catalogue->scanSearchFoldersForAllApps();
    // Progress: one step per scan folder, then the end. The walk is cached for the next start.
    ASSERT_EQ(progress.size(), 2);
    EXPECT_EQ(progress.at(0), (QVariantList{1, 1, at("apps")}));
    EXPECT_EQ(progress.at(1).at(0).toInt(), 0);
    EXPECT_FALSE(catalogue->isBusyScanning());
    EXPECT_TRUE(QFile::exists(userFile(CatalogueFiles::kAllApplicationsFile)));

    // Bundles count, their insides and frameworks do not; links to folders are followed, other
    // links are not; invisible, classic, broken and non-application entries are left out. An
    // entry whose Name is not UTF-8 is listed under its file name, as the desktop lists it.
    const struct
    {
        const char *why;
        qint64 depth;
        QStringList names;
    } rows[] = {
        {"the default, 4: the scan folder and three levels below",
         4,
         {"Alpha", "Beta", "Delta", "Gamma", "Linked", "Nested", "Tool", "bad-utf8"}},
        {"two levels", 2, {"Alpha", "Beta", "Linked", "Nested", "Tool", "bad-utf8"}},
        {"0 means the scan folder alone", 0, {"Alpha", "Tool", "bad-utf8"}},
        {"below 0 too", -3, {"Alpha", "Tool", "bad-utf8"}},
    };
    for (const auto &row : rows) {
        defaults->setValue(Key::MaxFolderRecursionDepth, row.depth);
        catalogue->scanSearchFoldersForAllApps();
        EXPECT_EQ(sortedNames(), row.names) << row.why;
    }
    EXPECT_EQ(FolderWalker::clampDepth(250), 99);
}

TEST_F(Scan, NestedScanFoldersAreWalkedOnceEach)
{
    defaults->setValue(Key::MaxFolderRecursionDepth, 2);
    setScanFolders({"apps", "apps/nested", "empty-or-missing", "apps/nested/"});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    QSignalSpy progress(catalogue.get(), &TQAppManager::progressStep);
    catalogue->scanSearchFoldersForAllApps();

    ASSERT_EQ(catalogue->allApps().size(), 2)
        << "a folder that yields nothing leaves no inner array";
    EXPECT_FALSE(namesOf(catalogue->allApps().at(0)).contains(QStringLiteral("Nested")));
    EXPECT_EQ(namesOf(catalogue->allApps().at(1)), QStringList{"Nested"});
    EXPECT_EQ(progress.size(), 4) << "three distinct folders, then the end";
    EXPECT_EQ(catalogue->spotlightScanPaths(), (QStringList{at("apps"), at("empty-or-missing")}));
}

TEST_F(Scan, EarlierDesktopEntriesShadowLaterOnes)
{
    setScanFolders({"user/applications", "system/applications"});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    catalogue->scanSearchFoldersForAllApps();
    EXPECT_EQ(paths(catalogue->allApps()),
              (QList<QStringList>{{at("user/applications/bar.desktop")},
                                  {at("system/applications/baz.desktop"),
                                   at("system/applications/kde/baz.desktop")}}))
        << "the user's hidden foo hides the system's foo; kde/baz.desktop has its own ID, "
           "kde-baz.desktop";
    EXPECT_EQ(app(at("user/applications/bar.desktop"))->name(), QStringLiteral("Bar (mine)"));
    EXPECT_EQ(desktopIdForPath(QStringLiteral("/usr/share/applications/kde/org.kde.foo.desktop")),
              QStringLiteral("kde-org.kde.foo.desktop"));
}

TEST_F(Scan, StartFromTheCachedFileAndRescan)
{
    setScanFolders({"apps"});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    catalogue->rescanAllAppsPrioritizingGroup(Group::All);
    const QStringList first = sortedNames();
    ASSERT_FALSE(first.isEmpty());

    // A restart reads the cached list: a new entry is not seen until a walk...
    ASSERT_TRUE(test::writeFile(at("apps/new.desktop"), entry("Newcomer")));
    ASSERT_TRUE(test::writeFile(at("apps/a.desktop"), entry("Alpha Renamed")));
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    QSignalSpy finished(catalogue.get(), &TQAppManager::rescanFinished);
    catalogue->rescanAllAppsPrioritizingGroup(Group::All);
    EXPECT_EQ(finished.size(), 1);
    QStringList expected = first;
    expected.replace(expected.indexOf("Alpha"), "Alpha Renamed");
    // ...but names of changed entries are read again.
    EXPECT_EQ(sortedNames(), expected);

    catalogue->rescanAllAppsPrioritizingGroup(Group::All); // group 5 is full: walks
    EXPECT_TRUE(paths(catalogue->allApps1D()).contains(at("apps/new.desktop")));
}

TEST_F(Scan, BackgroundWalkReportsOnTheGuiThread)
{
    setScanFolders({"apps"});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    catalogue->setWalksInBackground(true);
    QSignalSpy finished(catalogue.get(), &TQAppManager::rescanFinished);
    QSignalSpy progress(catalogue.get(), &TQAppManager::progressStep);
    catalogue->rescanAllAppsPrioritizingGroup(Group::All, true);
    EXPECT_TRUE(catalogue->isWalking());
    ASSERT_TRUE(test::waitUntil([&] { return finished.size() == 1; }));
    EXPECT_EQ(catalogue->allApps1D().size(), 8);
    EXPECT_EQ(progress.size(), 2);
}

TEST_F(Scan, EditsOfTheScanFolderListCauseOneScan)
{
    setScanFolders({"apps"});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    QSignalSpy finished(catalogue.get(), &TQAppManager::rescanFinished);
    setScanFolders({"apps", "apps/nested"});
    setScanFolders({"user/applications"});
    EXPECT_EQ(finished.size(), 0) << "the scan waits until the edits are over";
    ASSERT_TRUE(test::waitUntil([&] { return finished.size() == 1; }));
    test::waitUntil([] { return false; }, 200);
    EXPECT_EQ(finished.size(), 1);
    EXPECT_EQ(paths(catalogue->allApps1D()), QStringList{at("user/applications/bar.desktop")});
}

TEST_F(Scan, LiveWatchAnswersABurstWithOneScan)
{
    setScanFolders({"apps"});
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    catalogue->rescanAllAppsPrioritizingGroup(Group::All, true);
    QSignalSpy watching(catalogue.get(), &TQAppManager::watchStarted);
    catalogue->startSpotlightQuery();
    ASSERT_TRUE(test::waitUntil([&] { return watching.size() == 1; }));
    EXPECT_TRUE(catalogue->watchedFolders().contains(at("apps/sub/deeper")));

    QSignalSpy finished(catalogue.get(), &TQAppManager::rescanFinished);
    ASSERT_TRUE(test::writeFile(at("apps/one.desktop"), entry("One")));
    ASSERT_TRUE(test::writeFile(at("apps/sub/two.desktop"), entry("Two")));
    ASSERT_TRUE(QFile::remove(at("apps/a.desktop")));
    ASSERT_TRUE(test::waitUntil([&] { return catalogue->isFullScanPending(); }, 3000));
    EXPECT_EQ(finished.size(), 0) << "the scan waits for the changes to settle";
    ASSERT_TRUE(test::waitUntil([&] { return finished.size() >= 1; }, 12000));
    test::waitUntil([] { return false; }, 1500); // room for a second scan, which must not come
    EXPECT_EQ(finished.size(), 1);
    const QStringList found = paths(catalogue->allApps1D());
    EXPECT_TRUE(found.contains(at("apps/sub/two.desktop")));
    EXPECT_FALSE(found.contains(at("apps/a.desktop")));
}
