// `kelp --print-catalogue --icons`: the colour keys come from the icons found on disk.
#include "IconFixtures.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

#include <utility>

using namespace kelp::test;

TEST(PrintIcons, EveryEntryIsPrintedWithTheColourKeyOfItsIcon)
{
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    const QString icons = home.filePath(QStringLiteral("machine/icons"));
    ASSERT_TRUE(writeTheme(icons, QStringLiteral("hicolor"), {},
                           {{QStringLiteral("48x48/apps"), 48, QStringLiteral("Threshold")}}));
    ASSERT_TRUE(writeIcon(icons + QStringLiteral("/hicolor/48x48/apps/kelp-red.png"),
                          QColor(230, 30, 30), 48));
    ASSERT_TRUE(
        writeIcon(icons + QStringLiteral("/hicolor/48x48/apps/application-x-executable.png"),
                  QColor(250, 250, 250), 48));
    const QString red = home.filePath(QStringLiteral("machine/applications/red.desktop"));
    const QString plain = home.filePath(QStringLiteral("data/applications/plain.desktop"));
    ASSERT_TRUE(writeFile(red, desktopEntry(QStringLiteral("Red"), QStringLiteral("kelp-red"))));
    ASSERT_TRUE(writeFile(plain, desktopEntry(QStringLiteral("Plain"), QString())));

    QProcess p;
    const QProcessEnvironment env = privateHomeEnvironment(home.path());
    p.setProcessEnvironment(env);
    p.start(QStringLiteral(KELP_BINARY),
            {QStringLiteral("--print-catalogue"), QStringLiteral("--icons")});
    ASSERT_TRUE(p.waitForFinished(60000));
    ASSERT_EQ(p.exitCode(), 0) << p.readAllStandardError().constData();
    const QJsonObject apps = QJsonDocument::fromJson(p.readAllStandardOutput())
                                 .object()
                                 .value(QStringLiteral("apps"))
                                 .toObject();
    ASSERT_EQ(apps.size(), 2);
    const double redKey =
        apps.value(red).toObject().value(QStringLiteral("colorSortValue")).toDouble(-1);
    const double plainKey =
        apps.value(plain).toObject().value(QStringLiteral("colorSortValue")).toDouble(-1);
    EXPECT_GE(redKey, 0.0);
    EXPECT_LT(redKey, 0.1);           // red sorts first
    EXPECT_NEAR(plainKey, 1.0, 0.01); // the white generic icon: the lightest grey
}

TEST(PrintIcons, WithoutAThemeOfItsOwnKelpDrawsFromTheThemeTheDesktopNames)
{
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    const QString icons = home.filePath(QStringLiteral("machine/icons"));
    const QList<ThemeDir> dirs{{QStringLiteral("48x48/apps"), 48, QStringLiteral("Threshold")}};
    // The app's icon is red in one theme, green in another and blue in hicolor.
    const std::pair<QString, QColor> themes[] = {{QStringLiteral("KelpRed"), QColor(230, 30, 30)},
                                                 {QStringLiteral("KelpGreen"), QColor(30, 200, 30)},
                                                 {QStringLiteral("hicolor"), QColor(30, 30, 230)}};
    for (const auto &[theme, colour] : themes) {
        ASSERT_TRUE(writeTheme(icons, theme, {}, dirs));
        ASSERT_TRUE(writeIcon(icons + u'/' + theme + QStringLiteral("/48x48/apps/kelp-app.png"),
                              colour, 48));
    }
    const QString app = home.filePath(QStringLiteral("machine/applications/app.desktop"));
    ASSERT_TRUE(writeFile(app, desktopEntry(QStringLiteral("App"), QStringLiteral("kelp-app"))));
    QProcessEnvironment env = privateHomeEnvironment(home.path());
    env.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("KDE"));
    env.insert(QStringLiteral("GSETTINGS_BACKEND"), QStringLiteral("memory"));
    const auto colourKey = [&]() {
        const KelpRun run =
            runKelp(QStringLiteral(KELP_BINARY),
                    {QStringLiteral("--print-catalogue"), QStringLiteral("--icons")}, env);
        EXPECT_EQ(run.status, 0) << run.err.constData();
        return QJsonDocument::fromJson(run.out)
            .object()
            .value(QStringLiteral("apps"))
            .toObject()
            .value(app)
            .toObject()
            .value(QStringLiteral("colorSortValue"))
            .toDouble(-1);
    };

    const double blue = colourKey();
    const QString config = home.filePath(QStringLiteral("config"));
    ASSERT_TRUE(writeFile(config + QStringLiteral("/kdeglobals"), "[Icons]\nTheme=KelpGreen\n"));
    const double green = colourKey();
    ASSERT_TRUE(writeFile(config + QStringLiteral("/gtk-3.0/settings.ini"),
                          "[Settings]\ngtk-icon-theme-name=KelpRed\n"));
    const double red = colourKey();
    // The spectrum runs red, green, blue: each file changed the icon Kelp drew.
    EXPECT_GE(red, 0.0);
    EXPECT_LT(red, green);
    EXPECT_LT(green, blue);
}
