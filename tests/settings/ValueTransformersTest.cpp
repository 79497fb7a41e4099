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

QVariant forward(const char *name, const QVariant &value)
{
    const ValueTransformer *t = ValueTransformer::named(QString::fromLatin1(name));
    if (!t) throw std::logic_error(std::string("no transformer ") + name);
    return t->transform(value);
}

QVariant backward(const char *name, const QVariant &value)
{
    return ValueTransformer::named(QString::fromLatin1(name))->reverseTransform(value);
}

std::string errorOf(const char *name, const QVariant &value)
{
    try {
        forward(name, value);
    } catch (const TransformerError &e) {
        return e.what();
    }
    return "(no error)";
}

const QVariant nothing;

TEST(ValueTransformers, AllAreRegisteredByName)
{
    const QStringList expected{
        QStringLiteral("TQAnythingToBoolNegatedTransformer"),
        QStringLiteral("TQAnythingToBoolTransformer"),
        QStringLiteral("TQBoolToStringTransformer"),
        QStringLiteral("TQBundleIdentifierToDisplayNameTransformer"),
        QStringLiteral("TQBundleIdentifierToIconValueTransformer"),
        QStringLiteral("TQDateToWeekdayValueTransformer"),
        QStringLiteral("TQFloatGreaterThanZeroTransformer"),
        QStringLiteral("TQFloatToPercentValueTransformer"),
        QStringLiteral("TQFontNameToDisplayNameTransformer"),
        QStringLiteral("TQIntegerIsTwoTransformer"),
        QStringLiteral("TQIntegerNotZeroTransformer"),
        QStringLiteral("TQNormalizedFloatToDegreesTransformer"),
        QStringLiteral("TQNormalizedFloatToUnsignedCharTransformer"),
        QStringLiteral("TQPathToIconValueTransformer"),
        QStringLiteral("TQRadiansToDegreesTransformer"),
    };
    EXPECT_EQ(ValueTransformer::names(), expected);
    EXPECT_EQ(ValueTransformer::named(QStringLiteral("NoSuchTransformer")), nullptr);

    // Only the numeric conversions go both ways.
    QStringList reversible;
    for (const QString &name : expected)
        if (ValueTransformer::named(name)->allowsReverseTransformation()) reversible.append(name);
    EXPECT_EQ(reversible, QStringList({QStringLiteral("TQNormalizedFloatToDegreesTransformer"),
                                       QStringLiteral("TQNormalizedFloatToUnsignedCharTransformer"),
                                       QStringLiteral("TQRadiansToDegreesTransformer")}));
    EXPECT_THROW(backward("TQFloatToPercentValueTransformer", 0.5), TransformerError);
}

TEST(ValueTransformers, PercentRoundsHalfUp)
{
    const char *t = "TQFloatToPercentValueTransformer";
    EXPECT_EQ(forward(t, 0.5), QStringLiteral("50%"));
    EXPECT_EQ(forward(t, 1), QStringLiteral("100%"));
    EXPECT_EQ(forward(t, 0.004), QStringLiteral("0%"));
    EXPECT_EQ(forward(t, 0.125), QStringLiteral("13%"));
    EXPECT_EQ(forward(t, -0.126), QStringLiteral("-13%"));
    EXPECT_EQ(forward(t, QStringLiteral("0.25")), QStringLiteral("25%"));
    EXPECT_FALSE(forward(t, nothing).isValid());
    EXPECT_EQ(errorOf(t, QDate(2024, 1, 1)), "Value QDate does not respond to floatValue");
}

TEST(ValueTransformers, UnsignedCharClampsAndRoundsBothWays)
{
    const char *t = "TQNormalizedFloatToUnsignedCharTransformer";
    EXPECT_EQ(forward(t, 1.5).toLongLong(), 255);
    EXPECT_EQ(forward(t, -0.2).toLongLong(), 0);
    EXPECT_EQ(forward(t, 0.5).toLongLong(), 128);
    EXPECT_EQ(forward(t, 1.0).toLongLong(), 255);
    EXPECT_EQ(forward(t, std::numeric_limits<double>::quiet_NaN()).toLongLong(), 0);
    EXPECT_FALSE(forward(t, nothing).isValid());

    EXPECT_DOUBLE_EQ(backward(t, 255).toDouble(), 1.0);
    EXPECT_DOUBLE_EQ(backward(t, 51).toDouble(), 0.2);
    EXPECT_DOUBLE_EQ(backward(t, 0).toDouble(), 0.0);
    EXPECT_EQ(backward(t, 51).typeId(), QMetaType::Double);
    EXPECT_FALSE(backward(t, nothing).isValid());
}

TEST(ValueTransformers, IntegerTestsTruncateAndRejectValuesWithoutANumber)
{
    const char *isTwo = "TQIntegerIsTwoTransformer";
    EXPECT_TRUE(forward(isTwo, 2).toBool());
    EXPECT_TRUE(forward(isTwo, 2.9).toBool());
    EXPECT_TRUE(forward(isTwo, QStringLiteral("2")).toBool());
    EXPECT_FALSE(forward(isTwo, 3).toBool());
    EXPECT_FALSE(forward(isTwo, nothing).toBool());
    EXPECT_EQ(errorOf(isTwo, QVariantList{2}),
              "Value QVariantList does not respond to integerValue");

    const char *notZero = "TQIntegerNotZeroTransformer";
    EXPECT_TRUE(forward(notZero, -1).toBool());
    EXPECT_FALSE(forward(notZero, 0.9).toBool());
    EXPECT_FALSE(forward(notZero, nothing).toBool());
    EXPECT_EQ(errorOf(notZero, QByteArray("2")),
              "Value QByteArray does not respond to integerValue");

    const char *positive = "TQFloatGreaterThanZeroTransformer";
    EXPECT_TRUE(forward(positive, 0.001).toBool());
    EXPECT_FALSE(forward(positive, 0).toBool());
    EXPECT_FALSE(forward(positive, -3).toBool());
    EXPECT_FALSE(forward(positive, nothing).toBool());
    EXPECT_EQ(errorOf(positive, QVariantMap()), "Value QVariantMap does not respond to floatValue");
}

TEST(ValueTransformers, AnythingToBoolCountsThenMeasuresThenReadsTheNumber)
{
    const char *t = "TQAnythingToBoolTransformer";
    const char *negated = "TQAnythingToBoolNegatedTransformer";
    const QList<std::pair<QVariant, bool>> cases{
        {nothing, false},
        {QVariantList(), false},
        {QVariantList{0}, true}, // one element, whatever it is
        {QVariantMap{{QStringLiteral("k"), 0}}, true},
        {QString(), false},
        {QStringLiteral("0"), true}, // a length, not a number
        {QByteArray("x"), true},
        {0, false},
        {0.5, false}, // the integer value of 0.5 is 0
        {3, true},
        {true, true},
    };
    for (const auto &[input, expected] : cases) {
        EXPECT_EQ(forward(t, input).toBool(), expected) << qPrintable(input.toString());
        EXPECT_EQ(forward(negated, input).toBool(), !expected) << qPrintable(input.toString());
    }
    EXPECT_EQ(errorOf(t, QDate(2024, 1, 1)), "Value QDate does not respond to integerValue");

    const char *text = "TQBoolToStringTransformer";
    EXPECT_EQ(forward(text, nothing), QStringLiteral("--"));
    EXPECT_EQ(forward(text, true), QStringLiteral("YES"));
    EXPECT_EQ(forward(text, 0), QStringLiteral("NO"));
    EXPECT_EQ(forward(text, QStringLiteral("yes")), QStringLiteral("YES"));
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
