#include "catalogue/NameCache.h"

#include "desktop/AppsOnDisk.h"
#include "extras/Logging.h"
#include "extras/RegularFile.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QObject>
#include <QSaveFile>
#include <QStandardPaths>
#include <QThreadPool>

namespace kelp {
namespace {
constexpr quint32 kNameCacheMagic = 0x4b4e4332; // "KNC2"
// The smallest an entry can be in the file: two empty strings and a time.
constexpr qint64 kMinEntryBytes = 4 + 4 + 8;
// Far more than any catalogue: a larger file is not one of Kelp's.
constexpr qint64 kMaxCacheBytes = 64 * 1024 * 1024;
} // namespace

QString NameCache::languageKey()
{
    // The variables GLib takes the language of a localised Name from, in its order.
    QString key;
    for (const char *name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
        key +=
            QLatin1String(name) + QLatin1Char('=') + qEnvironmentVariable(name) + QLatin1Char(';');
    }
    return key;
}

QString NameCache::filePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
           QStringLiteral("/Kelp/AppNames.cache");
}

QString NameCache::name(const QString &path)
{
    if (!_loaded) load();
    const auto cached = _entries.constFind(path);
    return cached == _entries.constEnd() ? QString() : cached->name;
}

bool NameCache::remember(const QString &path, const QString &name, qint64 modified)
{
    if (!_loaded) load();
    Entry &entry = _entries[path];
    if (entry.name == name && entry.modified == modified) return false;
    entry = {name, modified};
    return true;
}

void NameCache::load()
{
    _loaded = true;
    const FileBytes file = readRegularFile(filePath(), kMaxCacheBytes);
    if (file.status == FileBytes::Missing) return;
    if (!file.ok()) {
        qCInfo(lcCatalogue).noquote()
            << "Ignoring the name cache" << filePath() << ":" << file.error;
        return;
    }
    QDataStream in(file.bytes);
    in.setVersion(QDataStream::Qt_6_4);
    quint32 magic = 0;
    QString language;
    qint64 count = 0;
    in >> magic;
    if (magic != kNameCacheMagic) {
        qCInfo(lcCatalogue) << "Ignoring the name cache" << filePath() << ": not one of Kelp's";
        return;
    }
    in >> language >> count;
    // The count is checked against what the file can hold before anything is set aside for it.
    const qint64 room = file.bytes.size() - in.device()->pos();
    if (in.status() != QDataStream::Ok || count < 0 || count > room / kMinEntryBytes) {
        qCInfo(lcCatalogue) << "Ignoring the name cache" << filePath()
                            << ": it claims more names than it holds";
        return;
    }
    if (language != languageKey()) {
        // Names read in another language: every entry is read again.
        qCInfo(lcCatalogue)
            << "The language changed since the names were cached; reading them again";
        return;
    }
    QHash<QString, Entry> entries;
    entries.reserve(count);
    for (qint64 i = 0; i < count && in.status() == QDataStream::Ok; ++i) {
        QString path;
        Entry entry;
        in >> path >> entry.name >> entry.modified;
        entries.insert(path, entry);
    }
    if (in.status() != QDataStream::Ok) {
        qCInfo(lcCatalogue) << "Ignoring the name cache" << filePath() << ": it is truncated";
        return;
    }
    _entries = std::move(entries);
}

void NameCache::save(const std::function<bool(const QString &)> &keep)
{
    const QString path = filePath();
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        qCInfo(lcCatalogue).noquote()
            << "Cannot write the name cache" << path << ":" << file.errorString();
        return;
    }
    QDataStream out(&file);
    out.setVersion(QDataStream::Qt_6_4);
    qint64 count = 0;
    for (auto it = _entries.cbegin(); it != _entries.cend(); ++it)
        count += keep(it.key());
    out << kNameCacheMagic << languageKey() << count;
    for (auto it = _entries.cbegin(); it != _entries.cend(); ++it) {
        if (keep(it.key())) out << it.key() << it->name << it->modified;
    }
    if (!file.commit())
        qCInfo(lcCatalogue).noquote()
            << "Cannot write the name cache" << path << ":" << file.errorString();
}

void NameCache::refresh(const QStringList &paths, std::shared_ptr<const AppsOnDisk> appsOnDisk,
                        QThreadPool *pool, QObject *receiver, Fresh done)
{
    if (!_loaded) load();
    struct Item
    {
        QString path;
        qint64 modified;
        bool known;
    };
    QList<Item> items;
    items.reserve(paths.size());
    for (const QString &path : paths) {
        const auto cached = _entries.constFind(path);
        const bool known = cached != _entries.constEnd();
        items.append({path, known ? cached->modified : -1, known});
    }
    auto apply = [this, done = std::move(done)](const QList<FoundApp> &fresh) {
        for (const FoundApp &f : fresh)
            _entries.insert(f.path, {f.name, f.modified});
        done(fresh);
    };
    auto work = [appsOnDisk = std::move(appsOnDisk), items]() {
        QList<FoundApp> fresh;
        for (const Item &item : items) {
            const qint64 modified = modificationTimeMs(item.path);
            if (item.known && modified == item.modified) continue;
            fresh.append({item.path,
                          appsOnDisk ? appsOnDisk->applicationName(item.path) : QString(),
                          modified});
        }
        return fresh;
    };
    if (!pool) {
        apply(work());
        return;
    }
    // The pool's owner waits for it before this cache goes away.
    pool->start([receiver, work, apply]() {
        QList<FoundApp> fresh = work();
        QMetaObject::invokeMethod(
            receiver, [apply, fresh]() { apply(fresh); }, Qt::QueuedConnection);
    });
}

} // namespace kelp
