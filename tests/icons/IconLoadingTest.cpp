// Icon loading in the catalogue: when an entry fetches its icon, at what size, and how the colour
// sort follows icons and settings. Real desktop entries, a real theme on disk, the real loader.
#include "IconFixtures.h"

#include "CatalogueFixture.h"

#include "catalogue/IconLoader.h"
#include "platform/icons/FreedesktopIconSource.h"

#include <QSignalSpy>

#include <algorithm>

#include <cstdio>

using namespace kelp;
using namespace kelp::test;

namespace {

struct Hue
{
    const char *name;
    QColor colour;
};
// In the order the colour sort puts them with the wrap hue at 0.
const Hue kHues[] = {
    {"Red", QColor(230, 30, 30)},     {"Orange", QColor(240, 140, 20)},
    {"Yellow", QColor(230, 220, 30)}, {"Green", QColor(40, 180, 60)},
    {"Cyan", QColor(30, 200, 210)},   {"Blue", QColor(40, 70, 220)},
    {"Purple", QColor(150, 40, 200)},
};

class IconLoading : public CatalogueFixture
{
protected:
    void SetUp() override
    {
        CatalogueFixture::SetUp();
        const QString themes = home.filePath(QStringLiteral("themes"));
        ASSERT_TRUE(writeTheme(
            themes, QStringLiteral("hicolor"), {},
            {{QStringLiteral("scalable/apps"), 64, QStringLiteral("Scalable"), 8, 512}}));
        for (const Hue &h : kHues)
            ASSERT_TRUE(writeIcon(themes + QStringLiteral("/hicolor/scalable/apps/kelp-") +
                                      QString::fromLatin1(h.name).toLower() + ".svg",
                                  h.colour));
        ASSERT_TRUE(writeIcon(
            themes + QStringLiteral("/hicolor/scalable/apps/application-x-executable.svg"),
            QColor(128, 128, 128)));
        IconLoader::shared().setIconSource(std::make_shared<FreedesktopIconSource>(
            QStringLiteral("hicolor"), QStringList{themes},
            QStringList{home.filePath(QStringLiteral("pixmaps"))}, DesktopThemeHints{{}, false}));
        IconLoader::shared().resetStatistics();
        makeCatalogue();
    }
    void TearDown() override
    {
        EXPECT_TRUE(waitUntil([] { return IconLoader::shared().pendingLoads() == 0; }));
        IconLoader::shared().setIconSource(nullptr);
    }

