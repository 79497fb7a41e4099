#include "platform/icons/GtkIconCache.h"

#include "extras/Logging.h"
#include "extras/RegularFile.h"

#include <QFileInfo>
#include <QtEndian>

#include <cstring>
#include <utility>

namespace kelp {
namespace {

// Real caches are a few megabytes; a theme that needs more is listed instead.
constexpr qint64 kLargestCache = 64 * 1024 * 1024;
// More folders than a theme has; more steps along one hash chain than a real cache needs.
constexpr quint32 kMostDirectories = 0xffff;
constexpr int kLongestChain = 4096;

// GTK's hash of an icon name (signed characters, as GTK computes it).
quint32 nameHash(const QByteArray &name)
{
    if (name.isEmpty()) return 0;
    quint32 h = static_cast<quint32>(static_cast<qint32>(static_cast<signed char>(name[0])));
    for (qsizetype i = 1; i < name.size(); ++i)
        h = (h << 5) - h +
            static_cast<quint32>(static_cast<qint32>(static_cast<signed char>(name[i])));
    return h;
}

} // namespace

bool GtkIconCache::u16(quint32 offset, quint16 &out) const
{
    if (static_cast<qint64>(offset) + 2 > _bytes.size()) return false;
    out = qFromBigEndian<quint16>(_bytes.constData() + offset);
    return true;
}

bool GtkIconCache::u32(quint32 offset, quint32 &out) const
{
    if (static_cast<qint64>(offset) + 4 > _bytes.size()) return false;
    out = qFromBigEndian<quint32>(_bytes.constData() + offset);
    return true;
}

QByteArray GtkIconCache::string(quint32 offset) const
{
    if (offset >= static_cast<quint64>(_bytes.size())) return {};
    const char *start = _bytes.constData() + offset;
    const void *end = std::memchr(start, '\0', static_cast<size_t>(_bytes.size() - offset));
    if (!end) return {};
    return QByteArray(start, static_cast<const char *>(end) - start);
}

bool GtkIconCache::parseHeader()
{
    quint16 major = 0;
    quint32 dirList = 0;
    quint32 dirCount = 0;
    if (!u16(0, major) || major != 1 || !u32(4, _hashOffset) || !u32(8, dirList) ||
        !u32(_hashOffset, _buckets) || !u32(dirList, dirCount))
        return false;
    // The bucket array and the folder offsets must lie inside the file.
    if (_buckets == 0 || static_cast<quint64>(_hashOffset) + 4 + 4ull * _buckets >
                             static_cast<quint64>(_bytes.size()))
        return false;
    if (dirCount > kMostDirectories ||
        static_cast<quint64>(dirList) + 4 + 4ull * dirCount > static_cast<quint64>(_bytes.size()))
        return false;
    _directories.reserve(static_cast<qsizetype>(dirCount));
    for (quint32 i = 0; i < dirCount; ++i) {
        quint32 at = 0;
        if (!u32(dirList + 4 + 4 * i, at)) return false;
        const QByteArray name = string(at);
        if (name.isNull()) return false;
        _directories.append(QString::fromUtf8(name));
    }
    return true;
}

quint32 GtkIconCache::imageList(const QByteArray &name) const
{
    quint32 icon = 0;
    if (!u32(_hashOffset + 4 + 4 * (nameHash(name) % _buckets), icon)) return kNone;
    for (int steps = 0; icon != kNone && steps < kLongestChain; ++steps) {
        quint32 next = 0;
        quint32 nameAt = 0;
        quint32 list = 0;
        if (!u32(icon, next) || !u32(icon + 4, nameAt) || !u32(icon + 8, list)) return kNone;
        if (string(nameAt) == name) return list;
        icon = next;
    }
    return kNone;
}

std::unique_ptr<GtkIconCache> GtkIconCache::fromBytes(QByteArray bytes)
{
    std::unique_ptr<GtkIconCache> cache(new GtkIconCache(std::move(bytes)));
    if (!cache->parseHeader()) return nullptr;
    return cache;
}

std::unique_ptr<GtkIconCache> GtkIconCache::open(const QString &themeFolder,
                                                 const QStringList &subdirs)
{
    const QString path = themeFolder + QStringLiteral("/icon-theme.cache");
    const QFileInfo info(path);
    if (!info.exists()) return nullptr;
    if (!info.isFile() || info.size() > kLargestCache) {
        qCInfo(lcIcons).noquote() << "Ignoring" << path << ": not a cache file";
        return nullptr;
    }
    const QDateTime cacheTime = info.lastModified();
    if (QFileInfo(themeFolder).lastModified() > cacheTime) {
        qCInfo(lcIcons).noquote() << "Ignoring" << path << ": older than its theme";
        return nullptr;
    }
    for (const QString &subdir : subdirs) {
        const QFileInfo folder(themeFolder + QLatin1Char('/') + subdir);
        if (folder.exists() && folder.lastModified() > cacheTime) {
            qCInfo(lcIcons).noquote() << "Ignoring" << path << ": older than" << subdir;
            return nullptr;
        }
    }
    FileBytes file = readRegularFile(path, kLargestCache);
    if (!file.ok()) return nullptr;
    std::unique_ptr<GtkIconCache> cache = fromBytes(std::move(file.bytes));
    if (!cache) qCWarning(lcIcons).noquote() << "Ignoring" << path << ": malformed";
    return cache;
}

} // namespace kelp
