#include "extras/Plist.h"

#include "extras/Logging.h"
#include "extras/PlistNesting.h"
#include "extras/RegularFile.h"
#include "extras/VariantKind.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <plist/plist.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace kelp::plist {
namespace {

struct PlistDeleter
{
    void operator()(void *node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

// Seconds between the Unix epoch and the property-list epoch (2001-01-01).
constexpr qint64 kPlistEpochOffset = 978307200;
constexpr int kMaxDepth = kMaxNesting;

// The value of a node. A node Kelp has no form for (a UID, a null) makes *ok false: the document
// is then refused as a whole rather than read with a hole that a later write would make permanent.
QVariant toVariant(plist_t node, int depth, bool *ok)
{
    if (!node || depth > kMaxDepth) {
        *ok = false;
        return {};
    }
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t b = 0;
        plist_get_bool_val(node, &b);
        return QVariant(b != 0);
    }
    case PLIST_UINT: {
        uint64_t v = 0;
        plist_get_uint_val(node, &v);
        return QVariant(static_cast<qint64>(v));
    }
    case PLIST_REAL: {
        double d = 0;
        plist_get_real_val(node, &d);
        return QVariant(d);
    }
    case PLIST_STRING: {
        uint64_t len = 0;
        const char *s = plist_get_string_ptr(node, &len);
        return QVariant(QString::fromUtf8(s, static_cast<qsizetype>(len)));
    }
    case PLIST_DATA: {
        uint64_t len = 0;
        const char *d = plist_get_data_ptr(node, &len);
        return QVariant(QByteArray(d, static_cast<qsizetype>(len)));
    }
    case PLIST_DATE: {
        int32_t sec = 0, usec = 0;
        plist_get_date_val(node, &sec, &usec);
        const qint64 ms = (static_cast<qint64>(sec) + kPlistEpochOffset) * 1000 + usec / 1000;
        return QVariant(QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC));
    }
    case PLIST_ARRAY: {
        QVariantList list;
        const uint32_t n = plist_array_get_size(node);
        list.reserve(static_cast<qsizetype>(n));
        for (uint32_t i = 0; i < n; ++i) {
            QVariant item = toVariant(plist_array_get_item(node, i), depth + 1, ok);
            if (!*ok) return {};
            list.append(std::move(item));
        }
        return QVariant(list);
    }
    case PLIST_DICT: {
        QVariantMap map;
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(node, &it);
        for (;;) {
            char *key = nullptr;
            plist_t val = nullptr;
            plist_dict_next_item(node, it, &key, &val);
            if (!val) {
                free(key);
                break;
            }
            QVariant item = toVariant(val, depth + 1, ok);
            if (key && *ok) map.insert(QString::fromUtf8(key), std::move(item));
            free(key);
            if (!*ok) break;
        }
        free(it);
        if (!*ok) return {};
        return QVariant(map);
    }
    default:
        *ok = false;
        return {};
    }
}

plist_t fromVariant(const QVariant &value, int depth)
{
    if (depth > kMaxDepth) return nullptr;
    switch (variantKind(value)) {
    case VariantKind::Bool:
        return plist_new_bool(value.toBool() ? 1 : 0);
    case VariantKind::Integer:
        return plist_new_uint(static_cast<uint64_t>(value.toLongLong()));
    case VariantKind::Unsigned: {
        const qulonglong u = value.toULongLong();
        const qlonglong clamped = u > static_cast<qulonglong>(std::numeric_limits<qint64>::max())
                                      ? std::numeric_limits<qint64>::max()
                                      : static_cast<qlonglong>(u);
        return plist_new_uint(static_cast<uint64_t>(clamped));
    }
    case VariantKind::Real:
        return plist_new_real(value.toDouble());
    case VariantKind::String:
        return plist_new_string(value.toString().toUtf8().constData());
    case VariantKind::Data: {
        const QByteArray bytes = value.toByteArray();
        return plist_new_data(bytes.constData(), static_cast<uint64_t>(bytes.size()));
    }
    case VariantKind::Date: {
        // Seconds since 2001 in 32 bits (1933 to 2069): a date beyond is kept at the nearest end
        // rather than wrapped round to a date on the other side. Milliseconds before 1970 round
        // down, so the fraction is never negative.
        const qint64 ms = value.toDateTime().toMSecsSinceEpoch();
        const qint64 floorSec = ms / 1000 - (ms % 1000 < 0 ? 1 : 0);
        const qint64 fractionMs = ms - floorSec * 1000;
        const qint64 sec =
            std::clamp<qint64>(floorSec - kPlistEpochOffset, std::numeric_limits<int32_t>::min(),
                               std::numeric_limits<int32_t>::max());
        const qint64 usec = sec == floorSec - kPlistEpochOffset ? fractionMs * 1000 : 0;
        return plist_new_date(static_cast<int32_t>(sec), static_cast<int32_t>(usec));
    }
    case VariantKind::Array: {
        plist_t array = plist_new_array();
        const QVariantList list = value.toList();
        for (const QVariant &item : list) {
            if (plist_t child = fromVariant(item, depth + 1)) plist_array_append_item(array, child);
        }
        return array;
    }
    case VariantKind::Dictionary: {
        plist_t dict = plist_new_dict();
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            if (plist_t child = fromVariant(it.value(), depth + 1))
                plist_dict_set_item(dict, it.key().toUtf8().constData(), child);
        }
        return dict;
    }
    default:
        qCWarning(lcExtras) << "Value of type" << value.typeName()
                            << "has no property-list form; not written";
        return nullptr;
    }
}

