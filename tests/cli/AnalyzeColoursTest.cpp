// `kelp --analyze-colours`, run as a script would.
#include "support/TestSupport.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

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
    // The report, one object per image; the exit status in *status.
    QJsonArray run(const QStringList &args, int *status = nullptr)
    {
        const kelp::test::KelpRun r = kelp::test::runKelp(
            QStringLiteral(KELP_BINARY), QStringList{QStringLiteral("--analyze-colours")} + args,
            kelp::test::privateHomeEnvironment(dir.path()));
        if (status) *status = r.status;
        return QJsonDocument::fromJson(r.out).array();
    }
    QString at(const char *name) const { return dir.filePath(QLatin1String(name)); }

    QTemporaryDir dir;
};

double key(const QJsonValue &entry)
{
    return entry.toObject().value(QStringLiteral("colorSortValue")).toDouble();
}

QJsonObject firstColour(const QJsonValue &entry)
{
    return entry.toObject().value(QStringLiteral("colors")).toArray().at(0).toObject();
}

} // namespace

TEST_F(AnalyzeColours, ReportsEachImageInOrder)
{
    int status = -1;
    const QJsonArray report = run({at("white.png"), at("red.png"), at("black.png")}, &status);
    ASSERT_EQ(status, 0);
    ASSERT_EQ(report.size(), 3);
    EXPECT_EQ(report.at(0).toObject().value(QStringLiteral("path")).toString(), at("white.png"));
    // Greys sort after every colour, white before black.
    EXPECT_EQ(key(report.at(0)), 1.0);
    EXPECT_EQ(key(report.at(2)), 1.5);
    EXPECT_GE(key(report.at(1)), 0.0);
    EXPECT_LT(key(report.at(1)), 1.0);

    const QJsonObject red = report.at(1).toObject();
    ASSERT_EQ(red.value(QStringLiteral("colors")).toArray().size(), 1);
    const QJsonObject c = firstColour(red);
    for (const char *field : {"L", "u", "v", "quantity", "hue", "chroma", "lightness"})
        EXPECT_TRUE(c.contains(QLatin1String(field))) << field;
    // A 40-pixel image is drawn into the default 128-pixel bitmap.
    EXPECT_EQ(c.value(QStringLiteral("quantity")).toInteger(), 128 * 128);
    const QJsonArray sorted = red.value(QStringLiteral("sortedColors")).toArray();
    ASSERT_GE(sorted.size(), 2);
    EXPECT_EQ(sorted.at(0).toObject().value(QStringLiteral("rgb")).toString(),
              QStringLiteral("#ff0000"));
}

TEST_F(AnalyzeColours, SettingsOverrideTheDefaults)
{
    const QJsonArray plain = run({at("red.png")});
    ASSERT_EQ(plain.size(), 1);
    const double hue = firstColour(plain.at(0)).value(QStringLiteral("hue")).toDouble();
    // Moving the wrap hue past red's hue moves red from the start of the colours to their end.
    const QJsonArray moved =
        run({QStringLiteral("--set"), QStringLiteral("colorSortWrapHue=%1").arg(hue + 1.0),
             QStringLiteral("--set"), QStringLiteral("maximumIconSize=16"), at("red.png")});
    ASSERT_EQ(moved.size(), 1);
    EXPECT_LT(key(plain.at(0)), 0.1);
    EXPECT_GT(key(moved.at(0)), 0.9);
    EXPECT_LT(key(moved.at(0)), 1.0);
    EXPECT_EQ(firstColour(moved.at(0)).value(QStringLiteral("quantity")).toInteger(), 16 * 16);
}

TEST_F(AnalyzeColours, BadImagesAndBadArguments)
{
    ASSERT_TRUE(kelp::test::writeFile(at("broken.png"), "\x89PNG not really"));
    int status = -1;
    const QJsonArray report = run({at("broken.png"), at("missing.png"), at("white.png")}, &status);
    EXPECT_EQ(status, 1);
    ASSERT_EQ(report.size(), 3) << "the others are still analysed";
    EXPECT_TRUE(report.at(0).toObject().contains(QStringLiteral("error")));
    EXPECT_TRUE(report.at(1).toObject().contains(QStringLiteral("error")));
    EXPECT_EQ(key(report.at(2)), 1.0);

    for (const QStringList &args :
         {QStringList{QStringLiteral("--set"), QStringLiteral("noSuchKey=1"), at("white.png")},
          QStringList{QStringLiteral("--set"), QStringLiteral("maximumIconSize=0"),
                      at("white.png")},
          QStringList{}}) {
        run(args, &status);
        EXPECT_EQ(status, 2) << args.join(QLatin1Char(' ')).toStdString();
    }
}
