#include "settings/Defaults.h"

#include "extras/Logging.h"
#include "extras/Plist.h"
#include "extras/RegularFile.h"
#include "extras/TextNumbers.h"
#include "extras/VariantKind.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QList>
#include <QSaveFile>
#include <QSet>
#include <QStandardPaths>
#include <QTimeZone>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace kelp {
namespace {

// A burst of setValue() calls (a slider being dragged, a group being rearranged) becomes one write.
constexpr int kWriteDelayMs = 200;
// File events arrive in bursts (temporary file, rename, attribute change); the file is read once
// they have settled.
constexpr int kReloadDelayMs = 100;
// A file that does not parse (or is missing) while Kelp runs may be half-written by a program that
// does not replace files atomically; it is read once more after this delay before being given up
// on.
constexpr int kRetryDelayMs = 500;

bool isNumeric(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::Bool:
    case QMetaType::LongLong:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

// Brings a value into the form it has after a trip through the property-list file, so that what is
// in memory always equals what the file holds. Returns an invalid QVariant for values with no
// property-list form; items of that kind inside arrays and dictionaries are dropped.
QVariant normalized(const QVariant &value)
{
    if (value.typeId() == QMetaType::QColor) return Defaults::colourValue(value.value<QColor>());
    switch (variantKind(value)) {
    case VariantKind::Bool:
        return QVariant(value.toBool());
    case VariantKind::Integer:
        return QVariant(static_cast<qint64>(value.toLongLong()));
    case VariantKind::Unsigned: {
        const qulonglong u = value.toULongLong();
        constexpr auto kMax = static_cast<qulonglong>(std::numeric_limits<qint64>::max());
        return QVariant(static_cast<qint64>(u > kMax ? kMax : u));
    }
    case VariantKind::Real:
        return QVariant(value.toDouble());
    case VariantKind::String:
        return QVariant(value.toString());
    case VariantKind::Data:
        return QVariant(value.toByteArray());
    case VariantKind::Date: {
        // The file keeps whole seconds in UTC.
        const qint64 ms = value.toDateTime().toMSecsSinceEpoch();
        const qint64 seconds = ms / 1000 - (ms % 1000 < 0 ? 1 : 0);
        return QVariant(QDateTime::fromSecsSinceEpoch(seconds, QTimeZone::utc()));
    }
    case VariantKind::Array: {
        QVariantList out;
        const QVariantList list = value.toList();
        out.reserve(list.size());
        for (const QVariant &item : list) {
            QVariant n = normalized(item);
            if (n.isValid()) out.append(std::move(n));
        }
        return QVariant(out);
    }
    case VariantKind::Dictionary: {
        QVariantMap out;
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            QVariant n = normalized(it.value());
            if (n.isValid()) out.insert(it.key(), std::move(n));
        }
        return QVariant(out);
    }
    case VariantKind::Nothing:
    case VariantKind::Other:
        break;
    }
    return {};
}

// Whether two normalised values are equal, containers element by element. Loosely, numbers and
// booleans compare by value: an integer 1 and a real 1.0 are the same setting. Strictly, they must
// also be of one type: they are not the same file.
bool equalValues(const QVariant &a, const QVariant &b, bool loosely)
{
    if (!a.isValid() || !b.isValid()) return a.isValid() == b.isValid();
    if (loosely && isNumeric(a) && isNumeric(b)) {
        if (a.typeId() == QMetaType::Double || b.typeId() == QMetaType::Double)
            return a.toDouble() == b.toDouble();
        return a.toLongLong() == b.toLongLong();
    }
    if (a.typeId() != b.typeId()) return false;
    if (a.typeId() == QMetaType::QVariantList) {
        const QVariantList la = a.toList(), lb = b.toList();
        if (la.size() != lb.size()) return false;
        for (qsizetype i = 0; i < la.size(); ++i)
            if (!equalValues(la.at(i), lb.at(i), loosely)) return false;
        return true;
    }
    if (a.typeId() == QMetaType::QVariantMap) {
        const QVariantMap ma = a.toMap(), mb = b.toMap();
        if (ma.size() != mb.size()) return false;
        for (auto it = ma.cbegin(), jt = mb.cbegin(); it != ma.cend(); ++it, ++jt)
            if (it.key() != jt.key() || !equalValues(it.value(), jt.value(), loosely)) return false;
        return true;
    }
    return a == b;
}

bool sameValue(const QVariant &a, const QVariant &b)
{
    return equalValues(a, b, true);
}

bool identical(const QVariant &a, const QVariant &b)
{
    return equalValues(a, b, false);
}

qint64 truncatedToInteger(double d)
{
    if (std::isnan(d)) return 0;
    if (d >= 9.2233720368547758e18) return std::numeric_limits<qint64>::max();
    if (d <= -9.2233720368547758e18) return std::numeric_limits<qint64>::min();
    return static_cast<qint64>(d);
}

// Whether a stored value can stand for a setting of the given type. Numbers, switches and text
// convert into each other as the platform's settings did ("12 px" is 12, "YES" is true); a colour
// is three or four numbers.
bool fitsType(const QVariant &v, QMetaType type)
{
    switch (type.id()) {
    case QMetaType::LongLong:
    case QMetaType::Double: {
        if (isNumeric(v)) return true;
        if (v.typeId() != QMetaType::QString) return false;
        const QString text = v.toString().trimmed();
        qsizetype i = 0;
        if (i < text.size() && (text.at(i) == u'-' || text.at(i) == u'+')) ++i;
        if (i < text.size() && text.at(i) == u'.') ++i;
        return i < text.size() && text.at(i).isDigit();
    }
    case QMetaType::Bool:
    case QMetaType::QString:
        return isNumeric(v) || v.typeId() == QMetaType::QString;
    case QMetaType::QColor: {
        if (v.typeId() != QMetaType::QVariantList) return false;
        const QVariantList parts = v.toList();
        return (parts.size() == 3 || parts.size() == 4) &&
               std::all_of(parts.cbegin(), parts.cend(), isNumeric);
    }
    default:
        return v.metaType() == type;
    }
}

struct DiskState
{
    enum Status { Ok, Missing, Unreadable, Corrupt };
    Status status = Missing;
    QVariantMap values;
    QByteArray bytes;
    QString error;
};

} // namespace