FileBytes readResource(const QString &path)
{
    FileBytes out;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        out.status = file.exists() ? FileBytes::Unreadable : FileBytes::Missing;
        out.error = file.errorString();
        return out;
    }
    out.bytes = file.readAll();
    out.status = FileBytes::Ok;
    return out;
}

} // namespace

QVariant fromData(const QByteArray &bytes, QString *error)
{
    auto fail = [error](const QString &why) {
        if (error) *error = why;
        return QVariant();
    };
    if (bytes.isEmpty()) return fail(QStringLiteral("empty file"));
    if (bytes.size() > std::numeric_limits<int32_t>::max())
        return fail(QStringLiteral("too large"));
    QString why;
    if (!nestingWithin(bytes, kMaxDepth, &why)) return fail(why);
    plist_t root = nullptr;
    plist_from_memory(bytes.constData(), static_cast<uint32_t>(bytes.size()), &root);
    PlistPtr guard(root);
    if (!root) return fail(QStringLiteral("not a property list"));
    bool ok = true;
    QVariant value = toVariant(root, 0, &ok);
    if (!ok) return fail(QStringLiteral("it holds a value Kelp cannot keep (a UID or a null)"));
    return value;
}

QByteArray toXml(const QVariant &value)
{
    PlistPtr root(fromVariant(value, 0));
    if (!root) return {};
    char *xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(static_cast<plist_t>(root.get()), &xml, &length);
    QByteArray out(xml, static_cast<qsizetype>(length));
    plist_to_xml_free(xml);
    return out;
}

ReadResult readFile(const QString &path)
{
    ReadResult result;
    // Kelp's own resources (":/kelp/...") are compiled in, not files.
    const FileBytes file =
        path.startsWith(QLatin1Char(':')) ? readResource(path) : readRegularFile(path);
    switch (file.status) {
    case FileBytes::Ok:
        break;
    case FileBytes::Missing:
        result.status = ReadResult::Missing;
        return result;
    case FileBytes::TooLarge:
        // Too large to be one of Kelp's: kept aside like any other file that cannot be read.
        result.status = ReadResult::Corrupt;
        result.error = file.error;
        return result;
    case FileBytes::Unreadable:
    case FileBytes::NotRegular:
    case FileBytes::BadPath:
        result.status = ReadResult::Unreadable;
        result.error = file.error;
        return result;
    }
    result.value = fromData(file.bytes, &result.error);
    if (!result.value.isValid()) {
        result.status = ReadResult::Corrupt;
        return result;
    }
    result.status = ReadResult::Ok;
    return result;
}

bool writeXmlFile(const QString &path, const QVariant &value, QString *error)
{
    const QByteArray xml = toXml(value);
    if (xml.isEmpty()) {
        if (error) *error = QStringLiteral("nothing to write");
        return false;
    }
    // Unbuffered, and the size checked before the swap: a short write (disk full, file size
    // limit) must never replace a good file with a cut-off one.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        if (error) *error = file.errorString();
        return false;
    }
    if (file.write(xml) != xml.size() || file.size() != xml.size()) {
        if (error)
            *error =
                file.errorString().isEmpty() ? QStringLiteral("short write") : file.errorString();
        file.cancelWriting();
        return false;
    }
    if (!file.commit()) {
        if (error) *error = file.errorString();
        return false;
    }
    return true;
}

} // namespace kelp::plist
