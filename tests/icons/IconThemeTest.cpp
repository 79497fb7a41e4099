// The theme index and the icon source over themes written for the test, then over the themes
// Debian installs.
#include "IconFixtures.h"

#include "extras/Plist.h"
#include "platform/icons/DesktopIconTheme.h"
#include "platform/icons/FreedesktopIconSource.h"
#include "platform/icons/GtkIconCache.h"
#include "platform/icons/IconTheme.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QImageWriter>
#include <QtEndian>

#include <gtest/gtest.h>

#include <optional>

using namespace kelp;
using namespace kelp::test;

namespace {

const QColor kRed(220, 30, 30);
const QColor kGreen(30, 180, 60);
const QColor kBlue(30, 60, 220);
const QColor kGrey(128, 128, 128);

class IconThemeTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(tmp.isValid()); }

    QString base() const { return tmp.filePath(QStringLiteral("icons")); }
    QString userBase() const { return tmp.filePath(QStringLiteral("user-icons")); }
    QString pixmaps() const { return tmp.filePath(QStringLiteral("pixmaps")); }
    // A file below the main base folder: "theme/subdir/name".
    QString at(const QString &relative) const { return base() + u'/' + relative; }
    void icon(const QString &relative, const QColor &colour = kGrey)
    {
        ASSERT_TRUE(writeIcon(at(relative), colour));
    }
    std::shared_ptr<const IconThemeIndex> build(const QString &theme) const
    {
        return IconThemeIndex::build(theme, {userBase(), base()}, {pixmaps()});
    }
    // A hicolor theme with one fixed size and the generic application icon.
    void writeHicolor()
    {
        ASSERT_TRUE(writeTheme(base(), "hicolor", {}, {{"48x48/apps", 48, "Threshold"}}));
        icon("hicolor/48x48/apps/application-x-executable.png");
    }

    QTemporaryDir tmp;
};

TEST_F(IconThemeTest, PicksTheSizeMadeForTheRequestThenScalableThenNearest)
{
    ASSERT_TRUE(writeTheme(base(), "Kelp", {},
                           {{"32x32/apps", 32, "Fixed"},
                            {"64x64/apps", 64, "Fixed"},
                            {"48x48/apps", 48, "Threshold"},
                            {"scalable/apps", 64, "Scalable", 16, 256}}));
    for (const char *file :
         {"32x32/apps/both.png", "scalable/apps/both.svg", "32x32/apps/fixed.png",
          "64x64/apps/fixed.png", "48x48/apps/threshold.png", "64x64/apps/twice.svg",
          "64x64/apps/twice.png"})
        icon(QStringLiteral("Kelp/") + QLatin1String(file));
    const auto index = build("Kelp");

    struct Row
    {
        const char *name;
        const char *icon;
        int size;
        const char *expected; // below the theme's folder
    };
    const Row rows[] = {
        {"MadeForTheSize", "both", 32, "32x32/apps/both.png"},
        {"WithinTheThreshold", "threshold", 50, "48x48/apps/threshold.png"},
        {"ScalableWithinItsRange", "both", 128, "scalable/apps/both.svg"},
        {"ScalablePastItsRange", "both", 512, "scalable/apps/both.svg"},
        {"NearestFixedSize", "fixed", 40, "32x32/apps/fixed.png"},
        {"LargerFixedSizeOnATie", "fixed", 48, "64x64/apps/fixed.png"},
        {"LargestFixedSizeBelowTheRequest", "fixed", 128, "64x64/apps/fixed.png"},
        {"PngBeforeSvgInOneFolder", "twice", 64, "64x64/apps/twice.png"},
        {"Absent", "absent", 64, nullptr},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(index->lookup(QLatin1String(row.icon), row.size),
                  row.expected ? at(QStringLiteral("Kelp/") + QLatin1String(row.expected))
                               : QString());
    }
}