struct Defaults::Private
{
    explicit Private(Defaults *owner, QString path) : q(owner), filePath(std::move(path)) {}

    Defaults *q;
    QString filePath;
    QVariantMap registered;
    QVariantMap stored;
    // Keys set or removed here since the last successful write; an edit from outside does not
    // overwrite them.
    QSet<QString> unwrittenKeys;
    bool writePending = false;
    // The file exists but cannot be read: writing would replace settings Kelp never saw.
    bool writesBlocked = false;
    bool writeFailureLogged = false;
    bool folderFailureLogged = false;
    bool retryDone = false;
    // Keys whose stored value had the wrong type and has been reported.
    mutable QSet<QString> wrongTypeLogged;
    // The content last read from or written to the file; a file event that leaves the file with
    // this content is the echo of Kelp's own write.
    QByteArray knownBytes;
    QTimer *writeTimer = nullptr;
    QTimer *reloadTimer = nullptr;
    QFileSystemWatcher *watcher = nullptr;

    QString folderPath() const { return QFileInfo(filePath).absolutePath(); }

    QVariant effective(const QString &key) const
    {
        const auto it = stored.constFind(key);
        return it != stored.cend() ? it.value() : registered.value(key);
    }

    bool ensureFolder()
    {
        if (QDir().mkpath(folderPath())) return true;
        if (!folderFailureLogged) {
            qCWarning(lcSettings).noquote() << "Cannot create the settings folder" << folderPath()
                                            << "; settings will not be saved";
            folderFailureLogged = true;
        }
        return false;
    }

