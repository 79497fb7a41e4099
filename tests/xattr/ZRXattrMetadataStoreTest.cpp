// Extended attributes of files, read and written through ZRXattrMetadataStore.
#include "catalogue/ZRXattrMetadataStore.h"
#include "support/TestSupport.h"

#include <QDateTime>
#include <QFile>
#include <QPoint>
#include <QTemporaryDir>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <sys/xattr.h>

#include <cerrno>
#include <cstring>

using kelp::XattrStoreError;
using Store = kelp::ZRXattrMetadataStore;

namespace {

class XattrStoreTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        ASSERT_TRUE(kelp::test::writeFile(file, "content"));
        const QByteArray native = QFile::encodeName(file);
        if (::setxattr(native.constData(), "user.kelp.probe", "1", 1, 0) != 0) {
            const int err = errno;
            if (err == ENOTSUP)
                GTEST_SKIP() << "the file system under " << qPrintable(dir.path())
                             << " does not support user extended attributes";
            FAIL() << "setxattr failed: " << std::strerror(err);
        }
        ::removexattr(native.constData(), "user.kelp.probe");
    }

    // The full name of one of Kelp's attributes.
    static QString key(const char *name) { return QStringLiteral("user.kelp.") + name; }

    QTemporaryDir dir;
    const QString file = dir.path() + QStringLiteral("/target");
};

TEST_F(XattrStoreTest, BytesTextAndPropertyListsRoundTrip)
{
    const QByteArray bytes("a\0b\xff", 4);
    const QString text = QStringLiteral("Grüße \U0001F30A");
    const QVariantMap object{
        {QStringLiteral("list"), QVariantList{qint64(1), QStringLiteral("x"), true}},
        {QStringLiteral("data"), bytes},
        {QStringLiteral("when"), QDateTime(QDate(2024, 5, 13), QTime(8, 0), QTimeZone::utc())},
    };
    Store::setData(bytes, key("data"), file, true);
    Store::setString(text, key("text"), file, true);
    Store::setObject(object, key("object"), file, true);
    Store::setData(QByteArray(), key("empty"), file, true);
    Store::setData(QByteArray("\xff\xfe\x80", 3), key("raw"), file, true);

    EXPECT_EQ(Store::dataForKey(key("data"), file, true), bytes);
    EXPECT_EQ(Store::stringForKey(key("text"), file, true), text);
    EXPECT_EQ(Store::dataForKey(key("text"), file, true), text.toUtf8())
        << "text is stored as bare UTF-8";
    EXPECT_EQ(Store::objectForKey(key("object"), file, false), QVariant(object));
    EXPECT_TRUE(Store::dataForKey(key("object"), file, true).startsWith("<?xml"));
    // An empty value is there, and empty.
    const QByteArray empty = Store::dataForKey(key("empty"), file, true);
    EXPECT_TRUE(empty.isEmpty() && !empty.isNull());
    const QString emptyText = Store::stringForKey(key("empty"), file, true);
    EXPECT_TRUE(emptyText.isEmpty() && !emptyText.isNull());
    // Bytes that are not UTF-8 are no text.
    EXPECT_TRUE(Store::stringForKey(key("raw"), file, true).isNull());
    EXPECT_EQ(Store::dataForKey(key("raw"), file, true).size(), 3);

    QStringList keys = Store::allKeysAtPath(file, true);
    keys.sort();
    EXPECT_EQ(keys,
              QStringList({key("data"), key("empty"), key("object"), key("raw"), key("text")}));

    // Rewriting replaces the value, longer or shorter.
    Store::setString(QStringLiteral("x"), key("text"), file, true);
    EXPECT_EQ(Store::stringForKey(key("text"), file, true), QStringLiteral("x"));
}

TEST_F(XattrStoreTest, MissingAttributesAndFilesGiveNothing)
{
    EXPECT_TRUE(Store::allKeysAtPath(file, true).isEmpty());
    EXPECT_TRUE(Store::dataForKey(key("none"), file, true).isNull());
    EXPECT_TRUE(Store::stringForKey(key("none"), file, true).isNull());
    EXPECT_FALSE(Store::objectForKey(key("none"), file, true).isValid());

    const QString gone = dir.path() + QStringLiteral("/gone");
    EXPECT_TRUE(Store::allKeysAtPath(gone, false).isEmpty());
    EXPECT_TRUE(Store::dataForKey(key("none"), gone, true).isNull());
    Store::setData("x", key("x"), gone, true); // silently nothing
    EXPECT_FALSE(QFile::exists(gone));

    // A name outside the user namespace cannot be written by an ordinary program; the write is
    // silent and the read finds nothing.
    Store::setData("x", QStringLiteral("kelp.no-namespace"), file, true);
    EXPECT_TRUE(Store::dataForKey(QStringLiteral("kelp.no-namespace"), file, true).isNull());
}

TEST_F(XattrStoreTest, WithoutTraversalALinkIsReadAsItself)
{
    const QString link = dir.path() + QStringLiteral("/link");
    ASSERT_TRUE(QFile::link(file, link));
    Store::setString(QStringLiteral("on target"), key("note"), file, true);

    EXPECT_EQ(Store::allKeysAtPath(link, true), QStringList{key("note")});
    EXPECT_EQ(Store::stringForKey(key("note"), link, true), QStringLiteral("on target"));
    EXPECT_TRUE(Store::allKeysAtPath(link, false).isEmpty());
    EXPECT_TRUE(Store::dataForKey(key("note"), link, false).isNull());

    // Links cannot carry user attributes: writing to the link itself changes nothing anywhere.
    Store::setString(QStringLiteral("on link"), key("note"), link, false);
    EXPECT_EQ(Store::stringForKey(key("note"), file, true), QStringLiteral("on target"));
    // Following the link writes to the target.
    Store::setString(QStringLiteral("through link"), key("note"), link, true);
    EXPECT_EQ(Store::stringForKey(key("note"), file, false), QStringLiteral("through link"));
}

TEST_F(XattrStoreTest, UnconvertibleValuesThrowAndWriteNothing)
{
    try {
        Store::setString(QStringLiteral("broken ") + QChar(0xD800) + QStringLiteral(" pair"),
                         key("value"), file, true);
        FAIL() << "an unpaired surrogate was written";
    } catch (const XattrStoreError &e) {
        EXPECT_EQ(e.name(), QStringLiteral("CharacterConversionException"));
        EXPECT_EQ(e.reason(), QStringLiteral("Couldn't convert string to UTF8 for xattr storage."));
    }

    for (const QVariant &object :
         {QVariant(QPoint(1, 2)), QVariant(QVariantMap{{QStringLiteral("p"), QPoint(1, 2)}}),
          QVariant()}) {
        try {
            Store::setObject(object, key("value"), file, true);
            ADD_FAILURE() << "no error for " << object.typeName();
        } catch (const XattrStoreError &e) {
            EXPECT_EQ(e.name(), QStringLiteral("ZRXattrMetastoreCantSerialize"));
            EXPECT_FALSE(e.reason().isEmpty());
        }
    }
    EXPECT_TRUE(Store::dataForKey(key("value"), file, true).isNull());

    for (const QByteArray &bytes : {QByteArray("not a plist"), QByteArray("")}) {
        Store::setData(bytes, key("value"), file, true);
        try {
            Store::objectForKey(key("value"), file, true);
            ADD_FAILURE() << "no error for " << bytes.constData();
        } catch (const XattrStoreError &e) {
            EXPECT_EQ(e.name(), QStringLiteral("ZRXattrMetastoreCantUnserialize"));
        }
    }
}

} // namespace