TEST_F(IconThemeTest, SearchesTheThemeThenItsParentsOnceEachThenHicolorThenPixmaps)
{
    writeHicolor();
    const QList<ThemeDir> dirs{{"32x32/apps", 32, "Fixed"}, {"64x64/apps", 64, "Fixed"}};
    // Kelp -> Parent -> (Kelp again: a loop) and Grand.
    ASSERT_TRUE(writeTheme(base(), "Kelp", {"Parent"}, dirs));
    ASSERT_TRUE(writeTheme(base(), "Parent", {"Kelp", "Grand"}, dirs));
    ASSERT_TRUE(writeTheme(base(), "Grand", {"Missing"}, dirs));
    for (const char *file : {"Kelp/32x32/apps/shared.png", "Parent/64x64/apps/shared.png",
                             "Grand/64x64/apps/deep.png", "hicolor/48x48/apps/deep.png",
                             "hicolor/48x48/apps/hi.png", "hicolor/48x48/apps/mine.png"})
        icon(QLatin1String(file));
    ASSERT_TRUE(writeIcon(userBase() + "/hicolor/48x48/apps/mine.png", kRed));
    ASSERT_TRUE(writeIcon(pixmaps() + "/loose.png", kGrey));
    ASSERT_TRUE(writeIcon(pixmaps() + "/hi.png", kGrey));

    const auto index = build("Kelp");
    EXPECT_EQ(index->searchOrder(), (QStringList{"Kelp", "Parent", "Grand", "hicolor"}));
    // The theme's nearest size beats the parent's exact size.
    EXPECT_EQ(index->lookup("shared", 64), at("Kelp/32x32/apps/shared.png"));
    EXPECT_EQ(index->lookup("deep", 48), at("Grand/64x64/apps/deep.png"));
    EXPECT_EQ(index->lookup("hi", 64), at("hicolor/48x48/apps/hi.png"));
    EXPECT_EQ(index->lookup("loose", 64), pixmaps() + "/loose.png");
    // Earlier base folders override later ones.
    EXPECT_EQ(index->lookup("mine", 48), userBase() + "/hicolor/48x48/apps/mine.png");

    // A theme that is not installed leaves hicolor.
    EXPECT_EQ(build("Nowhere")->searchOrder(), QStringList{"hicolor"});
}

// Sets environment variables for one test and puts them back after.
class ScopedEnvironment
{
public:
    void set(const char *name, const QByteArray &value)
    {
        if (!_saved.contains(name))
            _saved.insert(name, qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name))
                                                                : std::nullopt);
        qputenv(name, value);
    }
    ~ScopedEnvironment()
    {
        for (auto it = _saved.cbegin(); it != _saved.cend(); ++it) {
            if (it.value())
                qputenv(it.key().constData(), *it.value());
            else
                qunsetenv(it.key().constData());
        }
    }

private:
    QHash<QByteArray, std::optional<QByteArray>> _saved;
};