    DiskState readDisk() const
    {
        DiskState state;
        FileBytes file = readRegularFile(filePath);
        switch (file.status) {
        case FileBytes::Ok:
            break;
        case FileBytes::Missing:
            return state;
        case FileBytes::TooLarge:
            state.status = DiskState::Corrupt;
            state.error = file.error;
            return state;
        case FileBytes::Unreadable:
        case FileBytes::NotRegular:
        case FileBytes::BadPath:
            state.status = DiskState::Unreadable;
            state.error = file.error;
            return state;
        }
        state.bytes = std::move(file.bytes);
        // A document refused whole (nested too deeply, a value with no form here) is kept aside
        // like a broken one: reading it with parts cut off would write the cut version back.
        QString why;
        const QVariant root = plist::fromData(state.bytes, &why);
        if (root.typeId() != QMetaType::QVariantMap) {
            state.status = DiskState::Corrupt;
            state.error = root.isValid() ? QStringLiteral("not a dictionary") : why;
            return state;
        }
        state.status = DiskState::Ok;
        state.values = root.toMap();
        return state;
    }

    // Renames a file that cannot be parsed so that nothing Kelp writes later replaces it.
    void moveAside(const QString &reason)
    {
        const QString stamp =
            QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
        QString target = filePath + QStringLiteral(".corrupt-") + stamp;
        for (int n = 2; QFileInfo::exists(target); ++n)
            target = filePath + QStringLiteral(".corrupt-") + stamp + u'-' + QString::number(n);
        if (QFile::rename(filePath, target)) {
            qCWarning(lcSettings).noquote() << "Settings file" << filePath << "is unusable ("
                                            << reason << "); kept aside as" << target;
        } else {
            qCWarning(lcSettings).noquote() << "Settings file" << filePath << "is unusable ("
                                            << reason << ") and could not be moved aside";
        }
        knownBytes.clear();
    }

    void watchFile()
    {
        if (!watcher) return;
        // An atomic replace gives the file a new inode; the old watch would keep looking at the
        // old one, so the file is watched afresh each time.
        if (watcher->files().contains(filePath)) watcher->removePath(filePath);
        if (QFileInfo::exists(filePath)) watcher->addPath(filePath);
        if (!watcher->directories().contains(folderPath()) && QFileInfo::exists(folderPath()))
            watcher->addPath(folderPath());
    }

    void scheduleWrite()
    {
        writePending = true;
        // Without an event loop nothing would ever fire the timer.
        if (!QCoreApplication::instance()) {
            write();
            return;
        }
        if (!writeTimer->isActive()) writeTimer->start();
    }

    bool write()
    {
        writeTimer->stop();
        if (!writePending) return true;
        if (writesBlocked) {
            if (!writeFailureLogged) {
                qCWarning(lcSettings).noquote()
                    << "Settings file" << filePath
                    << "could not be read earlier; not overwriting it, changes stay in memory";
                writeFailureLogged = true;
            }
            return false;
        }
        if (!ensureFolder()) return false;
        const QByteArray xml = plist::toXml(QVariant(stored));
        QString error;
        if (!writeWhole(xml, &error)) {
            if (!writeFailureLogged) {
                qCWarning(lcSettings).noquote()
                    << "Cannot write the settings file" << filePath << ":" << error;
                writeFailureLogged = true;
            }
            return false;
        }
        writeFailureLogged = false;
        writePending = false;
        unwrittenKeys.clear();
        knownBytes = xml;
        watchFile();
        return true;
    }

