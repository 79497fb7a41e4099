#include "settings/ValueTransformers.h"

#include "extras/DesktopEntryKeys.h"

#include "extras/TextNumbers.h"
#include "extras/VariantKind.h"

#include <QCoreApplication>
#include <QDate>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFont>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHash>
#include <QIcon>
#include <QImage>
#include <QLocale>
#include <QMimeDatabase>
#include <QPainter>
#include <QPixmap>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <optional>

namespace kelp {
namespace {

constexpr int kIconSide = 16;

bool isNothing(const QVariant &v)
{
    return v.isNull();
}

[[noreturn]] void lacks(const QVariant &v, const char *method)
{
    throw TransformerError(QStringLiteral("Value %1 does not respond to %2")
                               .arg(QString::fromLatin1(v.typeName()), QLatin1String(method))
                               .toStdString());
}

qint64 truncated(double d)
{
    if (std::isnan(d)) return 0;
    constexpr double kLimit = 9.2233720368547758e18;
    if (d >= kLimit) return std::numeric_limits<qint64>::max();
    if (d <= -kLimit) return std::numeric_limits<qint64>::min();
    return static_cast<qint64>(d);
}

// Numbers and strings have a numeric and a boolean value; nothing else does.
double doubleValue(const QVariant &v, const char *method = "floatValue")
{
    if (v.typeId() == QMetaType::QString) return leadingNumber(v.toString());
    if (!holdsNumber(v)) lacks(v, method);
    return v.toDouble();
}

qint64 integerValue(const QVariant &v)
{
    if (v.typeId() == QMetaType::QString) return truncated(leadingNumber(v.toString()));
    if (!holdsNumber(v)) lacks(v, "integerValue");
    if (v.typeId() == QMetaType::Double || v.typeId() == QMetaType::Float)
        return truncated(v.toDouble());
    return v.toLongLong();
}

bool boolValue(const QVariant &v)
{
    if (v.typeId() == QMetaType::QString) return textIsTrue(v.toString());
    if (!holdsNumber(v)) lacks(v, "boolValue");
    return v.toDouble() != 0.0;
}

std::optional<qsizetype> elementCount(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        return v.toList().size();
    case QMetaType::QVariantMap:
        return v.toMap().size();
    case QMetaType::QVariantHash:
        return v.toHash().size();
    default:
        return std::nullopt;
    }
}

std::optional<qsizetype> length(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::QString:
        return v.toString().size();
    case QMetaType::QByteArray:
        return v.toByteArray().size();
    default:
        return std::nullopt;
    }
}

bool anythingToBool(const QVariant &v)
{
    if (isNothing(v)) return false;
    if (const auto count = elementCount(v)) return *count != 0;
    if (const auto len = length(v)) return *len != 0;
    return integerValue(v) != 0;
}

QString expandTilde(const QString &path)
{
    if (path == u'~') return QDir::homePath();
    if (path.startsWith(QStringLiteral("~/"))) return QDir::homePath() + path.mid(1);
    return path;
}

QImage placeholderImage()
{
    QImage image(kIconSide, kIconSide, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(QColor(128, 128, 128), 1.5));
    p.drawRoundedRect(QRectF(1.5, 1.5, kIconSide - 3, kIconSide - 3), 3, 3);
    p.drawLine(QPointF(4.5, 4.5), QPointF(kIconSide - 4.5, kIconSide - 4.5));
    p.drawLine(QPointF(kIconSide - 4.5, 4.5), QPointF(4.5, kIconSide - 4.5));
    return image;
}