TEST_F(IconThemeTest, DesktopThemeIsTheFirstInstalledThemeTheDesktopNames)
{
    ScopedEnvironment env;
    const QString home = tmp.filePath(QStringLiteral("home"));
    const QString config = home + QStringLiteral("/.config");
    env.set("HOME", home.toUtf8());
    env.set("XDG_CONFIG_HOME", config.toUtf8());
    env.set("XDG_CURRENT_DESKTOP", "XFCE");
    env.set("KDE_FULL_SESSION", "");
    for (const char *theme : {"FromX", "Gtk4", "Gtk3", "Gtk2", "Breeze"})
        ASSERT_TRUE(writeTheme(base(), QLatin1String(theme), {}, {{"48x48/apps", 48, "Fixed"}}));
    const auto chosen = [&](const QString &xsettings = QString()) {
        return desktopIconTheme(DesktopThemeHints{xsettings, false}, {userBase(), base()}).name;
    };

    EXPECT_EQ(chosen(), QStringLiteral("hicolor"));
    // KDE's file counts only in a KDE session.
    ASSERT_TRUE(writeFile(config + QStringLiteral("/kdeglobals"),
                          "[General]\nTheme=Wrong\n[Icons]\nTheme=Breeze\n"));
    EXPECT_EQ(chosen(), QStringLiteral("hicolor"));
    env.set("XDG_CURRENT_DESKTOP", "KDE");
    EXPECT_EQ(chosen(), QStringLiteral("Breeze"));
    ASSERT_TRUE(writeFile(home + QStringLiteral("/.gtkrc-2.0"),
                          "# GTK 2\ngtk-icon-theme-name = \"Gtk2\"\n"));
    EXPECT_EQ(chosen(), QStringLiteral("Gtk2"));
    ASSERT_TRUE(writeFile(config + QStringLiteral("/gtk-3.0/settings.ini"),
                          "[Settings]\ngtk-icon-theme-name = Gtk3\n"));
    EXPECT_EQ(chosen(), QStringLiteral("Gtk3"));
    ASSERT_TRUE(writeFile(config + QStringLiteral("/gtk-4.0/settings.ini"),
                          "[Settings]\ngtk-icon-theme-name=Gtk4\n"));
    EXPECT_EQ(chosen(), QStringLiteral("Gtk4"));
    // The settings manager's live value beats every file.
    EXPECT_EQ(chosen(QStringLiteral("FromX")), QStringLiteral("FromX"));

    // A theme that is named but not installed passes the choice down the chain; so does a
    // settings "file" that is a folder, and a name that would leave the icon folders.
    EXPECT_EQ(chosen(QStringLiteral("NotInstalled")), QStringLiteral("Gtk4"));
    ASSERT_TRUE(writeFile(config + QStringLiteral("/gtk-4.0/settings.ini"),
                          "[Settings]\ngtk-icon-theme-name=../../etc\n"));
    EXPECT_EQ(chosen(), QStringLiteral("Gtk3"));
    ASSERT_TRUE(QFile::remove(config + QStringLiteral("/gtk-3.0/settings.ini")));
    ASSERT_TRUE(QDir().mkpath(config + QStringLiteral("/gtk-3.0/settings.ini")));
    EXPECT_EQ(chosen(), QStringLiteral("Gtk2"));
}

// --- The icon source ----------------------------------------------------------------------------

class IconSourceTest : public IconThemeTest
{
protected:
    void SetUp() override
    {
        IconThemeTest::SetUp();
        writeHicolor();
        ASSERT_TRUE(
            writeTheme(base(), "Kelp", {"hicolor"}, {{"scalable/apps", 64, "Scalable", 8, 512}}));
        icon("Kelp/scalable/apps/red.svg", kRed);
        source = std::make_unique<FreedesktopIconSource>(
            QStringLiteral("Kelp"), QStringList{userBase(), base()}, QStringList{pixmaps()},
            DesktopThemeHints{{}, false});
    }
    QString entry(const QString &name, const QString &icon)
    {
        const QString path = tmp.filePath(QStringLiteral("apps/") + name + ".desktop");
        EXPECT_TRUE(writeFile(path, desktopEntry(name, icon)));
        return path;
    }
    QColor colourOf(const QString &path, int size = 32)
    {
        const QImage image = source->iconForFile(path, size);
        if (image.isNull()) return {};
        EXPECT_EQ(image.size(), QSize(size, size));
        EXPECT_EQ(image.format(), QImage::Format_RGBA8888_Premultiplied);
        return centreColour(image);
    }

    std::unique_ptr<FreedesktopIconSource> source;
};

