#include "window/DragPayload.h"

#include <QCborMap>
#include <QCborStreamReader>
#include <QCborValue>

#include <algorithm>

namespace kelp {
namespace {

constexpr auto kFormat = QLatin1StringView("kelp.TQDragPayload");
constexpr auto kFormatKey = QLatin1StringView("format");
constexpr auto kVersionKey = QLatin1StringView("version");
constexpr auto kValuesKey = QLatin1StringView("ivDict");
constexpr auto kAppKey = QLatin1StringView("_app");
constexpr auto kGroupKey = QLatin1StringView("_group");
constexpr auto kBunchKey = QLatin1StringView("_bunch");
constexpr auto kIndexKey = QLatin1StringView("_index");

std::optional<TQDragPayload> refuse(QString *why, const QString &reason)
{
    if (why) *why = reason;
    return std::nullopt;
}

// A number of the payload: a non-negative integer (the "none" index is 2^63 - 1, CBOR's largest
// positive value that fits a signed 64-bit integer).
std::optional<std::uint64_t> count(const QCborMap &values, QLatin1StringView key)
{
    const QCborValue v = values.value(key);
    if (!v.isInteger() || v.toInteger() < 0) return std::nullopt;
    return static_cast<std::uint64_t>(v.toInteger());
}

} // namespace

QByteArray encodeDragPayload(const TQDragPayload &payload)
{
    auto number = [](std::uint64_t v) {
        return QCborValue(static_cast<qint64>(std::min(v, TQDragPayload::kNotFound)));
    };
    QCborMap values;
    values.insert(kAppKey, payload.app);
    values.insert(kGroupKey, number(payload.group));
    values.insert(kBunchKey, number(payload.bunch));
    values.insert(kIndexKey, number(payload.index));
    QCborMap root;
    root.insert(kFormatKey, kFormat);
    root.insert(kVersionKey, kDragPayloadVersion);
    root.insert(kValuesKey, values);
    return root.toCborValue().toCbor();
}

std::optional<TQDragPayload> decodeDragPayload(const QByteArray &bytes, QString *why)
{
    if (bytes.isEmpty()) return refuse(why, QStringLiteral("no data"));
    if (bytes.size() > kDragPayloadMaxBytes)
        return refuse(why, QStringLiteral("%1 bytes, more than a payload holds").arg(bytes.size()));

    QCborStreamReader reader(bytes);
    const QCborValue root = QCborValue::fromCbor(reader);
    if (reader.lastError() != QCborError::NoError)
        return refuse(why, QStringLiteral("not CBOR: ") + reader.lastError().toString());
    if (reader.currentOffset() != bytes.size())
        return refuse(why, QStringLiteral("data after the payload"));

    if (!root.isMap()) return refuse(why, QStringLiteral("not a map"));
    const QCborMap map = root.toMap();
    if (map.value(kFormatKey).toString() != kFormat)
        return refuse(why, QStringLiteral("not a Kelp move"));
    const QCborValue version = map.value(kVersionKey);
    if (!version.isInteger() || version.toInteger() != kDragPayloadVersion)
        return refuse(why, QStringLiteral("payload version %1, this Kelp reads %2")
                               .arg(version.isInteger() ? QString::number(version.toInteger())
                                                        : QStringLiteral("(none)"))
                               .arg(kDragPayloadVersion));
    const QCborValue valuesValue = map.value(kValuesKey);
    if (!valuesValue.isMap()) return refuse(why, QStringLiteral("no values"));
    const QCborMap values = valuesValue.toMap();

    TQDragPayload payload;
    const QCborValue app = values.value(kAppKey);
    if (!app.isString()) return refuse(why, QStringLiteral("no application path"));
    payload.app = app.toString();
    if (payload.app.isEmpty() || !payload.app.startsWith(QLatin1Char('/')) ||
        payload.app.contains(QChar(0)))
        return refuse(why, QStringLiteral("not an absolute path"));

    const auto group = count(values, kGroupKey);
    const auto bunch = count(values, kBunchKey);
    const auto index = count(values, kIndexKey);
    if (!group || !bunch || !index)
        return refuse(why, QStringLiteral("group, bunch or index missing or not a count"));
    if (*group > 9) return refuse(why, QStringLiteral("no group %1").arg(*group));
    payload.group = *group;
    payload.bunch = *bunch;
    payload.index = *index;
    return payload;
}

} // namespace kelp