QImage imageOf(const QIcon &icon)
{
    if (icon.isNull()) return {};
    QImage image = icon.pixmap(QSize(kIconSide, kIconSide)).toImage();
    if (image.isNull()) return {};
    if (image.size() != QSize(kIconSide, kIconSide))
        image = image.scaled(kIconSide, kIconSide, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image;
}

QIcon iconForExistingFile(const QString &path)
{
    if (path.endsWith(QStringLiteral(".desktop"))) {
        const QString name = desktopEntryKeys(path).value(QStringLiteral("Icon"));
        if (QDir::isAbsolutePath(name)) return QFileInfo::exists(name) ? QIcon(name) : QIcon();
        if (!name.isEmpty()) return QIcon::fromTheme(name);
        return {};
    }
    if (QFileInfo(path).isDir()) return QIcon::fromTheme(QStringLiteral("folder"));
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path);
    return QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName()));
}

// A 16 by 16 image of the file's icon; the "not found" image when the file does not exist.
QImage iconImageForPath(const QString &rawPath)
{
    const QString path = expandTilde(rawPath);
    if (!path.isEmpty() && QFileInfo::exists(path)) {
        QImage image = imageOf(iconForExistingFile(path));
        if (!image.isNull()) return image;
    }
    // Kelp's own image when the build bundles one, else the theme's.
    QImage image = imageOf(QIcon(QStringLiteral(":/images/notfound.png")));
    if (image.isNull()) image = imageOf(QIcon::fromTheme(QStringLiteral("image-missing")));
    return image.isNull() ? placeholderImage() : image;
}

QDateTime parseDateText(const QString &text)
{
    const QString s = text.trimmed();
    QDateTime dt = QDateTime::fromString(s, Qt::ISODateWithMs);
    if (dt.isValid()) return dt;
    // The form dates print themselves in: "2024-05-13 14:30:00 +0000".
    static const QRegularExpression described(QStringLiteral(
        R"(^(\d{4}-\d{2}-\d{2})[ T](\d{2}:\d{2}:\d{2})(?:\s*(Z|[+-]\d{2}:?\d{2}))?$)"));
    const QRegularExpressionMatch m = described.match(s);
    if (m.hasMatch()) {
        QString zone = m.captured(3);
        if (zone.size() == 5) zone.insert(3, u':');
        dt = QDateTime::fromString(m.captured(1) + u'T' + m.captured(2) + zone, Qt::ISODate);
        if (dt.isValid()) return dt;
    }
    return {};
}

class AnythingToBool : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override { return anythingToBool(v); }
};

class AnythingToBoolNegated : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override { return !anythingToBool(v); }
};

class BoolToString : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override
    {
        if (isNothing(v)) return QStringLiteral("--");
        return boolValue(v) ? QStringLiteral("YES") : QStringLiteral("NO");
    }
};

class FloatGreaterThanZero : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override
    {
        return !isNothing(v) && doubleValue(v) > 0.0;
    }
};

class IntegerNotZero : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override
    {
        return !isNothing(v) && integerValue(v) != 0;
    }
};

class IntegerIsTwo : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override
    {
        return !isNothing(v) && integerValue(v) == 2;
    }
};

class FloatToPercent : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override
    {
        if (isNothing(v)) return {};
        const double percent = std::floor(doubleValue(v) * 100.0 + 0.5);
        const auto shown = static_cast<int>(std::clamp(std::isnan(percent) ? 0.0 : percent,
                                                       double(std::numeric_limits<int>::min()),
                                                       double(std::numeric_limits<int>::max())));
        return QString::asprintf("%d%%", shown);
    }
};

class NormalizedFloatToUnsignedChar : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override
    {
        if (isNothing(v)) return {};
        double x = doubleValue(v);
        x = std::isnan(x) ? 0.0 : std::clamp(x, 0.0, 1.0);
        return static_cast<qint64>(static_cast<quint8>(x * 255.0 + 0.5));
    }
    bool allowsReverseTransformation() const override { return true; }
    QVariant reverseTransform(const QVariant &v) const override
    {
        if (isNothing(v)) return {};
        const qint64 byte = std::clamp<qint64>(integerValue(v), 0, 255);
        return static_cast<double>(byte) / 255.0;
    }
};

