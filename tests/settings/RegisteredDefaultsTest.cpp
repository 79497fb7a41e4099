// Kelp's registered defaults and the move of the old folder list.
#include "control/RegisteredDefaults.h"
#include "extras/Defaults.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <utility>

using kelp::Defaults;

namespace {

// Points the home and data folders at a temporary tree for the length of a test.
class DesktopFolders
{
public:
    DesktopFolders()
    {
        for (const char *name : {"HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS", "XDG_CONFIG_HOME"})
            saved.append({name, qgetenv(name)});
        home = root.path() + QStringLiteral("/home/user");
        QDir().mkpath(home);
        qputenv("HOME", home.toUtf8());
        qputenv("XDG_DATA_HOME", (home + QStringLiteral("/.local/share")).toUtf8());
        qputenv("XDG_CONFIG_HOME", (home + QStringLiteral("/.config")).toUtf8());
        // A duplicate (once with a trailing slash) that must appear only once.
        qputenv("XDG_DATA_DIRS", "/opt/kelp-test/share:/usr/share:/opt/kelp-test/share/");
    }
    ~DesktopFolders()
    {
        for (const auto &[name, value] : saved) {
            if (value.isNull())
                qunsetenv(name);
            else
                qputenv(name, value);
        }
    }

    QTemporaryDir root;
    QString home;

private:
    QList<std::pair<const char *, QByteArray>> saved;
};

QVariant color(double r, double g, double b, double a)
{
    return QVariantList{r, g, b, a};
}

// Every registered setting with its type and value, written out from the settings tables.
const QList<std::pair<QString, QVariant>> &expectedDefaults()
{
    static const QList<std::pair<QString, QVariant>> table{
        // Application controller
        {QStringLiteral("hotKeyCode"), qint64(48)},
        {QStringLiteral("hotKeyModifiers"), qint64(4096)},
        {QStringLiteral("startAtLogin"), false},
        {QStringLiteral("showAppInStatusBar"), true},
        {QStringLiteral("statusBarTogglesWindow"), true},
        {QStringLiteral("showIconInDock"), true},
        {QStringLiteral("showOnBecomeActive"), false},
        {QStringLiteral("hideOnResignActive"), false},
        {QStringLiteral("nonActivatingPanel"), false},
        {QStringLiteral("tabletMode"), false},
        {QStringLiteral("tabletHandedness"), qint64(1)},
        {QStringLiteral("showNoMouseAccessWarning"), true},
        {QStringLiteral("showNoUIAccessWarning"), true},
        {QStringLiteral("cursorHotSpotLocation"), qint64(0)},
        {QStringLiteral("highlightHotSpots"), false},
        {QStringLiteral("cursorHotSpotDelay"), 0.35},
        {QStringLiteral("ignoreCursorHotSpotDelayOnHide"), true},
        {QStringLiteral("groupToShowWhenWindowOpens"), qint64(1)},
        {QStringLiteral("groupShownWhenWindowClosed"), qint64(-1)},
        {QStringLiteral("showWindowAtLaunch"), true},
        {QStringLiteral("appRemoverBundleIdentifier"), QString()},
        {QStringLiteral("appRemoverName"), QStringLiteral("AppCleaner")},
        // Catalogue
        {QStringLiteral("groupContentsSortOrder"), qint64(1)},
        {QStringLiteral("colorSortGrayThreshold"), 0.05},
        {QStringLiteral("colorSortWrapHue"), 0.0},
        {QStringLiteral("colorSortMinSaturation"), 0.14},
        {QStringLiteral("colorSortMinLuminosity"), 0.02},
        {QStringLiteral("colorSortGraysBySecondaryColor"), false},
        {QStringLiteral("excludeArray"), QVariantList()},
        {QStringLiteral("maxFolderRecursionDepth"), qint64(4)},
        {QStringLiteral("sortRunningByLaunchOrder"), true},
        {QStringLiteral("iconThemeName"), QString()},
        // Icon view
        {QStringLiteral("groupOrientation"), qint64(2)},
        {QStringLiteral("iconReadingOrder"), qint64(1)},
        {QStringLiteral("maximumIconSize"), qint64(64)},
        {QStringLiteral("iconPadding"), qint64(2)},
        {QStringLiteral("iconSpacing"), qint64(0)},
        {QStringLiteral("excludedIconAlpha"), 0.15},
        {QStringLiteral("drawFilledIconHighlight"), true},
        {QStringLiteral("drawStrokedIconHighlight"), false},
        {QStringLiteral("iconHighlightColor"), color(1, 0, 0, 1)},
        {QStringLiteral("reverseScrollWheel"), false},
        {QStringLiteral("minimizeEmptyCells"), false},
        // Panel
        {QStringLiteral("windowAlpha"), 0.85},
        {QStringLiteral("windowColor"), color(0, 0, 0, 1)},
        {QStringLiteral("windowBorderColor"), color(1, 1, 1, 1)},
        {QStringLiteral("drawWindowBorder"), false},
        {QStringLiteral("animateWindowResizing"), false},
        // Welcome assistant
        {QStringLiteral("showWelcomeWindow"), true},
        {QStringLiteral("lastShownWelcomeStep"), qint64(0)},
    };
    return table;
}

QVariantList pathRecords(const QStringList &paths)
{
    QVariantList records;
    for (const QString &p : paths)
        records.append(QVariantMap{{QStringLiteral("path"), p}});
    return records;
}

TEST(RegisteredDefaults, AFreshStoreReadsEveryDefault)
{
    DesktopFolders folders;
    QTemporaryDir dir;
    Defaults store(dir.path() + QStringLiteral("/Kelp.plist"));
    kelp::registerAllDefaults(store);

    for (const auto &[key, expected] : expectedDefaults()) {
        const QVariant actual = store.value(key);
        EXPECT_EQ(actual.typeId(), expected.typeId()) << qPrintable(key);
        EXPECT_EQ(actual, expected) << qPrintable(key);
        EXPECT_FALSE(store.hasStoredValue(key)) << qPrintable(key);
    }
    EXPECT_EQ(store.integer(QStringLiteral("groupToShowWhenWindowOpens")), 1);
    EXPECT_EQ(store.integer(QStringLiteral("groupShownWhenWindowClosed")), -1);
    EXPECT_EQ(store.color(QStringLiteral("iconHighlightColor")), QColor(Qt::red));
    EXPECT_EQ(store.color(QStringLiteral("windowColor")), QColor(Qt::black));
    EXPECT_EQ(store.color(QStringLiteral("windowBorderColor")), QColor(Qt::white));
    EXPECT_FALSE(store.value(QStringLiteral("applicationLaunchCount")).isValid())
        << "stored by the program, never registered";
    EXPECT_EQ(store.registeredDefaults().size(), expectedDefaults().size() + 1)
        << "the tables plus searchDirectories, nothing else";
}

TEST(RegisteredDefaults, SearchFoldersAreTheDesktopApplicationFoldersWithATilde)
{
    DesktopFolders folders;
    const QVariantList expected = pathRecords({
        QStringLiteral("~/.local/share/applications"),
        QStringLiteral("/opt/kelp-test/share/applications"),
        QStringLiteral("/usr/share/applications"),
    });
    EXPECT_EQ(kelp::arrayControllerDefaults().value(QStringLiteral("searchDirectories")),
              QVariant(expected));
}

TEST(RegisteredDefaults, TheOldFolderListIsMovedOnceAndRemoved)
{
    DesktopFolders folders;
    QTemporaryDir dir;
    const QString file = dir.path() + QStringLiteral("/Kelp.plist");
    const QVariantList migrated =
        pathRecords({QStringLiteral("/opt/apps"), QStringLiteral("~/Apps")});
    {
        Defaults store(file);
        store.setValue(QStringLiteral("scanDirectories"),
                       QStringList{QStringLiteral("/opt/apps"), QStringLiteral("~/Apps")});
        kelp::registerAllDefaults(store);
        EXPECT_EQ(store.value(QStringLiteral("searchDirectories")), QVariant(migrated));
        EXPECT_FALSE(store.hasStoredValue(QStringLiteral("scanDirectories")));

        // The folders edited afterwards are not overwritten by a second run.
        store.setValue(QStringLiteral("searchDirectories"), pathRecords({QStringLiteral("/x")}));
        EXPECT_FALSE(kelp::migrateScanDirectories(store));
        EXPECT_EQ(store.value(QStringLiteral("searchDirectories")),
                  QVariant(pathRecords({QStringLiteral("/x")})));
        ASSERT_TRUE(store.synchronize());
    }
    Defaults again(file);
    kelp::registerAllDefaults(again);
    EXPECT_FALSE(again.hasStoredValue(QStringLiteral("scanDirectories")));
    EXPECT_EQ(again.value(QStringLiteral("searchDirectories")),
              QVariant(pathRecords({QStringLiteral("/x")})));

    // An empty old list is no list to move.
    again.setValue(QStringLiteral("scanDirectories"), QVariantList());
    EXPECT_FALSE(kelp::migrateScanDirectories(again));
    EXPECT_EQ(again.value(QStringLiteral("searchDirectories")),
              QVariant(pathRecords({QStringLiteral("/x")})));
}

} // namespace
