// `kelp --print-catalogue --icons`: the colour keys come from the icons found on disk.
#include "IconFixtures.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

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