    // Replaces the file atomically. A short write (disk full, file-size limit) is caught before
    // the rename: QSaveFile alone would put a truncated file in place of the good one.
    bool writeWhole(const QByteArray &xml, QString *error) const
    {
        QSaveFile file(filePath);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
            *error = file.errorString();
            return false;
        }
        if (file.write(xml) != xml.size() || file.size() != xml.size()) {
            *error = QStringLiteral("short write (%1)").arg(file.errorString());
            file.cancelWriting();
            return false;
        }
        if (!file.commit()) {
            *error = file.errorString();
            return false;
        }
        return true;
    }

    // Replaces the stored values with those of the file, keeping the keys changed here and not
    // yet written, and announces each key whose effective value changed.
    void adopt(QVariantMap fromFile)
    {
        for (const QString &key : std::as_const(unwrittenKeys)) {
            const auto it = stored.constFind(key);
            if (it != stored.cend())
                fromFile.insert(key, it.value());
            else
                fromFile.remove(key);
        }
        QSet<QString> keys(stored.keyBegin(), stored.keyEnd());
        for (auto it = fromFile.keyBegin(); it != fromFile.keyEnd(); ++it)
            keys.insert(*it);

        QList<std::pair<QString, QVariant>> before;
        before.reserve(keys.size());
        for (const QString &key : std::as_const(keys))
            before.append({key, effective(key)});
        stored = std::move(fromFile);
        for (const auto &[key, old] : std::as_const(before)) {
            const QVariant now = effective(key);
            if (!sameValue(old, now)) Q_EMIT q->changed(key, old, now);
        }
    }

    void loadAtStart()
    {
        const DiskState disk = readDisk();
        switch (disk.status) {
        case DiskState::Missing:
            break;
        case DiskState::Unreadable:
            qCWarning(lcSettings).noquote() << "Cannot read the settings file" << filePath << ":"
                                            << disk.error << "; the registered defaults apply";
            writesBlocked = true;
            break;
        case DiskState::Corrupt:
            moveAside(disk.error);
            break;
        case DiskState::Ok:
            stored.clear();
            for (auto it = disk.values.cbegin(); it != disk.values.cend(); ++it) {
                QVariant n = normalized(it.value());
                if (n.isValid()) stored.insert(it.key(), std::move(n));
            }
            knownBytes = disk.bytes;
            break;
        }
    }

    // Looks at the file after it changed on disk (or when asked to).
    void checkDisk(bool fromWatcher)
    {
        watchFile();
        DiskState disk = readDisk();
        switch (disk.status) {
        case DiskState::Missing:
            if (knownBytes.isEmpty()) return; // never written, nothing to lose
            // An editor may delete and recreate the file; look again before believing it.
            if (fromWatcher && !retryDone) {
                retryDone = true;
                reloadTimer->start(kRetryDelayMs);
                return;
            }
            retryDone = false;
            // Deleted from outside: nothing is stored any more, apart from unwritten changes.
            knownBytes.clear();
            adopt({});
            return;
        case DiskState::Unreadable:
            qCWarning(lcSettings).noquote() << "Cannot read the settings file" << filePath << ":"
                                            << disk.error << "; keeping the current settings";
            // Writing now would replace content Kelp has not seen.
            writesBlocked = true;
            return;
        case DiskState::Corrupt:
            if (fromWatcher && !retryDone) {
                retryDone = true;
                reloadTimer->start(kRetryDelayMs);
                return;
            }
            retryDone = false;
            // Kelp keeps running with the settings it has and writes them back at once (so that
            // the file is never missing); the broken file stays next to it for whoever edited it.
            moveAside(disk.error);
            writePending = true;
            write();
            return;
        case DiskState::Ok:
            break;
        }
        retryDone = false;
        writesBlocked = false;
        if (disk.bytes == knownBytes) return;
        knownBytes = disk.bytes;
        QVariantMap values;
        for (auto it = disk.values.cbegin(); it != disk.values.cend(); ++it) {
            QVariant n = normalized(it.value());
            if (n.isValid()) values.insert(it.key(), std::move(n));
        }
        adopt(std::move(values));
    }
};

Defaults &Defaults::standard()
{
    static Defaults *const instance = [] {
        // Lives for the whole process; its values are written when the application quits.
        auto *store = new Defaults(standardFilePath());
        if (QCoreApplication *app = QCoreApplication::instance()) {
            QObject::connect(app, &QCoreApplication::aboutToQuit, store,
                             [store] { store->synchronize(); });
        }
        return store;
    }();
    return *instance;
}

