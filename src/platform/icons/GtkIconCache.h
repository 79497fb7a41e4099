#pragma once
// GtkIconCache: the icon-theme.cache file that gtk-update-icon-cache leaves in an icon theme's
// folder (Debian's packages refresh it whenever a theme changes). It holds a hash table from icon
// names to the folders of the theme that have a picture of that name, and with which extensions,
// so Kelp can find icons in a large theme (Papirus: 150,000 files) without listing a folder.
//
// Every offset in the file is checked against its length before it is followed: a truncated,
// corrupt or hostile cache answers nothing rather than reading out of bounds or looping.
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

namespace kelp {

class GtkIconCache
{
public:
    // Extensions a picture has, as flags.
    enum Suffix : quint16 { Xpm = 1, Svg = 2, Png = 4 };

    // The cache of the theme folder, when it is there, a regular file of sane size, no older
    // than the folder and the given subfolders (else icons added since would be missed), and
    // well formed. Null otherwise (one log line for a cache that exists but cannot be used).
    static std::unique_ptr<GtkIconCache> open(const QString &themeFolder,
                                              const QStringList &subdirs);
    // A cache over bytes already read (tests and fuzzing). Null when the header is malformed.
    static std::unique_ptr<GtkIconCache> fromBytes(QByteArray bytes);

    // The theme's subfolders the cache knows, by index ("48x48/apps").
    const QStringList &directories() const { return _directories; }

    // Calls f(directoryIndex, suffixFlags) for each folder holding a picture named `name`.
    template <typename F> void forEachImage(const QByteArray &name, F &&f) const
    {
        quint32 list = imageList(name);
        if (list == kNone) return;
        quint32 count = 0;
        if (!u32(list, count)) return;
        for (quint32 i = 0; i < count; ++i) {
            const quint32 at = list + 4 + i * 8;
            quint16 dir = 0;
            quint16 flags = 0;
            if (!u16(at, dir) || !u16(at + 2, flags)) return;
            if (dir < _directories.size()) f(dir, flags);
        }
    }

private:
    explicit GtkIconCache(QByteArray bytes) : _bytes(std::move(bytes)) {}
    bool parseHeader();
    // The offset of the image list for a name, or kNone.
    quint32 imageList(const QByteArray &name) const;
    bool u16(quint32 offset, quint16 &out) const;
    bool u32(quint32 offset, quint32 &out) const;
    // The NUL-terminated string at an offset, or a null array when it runs off the end.
    QByteArray string(quint32 offset) const;

    static constexpr quint32 kNone = 0xffffffff;
    QByteArray _bytes;
    quint32 _hashOffset = 0;
    quint32 _buckets = 0;
    QStringList _directories;
};

} // namespace kelp
