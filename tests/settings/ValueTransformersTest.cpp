// The value transformers behind the preferences controls.
#include "settings/ValueTransformers.h"
#include "support/TestSupport.h"

#include <QDate>
#include <QDateTime>
#include <QFontDatabase>
#include <QImage>
#include <QLocale>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using kelp::TransformerError;
using kelp::ValueTransformer;

namespace {

// A converted value as a failure message shows it.
std::string describe(const QVariant &v)
{
    return v.isValid() ? std::string(v.typeName()) + ' ' + v.toString().toStdString() : "nothing";
}

QVariant forward(const char *name, const QVariant &value)
{
    const ValueTransformer *t = ValueTransformer::named(QString::fromLatin1(name));
    if (!t) throw std::logic_error(std::string("no transformer ") + name);
    return t->transform(value);
}

const QVariant nothing;
const QVariant error; // what a row expects when the transformer throws

// One conversion each: the value shown for a stored one (or, reversed, the value stored for a
// shown one), or the error a binding gets when the value has no number in it.
TEST(ValueTransformers, Conversions)
{
    struct Row
    {
        const char *name;
        const char *transformer;
        QVariant input;
        QVariant expected;
        const char *error = nullptr;
        bool reverse = false;
    };
    const char *percent = "TQFloatToPercentValueTransformer";
    const char *byte = "TQNormalizedFloatToUnsignedCharTransformer";
    const char *isTwo = "TQIntegerIsTwoTransformer";
    const char *notZero = "TQIntegerNotZeroTransformer";
    const char *positive = "TQFloatGreaterThanZeroTransformer";
    const char *yesNo = "TQBoolToStringTransformer";
    const char *degrees = "TQRadiansToDegreesTransformer";
    const QDate date(2024, 1, 1);
    const Row rows[] = {
        {"PercentOfAHalf", percent, 0.5, QStringLiteral("50%")},
        {"PercentOfOne", percent, 1, QStringLiteral("100%")},
        {"PercentRoundsDown", percent, 0.004, QStringLiteral("0%")},
        {"PercentRoundsHalfUp", percent, 0.125, QStringLiteral("13%")},
        {"PercentOfANegative", percent, -0.126, QStringLiteral("-13%")},
        {"PercentOfText", percent, QStringLiteral("0.25"), QStringLiteral("25%")},
        {"PercentOfNothing", percent, nothing, nothing},
        {"PercentOfADate", percent, date, error, "Value QDate does not respond to floatValue"},
        {"ByteClampsAboveOne", byte, 1.5, qint64(255)},
        {"ByteClampsBelowZero", byte, -0.2, qint64(0)},
        {"ByteRoundsHalfUp", byte, 0.5, qint64(128)},
        {"ByteOfOne", byte, 1.0, qint64(255)},
        {"ByteOfNaN", byte, std::numeric_limits<double>::quiet_NaN(), qint64(0)},
        {"ByteOfNothing", byte, nothing, nothing},
        {"ByteBackToOne", byte, 255, 1.0, nullptr, true},
        {"ByteBackToAFifth", byte, 51, 0.2, nullptr, true},
        {"ByteBackToZero", byte, 0, 0.0, nullptr, true},
        {"ByteBackFromNothing", byte, nothing, nothing, nullptr, true},
        {"TwoIsTwo", isTwo, 2, true},
        {"TwoPointNineTruncatesToTwo", isTwo, 2.9, true},
        {"TextTwoIsTwo", isTwo, QStringLiteral("2"), true},
        {"ThreeIsNotTwo", isTwo, 3, false},
        {"NothingIsNotTwo", isTwo, nothing, false},
        {"AListIsNoInteger", isTwo, QVariantList{2}, error,
         "Value QVariantList does not respond to integerValue"},
        {"MinusOneIsNotZero", notZero, -1, true},
        {"PointNineTruncatesToZero", notZero, 0.9, false},
        {"NothingIsZero", notZero, nothing, false},
        {"BytesAreNoInteger", notZero, QByteArray("2"), error,
         "Value QByteArray does not respond to integerValue"},
        {"ATinyNumberIsPositive", positive, 0.001, true},
        {"ZeroIsNotPositive", positive, 0, false},
        {"MinusThreeIsNotPositive", positive, -3, false},
        {"NothingIsNotPositive", positive, nothing, false},
        {"AMapIsNoNumber", positive, QVariantMap(), error,
         "Value QVariantMap does not respond to floatValue"},
        {"ADateHasNoCount", "TQAnythingToBoolTransformer", date, error,
         "Value QDate does not respond to integerValue"},
        {"NothingShowsDashes", yesNo, nothing, QStringLiteral("--")},
        {"TrueShowsYes", yesNo, true, QStringLiteral("YES")},
        {"ZeroShowsNo", yesNo, 0, QStringLiteral("NO")},
        {"TextYesShowsYes", yesNo, QStringLiteral("yes"), QStringLiteral("YES")},
        {"NothingIsZeroDegrees", degrees, nothing, 0.0},
        {"NothingIsZeroRadians", degrees, nothing, 0.0, nullptr, true},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const ValueTransformer *t = ValueTransformer::named(QString::fromLatin1(row.transformer));
        ASSERT_NE(t, nullptr);
        EXPECT_TRUE(t->allowsReverseTransformation() || !row.reverse);
        try {
            const QVariant actual =
                row.reverse ? t->reverseTransform(row.input) : t->transform(row.input);
            EXPECT_EQ(row.error, nullptr) << "no error";
            EXPECT_EQ(actual.typeId(), row.expected.typeId()) << describe(actual);
            if (row.expected.typeId() == QMetaType::Double)
                EXPECT_DOUBLE_EQ(actual.toDouble(), row.expected.toDouble());
            else
                EXPECT_TRUE(actual == row.expected) << describe(actual);
        } catch (const TransformerError &e) {
            EXPECT_STREQ(e.what(), row.error);
        }
    }
    EXPECT_EQ(ValueTransformer::named(QStringLiteral("NoSuchTransformer")), nullptr);
    EXPECT_FALSE(
        ValueTransformer::named(QString::fromLatin1(percent))->allowsReverseTransformation());
    EXPECT_THROW(ValueTransformer::named(QString::fromLatin1(percent))->reverseTransform(0.5),
                 TransformerError);
}

// Collections count their elements, text and bytes their length, anything else its integer value.
TEST(ValueTransformers, AnythingToBoolCountsThenMeasuresThenReadsTheNumber)
{
    struct Row
    {
        const char *name;
        QVariant input;
        bool expected;
    };
    const Row rows[] = {
        {"Nothing", nothing, false},
        {"EmptyList", QVariantList(), false},
        {"ListOfAZero", QVariantList{0}, true},
        {"MapOfAZero", QVariantMap{{QStringLiteral("k"), 0}}, true},
        {"EmptyText", QString(), false},
        {"TextZeroIsALength", QStringLiteral("0"), true},
        {"Bytes", QByteArray("x"), true},
        {"Zero", 0, false},
        {"AHalfTruncatesToZero", 0.5, false},
        {"Three", 3, true},
        {"True", true, true},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(forward("TQAnythingToBoolTransformer", row.input).toBool(), row.expected);
        EXPECT_EQ(forward("TQAnythingToBoolNegatedTransformer", row.input).toBool(), !row.expected);
    }
}

TEST(ValueTransformers, DatesShowTheirEnglishWeekday)
{
    const char *t = "TQDateToWeekdayValueTransformer";
    const QLocale saved;
    QLocale::setDefault(QLocale(QLocale::German)); // the weekday is English whatever the locale
    EXPECT_EQ(forward(t, QDate(2024, 5, 13)), QStringLiteral("Monday"));
    EXPECT_EQ(forward(t, QDateTime(QDate(2024, 5, 18), QTime(12, 0))), QStringLiteral("Saturday"));
    EXPECT_EQ(forward(t, QStringLiteral("2024-05-15 12:00:00 +0000")), QStringLiteral("Wednesday"));
    EXPECT_EQ(forward(t, QStringLiteral("2024-05-16T12:00:00Z")), QStringLiteral("Thursday"));
    EXPECT_EQ(forward(t, QStringLiteral("2024-05-17")), QStringLiteral("Friday"));
    EXPECT_FALSE(forward(t, QStringLiteral("next week")).isValid());
    EXPECT_FALSE(forward(t, nothing).isValid());
    QLocale::setDefault(saved);
}

// Installs desktop entries in a private applications folder for the length of a test.
class ApplicationsFolder
{
public:
    ApplicationsFolder()
    {
        for (const char *name : {"XDG_DATA_HOME", "XDG_DATA_DIRS"})
            saved.append({name, qgetenv(name)});
        qputenv("XDG_DATA_HOME", (dir.path() + QStringLiteral("/user")).toUtf8());
        qputenv("XDG_DATA_DIRS", (dir.path() + QStringLiteral("/system")).toUtf8());
    }
    ~ApplicationsFolder()
    {
        for (const auto &[name, value] : saved) {
            if (value.isNull())
                qunsetenv(name);
            else
                qputenv(name, value);
        }
    }
    void add(const QString &where, const QString &fileName, const QByteArray &content)
    {
        ASSERT_TRUE(kelp::test::writeFile(
            dir.path() + u'/' + where + QStringLiteral("/applications/") + fileName, content));
    }