QString Defaults::standardFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Kelp/Kelp.plist");
}

Defaults::Defaults(const QString &filePath, QObject *parent)
    : QObject(parent), d(new Private(this, QFileInfo(filePath).absoluteFilePath()))
{
    d->writeTimer = new QTimer(this);
    d->writeTimer->setSingleShot(true);
    d->writeTimer->setInterval(kWriteDelayMs);
    connect(d->writeTimer, &QTimer::timeout, this, [this] { d->write(); });

    d->reloadTimer = new QTimer(this);
    d->reloadTimer->setSingleShot(true);
    d->reloadTimer->setInterval(kReloadDelayMs);
    connect(d->reloadTimer, &QTimer::timeout, this, [this] { d->checkDisk(true); });

    d->ensureFolder();
    d->loadAtStart();

    // Watching needs an event loop; a store made without an application object only reads and
    // writes.
    if (QCoreApplication::instance()) {
        d->watcher = new QFileSystemWatcher(this);
        const auto onEvent = [this] { d->reloadTimer->start(kReloadDelayMs); };
        connect(d->watcher, &QFileSystemWatcher::fileChanged, this, onEvent);
        connect(d->watcher, &QFileSystemWatcher::directoryChanged, this, onEvent);
        d->watchFile();
    }
}

Defaults::~Defaults()
{
    if (d->writePending) d->write();
    delete d;
}

QString Defaults::filePath() const
{
    return d->filePath;
}

void Defaults::registerDefaults(const QVariantMap &defaults)
{
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it) {
        const QVariant value = normalized(it.value());
        if (it.value().isValid() && !value.isValid()) {
            qCWarning(lcSettings) << "Default for" << it.key() << "of type" << it.value().typeName()
                                  << "cannot be stored; ignored";
            continue;
        }
        const QVariant old = d->effective(it.key());
        if (value.isValid())
            d->registered.insert(it.key(), value);
        else
            d->registered.remove(it.key());
        const QVariant now = d->effective(it.key());
        if (!sameValue(old, now)) Q_EMIT changed(it.key(), old, now);
    }
}

QVariant Defaults::registeredValue(const QString &key) const
{
    return d->registered.value(key);
}

QVariantMap Defaults::registeredDefaults() const
{
    return d->registered;
}

QVariant Defaults::value(const QString &key) const
{
    return d->effective(key);
}

bool Defaults::hasStoredValue(const QString &key) const
{
    return d->stored.contains(key);
}

qint64 settingAsInteger(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::Bool:
    case QMetaType::LongLong:
        return v.toLongLong();
    case QMetaType::Double:
        return truncatedToInteger(v.toDouble());
    case QMetaType::QString:
        return truncatedToInteger(leadingNumber(v.toString()));
    default:
        return 0;
    }
}

double settingAsReal(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::Bool:
    case QMetaType::LongLong:
    case QMetaType::Double:
        return v.toDouble();
    case QMetaType::QString:
        return leadingNumber(v.toString());
    default:
        return 0.0;
    }
}

bool settingAsBool(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::Bool:
        return v.toBool();
    case QMetaType::LongLong:
        return v.toLongLong() != 0;
    case QMetaType::Double:
        return v.toDouble() != 0.0;
    case QMetaType::QString:
        return textIsTrue(v.toString());
    default:
        return false;
    }
}

QString settingAsString(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::QString:
        return v.toString();
    case QMetaType::Bool:
        return v.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case QMetaType::LongLong:
        return QString::number(v.toLongLong());
    case QMetaType::Double:
        return QString::number(v.toDouble(), 'g', QLocale::FloatingPointShortest);
    default:
        return {};
    }
}

