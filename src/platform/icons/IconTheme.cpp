#include "platform/icons/IconTheme.h"

#include "extras/Logging.h"
#include "extras/RegularFile.h"
#include "platform/gio/GioDesktopEntry.h"
#include "platform/icons/GtkIconCache.h"

#include <QDir>
#include <QFile>
#include <QSet>

#include <dirent.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <tuple>

namespace kelp {
namespace {

// Extensions in the order a folder's files are preferred.
constexpr const char *kExtensions[] = {".png", ".svg", ".xpm"};
constexpr int kExtensionCount = 3;
// A deeper chain of parents than this is a broken theme, not a real one.
constexpr int kMaxThemeDepth = 32;

QString stringKey(GKeyFile *kf, const char *group, const char *key)
{
    return takeString(g_key_file_get_string(kf, group, key, nullptr)).trimmed();
}

// Sizes, thresholds and scales beyond this are not real icons; clamping them here keeps every
// sum and product of them in the size matching far from overflowing.
constexpr int kLargestThemeNumber = 1 << 16;

int intKey(GKeyFile *kf, const char *group, const char *key, int fallback)
{
    const QString text = stringKey(kf, group, key);
    bool ok = false;
    const qint64 value = text.toLongLong(&ok);
    if (!ok) return fallback;
    return static_cast<int>(std::clamp<qint64>(value, -kLargestThemeNumber, kLargestThemeNumber));
}

QStringList commaList(const QString &text)
{
    QStringList out;
    for (const QString &part : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const QString trimmed = part.trimmed();
        if (!trimmed.isEmpty()) out.append(trimmed);
    }
    return out;
}

// Splits "name.ext" into the name and the extension's index; false for other files.
bool iconFileName(const char *fileName, QString &stem, quint8 &ext)
{
    const size_t length = std::strlen(fileName);
    if (length < 5 || fileName[0] == '.') return false;
    for (int i = 0; i < kExtensionCount; ++i) {
        if (std::strcmp(fileName + length - 4, kExtensions[i]) == 0) {
            stem = QString::fromUtf8(fileName, static_cast<qsizetype>(length - 4));
            ext = static_cast<quint8>(i);
            return true;
        }
    }
    return false;
}

// Calls f(stem, ext) for every icon file in a folder; a missing folder has none.
template <typename F> void listIconFiles(const QString &folder, F &&f)
{
    DIR *dir = opendir(QFile::encodeName(folder).constData());
    if (!dir) return;
    QString stem;
    quint8 ext = 0;
    while (const dirent *entry = readdir(dir)) {
        if (entry->d_type == DT_DIR) continue;
        if (iconFileName(entry->d_name, stem, ext)) f(stem, ext);
    }
    closedir(dir);
}

} // namespace

// --- Folders and sizes ------------------------------------------------------------------------

bool IconThemeIndex::Dir::matchesSize(int pixelSize) const
{
    switch (type) {
    case DirType::Fixed:
        return size * scale == pixelSize;
    case DirType::Scalable:
        return minSize * scale <= pixelSize && pixelSize <= maxSize * scale;
    case DirType::Threshold:
        return (size - threshold) * scale <= pixelSize && pixelSize <= (size + threshold) * scale;
    }
    return false;
}

int IconThemeIndex::Dir::sizeDistance(int pixelSize) const
{
    int low = size * scale;
    int high = low;
    if (type == DirType::Scalable) {
        low = minSize * scale;
        high = maxSize * scale;
    } else if (type == DirType::Threshold) {
        low = (size - threshold) * scale;
        high = (size + threshold) * scale;
    }
    if (pixelSize < low) return low - pixelSize;
    if (pixelSize > high) return pixelSize - high;
    return 0;
}

QStringList IconThemeIndex::defaultBaseDirs()
{
    QStringList dirs{QDir::homePath() + QStringLiteral("/.icons")};
    QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (dataHome.isEmpty()) dataHome = QDir::homePath() + QStringLiteral("/.local/share");
    dirs.append(dataHome + QStringLiteral("/icons"));
    QString dataDirs = qEnvironmentVariable("XDG_DATA_DIRS");
    if (dataDirs.isEmpty()) dataDirs = QStringLiteral("/usr/local/share:/usr/share");
    for (const QString &dir : dataDirs.split(QLatin1Char(':'), Qt::SkipEmptyParts))
        dirs.append(QDir::cleanPath(dir) + QStringLiteral("/icons"));
    dirs.removeDuplicates();
    return dirs;
}

QStringList IconThemeIndex::defaultPixmapDirs()
{
    return {QStringLiteral("/usr/share/pixmaps")};
}

// --- Building ---------------------------------------------------------------------------------

struct IconThemeBuilder
{
    IconThemeIndex &index;
    bool useCaches;
    QSet<QString> visited;