    QTemporaryDir dir;

private:
    QList<std::pair<const char *, QByteArray>> saved;
};

TEST(ValueTransformers, DesktopFileIdsResolveToTheirShownName)
{
    ApplicationsFolder apps;
    apps.add(QStringLiteral("system"), QStringLiteral("org.kelp.Tool.desktop"),
             "[Desktop Entry]\nType=Application\nName=System Tool\n");
    // The user's entry shadows the system one with the same ID.
    apps.add(QStringLiteral("user"), QStringLiteral("org.kelp.Tool.desktop"),
             "# comment\n[Desktop Entry]\nType=Application\nName[de]=Werkzeug\n"
             "Name=Kelp\\sTool\n[Desktop Action New]\nName=Other\n");
    apps.add(QStringLiteral("system"), QStringLiteral("org.kelp.NoName.desktop"),
             "[Desktop Entry]\nType=Application\nExec=true\n");
    const char *t = "TQBundleIdentifierToDisplayNameTransformer";

    EXPECT_EQ(forward(t, QStringLiteral("org.kelp.Tool")), QStringLiteral("Kelp Tool"));
    EXPECT_EQ(forward(t, QStringLiteral("org.kelp.Tool.desktop")), QStringLiteral("Kelp Tool"));
    EXPECT_EQ(forward(t, QStringLiteral("org.kelp.NoName")), QStringLiteral("org.kelp.NoName"));
    EXPECT_EQ(forward(t, QStringLiteral("org.kelp.Gone")),
              QStringLiteral("org.kelp.Gone (missing)"));
    EXPECT_EQ(forward(t, QStringLiteral("../user/applications/org.kelp.Tool")),
              QStringLiteral("../user/applications/org.kelp.Tool (missing)"))
        << "an ID never reaches outside the application folders";
    EXPECT_FALSE(forward(t, QString()).isValid());
    EXPECT_FALSE(forward(t, nothing).isValid());

    const QLocale saved;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_EQ(forward(t, QStringLiteral("org.kelp.Tool")), QStringLiteral("Werkzeug"));
    QLocale::setDefault(saved);
}

TEST(ValueTransformers, IconsAreSixteenPixelImagesEvenForMissingFiles)
{
    ApplicationsFolder apps;
    apps.add(QStringLiteral("user"), QStringLiteral("org.kelp.Tool.desktop"),
             "[Desktop Entry]\nType=Application\nName=Tool\nIcon=no-such-icon-anywhere\n");
    const QString existing =
        apps.dir.path() + QStringLiteral("/user/applications/org.kelp.Tool.desktop");
    for (const QVariant &input :
         {QVariant(existing), QVariant(QStringLiteral("~/no/such/file")), QVariant(QString())}) {
        const QImage image = forward("TQPathToIconValueTransformer", input).value<QImage>();
        EXPECT_EQ(image.size(), QSize(16, 16)) << qPrintable(input.toString());
    }
    EXPECT_FALSE(forward("TQPathToIconValueTransformer", nothing).isValid());

    const char *byId = "TQBundleIdentifierToIconValueTransformer";
    EXPECT_EQ(forward(byId, QStringLiteral("org.kelp.Tool")).value<QImage>().size(), QSize(16, 16));
    EXPECT_EQ(forward(byId, QStringLiteral("org.kelp.Gone")).value<QImage>().size(), QSize(16, 16));
    EXPECT_FALSE(forward(byId, QString()).isValid());
}

TEST(ValueTransformers, FontNamesResolveToInstalledFamilies)
{
    const char *t = "TQFontNameToDisplayNameTransformer";
    EXPECT_FALSE(forward(t, QStringLiteral("No Such Font Family 4711")).isValid());
    EXPECT_FALSE(forward(t, nothing).isValid());
    const QStringList families = QFontDatabase::families();
    if (families.isEmpty()) GTEST_SKIP() << "no fonts installed";
    const QString family = families.first();
    EXPECT_EQ(forward(t, family.toUpper()), family);
    const QStringList styles = QFontDatabase::styles(family);
    if (!styles.isEmpty()) {
        EXPECT_EQ(forward(t, family + u'-' + styles.last()), family + u' ' + styles.last());
    }
}

} // namespace
