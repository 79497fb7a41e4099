// Property lists from outside: nesting is bounded before libplist sees the bytes, a value Kelp
// has no form for refuses the document whole, and only regular files are read.
#include "extras/Plist.h"
#include "extras/PlistNesting.h"

#include "support/TestSupport.h"

#include <QDateTime>
#include <QTemporaryDir>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace kelp::test {
namespace {

QByteArray nestedXml(int arrays, const QByteArray &inner = "<string>x</string>")
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" +
           QByteArray("<array>").repeated(arrays) + inner +
           QByteArray("</array>").repeated(arrays) + "</plist>\n";
}

// A binary property list of `arrays` arrays, each holding the next; the last holds a string.
QByteArray nestedBinary(int arrays, bool loop = false)
{
    QByteArray body = "bplist00";
    QList<quint32> offsets;
    for (int i = 0; i < arrays; ++i) {
        offsets.append(static_cast<quint32>(body.size()));
        body.append(char(0xA1)); // an array of one reference (4-byte references)
        const quint32 next = loop && i == arrays - 1 ? 0 : static_cast<quint32>(i + 1);
        for (int b = 3; b >= 0; --b)
            body.append(char((next >> (8 * b)) & 0xFF));
    }
    offsets.append(static_cast<quint32>(body.size()));
    body.append(char(0x51)).append('x'); // an ASCII string of one character
    const quint64 table = static_cast<quint64>(body.size());
    for (quint32 offset : offsets) {
        for (int b = 3; b >= 0; --b)
            body.append(char((offset >> (8 * b)) & 0xFF));
    }
    QByteArray trailer(32, '\0');
    trailer[6] = 4; // offset size
    trailer[7] = 4; // reference size
    const quint64 count = static_cast<quint64>(offsets.size());
    for (int b = 0; b < 8; ++b) {
        trailer[8 + 7 - b] = char((count >> (8 * b)) & 0xFF);
        trailer[24 + 7 - b] = char((table >> (8 * b)) & 0xFF);
    }
    return body + trailer;
}

// The files keep seconds since 2001 in 32 bits: a date past either end is kept at that end, never
// wrapped round to a date on the other side, and dates before 1970 keep their second.
TEST(PlistReading, DatesOutsideWhatTheFileHoldsStayAtItsEnds)
{
    const auto roundTrip = [](const QDateTime &when) {
        return plist::fromData(plist::toXml(QVariantMap{{QStringLiteral("d"), when}}))
            .toMap()
            .value(QStringLiteral("d"))
            .toDateTime();
    };
    const QDateTime far(QDate(2200, 1, 1), QTime(0, 0), QTimeZone::utc());
    const QDateTime early(QDate(1800, 1, 1), QTime(0, 0), QTimeZone::utc());
    EXPECT_EQ(roundTrip(far).date().year(), 2069);
    EXPECT_EQ(roundTrip(early).date().year(), 1932);
    const QDateTime before1970(QDate(1960, 3, 1), QTime(12, 0, 0, 500), QTimeZone::utc());
    EXPECT_EQ(roundTrip(before1970).toSecsSinceEpoch(), before1970.toSecsSinceEpoch());
}

TEST(PlistReading, NestingIsBoundedInBothFormatsBeforeParsing)
{
    using plist::kMaxNesting;
    // At the limit both formats read; one more level, or a bomb far deeper, is refused with a
    // reason and without exhausting the stack.
    EXPECT_TRUE(plist::fromData(nestedXml(kMaxNesting)).isValid());
    EXPECT_TRUE(plist::fromData(nestedBinary(kMaxNesting)).isValid());
    for (int depth : {kMaxNesting + 1, 200000}) {
        QString why;
        EXPECT_FALSE(plist::fromData(nestedXml(depth), &why).isValid());
        EXPECT_TRUE(why.contains(QStringLiteral("nested"))) << why.toStdString();
        EXPECT_FALSE(plist::fromData(nestedBinary(depth), &why).isValid());
        EXPECT_TRUE(why.contains(QStringLiteral("nested"))) << why.toStdString();
    }
    // Empty containers count as levels too.
    EXPECT_FALSE(plist::fromData(nestedXml(kMaxNesting + 1, "<array/>")).isValid());
    // Markup hidden in comments, CDATA or a string cannot hide levels from the count.
    QByteArray hidden = "<plist>";
    for (int i = 0; i < 2000; ++i)
        hidden += "<array><!-- </array> --><![CDATA[</array>]]>";
    EXPECT_FALSE(plist::fromData(hidden).isValid());
    EXPECT_FALSE(
        plist::fromData("<plist><array><string></array></string></array></plist>").isValid());
    // A binary container that holds itself is refused rather than followed.
    QString why;
    EXPECT_FALSE(plist::fromData(nestedBinary(3, true), &why).isValid());
    EXPECT_TRUE(why.contains(QStringLiteral("holds itself"))) << why.toStdString();
}