QColor settingAsColour(const QVariant &v)
{
    if (v.typeId() != QMetaType::QVariantList) return {};
    const QVariantList parts = v.toList();
    if (parts.size() != 3 && parts.size() != 4) return {};
    float c[4] = {0.0f, 0.0f, 0.0f, 1.0f};
    for (qsizetype i = 0; i < parts.size(); ++i) {
        if (!isNumeric(parts.at(i))) return {};
        const double x = parts.at(i).toDouble();
        c[i] = std::isnan(x) ? 0.0f : static_cast<float>(std::clamp(x, 0.0, 1.0));
    }
    return QColor::fromRgbF(c[0], c[1], c[2], c[3]);
}

qint64 Defaults::integer(const QString &key) const
{
    return settingAsInteger(value(key));
}

double Defaults::real(const QString &key) const
{
    return settingAsReal(value(key));
}

bool Defaults::boolean(const QString &key) const
{
    return settingAsBool(value(key));
}

QString Defaults::string(const QString &key) const
{
    return settingAsString(value(key));
}

QVariantList Defaults::array(const QString &key) const
{
    const QVariant v = value(key);
    return v.typeId() == QMetaType::QVariantList ? v.toList() : QVariantList();
}

QVariantMap Defaults::dictionary(const QString &key) const
{
    const QVariant v = value(key);
    return v.typeId() == QMetaType::QVariantMap ? v.toMap() : QVariantMap();
}

QByteArray Defaults::data(const QString &key) const
{
    const QVariant v = value(key);
    return v.typeId() == QMetaType::QByteArray ? v.toByteArray() : QByteArray();
}

QColor Defaults::colour(const QString &key) const
{
    return settingAsColour(value(key));
}

QVariant Defaults::fitting(SettingId id) const
{
    const SettingInfo &info = settingInfo(id);
    const QString key(info.name);
    const QVariant v = value(key);
    if (!v.isValid()) return settingDefault(id);
    if (fitsType(v, info.type)) return v;
    if (!d->wrongTypeLogged.contains(key)) {
        d->wrongTypeLogged.insert(key);
        qCWarning(lcSettings).noquote()
            << "The setting" << key << "holds" << (v.typeName() ? v.typeName() : "nothing usable")
            << "where" << info.type.name() << "belongs; using its default";
    }
    const QVariant registered = registeredValue(key);
    return registered.isValid() && fitsType(registered, info.type) ? registered
                                                                   : settingDefault(id);
}

QVariant Defaults::colourValue(const QColor &color)
{
    if (!color.isValid()) return {};
    const QColor rgb = color.toRgb();
    return QVariantList{double(rgb.redF()), double(rgb.greenF()), double(rgb.blueF()),
                        double(rgb.alphaF())};
}

void Defaults::setValue(const QString &key, const QVariant &value)
{
    if (value.isNull()) {
        remove(key);
        return;
    }
    const QVariant v = normalized(value);
    if (!v.isValid()) {
        qCWarning(lcSettings) << "Value for" << key << "of type" << value.typeName()
                              << "cannot be stored; ignored";
        return;
    }
    const auto it = d->stored.constFind(key);
    if (it != d->stored.cend() && identical(it.value(), v)) return;
    const QVariant old = d->effective(key);
    d->stored.insert(key, v);
    d->unwrittenKeys.insert(key);
    d->scheduleWrite();
    const QVariant now = d->effective(key);
    if (!sameValue(old, now)) Q_EMIT changed(key, old, now);
}

void Defaults::setColour(const QString &key, const QColor &color)
{
    setValue(key, colourValue(color));
}

void Defaults::remove(const QString &key)
{
    if (!d->stored.contains(key)) return;
    const QVariant old = d->effective(key);
    d->stored.remove(key);
    d->unwrittenKeys.insert(key);
    d->scheduleWrite();
    const QVariant now = d->effective(key);
    if (!sameValue(old, now)) Q_EMIT changed(key, old, now);
}

bool Defaults::synchronize()
{
    return d->write();
}

void Defaults::reload()
{
    d->checkDisk(false);
}

} // namespace kelp
