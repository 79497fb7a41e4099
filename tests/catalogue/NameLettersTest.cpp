#include "catalogue/NameLetters.h"
#include "catalogue/TQApp.h"

#include <gtest/gtest.h>

using namespace kelp;

TEST(NameLetters, WorkedTable)
{
    const struct
    {
        const char *name;
        const char *letters;
    } cases[] = {
        {"Safari", "s"},
        {"Google Chrome", "gc"},
        {"iTunes", "it"},
        {"QuickTime Player", "qtp"},
        {"TextEdit", "te"},
        {"App Store", "as"},
        {"VLC", "v"},
        {"PDFpen", "p"},
        {"NSDocument", "nd"},
        {"ABCD-efg", "ae"},
        {"Microsoft Word 2011", "mw201"},
        {"Adobe Photoshop CS6", "apc6"},
        {"\xC3\x9C"
         "ber Tool",
         "t"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(nameLetters(QString::fromUtf8(c.name)), QByteArray(c.letters)) << c.name;
}

TEST(NameLetters, WordRulesAndEdges)
{
    EXPECT_EQ(nameLetters(QString()), QByteArray());
    EXPECT_EQ(nameLetters(QStringLiteral("+ - !")), QByteArray());
    EXPECT_EQ(nameLetters(QStringLiteral("XYZ")), QByteArray("x"));
    // Punctuation other than "-_." hides the next lower-case word start, not a capital.
    EXPECT_EQ(nameLetters(QStringLiteral("(beta) app")), QByteArray("a"));
    EXPECT_EQ(nameLetters(QStringLiteral("(Beta) App")), QByteArray("ba"));
    EXPECT_EQ(nameLetters(QStringLiteral("foo_bar.baz\tqux")), QByteArray("fbq"));
    // A run of capitals that ends in a vowel takes the last capital; two consonants take the
    // lower-case letter.
    EXPECT_EQ(nameLetters(QStringLiteral("ABCdef")), QByteArray("ad"));
    EXPECT_EQ(nameLetters(QStringLiteral("ABxy")), QByteArray("ax"));
    // Digits: every digit once.
    EXPECT_EQ(nameLetters(QStringLiteral("R2D2 3000")), QByteArray("r2d30"));
}

TEST(NameLetters, ContainsLetter)
{
    TQApp app(QStringLiteral("/opt/Google Chrome.app"));
    EXPECT_FALSE(app.containsLetter('g')) << "letters never computed match nothing";
    app.findLetters();
    EXPECT_TRUE(app.containsLetter('g'));
    EXPECT_TRUE(app.containsLetter('c'));
    EXPECT_FALSE(app.containsLetter('G')) << "the caller passes the lower-case key";
    EXPECT_FALSE(app.containsLetter('\0'));
    EXPECT_FALSE(app.containsLetter('o'));
}