TEST_F(IconSourceTest, DesktopEntriesBundlesAndProgramsGetTheirIconOrTheGenericOne)
{
    const QString absolute = tmp.filePath(QStringLiteral("art/green.png"));
    ASSERT_TRUE(writeIcon(absolute, kGreen, 256));
    EXPECT_TRUE(sameColour(colourOf(entry("Named", "red")), kRed));
    EXPECT_TRUE(sameColour(colourOf(entry("FileName", "red.svg")), kRed));
    EXPECT_TRUE(sameColour(colourOf(entry("Absolute", absolute)), kGreen));
    EXPECT_TRUE(sameColour(colourOf(entry("Unknown", "no-such-icon")), kGrey));
    EXPECT_TRUE(sameColour(colourOf(entry("NoKey", QString())), kGrey));
    EXPECT_TRUE(sameColour(colourOf(entry("MissingFile", tmp.filePath("art/gone.png"))), kGrey));

    // An ".app" bundle: CFBundleIconFile without an extension means ".icns".
    const QString bundle = tmp.filePath(QStringLiteral("Kelp Test.app"));
    ASSERT_TRUE(QDir().mkpath(bundle + QStringLiteral("/Contents/Resources")));
    ASSERT_TRUE(plist::writeXmlFile(bundle + QStringLiteral("/Contents/Info.plist"),
                                    QVariantMap{{"CFBundleIconFile", "AppIcon"}}));
    QImage icns(128, 128, QImage::Format_ARGB32);
    icns.fill(kBlue);
    QImageWriter writer(bundle + QStringLiteral("/Contents/Resources/AppIcon.icns"), "icns");
    ASSERT_TRUE(writer.write(icns)) << writer.errorString().toStdString();
    EXPECT_TRUE(sameColour(colourOf(bundle, 64), kBlue));
    ASSERT_TRUE(plist::writeXmlFile(bundle + QStringLiteral("/Contents/Info.plist"),
                                    QVariantMap{{"CFBundleIconFile", "../../../escape"}}));
    EXPECT_TRUE(sameColour(colourOf(bundle, 64), kGrey));

    // A program, and a file that is gone.
    const QString program = tmp.filePath(QStringLiteral("bin/tool"));
    ASSERT_TRUE(writeFile(program, "#!/bin/sh\n"));
    EXPECT_TRUE(sameColour(colourOf(program), kGrey));
    EXPECT_TRUE(
        source->iconForFile(tmp.filePath(QStringLiteral("apps/Gone.desktop")), 32).isNull());
}

TEST_F(IconSourceTest, WithoutAGenericIconThereIsNoIcon)
{
    QFile::remove(at("hicolor/48x48/apps/application-x-executable.png"));
    FreedesktopIconSource bare(QStringLiteral("Kelp"), {base()}, {pixmaps()},
                               DesktopThemeHints{{}, false});
    EXPECT_TRUE(bare.iconForFile(entry("Unknown", "no-such-icon"), 32).isNull());
    EXPECT_FALSE(bare.iconForFile(entry("Named", "red"), 32).isNull());
}

TEST_F(IconSourceTest, CorruptAndHugeFilesAreRefusedAndTheGenericIconShown)
{
    const QString garbage = tmp.filePath(QStringLiteral("art/garbage.png"));
    ASSERT_TRUE(writeFile(garbage, QByteArray(5000, '\x5a')));
    const QString truncated = tmp.filePath(QStringLiteral("art/truncated.png"));
    ASSERT_TRUE(writeFile(truncated, pngBytes(kRed, 64).left(40)));
    const QString badSvg = tmp.filePath(QStringLiteral("art/bad.svg"));
    ASSERT_TRUE(writeFile(badSvg, "<svg><rect"));
    // A PNG that declares a side far beyond any icon (small on disk, huge once decoded).
    const QString wide = tmp.filePath(QStringLiteral("art/wide.png"));
    QImage strip(FreedesktopIconSource::kLargestIconSide + 1, 1, QImage::Format_ARGB32);
    strip.fill(kRed);
    ASSERT_TRUE(strip.save(wide));
    // A file too large to read at all.
    const QString big = tmp.filePath(QStringLiteral("art/big.png"));
    {
        QFile f(big);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(pngBytes(kRed, 16));
        ASSERT_TRUE(f.resize(FreedesktopIconSource::kLargestIconFileBytes + 1));
    }
    for (const QString &file : {garbage, truncated, badSvg, wide, big}) {
        SCOPED_TRACE(file.toStdString());
        EXPECT_TRUE(FreedesktopIconSource::renderIcon(file, 32).isNull());
        EXPECT_TRUE(sameColour(colourOf(entry(QFileInfo(file).baseName(), file)), kGrey));
    }
    // A broken theme file leaves that theme out, not the others.
    ASSERT_TRUE(writeFile(base() + QStringLiteral("/Kelp/index.theme"), QByteArray(300, '\0')));
    EXPECT_EQ(build(QStringLiteral("Kelp"))->searchOrder(), QStringList{"hicolor"});
}

