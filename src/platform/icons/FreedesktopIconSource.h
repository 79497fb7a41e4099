#pragma once
// FreedesktopIconSource: application icons from desktop entries, ".app" bundles and the
// freedesktop icon themes.
//
// A desktop entry's Icon key is an absolute file or an icon name looked up in the theme; an
// ".app" bundle names its icon file in Contents/Info.plist (CFBundleIconFile, found in
// Contents/Resources, ".icns" when it has no extension); anything else, and any icon that cannot
// be found or read, gets the theme's generic application icon. The theme index is built once, on
// the first worker thread that needs it (or ahead of time with prepare()).
#include "desktop/IconSource.h"
#include "platform/icons/DesktopIconTheme.h"

#include <QStringList>

#include <memory>
#include <mutex>

namespace kelp {

class IconThemeIndex;

class FreedesktopIconSource : public IconSource
{
public:
    // themeName: the theme to use; empty for the desktop's own (see desktopIconTheme()), found
    // with the hints when the index is built.
    // baseDirs / pixmapDirs: where themes and loose icons live; empty for the standard folders.
    explicit FreedesktopIconSource(const QString &themeName = QString(),
                                   const QStringList &baseDirs = QStringList(),
                                   const QStringList &pixmapDirs = QStringList(),
                                   DesktopThemeHints hints = {});
    ~FreedesktopIconSource() override;

    QImage iconForFile(const QString &path, int pixelSize) const override;

    // The theme index (built on first use). Thread-safe.
    const IconThemeIndex &themeIndex() const;

    // The icon name a file asks for: a desktop entry's Icon key (a name or an absolute path), or
    // an empty string.
    static QString iconKeyOfDesktopEntry(const QString &path);
    // What a desktop entry's icon is looked up as: a file (an absolute Icon key), a theme icon
    // name (the key without a ".png", ".svg" or ".xpm" ending), or an empty string when the entry
    // names none Kelp can look up (no key, or a relative path).
    static QString iconOfDesktopEntry(const QString &path);
    // The icon file of an ".app" bundle, or an empty string.
    static QString iconFileOfBundle(const QString &bundlePath);

    // Names tried, in order, for an application without a usable icon.
    static const QStringList &genericIconNames();

    // The largest icon file Kelp reads, and the largest side of a bitmap it decodes: anything
    // bigger is refused (with a log line), never decoded.
    static constexpr qint64 kLargestIconFileBytes = 16 * 1024 * 1024;
    static constexpr int kLargestIconSide = 4096;

    // Renders an icon file into a pixelSize x pixelSize bitmap; null (with a log line) when the
    // file is missing, unreadable, corrupt or too large.
    static QImage renderIcon(const QString &file, int pixelSize);

private:
    QImage themeIcon(const QString &name, int pixelSize) const;
    QImage genericIcon(int pixelSize) const;

    QString _themeName;
    QStringList _baseDirs;
    QStringList _pixmapDirs;
    DesktopThemeHints _hints;
    mutable std::once_flag _built;
    mutable std::shared_ptr<const IconThemeIndex> _index;
};

} // namespace kelp