TEST(PlistReading, ADocumentWithAValueKelpCannotKeepIsRefusedWhole)
{
    // A UID (keyed archives) has no form in Kelp: reading the rest would write it back without.
    // A binary array holding a string and a UID:
    QByteArray doc = "bplist00";
    doc += QByteArray("\xA2\x01\x02", 3); // object 0 at 8: an array of objects 1 and 2
    doc += QByteArray("\x51x", 2);        // object 1 at 11: the string "x"
    doc += QByteArray("\x80\x05", 2);     // object 2 at 13: UID 5
    doc += QByteArray("\x08\x0B\x0D", 3); // the offset table, at 15
    QByteArray trailer(32, '\0');
    trailer[6] = 1;   // offset size
    trailer[7] = 1;   // reference size
    trailer[15] = 3;  // objects
    trailer[31] = 15; // the offset table's place
    QString why;
    EXPECT_FALSE(plist::fromData(doc + trailer, &why).isValid());
    EXPECT_TRUE(why.contains(QStringLiteral("cannot keep"))) << why.toStdString();
    // The same document with the UID replaced by a second string reads.
    doc[13] = '\x51';
    doc[14] = 'y';
    EXPECT_EQ(plist::fromData(doc + trailer).toList().size(), 2);
}

TEST(PlistReading, ADictionaryKeyWithANulIsRefusedBeforeLibplistAssertsOnIt)
{
    // {"a\0b": "x"} in binary form: libplist aborts on such a key when it is read back.
    QByteArray doc = "bplist00";
    doc += QByteArray("\xD1\x01\x02", 3);     // object 0 at 8: a dictionary, key 1, value 2
    doc += QByteArray("\x53\x61\x00\x62", 4); // object 1 at 11: "a\0b"
    doc += QByteArray("\x51x", 2);            // object 2 at 15: "x"
    doc += QByteArray("\x08\x0B\x0F", 3);     // the offset table, at 17
    QByteArray trailer(32, '\0');
    trailer[6] = 1;
    trailer[7] = 1;
    trailer[15] = 3;
    trailer[31] = 17;
    QString why;
    EXPECT_FALSE(plist::fromData(doc + trailer, &why).isValid());
    EXPECT_TRUE(why.contains(QStringLiteral("NUL"))) << why.toStdString();
    doc[13] = 'c';
    EXPECT_EQ(plist::fromData(doc + trailer).toMap().value(QStringLiteral("acb")),
              QStringLiteral("x"));
    EXPECT_FALSE(plist::fromData("<plist><dict><key>a&#x0;b</key><string>x</string></dict></plist>")
                     .isValid());
    EXPECT_TRUE(plist::fromData("<plist><dict><key>a&#x30;b</key><string>x</string></dict></plist>")
                    .isValid());
}

TEST(PlistReading, OnlyRegularFilesAreRead)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString fifo = dir.filePath(QStringLiteral("fifo.plist"));
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    // Refused at once: no writer ever opens the FIFO.
    EXPECT_EQ(plist::readFile(fifo).status, plist::ReadResult::Unreadable);
    EXPECT_EQ(plist::readFile(QStringLiteral("/dev/zero")).status, plist::ReadResult::Unreadable);
    EXPECT_EQ(plist::readFile(dir.path()).status, plist::ReadResult::Unreadable);
    EXPECT_EQ(plist::readFile(dir.filePath(QStringLiteral("none.plist"))).status,
              plist::ReadResult::Missing);
    // A path with a NUL byte would name another file: refused.
    ASSERT_TRUE(writeFile(dir.filePath(QStringLiteral("a")), nestedXml(1)));
    EXPECT_EQ(
        plist::readFile(dir.filePath(QStringLiteral("a")) + QChar(u'\0') + QStringLiteral("b"))
            .status,
        plist::ReadResult::Unreadable);
}

} // namespace
} // namespace kelp::test
