// The settings table: registered defaults, typed reads, and the move of the old folder list.
#include "settings/RegisteredDefaults.h"
#include "settings/Defaults.h"

#include <QDir>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <utility>

using kelp::Defaults;
namespace Key = kelp::Key;

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

QVariantList pathRecords(const QStringList &paths)
{
    QVariantList records;
    for (const QString &p : paths)
        records.append(QVariantMap{{QStringLiteral("path"), p}});
    return records;
}

TEST(RegisteredDefaults, AFreshStoreReadsEveryDefaultOfItsOwnType)
{
    DesktopFolders folders;
    QTemporaryDir dir;
    Defaults store(dir.path() + QStringLiteral("/Kelp.plist"));
    kelp::registerAllDefaults(store);

    qsizetype registered = 0;
    for (const kelp::SettingInfo &info : kelp::allSettings()) {
        const QString key(info.name);
        EXPECT_FALSE(store.hasStoredValue(key)) << qPrintable(key);
        if (info.owner == kelp::SettingOwner::Program) {
            EXPECT_FALSE(store.value(key).isValid()) << qPrintable(key) << " is never registered";
            continue;
        }
        ++registered;
        const QVariant value = store.value(key);
        EXPECT_EQ(value, kelp::settingDefault(info.id)) << qPrintable(key);
        const QMetaType stored = info.type == QMetaType::fromType<QColor>()
                                     ? QMetaType::fromType<QVariantList>()
                                     : info.type;
        EXPECT_EQ(value.metaType(), stored) << qPrintable(key);
    }
    EXPECT_EQ(store.registeredDefaults().size(), registered) << "nothing outside the table";

    // The values a fresh store must give, whatever the table says.
    EXPECT_EQ(store.value(Key::GroupToShowWhenWindowOpens), 1);
    EXPECT_EQ(store.value(Key::GroupShownWhenWindowClosed), -1);
    EXPECT_EQ(store.value(Key::HotKeyModifiers), 4096);
    EXPECT_DOUBLE_EQ(store.value(Key::CursorHotSpotDelay), 0.35);
    EXPECT_EQ(store.value(Key::IconHighlightColour), QColor(Qt::red));
    EXPECT_EQ(store.value(Key::WindowColour), QColor(Qt::black));
    EXPECT_EQ(store.value(Key::WindowBorderColour), QColor(Qt::white));
    EXPECT_EQ(store.value(Key::ApplicationLaunchCount), 0);
    EXPECT_FALSE(store.value(Key::LastCrashCheckTime).isValid());
}

TEST(RegisteredDefaults, SearchFoldersAreTheDesktopApplicationFoldersWithATilde)
{
    DesktopFolders folders;
    const QVariantList expected = pathRecords({
        QStringLiteral("~/.local/share/applications"),
        QStringLiteral("/opt/kelp-test/share/applications"),
        QStringLiteral("/usr/share/applications"),
    });
    EXPECT_EQ(kelp::settingDefault(kelp::SettingId::SearchDirectories), QVariant(expected));
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
        store.setValue(Key::ScanDirectories,
                       QVariantList{QStringLiteral("/opt/apps"), QStringLiteral("~/Apps")});
        kelp::registerAllDefaults(store);
        EXPECT_EQ(store.value(Key::SearchDirectories), migrated);
        EXPECT_FALSE(store.hasStoredValue(QStringLiteral("scanDirectories")));

        // The folders edited afterwards are not overwritten by a second run.
        store.setValue(Key::SearchDirectories, pathRecords({QStringLiteral("/x")}));
        EXPECT_FALSE(kelp::migrateScanDirectories(store));
        EXPECT_EQ(store.value(Key::SearchDirectories), pathRecords({QStringLiteral("/x")}));
        ASSERT_TRUE(store.synchronize());
    }
    Defaults again(file);
    kelp::registerAllDefaults(again);
    EXPECT_FALSE(again.hasStoredValue(QStringLiteral("scanDirectories")));
    EXPECT_EQ(again.value(Key::SearchDirectories), pathRecords({QStringLiteral("/x")}));

    // An empty old list is no list to move.
    again.setValue(Key::ScanDirectories, QVariantList());
    EXPECT_FALSE(kelp::migrateScanDirectories(again));
    EXPECT_EQ(again.value(Key::SearchDirectories), pathRecords({QStringLiteral("/x")}));
}

TEST(TypedSettings, AValueOfTheWrongTypeReadsAsTheDefaultAndIsKept)
{
    DesktopFolders folders;
    QTemporaryDir dir;
    Defaults store(dir.path() + QStringLiteral("/Kelp.plist"));
    kelp::registerAllDefaults(store);

    store.setValue(QStringLiteral("maximumIconSize"), QStringLiteral("large"));
    store.setValue(QStringLiteral("windowColor"), QStringLiteral("red"));
    store.setValue(QStringLiteral("drawWindowBorder"), QVariantList{1});
    store.setValue(QStringLiteral("appRemoverName"), QVariantMap{{QStringLiteral("a"), 1}});
    EXPECT_EQ(store.value(Key::MaximumIconSize), 64);
    EXPECT_EQ(store.value(Key::WindowColour), QColor(Qt::black));
    EXPECT_FALSE(store.value(Key::DrawWindowBorder));
    EXPECT_EQ(store.value(Key::AppRemoverName), QStringLiteral("AppCleaner"));
    // What the user wrote stays in the file until Kelp itself stores something else.
    EXPECT_EQ(store.value(QStringLiteral("maximumIconSize")), QStringLiteral("large"));

    // Numbers, switches and text convert into each other as before.
    store.setValue(QStringLiteral("maximumIconSize"), QStringLiteral("48 px"));
    store.setValue(QStringLiteral("drawWindowBorder"), QStringLiteral("YES"));
    store.setValue(QStringLiteral("windowAlpha"), true);
    EXPECT_EQ(store.value(Key::MaximumIconSize), 48);
    EXPECT_TRUE(store.value(Key::DrawWindowBorder));
    EXPECT_DOUBLE_EQ(store.value(Key::WindowAlpha), 1.0);
}

TEST(TypedSettings, NamesAreUniqueAndFoundByName)
{
    QSet<QString> seen;
    for (const kelp::SettingInfo &info : kelp::allSettings()) {
        EXPECT_FALSE(seen.contains(QString(info.name))) << qPrintable(QString(info.name));
        seen.insert(QString(info.name));
        ASSERT_NE(kelp::settingNamed(QString(info.name)), nullptr);
        EXPECT_EQ(kelp::settingNamed(QString(info.name))->id, info.id);
    }
    EXPECT_EQ(kelp::settingNamed(u"noSuchSetting"), nullptr);
}

} // namespace
