#include "catalogue/NameLetters.h"
#include "catalogue/TQApp.h"

#include <gtest/gtest.h>

using namespace kelp;

TEST(NameLetters, Rules)
{
    const struct
    {
        const char *rule;
        const char *name;
        const char *letters;
    } cases[] = {
        {"one word", "Safari", "s"},
        {"word starts", "Google Chrome", "gc"},
        {"a capital inside a word", "iTunes", "it"},
        {"capitals and word starts", "QuickTime Player", "qtp"},
        {"camel case", "TextEdit", "te"},
        {"two capitalised words", "App Store", "as"},
        {"a capital run ending where a word starts", "NSDocument", "nd"},
        {"capitals alone", "XYZ", "x"},
        {"a run of capitals: its first", "VLC", "v"},
        {"a run of capitals before lower case", "PDFpen", "p"},
        {"a capital run ending in a vowel takes the last capital", "ABCdef", "ad"},
        {"two consonants take the lower-case letter", "ABxy", "ax"},
        {"hyphens start words", "ABCD-efg", "ae"},
        {"each digit once", "R2D2 3000", "r2d30"},
        {"digits after words", "Microsoft Word 2011", "mw201"},
        {"digits after a capital run", "Adobe Photoshop CS6", "apc6"},
        {"a non-ASCII initial is skipped",
         "\xC3\x9C"
         "ber Tool",
         "t"},
        {"other punctuation hides a lower-case word start", "(beta) app", "a"},
        {"...but not a capital", "(Beta) App", "ba"},
        {"underscores, dots and tabs start words", "foo_bar.baz\tqux", "fbq"},
        {"nothing", "", ""},
        {"punctuation alone", "+ - !", ""},
    };
    for (const auto &c : cases)
        EXPECT_EQ(nameLetters(QString::fromUtf8(c.name)), QByteArray(c.letters)) << c.rule;
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
