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
        file = dir.path() + QStringLiteral("/target");
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

    QTemporaryDir dir;
    QString file;
};

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

TEST_F(XattrStoreTest, BytesTextAndPropertyListsRoundTrip)
{
    const QByteArray bytes("a\0b\xff", 4);
    const QString text = QStringLiteral("Grüße \U0001F30A");
    const QVariantMap object{
        {QStringLiteral("list"), QVariantList{qint64(1), QStringLiteral("x"), true}},
        {QStringLiteral("data"), bytes},
        {QStringLiteral("when"), QDateTime(QDate(2024, 5, 13), QTime(8, 0), QTimeZone::utc())},
    };
    Store::setData(bytes, QStringLiteral("user.kelp.data"), file, true);
    Store::setString(text, QStringLiteral("user.kelp.text"), file, true);
    Store::setObject(object, QStringLiteral("user.kelp.object"), file, true);

    EXPECT_EQ(Store::dataForKey(QStringLiteral("user.kelp.data"), file, true), bytes);
    EXPECT_EQ(Store::stringForKey(QStringLiteral("user.kelp.text"), file, true), text);
    EXPECT_EQ(Store::dataForKey(QStringLiteral("user.kelp.text"), file, true), text.toUtf8())
        << "text is stored as bare UTF-8";
    EXPECT_EQ(Store::objectForKey(QStringLiteral("user.kelp.object"), file, false),
              QVariant(object));
    EXPECT_TRUE(
        Store::dataForKey(QStringLiteral("user.kelp.object"), file, true).startsWith("<?xml"));
    EXPECT_EQ(sorted(Store::allKeysAtPath(file, true)),
              QStringList({QStringLiteral("user.kelp.data"), QStringLiteral("user.kelp.object"),
                           QStringLiteral("user.kelp.text")}));

    // Rewriting replaces the value, longer or shorter.
    Store::setString(QStringLiteral("x"), QStringLiteral("user.kelp.text"), file, true);
    EXPECT_EQ(Store::stringForKey(QStringLiteral("user.kelp.text"), file, true),
              QStringLiteral("x"));
}

TEST_F(XattrStoreTest, AnEmptyValueIsPresentButEmpty)
{
    Store::setData(QByteArray(), QStringLiteral("user.kelp.empty"), file, true);
    const QByteArray data = Store::dataForKey(QStringLiteral("user.kelp.empty"), file, true);
    EXPECT_FALSE(data.isNull());
    EXPECT_TRUE(data.isEmpty());
    const QString text = Store::stringForKey(QStringLiteral("user.kelp.empty"), file, true);
    EXPECT_FALSE(text.isNull());
    EXPECT_TRUE(text.isEmpty());
    EXPECT_EQ(Store::allKeysAtPath(file, true), QStringList{QStringLiteral("user.kelp.empty")});
}

TEST_F(XattrStoreTest, MissingAttributesAndFilesGiveNothing)
{
    EXPECT_TRUE(Store::allKeysAtPath(file, true).isEmpty());
    EXPECT_TRUE(Store::dataForKey(QStringLiteral("user.kelp.none"), file, true).isNull());
    EXPECT_TRUE(Store::stringForKey(QStringLiteral("user.kelp.none"), file, true).isNull());
    EXPECT_FALSE(Store::objectForKey(QStringLiteral("user.kelp.none"), file, true).isValid());

    const QString gone = dir.path() + QStringLiteral("/gone");
    EXPECT_TRUE(Store::allKeysAtPath(gone, false).isEmpty());
    EXPECT_TRUE(Store::dataForKey(QStringLiteral("user.kelp.none"), gone, true).isNull());
    Store::setData("x", QStringLiteral("user.kelp.x"), gone, true); // silently nothing
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
    Store::setString(QStringLiteral("on target"), QStringLiteral("user.kelp.note"), file, true);

    EXPECT_EQ(Store::allKeysAtPath(link, true), QStringList{QStringLiteral("user.kelp.note")});
    EXPECT_EQ(Store::stringForKey(QStringLiteral("user.kelp.note"), link, true),
              QStringLiteral("on target"));
    EXPECT_TRUE(Store::allKeysAtPath(link, false).isEmpty());
    EXPECT_TRUE(Store::dataForKey(QStringLiteral("user.kelp.note"), link, false).isNull());

    // Links cannot carry user attributes: writing to the link itself changes nothing anywhere.
    Store::setString(QStringLiteral("on link"), QStringLiteral("user.kelp.note"), link, false);
    EXPECT_EQ(Store::stringForKey(QStringLiteral("user.kelp.note"), file, true),
              QStringLiteral("on target"));
    // Following the link writes to the target.
    Store::setString(QStringLiteral("through link"), QStringLiteral("user.kelp.note"), link, true);
    EXPECT_EQ(Store::stringForKey(QStringLiteral("user.kelp.note"), file, false),
              QStringLiteral("through link"));
}

TEST_F(XattrStoreTest, BytesThatAreNotUtf8AreNoString)
{
    Store::setData(QByteArray("\xff\xfe\x80", 3), QStringLiteral("user.kelp.raw"), file, true);
    EXPECT_TRUE(Store::stringForKey(QStringLiteral("user.kelp.raw"), file, true).isNull());
    EXPECT_EQ(Store::dataForKey(QStringLiteral("user.kelp.raw"), file, true).size(), 3);
}

TEST_F(XattrStoreTest, UnconvertibleValuesThrowAndWriteNothing)
{
    const QString key = QStringLiteral("user.kelp.value");
    try {
        Store::setString(QStringLiteral("broken ") + QChar(0xD800) + QStringLiteral(" pair"), key,
                         file, true);
        FAIL() << "an unpaired surrogate was written";
    } catch (const XattrStoreError &e) {
        EXPECT_EQ(e.name(), QStringLiteral("CharacterConversionException"));
        EXPECT_EQ(e.reason(), QStringLiteral("Couldn't convert string to UTF8 for xattr storage."));
    }

    for (const QVariant &object :
         {QVariant(QPoint(1, 2)), QVariant(QVariantMap{{QStringLiteral("p"), QPoint(1, 2)}}),
          QVariant()}) {
        try {
            Store::setObject(object, key, file, true);
            ADD_FAILURE() << "no error for " << object.typeName();
        } catch (const XattrStoreError &e) {
            EXPECT_EQ(e.name(), QStringLiteral("ZRXattrMetastoreCantSerialize"));
            EXPECT_FALSE(e.reason().isEmpty());
        }
    }
    EXPECT_TRUE(Store::dataForKey(key, file, true).isNull());

    for (const QByteArray &bytes : {QByteArray("not a plist"), QByteArray("")}) {
        Store::setData(bytes, key, file, true);
        try {
            Store::objectForKey(key, file, true);
            ADD_FAILURE() << "no error for " << bytes.constData();
        } catch (const XattrStoreError &e) {
            EXPECT_EQ(e.name(), QStringLiteral("ZRXattrMetastoreCantUnserialize"));
        }
    }
}

} // namespace