class NormalizedFloatToDegrees : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override
    {
        if (isNothing(v)) return {};
        return doubleValue(v, "doubleValue") * 360.0;
    }
    bool allowsReverseTransformation() const override { return true; }
    QVariant reverseTransform(const QVariant &v) const override
    {
        if (isNothing(v)) return {};
        return doubleValue(v, "doubleValue") / 360.0;
    }
};

// Nothing reads as 0, as a missing number does in a binding.
class RadiansToDegrees : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override
    {
        return isNothing(v) ? 0.0 : doubleValue(v, "doubleValue") * 180.0 / std::numbers::pi;
    }
    bool allowsReverseTransformation() const override { return true; }
    QVariant reverseTransform(const QVariant &v) const override
    {
        return isNothing(v) ? 0.0 : doubleValue(v, "doubleValue") * std::numbers::pi / 180.0;
    }
};

// The weekday, in English, of a date or of a text that reads as one; nothing for anything else.
class DateToWeekday : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override
    {
        if (isNothing(v)) return {};
        QDate date;
        if (v.typeId() == QMetaType::QDate) {
            date = v.toDate();
        } else if (v.typeId() == QMetaType::QDateTime) {
            date = v.toDateTime().toLocalTime().date();
        } else {
            const QString text = v.toString();
            const QDateTime dt = parseDateText(text);
            date = dt.isValid() ? dt.toLocalTime().date()
                                : QDate::fromString(text.trimmed(), Qt::ISODate);
        }
        if (!date.isValid()) return {};
        return QLocale(QLocale::English).dayName(date.dayOfWeek(), QLocale::LongFormat);
    }
};

// "DejaVu Sans" gives "DejaVu Sans", "DejaVu Sans Bold" or "DejaVu Sans-Bold" gives
// "DejaVu Sans Bold"; a name no installed font has gives nothing. Needs the GUI application.
class FontNameToDisplayName : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override
    {
        if (isNothing(v) || !qGuiApp) return {};
        const QString name = v.toString().trimmed();
        if (name.isEmpty()) return {};
        const QStringList families = QFontDatabase::families();
        for (const QString &family : families) {
            if (family.compare(name, Qt::CaseInsensitive) == 0) return family;
        }
        for (const QString &family : families) {
            if (name.size() <= family.size() + 1 || !name.startsWith(family, Qt::CaseInsensitive))
                continue;
            const QChar separator = name.at(family.size());
            if (separator != u' ' && separator != u'-') continue;
            const QString style = name.mid(family.size() + 1);
            const QStringList styles = QFontDatabase::styles(family);
            for (const QString &s : styles) {
                if (s.compare(style, Qt::CaseInsensitive) == 0) return family + u' ' + s;
            }
        }
        return {};
    }
};

class PathToIcon : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override
    {
        if (isNothing(v)) return {};
        return iconImageForPath(v.toString());
    }
};

class BundleIdentifierToIcon : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override
    {
        if (isNothing(v)) return {};
        const QString id = v.toString();
        if (id.isEmpty()) return {};
        return iconImageForPath(desktopEntryPathForId(id));
    }
};

class BundleIdentifierToDisplayName : public ValueTransformer
{
public:
    QVariant transform(const QVariant &v) const override
    {
        if (isNothing(v)) return {};
        const QString id = v.toString();
        if (id.isEmpty()) return {};
        const QString path = desktopEntryPathForId(id);
        if (path.isEmpty())
            return QCoreApplication::translate("kelp::ValueTransformers", "%1 (missing)").arg(id);
        const QString name = desktopEntryDisplayName(path);
        return name.isEmpty() ? id : name;
    }
};

using Registry = QHash<QString, std::shared_ptr<const ValueTransformer>>;

