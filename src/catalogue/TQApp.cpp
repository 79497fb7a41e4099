#include "catalogue/TQApp.h"

#include "catalogue/NameLetters.h"
#include "catalogue/ZRXattrMetadataStore.h"
#include "extras/Logging.h"
#include "extras/Plist.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QPainter>

#include <atomic>

namespace kelp {

TQApp::TQApp(const QString &path) : _path(standardizePath(path)), _icon(dotImage())
{
    _foldedName = name().toCaseFolded();
}

QString TQApp::standardizePath(const QString &path)
{
    if (path.isEmpty()) return QString();
    QString p = path;
    if (p == QLatin1String("~"))
        p = QDir::homePath();
    else if (p.startsWith(QLatin1String("~/")))
        p = QDir::homePath() + p.mid(1);
    return QDir::cleanPath(p);
}

bool TQApp::setPath(const QString &path)
{
    const QString standard = standardizePath(path);
    if (standard == _path) return false;
    _path = standard;
    _displayName.clear();
    _foldedName = name().toCaseFolded();
    return true;
}

QString TQApp::fileBaseName() const
{
    const qsizetype slash = _path.lastIndexOf(QLatin1Char('/'));
    const QStringView last = QStringView(_path).mid(slash + 1);
    const qsizetype dot = last.lastIndexOf(QLatin1Char('.'));
    return (dot > 0 ? last.left(dot) : last).toString();
}

QString TQApp::name() const
{
    return _displayName.isEmpty() ? fileBaseName() : _displayName;
}

void TQApp::setDisplayName(const QString &name)
{
    _displayName = name.trimmed();
    _foldedName = this->name().toCaseFolded();
    findLetters();
    findExcludedStringsInName();
}

void TQApp::findLetters()
{
    _lettersName = name();
    _letters = nameLetters(_lettersName);
    _hasLetters = true;
}

bool TQApp::containsLetter(char c) const
{
    return c != '\0' && _hasLetters && _letters.contains(c);
}

namespace {
// The excluded substrings, case-folded; loaded once, and tried again while loading fails.
QMutex excludedMutex;
QStringList excludedSubstrings;
QStringList foldedExcludedSubstrings;
std::atomic<bool> excludedLoaded{false};
} // namespace

QStringList TQApp::excludedNameSubstrings()
{
    if (excludedLoaded.load(std::memory_order_acquire)) return excludedSubstrings;
    QMutexLocker lock(&excludedMutex);
    if (excludedLoaded.load()) return excludedSubstrings;
    const plist::ReadResult read =
        plist::readFile(QStringLiteral(":/kelp/ExcludedNameSubstrings.plist"));
    if (!read.ok() || read.value.typeId() != QMetaType::QVariantList) {
        qCWarning(lcCatalogue) << "The list of excluded name substrings could not be read:"
                               << read.error;
        return {};
    }
    QStringList list;
    for (const QVariant &v : read.value.toList()) {
        if (v.typeId() == QMetaType::QString && !v.toString().isEmpty()) list.append(v.toString());
    }
    if (list.isEmpty()) return {};
    excludedSubstrings = list;
    for (const QString &sub : list)
        foldedExcludedSubstrings.append(sub.toCaseFolded());
    excludedLoaded.store(true, std::memory_order_release);
    return excludedSubstrings;
}

void TQApp::findExcludedStringsInName()
{
    _containsExcludedKeywords = false;
    if (excludedNameSubstrings().isEmpty()) return; // loads the list when needed
    for (const QString &sub : std::as_const(foldedExcludedSubstrings)) {
        if (_foldedName.contains(sub)) {
            _containsExcludedKeywords = true;
            break;
        }
    }
}

QVariant TQApp::attributeForKey(const QString &key) const
{
    if (key.isEmpty()) return {};
    return _attributes.value(key);
}

void TQApp::setAttribute(const QVariant &value, const QString &key)
{
    if (key.isEmpty() || !value.isValid()) return;
    _attributes.insert(key, value);
}

namespace {
// Raw bytes shown the way a data object describes itself: "<01020304 0506>".
QString describeData(const QByteArray &bytes)
{
    QString out = QStringLiteral("<");
    const QByteArray hex = bytes.toHex();
    for (qsizetype i = 0; i < hex.size(); i += 8) {
        if (i > 0) out += QLatin1Char(' ');
        out += QString::fromLatin1(hex.mid(i, 8));
    }
    out += QLatin1Char('>');
    return out;
}
} // namespace

QString TQApp::xattrs() const
{
    const QStringList keys = ZRXattrMetadataStore::allKeysAtPath(_path, true);
    if (keys.isEmpty()) return QString();
    QStringList parts;
    for (const QString &key : keys) {
        const QByteArray data = ZRXattrMetadataStore::dataForKey(key, _path, true);
        parts.append(QStringLiteral("key: %1\ndata: %2").arg(key, describeData(data)));
    }
    return parts.join(QLatin1Char('\n'));
}

QVariantMap TQApp::encode() const
{
    QVariantMap ivDict;
    ivDict.insert(QStringLiteral("path"), _path);
    QVariantMap archive;
    archive.insert(QStringLiteral("ivDict"), ivDict);
    return archive;
}

std::shared_ptr<TQApp> TQApp::decode(const QVariantMap &archive)
{
    const QVariantMap ivDict = archive.value(QStringLiteral("ivDict")).toMap();
    // The path is taken as stored: an archived entry already carries a standardised path.
    auto app = std::make_shared<TQApp>();
    app->_path = ivDict.value(QStringLiteral("path")).toString();
    return app;
}

QImage TQApp::icon() const
{
    return _icon.isNull() ? notFoundImage() : _icon;
}

namespace {
QImage drawPlaceholder(bool notFound)
{
    QImage image(32, 32, QImage::Format_RGBA8888_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    if (notFound) {
        // A struck-through ring: something should be here and is not.
        p.setPen(QPen(QColor(200, 60, 60), 3));
        p.drawEllipse(QRectF(4, 4, 24, 24));
        p.drawLine(QPointF(8, 24), QPointF(24, 8));
    } else {
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(128, 128, 128));
        p.drawEllipse(QRectF(13, 13, 6, 6));
    }
    return image;
}
} // namespace

QImage TQApp::dotImage()
{
    static const QImage image = drawPlaceholder(false);
    return image;
}

QImage TQApp::notFoundImage()
{
    static const QImage image = drawPlaceholder(true);
    return image;
}

} // namespace kelp