    QString entryFile(const QString &name) const
    {
        return home.filePath(QStringLiteral("apps/") + name + QStringLiteral(".desktop"));
    }
    TQAppPtr entry(const QString &name, const QString &icon)
    {
        EXPECT_TRUE(writeFile(entryFile(name), desktopEntry(name, icon)));
        return app(entryFile(name));
    }
    static quint64 fetches() { return IconLoader::shared().statistics().queued; }
    static bool loaded() { return IconLoader::shared().pendingLoads() == 0; }
    void load(const AppList &apps)
    {
        catalogue->loadIconsForApps(apps);
        ASSERT_TRUE(waitUntil(loaded));
    }
    QStringList namesInAllApps1D() const
    {
        QStringList names;
        for (const TQAppPtr &a : catalogue->allApps1D())
            names.append(a->name());
        return names;
    }
};

TEST_F(IconLoading, FetchesOnlyForANewFileANewSizeOrAMissingIcon)
{
    const TQAppPtr red = entry(QStringLiteral("Red"), QStringLiteral("kelp-red"));
    load({red});
    EXPECT_EQ(fetches(), 1u);
    EXPECT_TRUE(red->isPathValid());
    EXPECT_EQ(red->icon().size(), QSize(64, 64)); // the registered maximumIconSize
    EXPECT_TRUE(sameColour(centreColour(red->icon()), kHues[0].colour));
    EXPECT_LT(red->colorSortValue(), 1.0);

    // Same inode and size: nothing fetched, even after the file was touched.
    load({red});
    QFile touched(entryFile(QStringLiteral("Red")));
    ASSERT_TRUE(touched.open(QIODevice::ReadWrite));
    ASSERT_TRUE(touched.setFileTime(QDateTime::currentDateTime().addSecs(60),
                                    QFileDevice::FileModificationTime));
    touched.close();
    load({red});
    EXPECT_EQ(fetches(), 1u);

    // Replaced by a new copy (a new inode): fetched again, and the new icon shows.
    const QString copy = home.filePath(QStringLiteral("Red.desktop.new"));
    ASSERT_TRUE(writeFile(copy, desktopEntry(QStringLiteral("Red"), QStringLiteral("kelp-blue"))));
    ASSERT_EQ(std::rename(QFile::encodeName(copy).constData(),
                          QFile::encodeName(entryFile(QStringLiteral("Red"))).constData()),
              0);
    load({red});
    EXPECT_EQ(fetches(), 2u);
    EXPECT_TRUE(sameColour(centreColour(red->icon()), kHues[5].colour));

    // The size setting: 512 loads 128-pixel icons, 64 loads 64-pixel ones.
    defaults->setValue(Key::MaximumIconSize, 512);
    load({red});
    EXPECT_EQ(fetches(), 3u);
    EXPECT_EQ(red->icon().size(), QSize(128, 128));
    defaults->setValue(Key::MaximumIconSize, 64);
    load({red});
    EXPECT_EQ(fetches(), 4u);
    EXPECT_EQ(red->icon().size(), QSize(64, 64));

    // Two loads in a row: whichever finishes last, the newer one's icon stays.
    ColorSortParams params = catalogue->iconParametersFromDefaults();
    params.maximumIconSize = 128;
    red->setIconParameters(params);
    params.maximumIconSize = 32;
    red->setIconParameters(params);
    ASSERT_TRUE(waitUntil(loaded));
    EXPECT_EQ(red->icon().size(), QSize(32, 32));

    // Back to the dot: the next load fetches again.
    red->resetIconToDot();
    EXPECT_EQ(red->fileID(), 0);
    const quint64 before = fetches();
    load({red});
    EXPECT_EQ(fetches(), before + 1);
}

TEST_F(IconLoading, AFileThatIsGoneShowsNotFoundWithoutAFetch)
{
    const TQAppPtr red = entry(QStringLiteral("Red"), QStringLiteral("kelp-red"));
    load({red});
    ASSERT_LT(red->colorSortValue(), 1.0);
    ASSERT_TRUE(QFile::remove(entryFile(QStringLiteral("Red"))));
    load({red});
    EXPECT_EQ(fetches(), 1u);
    EXPECT_FALSE(red->isPathValid());
    EXPECT_EQ(red->icon().cacheKey(), TQApp::notFoundImage().cacheKey());
    EXPECT_EQ(red->colorSortValue(), 10.0);

    // An icon name the theme lacks gets the generic icon, not "notfound".
    const TQAppPtr odd = entry(QStringLiteral("Odd"), QStringLiteral("no-such-icon"));
    load({odd});
    EXPECT_TRUE(sameColour(centreColour(odd->icon()), QColor(128, 128, 128)));
}

TEST_F(IconLoading, ColourSortFollowsIconsOnceAndSettingsWithoutFetching)
{
    defaults->setValue(Key::GroupContentsSortOrder, 2); // by colour
    QStringList paths;
    // Written in reverse so that neither path nor name order is the colour order.
    for (int i = std::size(kHues) - 1; i >= 0; --i) {
        const QString name = QString::fromLatin1(kHues[i].name);
        paths.append(entry(name, QStringLiteral("kelp-") + name.toLower())->path());
    }
    setAll({paths});
    const QStringList byHue{"Red", "Orange", "Yellow", "Green", "Cyan", "Blue", "Purple"};

    // Seven icons arriving close together: one re-sort, a second after the last.
    QSignalSpy changes(catalogue.get(), &TQAppManager::groupChanged);
    const auto resorts = [&changes] {
        return std::count_if(changes.cbegin(), changes.cend(), [](const QList<QVariant> &args) {
            return args.at(0).value<Group>() == Group::All1D;
        });
    };
    catalogue->loadAllIconsPrioritizingGroup(Group::All);
    ASSERT_TRUE(waitUntil(loaded));
    EXPECT_EQ(fetches(), std::size(kHues));
    EXPECT_TRUE(catalogue->isColourSortPending());
    ASSERT_TRUE(waitUntil([this] { return !catalogue->isColourSortPending(); }));
    EXPECT_EQ(resorts(), 1);
    EXPECT_EQ(namesInAllApps1D(), byHue);

    // A new starting hue re-sorts from the colours in hand.
    defaults->setValue(Key::ColorSortWrapHue, 100.0);
    ASSERT_TRUE(waitUntil(loaded));
    ASSERT_TRUE(waitUntil([this] { return !catalogue->isColourSortPending(); }));
    EXPECT_EQ(fetches(), std::size(kHues));
    EXPECT_EQ(namesInAllApps1D(),
              (QStringList{"Green", "Cyan", "Blue", "Purple", "Red", "Orange", "Yellow"}));

    // A change the float parameters cannot hold changes nothing.
    changes.clear();
    defaults->setValue(Key::ColorSortWrapHue, 100.0000001);
    EXPECT_FALSE(catalogue->isColourSortPending());

    // Refreshing all icons fetches each once more.
    catalogue->clearIconsForAllApps();
    ASSERT_TRUE(waitUntil(loaded));
    EXPECT_EQ(fetches(), 2 * std::size(kHues));
    for (const TQAppPtr &a : catalogue->allApps1D())
        EXPECT_LT(a->colorSortValue(), 1.0) << a->name().toStdString();
}

} // namespace