const Registry &registry()
{
    static const Registry transformers = [] {
        Registry r;
        r.insert(QStringLiteral("TQAnythingToBoolTransformer"), std::make_shared<AnythingToBool>());
        r.insert(QStringLiteral("TQAnythingToBoolNegatedTransformer"),
                 std::make_shared<AnythingToBoolNegated>());
        r.insert(QStringLiteral("TQBoolToStringTransformer"), std::make_shared<BoolToString>());
        r.insert(QStringLiteral("TQFloatGreaterThanZeroTransformer"),
                 std::make_shared<FloatGreaterThanZero>());
        r.insert(QStringLiteral("TQIntegerNotZeroTransformer"), std::make_shared<IntegerNotZero>());
        r.insert(QStringLiteral("TQIntegerIsTwoTransformer"), std::make_shared<IntegerIsTwo>());
        r.insert(QStringLiteral("TQFloatToPercentValueTransformer"),
                 std::make_shared<FloatToPercent>());
        r.insert(QStringLiteral("TQNormalizedFloatToUnsignedCharTransformer"),
                 std::make_shared<NormalizedFloatToUnsignedChar>());
        r.insert(QStringLiteral("TQNormalizedFloatToDegreesTransformer"),
                 std::make_shared<NormalizedFloatToDegrees>());
        r.insert(QStringLiteral("TQRadiansToDegreesTransformer"),
                 std::make_shared<RadiansToDegrees>());
        r.insert(QStringLiteral("TQDateToWeekdayValueTransformer"),
                 std::make_shared<DateToWeekday>());
        r.insert(QStringLiteral("TQFontNameToDisplayNameTransformer"),
                 std::make_shared<FontNameToDisplayName>());
        r.insert(QStringLiteral("TQPathToIconValueTransformer"), std::make_shared<PathToIcon>());
        r.insert(QStringLiteral("TQBundleIdentifierToIconValueTransformer"),
                 std::make_shared<BundleIdentifierToIcon>());
        r.insert(QStringLiteral("TQBundleIdentifierToDisplayNameTransformer"),
                 std::make_shared<BundleIdentifierToDisplayName>());
        return r;
    }();
    return transformers;
}

} // namespace

QVariant ValueTransformer::reverseTransform(const QVariant &) const
{
    throw TransformerError("This transformer has no reverse transformation");
}

const ValueTransformer *ValueTransformer::named(const QString &name)
{
    const auto it = registry().constFind(name);
    return it != registry().cend() ? it.value().get() : nullptr;
}

QStringList ValueTransformer::names()
{
    QStringList list = registry().keys();
    list.sort();
    return list;
}

QString desktopEntryPathForId(const QString &id)
{
    // An ID names a file in an application folder, never a path elsewhere.
    if (id.isEmpty() || id.contains(u'/')) return {};
    const QStringList candidates = id.endsWith(QStringLiteral(".desktop"))
                                       ? QStringList{id}
                                       : QStringList{id + QStringLiteral(".desktop"), id};
    for (const QString &candidate : candidates) {
        const QString path =
            QStandardPaths::locate(QStandardPaths::ApplicationsLocation, candidate);
        if (!path.isEmpty() && QFileInfo(path).isFile()) return path;
    }
    return {};
}

QString desktopEntryDisplayName(const QString &desktopFilePath)
{
    if (desktopFilePath.isEmpty() || !QFileInfo(desktopFilePath).isFile()) return {};
    const QHash<QString, QString> keys = desktopEntryKeys(desktopFilePath);
    const QString locale = QLocale().name(); // "de_DE"
    const QString language = locale.section(u'_', 0, 0);
    for (const QString &key : {QStringLiteral("Name[%1]").arg(locale),
                               QStringLiteral("Name[%1]").arg(language), QStringLiteral("Name")}) {
        const QString name = keys.value(key);
        if (!name.isEmpty()) return name;
    }
    QString fileName = QFileInfo(desktopFilePath).fileName();
    if (fileName.endsWith(QStringLiteral(".desktop"))) fileName.chop(8);
    return fileName;
}

} // namespace kelp
