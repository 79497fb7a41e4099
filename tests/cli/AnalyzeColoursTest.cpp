// `kelp --analyze-colours`, run as a script would.
#include "support/TestSupport.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct Analysis
{
    int status = -1;
    QJsonArray json;
    QByteArray err;
};

class AnalyzeColours : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        save(QStringLiteral("white.png"), Qt::white);
        save(QStringLiteral("black.png"), Qt::black);
        save(QStringLiteral("red.png"), QColor(255, 0, 0));
    }
    void save(const QString &name, QColor colour)
    {
        QImage image(40, 40, QImage::Format_ARGB32);
        image.fill(colour);
        ASSERT_TRUE(image.save(dir.filePath(name)));
    }
    Analysis run(QStringList args)
    {
        QProcess p;
        p.setProcessEnvironment(kelp::test::privateHomeEnvironment(dir.path()));
        args.prepend(QStringLiteral("--analyze-colours"));
        p.start(QStringLiteral(KELP_BINARY), args);
        Analysis a;
        if (!p.waitForFinished(60000)) return a;
        a.status = p.exitCode();
        a.err = p.readAllStandardError();
        a.json = QJsonDocument::fromJson(p.readAllStandardOutput()).array();
        return a;
    }
    QString at(const char *name) const { return dir.filePath(QLatin1String(name)); }

    QTemporaryDir dir;
};

} // namespace

TEST_F(AnalyzeColours, ReportsEachImageInOrder)
{
    const Analysis a = run({at("white.png"), at("red.png"), at("black.png")});
    ASSERT_EQ(a.status, 0) << a.err.constData();
    ASSERT_EQ(a.json.size(), 3);
    EXPECT_EQ(a.json.at(0).toObject().value(QStringLiteral("path")).toString(), at("white.png"));
    EXPECT_EQ(a.json.at(0).toObject().value(QStringLiteral("colorSortValue")).toDouble(), 1.0);
    EXPECT_EQ(a.json.at(2).toObject().value(QStringLiteral("colorSortValue")).toDouble(), 1.5);

    const QJsonObject red = a.json.at(1).toObject();
    const double key = red.value(QStringLiteral("colorSortValue")).toDouble();
    EXPECT_GE(key, 0.0);
    EXPECT_LT(key, 1.0);
    const QJsonArray colours = red.value(QStringLiteral("colors")).toArray();
    ASSERT_EQ(colours.size(), 1);
    const QJsonObject c = colours.at(0).toObject();
    for (const char *field : {"L", "u", "v", "quantity", "hue", "chroma", "lightness"})
        EXPECT_TRUE(c.contains(QLatin1String(field))) << field;
    // A 40-pixel image is drawn into the default 128-pixel bitmap.
    EXPECT_EQ(c.value(QStringLiteral("quantity")).toInteger(), 128 * 128);
    EXPECT_NEAR(c.value(QStringLiteral("hue")).toDouble() / 360.0, key, 1e-9) << "wrap hue 0";
    const QJsonArray sorted = red.value(QStringLiteral("sortedColors")).toArray();
    ASSERT_GE(sorted.size(), 2);
    EXPECT_EQ(sorted.at(0).toObject().value(QStringLiteral("rgb")).toString(),
              QStringLiteral("#ff0000"));
}

TEST_F(AnalyzeColours, SettingsOverrideTheDefaults)
{
    const double hue = run({at("red.png")})
                           .json.at(0)
                           .toObject()
                           .value(QStringLiteral("colors"))
                           .toArray()
                           .at(0)
                           .toObject()
                           .value(QStringLiteral("hue"))
                           .toDouble();
    const Analysis a =
        run({QStringLiteral("--set"), QStringLiteral("colorSortWrapHue=%1").arg(hue + 1.0),
             QStringLiteral("--set"), QStringLiteral("maximumIconSize=16"), at("red.png")});
    ASSERT_EQ(a.status, 0) << a.err.constData();
    const QJsonObject red = a.json.at(0).toObject();
    EXPECT_NEAR(red.value(QStringLiteral("colorSortValue")).toDouble(), 1.0 - 1.0 / 360.0, 1e-6);
    EXPECT_EQ(red.value(QStringLiteral("colors"))
                  .toArray()
                  .at(0)
                  .toObject()
                  .value(QStringLiteral("quantity"))
                  .toInteger(),
              16 * 16);
}

TEST_F(AnalyzeColours, BadImagesAndBadArguments)
{
    ASSERT_TRUE(kelp::test::writeFile(at("broken.png"), "\x89PNG not really"));
    const Analysis a = run({at("broken.png"), at("missing.png"), at("white.png")});
    EXPECT_NE(a.status, 0);
    ASSERT_EQ(a.json.size(), 3) << "the others are still analysed";
    EXPECT_TRUE(a.json.at(0).toObject().contains(QStringLiteral("error")));
    EXPECT_TRUE(a.json.at(1).toObject().contains(QStringLiteral("error")));
    EXPECT_EQ(a.json.at(2).toObject().value(QStringLiteral("colorSortValue")).toDouble(), 1.0);

    EXPECT_EQ(run({QStringLiteral("--set"), QStringLiteral("noSuchKey=1"), at("white.png")}).status,
              2);
    EXPECT_EQ(
        run({QStringLiteral("--set"), QStringLiteral("maximumIconSize=0"), at("white.png")}).status,
        2);
    EXPECT_EQ(run({}).status, 2);
}