    // Reads the theme's index.theme from the first base folder that has one.
    bool loadTheme(const QString &name, IconThemeIndex::Theme &theme)
    {
        for (const QString &base : std::as_const(index._baseDirs)) {
            const QString file = base + QLatin1Char('/') + name + QStringLiteral("/index.theme");
            if (!QFile::exists(file)) continue;
            QString error;
            const GLibPtr<GKeyFile> kf = loadKeyFile(file, &error);
            if (!kf) {
                qCWarning(lcIcons).noquote()
                    << "Ignoring the icon theme file" << file << ":" << error;
                continue;
            }
            if (!g_key_file_has_group(kf.get(), "Icon Theme")) {
                qCWarning(lcIcons).noquote()
                    << "Ignoring the icon theme file" << file << ": it describes no theme";
                continue;
            }
            theme.name = name;
            theme.parents = commaList(stringKey(kf.get(), "Icon Theme", "Inherits"));
            QStringList subdirs = commaList(stringKey(kf.get(), "Icon Theme", "Directories"));
            subdirs += commaList(stringKey(kf.get(), "Icon Theme", "ScaledDirectories"));
            subdirs.removeDuplicates();
            for (const QString &subdir : std::as_const(subdirs)) {
                const QByteArray group = subdir.toUtf8();
                if (!g_key_file_has_group(kf.get(), group.constData())) continue;
                IconThemeIndex::Dir dir;
                dir.subdir = subdir;
                dir.size = intKey(kf.get(), group.constData(), "Size", 0);
                if (dir.size <= 0) continue;
                // Kelp renders every icon from 1x pictures, at size x ratio for HiDPI screens;
                // the scaled copies (Scale=2, 3) need not be listed.
                dir.scale = std::max(1, intKey(kf.get(), group.constData(), "Scale", 1));
                if (dir.scale != 1) continue;
                dir.minSize = intKey(kf.get(), group.constData(), "MinSize", dir.size);
                dir.maxSize = intKey(kf.get(), group.constData(), "MaxSize", dir.size);
                dir.threshold = std::max(0, intKey(kf.get(), group.constData(), "Threshold", 2));
                const QString type = stringKey(kf.get(), group.constData(), "Type");
                if (type == QLatin1String("Fixed"))
                    dir.type = IconThemeIndex::DirType::Fixed;
                else if (type == QLatin1String("Scalable"))
                    dir.type = IconThemeIndex::DirType::Scalable;
                else
                    dir.type = IconThemeIndex::DirType::Threshold;
                theme.dirs.append(dir);
                if (theme.dirs.size() >= 0xffff) break;
            }
            return true;
        }
        return false;
    }

    void listTheme(IconThemeIndex::Theme &theme)
    {
        // Base folders whose copy of the theme has an up-to-date cache are read from it.
        QList<bool> list(index._baseDirs.size(), true);
        if (useCaches) {
            QStringList subdirs;
            QHash<QString, qint32> dirIndex;
            for (qsizetype d = 0; d < theme.dirs.size(); ++d) {
                subdirs.append(theme.dirs.at(d).subdir);
                dirIndex.insert(theme.dirs.at(d).subdir, static_cast<qint32>(d));
            }
            for (qsizetype b = 0; b < index._baseDirs.size(); ++b) {
                const QString folder = index._baseDirs.at(b) + QLatin1Char('/') + theme.name;
                std::shared_ptr<const GtkIconCache> cache = GtkIconCache::open(folder, subdirs);
                if (!cache) continue;
                IconThemeIndex::CachedFolder cached{static_cast<quint16>(b), cache, {}};
                for (const QString &dir : cache->directories())
                    cached.dirOf.append(dirIndex.value(dir, -1));
                theme.cached.append(std::move(cached));
                list[b] = false;
                ++index._cachedFolderCount;
            }
        }
        for (qsizetype d = 0; d < theme.dirs.size(); ++d) {
            for (qsizetype b = 0; b < index._baseDirs.size(); ++b) {
                if (!list.at(b)) continue;
                const QString folder = index._baseDirs.at(b) + QLatin1Char('/') + theme.name +
                                       QLatin1Char('/') + theme.dirs.at(d).subdir;
                listIconFiles(folder, [&](const QString &stem, quint8 ext) {
                    theme.icons[stem].append(
                        {static_cast<quint16>(d), static_cast<quint16>(b), ext});
                    ++index._fileCount;
                });
            }
        }
        // Folders and base folders were listed in order; the extensions of one folder were not.
        for (auto it = theme.icons.begin(); it != theme.icons.end(); ++it) {
            if (it->size() < 2) continue;
            std::stable_sort(it->begin(), it->end(), [](const auto &a, const auto &b) {
                return std::tie(a.dir, a.base, a.ext) < std::tie(b.dir, b.base, b.ext);
            });
        }
    }

    void visit(const QString &name, int depth)
    {
        if (name.isEmpty() || visited.contains(name)) return;
        visited.insert(name);
        if (depth > kMaxThemeDepth) {
            qCWarning(lcIcons).noquote() << "Icon theme" << name << "is nested too deeply";
            return;
        }
        IconThemeIndex::Theme theme;
        if (!loadTheme(name, theme)) {
            qCInfo(lcIcons).noquote() << "Icon theme" << name << "is not installed";
            return;
        }
        listTheme(theme);
        const QStringList parents = theme.parents;
        index._themes.append(std::move(theme));
        for (const QString &parent : parents)
            visit(parent, depth + 1);
    }

