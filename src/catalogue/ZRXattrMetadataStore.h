#pragma once
// ZRXattrMetadataStore: named extended attributes of a file, read and written as raw bytes, as
// UTF-8 text or as XML property lists. Stateless; class methods only.
//
// Names are passed through unchanged. On Linux an unprivileged program can only use attributes in
// the "user." namespace, so callers pass full names such as "user.kelp.note"; other namespaces
// simply fail (reads give nothing, writes do nothing). Symbolic links cannot carry "user."
// attributes on Linux, so with traverseLink false a link always lists as empty.
//
// Every operation takes traverseLink: true follows a symbolic link at the path, false acts on the
// link itself. Missing files and attributes give a null result; write failures are silent. Only
// values that cannot be converted throw XattrStoreError.
#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <stdexcept>

namespace kelp {

class XattrStoreError : public std::runtime_error
{
public:
    XattrStoreError(QString name, QString reason);
    // "ZRXattrMetastoreCantSerialize", "ZRXattrMetastoreCantUnserialize" or
    // "CharacterConversionException".
    const QString &name() const { return m_name; }
    const QString &reason() const { return m_reason; }

private:
    QString m_name;
    QString m_reason;
};

class ZRXattrMetadataStore
{
public:
    ZRXattrMetadataStore() = delete;

    static QStringList allKeysAtPath(const QString &path, bool traverseLink);

    // The value's bytes; a null QByteArray when the attribute or file is missing. An attribute with
    // an empty value gives an empty, non-null QByteArray.
    static QByteArray dataForKey(const QString &key, const QString &path, bool traverseLink);
    // The value decoded as UTF-8; a null QString when missing or not valid UTF-8.
    static QString stringForKey(const QString &key, const QString &path, bool traverseLink);
    // The value parsed as a property list; an invalid QVariant when missing. Throws
    // ZRXattrMetastoreCantUnserialize when the bytes are not a property list.
    static QVariant objectForKey(const QString &key, const QString &path, bool traverseLink);

    static void setData(const QByteArray &data, const QString &key, const QString &path,
                        bool traverseLink);
    // Throws CharacterConversionException when the string is not valid UTF-16 (an unpaired
    // surrogate), writing nothing.
    static void setString(const QString &string, const QString &key, const QString &path,
                          bool traverseLink);
    // Writes an XML property list. Throws ZRXattrMetastoreCantSerialize, writing nothing, when the
    // value (or anything inside it) has no property-list form.
    static void setObject(const QVariant &object, const QString &key, const QString &path,
                          bool traverseLink);
};

} // namespace kelp
