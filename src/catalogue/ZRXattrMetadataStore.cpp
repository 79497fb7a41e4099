#include "catalogue/ZRXattrMetadataStore.h"

#include "extras/Plist.h"
#include "extras/VariantKind.h"

#include <QFile>
#include <QStringDecoder>

#include <sys/types.h>
#include <sys/xattr.h>

#include <cerrno>

namespace kelp {
namespace {

const QString kCantSerialize = QStringLiteral("ZRXattrMetastoreCantSerialize");
const QString kCantUnserialize = QStringLiteral("ZRXattrMetastoreCantUnserialize");
const QString kConversion = QStringLiteral("CharacterConversionException");

// A value may change size between asking for its size and reading it; a few attempts settle that.
constexpr int kReadAttempts = 4;

ssize_t listNames(const QByteArray &path, char *buffer, size_t size, bool traverseLink)
{
    return traverseLink ? ::listxattr(path.constData(), buffer, size)
                        : ::llistxattr(path.constData(), buffer, size);
}

ssize_t getValue(const QByteArray &path, const QByteArray &name, void *buffer, size_t size,
                 bool traverseLink)
{
    return traverseLink ? ::getxattr(path.constData(), name.constData(), buffer, size)
                        : ::lgetxattr(path.constData(), name.constData(), buffer, size);
}

// The first value inside `value` that a property list cannot hold, as a description; empty when
// everything can be written.
QString unserialisablePart(const QVariant &value)
{
    switch (variantKind(value)) {
    case VariantKind::Bool:
    case VariantKind::Integer:
    case VariantKind::Unsigned:
    case VariantKind::Real:
    case VariantKind::String:
    case VariantKind::Data:
    case VariantKind::Date:
        return {};
    case VariantKind::Array: {
        const QVariantList list = value.toList();
        for (const QVariant &item : list) {
            QString bad = unserialisablePart(item);
            if (!bad.isEmpty()) return bad;
        }
        return {};
    }
    case VariantKind::Dictionary: {
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            QString bad = unserialisablePart(it.value());
            if (!bad.isEmpty()) return bad;
        }
        return {};
    }
    default:
        return value.isValid() ? QStringLiteral("Property list invalid for format: a value of "
                                                "type %1 has no property-list form")
                                     .arg(QString::fromLatin1(value.typeName()))
                               : QStringLiteral("Property list invalid for format: no value");
    }
}

bool hasUnpairedSurrogate(const QString &s)
{
    for (qsizetype i = 0; i < s.size(); ++i) {
        const QChar c = s.at(i);
        if (c.isHighSurrogate()) {
            if (i + 1 < s.size() && s.at(i + 1).isLowSurrogate()) {
                ++i;
                continue;
            }
            return true;
        }
        if (c.isLowSurrogate()) return true;
    }
    return false;
}

} // namespace

XattrStoreError::XattrStoreError(QString name, QString reason)
    : std::runtime_error((name + QStringLiteral(": ") + reason).toStdString()),
      m_name(std::move(name)), m_reason(std::move(reason))
{}

QStringList ZRXattrMetadataStore::allKeysAtPath(const QString &path, bool traverseLink)
{
    const QByteArray native = QFile::encodeName(path);
    for (int attempt = 0; attempt < kReadAttempts; ++attempt) {
        const ssize_t size = listNames(native, nullptr, 0, traverseLink);
        if (size <= 0) return {};
        QByteArray buffer(size, Qt::Uninitialized);
        const ssize_t got = listNames(native, buffer.data(), buffer.size(), traverseLink);
        if (got < 0) {
            if (errno == ERANGE) continue; // grew meanwhile
            return {};
        }
        QStringList names;
        qsizetype start = 0;
        for (qsizetype i = 0; i < got; ++i) {
            if (buffer.at(i) != '\0') continue;
            names.append(QString::fromUtf8(buffer.constData() + start, i - start));
            start = i + 1;
        }
        return names;
    }
    return {};
}

QByteArray ZRXattrMetadataStore::dataForKey(const QString &key, const QString &path,
                                            bool traverseLink)
{
    const QByteArray native = QFile::encodeName(path);
    const QByteArray name = key.toUtf8();
    for (int attempt = 0; attempt < kReadAttempts; ++attempt) {
        const ssize_t size = getValue(native, name, nullptr, 0, traverseLink);
        if (size < 0) return {};
        if (size == 0) return QByteArray("", 0); // present but empty: not null
        QByteArray value(size, Qt::Uninitialized);
        const ssize_t got = getValue(native, name, value.data(), value.size(), traverseLink);
        if (got < 0) {
            if (errno == ERANGE) continue; // grew meanwhile
            return {};
        }
        value.truncate(got);
        if (value.isNull()) return QByteArray("", 0);
        return value;
    }
    return {};
}

QString ZRXattrMetadataStore::stringForKey(const QString &key, const QString &path,
                                           bool traverseLink)
{
    const QByteArray bytes = dataForKey(key, path, traverseLink);
    if (bytes.isNull()) return {};
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError()) return {};
    if (text.isNull()) text = QStringLiteral("");
    return text;
}

QVariant ZRXattrMetadataStore::objectForKey(const QString &key, const QString &path,
                                            bool traverseLink)
{
    const QByteArray bytes = dataForKey(key, path, traverseLink);
    if (bytes.isNull()) return {};
    QVariant object = plist::fromData(bytes);
    if (!object.isValid()) {
        throw XattrStoreError(kCantUnserialize,
                              bytes.isEmpty()
                                  ? QStringLiteral("The value is empty, not a property list.")
                                  : QStringLiteral("The value is not a property list."));
    }
    return object;
}

void ZRXattrMetadataStore::setData(const QByteArray &data, const QString &key, const QString &path,
                                   bool traverseLink)
{
    const QByteArray native = QFile::encodeName(path);
    const QByteArray name = key.toUtf8();
    // Failures (no such file, read-only file system, no attribute support) are deliberately
    // ignored: the attributes are diagnostics, never needed for Kelp to work.
    if (traverseLink)
        ::setxattr(native.constData(), name.constData(), data.constData(),
                   static_cast<size_t>(data.size()), 0);
    else
        ::lsetxattr(native.constData(), name.constData(), data.constData(),
                    static_cast<size_t>(data.size()), 0);
}

void ZRXattrMetadataStore::setString(const QString &string, const QString &key, const QString &path,
                                     bool traverseLink)
{
    if (hasUnpairedSurrogate(string)) {
        throw XattrStoreError(kConversion,
                              QStringLiteral("Couldn't convert string to UTF8 for xattr storage."));
    }
    setData(string.toUtf8(), key, path, traverseLink);
}

void ZRXattrMetadataStore::setObject(const QVariant &object, const QString &key,
                                     const QString &path, bool traverseLink)
{
    const QString problem = unserialisablePart(object);
    if (!problem.isEmpty()) throw XattrStoreError(kCantSerialize, problem);
    const QByteArray xml = plist::toXml(object);
    if (xml.isEmpty())
        throw XattrStoreError(kCantSerialize, QStringLiteral("The value could not be serialised."));
    setData(xml, key, path, traverseLink);
}

} // namespace kelp