TEST_F(IconSourceTest, DisplayIconsCarryTheDevicePixelRatio)
{
    const QImage display = source->displayIconForFile(entry("Named", "red"), 64, 2.0);
    EXPECT_EQ(display.size(), QSize(128, 128));
    EXPECT_EQ(display.devicePixelRatio(), 2.0);
    EXPECT_EQ(source->displayIconForFile(entry("Named", "red"), 64, 1.0).size(), QSize(64, 64));
}

// --- Debian's themes --------------------------------------------------------------------------

class InstalledThemeTest : public ::testing::Test
{
protected:
    static bool installed(const QString &theme)
    {
        return QFile::exists(QStringLiteral("/usr/share/icons/") + theme +
                             QStringLiteral("/index.theme"));
    }
    static QStringList systemBases() { return {QStringLiteral("/usr/share/icons")}; }
};

TEST_F(InstalledThemeTest, AdwaitaAndPapirusResolveRealDesktopEntries)
{
    if (!installed(QStringLiteral("Adwaita")) || !installed(QStringLiteral("Papirus")))
        GTEST_SKIP() << "adwaita-icon-theme and papirus-icon-theme are not installed";
    QTemporaryDir tmp;
    const QString terminal = tmp.filePath(QStringLiteral("Terminal.desktop"));
    ASSERT_TRUE(writeFile(terminal, desktopEntry("Terminal", "utilities-terminal")));

    FreedesktopIconSource adwaita(QStringLiteral("Adwaita"), systemBases(),
                                  IconThemeIndex::defaultPixmapDirs(),
                                  DesktopThemeHints{{}, false});
    const IconThemeIndex &a = adwaita.themeIndex();
    EXPECT_EQ(a.searchOrder(), (QStringList{"Adwaita", "hicolor"}));
    EXPECT_EQ(a.lookup(QStringLiteral("utilities-terminal"), 128),
              QStringLiteral("/usr/share/icons/Adwaita/48x48/legacy/utilities-terminal.png"));
    EXPECT_FALSE(adwaita.iconForFile(terminal, 128).isNull());
    // Not in Adwaita or hicolor: Debian's pixmaps folder.
    if (QFile::exists(QStringLiteral("/usr/share/pixmaps/openbox.png"))) {
        EXPECT_EQ(a.lookup(QStringLiteral("openbox"), 64),
                  QStringLiteral("/usr/share/pixmaps/openbox.png"));
    }

    FreedesktopIconSource papirus(QStringLiteral("Papirus"), systemBases(),
                                  IconThemeIndex::defaultPixmapDirs(),
                                  DesktopThemeHints{{}, false});
    const IconThemeIndex &p = papirus.themeIndex();
    EXPECT_EQ(p.searchOrder().first(), QStringLiteral("Papirus"));
    EXPECT_TRUE(p.searchOrder().contains(QStringLiteral("hicolor")));
    EXPECT_EQ(p.lookup(QStringLiteral("utilities-terminal"), 64),
              QStringLiteral("/usr/share/icons/Papirus/64x64/apps/utilities-terminal.svg"));
    EXPECT_GT(p.cachedFolderCount(), 0); // Debian keeps Papirus's icon-theme.cache current

    // Every desktop entry installed here finds its icon in Papirus (read from its caches) exactly
    // when a listing of Papirus and the themes it inherits has one (KDE's settings entries name
    // Breeze icons that only Breeze has), and gets an icon of the size asked for either way.
    const auto listed = IconThemeIndex::build(QStringLiteral("Papirus"), systemBases(),
                                              IconThemeIndex::defaultPixmapDirs(), false);
    const QDir applications(QStringLiteral("/usr/share/applications"));
    int found = 0;
    for (const QString &file : applications.entryList({QStringLiteral("*.desktop")})) {
        SCOPED_TRACE(file.toStdString());
        const QString path = applications.filePath(file);
        const QString key = FreedesktopIconSource::iconKeyOfDesktopEntry(path);
        if (key.isEmpty()) continue;
        if (!key.startsWith(QLatin1Char('/'))) {
            EXPECT_EQ(p.lookup(key, 64), listed->lookup(key, 64));
            if (!p.lookup(key, 64).isEmpty()) ++found;
        }
        const QImage image = papirus.iconForFile(path, 64);
        EXPECT_EQ(image.size(), QSize(64, 64));
    }
    EXPECT_GT(found, 0) << "no desktop entry here names an icon Papirus has";
}