    void listLoose(const QStringList &folders)
    {
        for (const QString &folder : folders) {
            listIconFiles(folder, [&](const QString &stem, quint8 ext) {
                const auto found = index._loose.constFind(stem);
                if (found == index._loose.constEnd() || (found->dir == folder && ext < found->ext))
                    index._loose.insert(stem, {folder, ext});
                ++index._fileCount;
            });
        }
    }
};

std::shared_ptr<const IconThemeIndex> IconThemeIndex::build(const QString &themeName,
                                                            const QStringList &baseDirs,
                                                            const QStringList &pixmapDirs,
                                                            bool useCaches)
{
    auto index = std::make_shared<IconThemeIndex>();
    index->_requestedTheme = themeName.isEmpty() ? QStringLiteral("hicolor") : themeName;
    index->_baseDirs = baseDirs.mid(0, 0xffff);
    IconThemeBuilder builder{*index, useCaches, {}};
    builder.visit(index->_requestedTheme, 0);
    builder.visit(QStringLiteral("hicolor"), 0);
    builder.listLoose(baseDirs + pixmapDirs);
    qCDebug(lcIcons).noquote() << "Icon themes" << index->searchOrder().join(QLatin1String(", "))
                               << "hold" << index->_fileCount << "files";
    return index;
}

// --- Lookup -----------------------------------------------------------------------------------

QStringList IconThemeIndex::searchOrder() const
{
    QStringList names;
    for (const Theme &t : _themes)
        names.append(t.name);
    return names;
}

QString IconThemeIndex::filePath(const Theme &theme, const File &file, const QString &name) const
{
    return _baseDirs.at(file.base) + QLatin1Char('/') + theme.name + QLatin1Char('/') +
           theme.dirs.at(file.dir).subdir + QLatin1Char('/') + name +
           QLatin1String(kExtensions[file.ext]);
}

QList<IconThemeIndex::File> IconThemeIndex::filesInTheme(const Theme &theme,
                                                         const QString &name) const
{
    QList<File> files = theme.icons.value(name);
    if (theme.cached.isEmpty()) return files;
    // The cache's suffix flag of each extension, in the order of kExtensions.
    static constexpr quint16 kSuffixOf[kExtensionCount] = {GtkIconCache::Png, GtkIconCache::Svg,
                                                           GtkIconCache::Xpm};
    const QByteArray utf8 = name.toUtf8();
    for (const CachedFolder &cached : theme.cached) {
        cached.cache->forEachImage(utf8, [&](quint16 dir, quint16 flags) {
            const qint32 d = cached.dirOf.value(dir, -1);
            if (d < 0) return;
            for (int ext = 0; ext < kExtensionCount; ++ext) {
                if (flags & kSuffixOf[ext])
                    files.append({static_cast<quint16>(d), cached.base, static_cast<quint8>(ext)});
            }
        });
    }
    if (files.size() > 1) {
        std::stable_sort(files.begin(), files.end(), [](const File &a, const File &b) {
            return std::tie(a.dir, a.base, a.ext) < std::tie(b.dir, b.base, b.ext);
        });
    }
    return files;
}

QString IconThemeIndex::lookupInTheme(const Theme &theme, const QString &name, int pixelSize) const
{
    const QList<File> files = filesInTheme(theme, name);
    if (files.isEmpty()) return {};
    for (const File &f : files) {
        if (theme.dirs.at(f.dir).matchesSize(pixelSize)) return filePath(theme, f, name);
    }
    // No picture made for the size: a scalable one renders sharp at any size.
    for (const File &f : files) {
        if (theme.dirs.at(f.dir).type == DirType::Scalable) return filePath(theme, f, name);
    }
    const File *best = nullptr;
    int bestDistance = INT_MAX;
    int bestSize = 0;
    for (const File &f : files) {
        const Dir &dir = theme.dirs.at(f.dir);
        const int distance = dir.sizeDistance(pixelSize);
        const int size = dir.size * dir.scale;
        if (distance < bestDistance || (distance == bestDistance && size > bestSize)) {
            best = &f;
            bestDistance = distance;
            bestSize = size;
        }
    }
    return best ? filePath(theme, *best, name) : QString();
}

QString IconThemeIndex::lookup(const QString &iconName, int pixelSize) const
{
    if (iconName.isEmpty()) return {};
    for (const Theme &theme : _themes) {
        const QString path = lookupInTheme(theme, iconName, pixelSize);
        if (!path.isEmpty()) return path;
    }
    const auto loose = _loose.constFind(iconName);
    if (loose != _loose.constEnd())
        return loose->dir + QLatin1Char('/') + iconName + QLatin1String(kExtensions[loose->ext]);
    return {};
}

} // namespace kelp
