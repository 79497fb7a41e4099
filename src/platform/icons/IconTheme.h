#pragma once
// IconThemeIndex: a read-only index of the freedesktop icon themes Kelp draws from.
//
// Building the index reads each theme's index.theme and lists every icon folder of the user's
// theme, its parents (followed once each, so a loop in "Inherits" ends), hicolor and the pixmap
// folders, once. After that, lookups only read the index: any number of threads may look up at
// the same time without locks. The build touches the disk; run it off the GUI thread.
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

namespace kelp {

class GtkIconCache;

class IconThemeIndex
{
public:
    // The folders themes are searched in, in order: $HOME/.icons, $XDG_DATA_HOME/icons, each
    // $XDG_DATA_DIRS/icons.
    static QStringList defaultBaseDirs();
    // The folders of loose icons searched last: /usr/share/pixmaps.
    static QStringList defaultPixmapDirs();

    // Lists the theme `themeName` (hicolor when empty or not installed), its parents and
    // hicolor. Icons directly inside a base folder or a pixmap folder are the last fallback.
    // A theme folder with an up-to-date icon-theme.cache (GtkIconCache.h) is read from the cache
    // instead of being listed, unless useCaches is off.
    static std::shared_ptr<const IconThemeIndex> build(const QString &themeName,
                                                       const QStringList &baseDirs,
                                                       const QStringList &pixmapDirs,
                                                       bool useCaches = true);

    // The file for an icon name at a size in pixels, or an empty string. Each theme in turn is
    // asked for a picture made for that size; failing that, for a scalable picture; failing
    // that, for the nearest size (the larger one on a tie). Then the loose icons.
    QString lookup(const QString &iconName, int pixelSize) const;

    // The theme asked for, and the themes searched, in order.
    QString themeName() const { return _requestedTheme; }
    QStringList searchOrder() const;
    // How many icon files were found by listing folders, and how many theme folders were read
    // from their caches instead.
    qsizetype fileCount() const { return _fileCount; }
    qsizetype cachedFolderCount() const { return _cachedFolderCount; }

    enum class DirType : quint8 { Fixed, Scalable, Threshold };
    struct Dir
    {
        QString subdir;
        int size = 0;
        int scale = 1;
        int minSize = 0;
        int maxSize = 0;
        int threshold = 2;
        DirType type = DirType::Threshold;

        bool matchesSize(int pixelSize) const;
        int sizeDistance(int pixelSize) const;
    };

private:
    struct File
    {
        quint16 dir;  // index into Theme::dirs
        quint16 base; // index into _baseDirs
        quint8 ext;   // index into the extension list
    };
    struct CachedFolder
    {
        quint16 base; // index into _baseDirs
        std::shared_ptr<const GtkIconCache> cache;
        QList<qint32> dirOf; // the cache's folder index -> index into Theme::dirs, or -1
    };
    struct Theme
    {
        QString name;
        QStringList parents;
        QList<Dir> dirs;
        QHash<QString, QList<File>> icons; // by icon name; in folder, base folder, extension order
        QList<CachedFolder> cached;        // base folders read from their caches, not listed
    };
    struct LooseFile
    {
        QString dir;
        quint8 ext;
    };

    QString filePath(const Theme &theme, const File &file, const QString &name) const;
    QString lookupInTheme(const Theme &theme, const QString &name, int pixelSize) const;
    // The files named `name` in a theme, listed and cached, in folder, base, extension order.
    QList<File> filesInTheme(const Theme &theme, const QString &name) const;

    QString _requestedTheme;
    QStringList _baseDirs;
    QList<Theme> _themes;             // in search order
    QHash<QString, LooseFile> _loose; // first match per name
    qsizetype _fileCount = 0;
    qsizetype _cachedFolderCount = 0;

    friend struct IconThemeBuilder;
};

} // namespace kelp