TEST_F(InstalledThemeTest, ThemesReadFromGtkCachesFindWhatListingFinds)
{
    for (const char *name : {"Papirus", "Adwaita"}) {
        const QString theme = QLatin1String(name);
        if (!installed(theme)) continue;
        SCOPED_TRACE(name);
        const auto cached = IconThemeIndex::build(theme, systemBases(), {}, true);
        const auto listed = IconThemeIndex::build(theme, systemBases(), {}, false);
        ASSERT_GT(cached->cachedFolderCount(), 0);
        ASSERT_EQ(listed->cachedFolderCount(), 0);
        EXPECT_EQ(cached->searchOrder(), listed->searchOrder());
        // Every name of a few folders of the theme, and names it lacks, at several sizes.
        QStringList names{QStringLiteral("no-such-icon-anywhere"), QString()};
        for (const char *folder :
             {"48x48/apps", "scalable/apps", "16x16/actions", "64x64/places"}) {
            const QDir dir(
                QStringLiteral("/usr/share/icons/%1/%2").arg(theme, QLatin1String(folder)));
            for (const QString &file : dir.entryList(QDir::Files))
                names.append(QFileInfo(file).completeBaseName());
        }
        names.removeDuplicates();
        int differences = 0;
        for (const QString &icon : std::as_const(names)) {
            for (int size : {16, 24, 48, 64, 128}) {
                if (cached->lookup(icon, size) != listed->lookup(icon, size) && ++differences < 5)
                    ADD_FAILURE() << icon.toStdString() << " at " << size << ": "
                                  << cached->lookup(icon, size).toStdString() << " vs "
                                  << listed->lookup(icon, size).toStdString();
            }
        }
        EXPECT_EQ(differences, 0) << "of " << names.size() << " names";
    }
}

// A cache that is cut short or corrupt answers nothing and never reads out of bounds.
TEST(GtkIconCacheBytes, MalformedCachesAreRefusedOrAnswerNothing)
{
    QFile real(QStringLiteral("/usr/share/icons/Adwaita/icon-theme.cache"));
    if (!real.open(QIODevice::ReadOnly)) GTEST_SKIP() << "no Adwaita icon cache here";
    const QByteArray bytes = real.readAll();
    const auto whole = GtkIconCache::fromBytes(bytes);
    ASSERT_TRUE(whole);
    int found = 0;
    whole->forEachImage("utilities-terminal", [&](quint16, quint16) { ++found; });
    EXPECT_GT(found, 0);
    for (qsizetype cut : {qsizetype(0), qsizetype(5), qsizetype(12), bytes.size() / 3,
                          bytes.size() / 2, bytes.size() - 1}) {
        const auto partial = GtkIconCache::fromBytes(bytes.left(cut));
        if (partial) partial->forEachImage("utilities-terminal", [](quint16, quint16) {});
    }
    // Every offset pointing at itself or past the end.
    QByteArray looped = bytes;
    for (qsizetype i = 12; i + 4 <= looped.size(); i += 4)
        qToBigEndian<quint32>(static_cast<quint32>(i), looped.data() + i);
    if (const auto cache = GtkIconCache::fromBytes(looped))
        cache->forEachImage("utilities-terminal", [](quint16, quint16) {});
}

} // namespace
