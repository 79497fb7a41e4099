#include "platform/icons/FreedesktopIconSource.h"

#include "extras/ColourImage.h"
#include "extras/Logging.h"
#include "extras/Plist.h"
#include "platform/gio/GioDesktopEntry.h"
#include "platform/icons/IconTheme.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QImageReader>

#include <utility>

namespace kelp {
namespace {

bool isVectorFile(const QString &file)
{
    return file.endsWith(QLatin1String(".svg"), Qt::CaseInsensitive) ||
           file.endsWith(QLatin1String(".svgz"), Qt::CaseInsensitive);
}

// An Icon key written as a file name ("foo.png") names the icon "foo".
QString iconNameFromKey(const QString &key)
{
    static const char *const extensions[] = {".png", ".svg", ".xpm"};
    for (const char *ext : extensions) {
        if (key.endsWith(QLatin1String(ext), Qt::CaseInsensitive)) return key.chopped(4);
    }
    return key;
}

} // namespace

FreedesktopIconSource::FreedesktopIconSource(const QString &themeName, const QStringList &baseDirs,
                                             const QStringList &pixmapDirs, DesktopThemeHints hints)
    : _themeName(themeName), _baseDirs(baseDirs), _pixmapDirs(pixmapDirs), _hints(std::move(hints))
{}

FreedesktopIconSource::~FreedesktopIconSource() = default;

const IconThemeIndex &FreedesktopIconSource::themeIndex() const
{
    std::call_once(_built, [this]() {
        QElapsedTimer timer;
        timer.start();
        const QStringList bases =
            _baseDirs.isEmpty() ? IconThemeIndex::defaultBaseDirs() : _baseDirs;
        IconThemeChoice theme{_themeName, QStringLiteral("Kelp's settings")};
        if (theme.name.isEmpty()) theme = desktopIconTheme(_hints, bases);
        _index = IconThemeIndex::build(theme.name, bases,
                                       _pixmapDirs.isEmpty() ? IconThemeIndex::defaultPixmapDirs()
                                                             : _pixmapDirs);
        qCInfo(lcIcons).noquote() << "Icon theme" << theme.name
                                  << (theme.source.isEmpty()
                                          ? QString()
                                          : QStringLiteral("(from %1)").arg(theme.source))
                                  << "indexed:" << _index->searchOrder().join(QLatin1String(" > "))
                                  << "(" << _index->fileCount() << "files listed,"
                                  << _index->cachedFolderCount() << "folders from caches,"
                                  << timer.elapsed() << "ms)";
    });
    return *_index;
}

const QStringList &FreedesktopIconSource::genericIconNames()
{
    static const QStringList names{QStringLiteral("application-x-executable"),
                                   QStringLiteral("application-default-icon"),
                                   QStringLiteral("exec")};
    return names;
}

QString FreedesktopIconSource::iconKeyOfDesktopEntry(const QString &path)
{
    QString error;
    const GLibPtr<GKeyFile> kf = loadKeyFile(path, &error);
    if (!kf) {
        qCInfo(lcIcons).noquote() << "Cannot read the desktop entry" << path << ":" << error;
        return {};
    }
    return takeString(
               g_key_file_get_locale_string(kf.get(), kDesktopEntryGroup, "Icon", nullptr, nullptr))
        .trimmed();
}

QString FreedesktopIconSource::iconOfDesktopEntry(const QString &path)
{
    const QString key = iconKeyOfDesktopEntry(path);
    if (key.startsWith(QLatin1Char('/'))) return key;
    if (key.contains(QLatin1Char('/'))) return {};
    return iconNameFromKey(key);
}

QString FreedesktopIconSource::iconFileOfBundle(const QString &bundlePath)
{
    const QString infoPlist = bundlePath + QStringLiteral("/Contents/Info.plist");
    const plist::ReadResult read = plist::readFile(infoPlist);
    if (!read.ok()) {
        if (read.status != plist::ReadResult::Missing)
            qCInfo(lcIcons).noquote() << "Cannot read" << infoPlist << ":" << read.error;
        return {};
    }
    QString name = read.value.toMap().value(QStringLiteral("CFBundleIconFile")).toString();
    name = name.trimmed();
    if (name.isEmpty() || name.contains(QLatin1Char('/')) || name.startsWith(QLatin1Char('.')))
        return {};
    if (QFileInfo(name).suffix().isEmpty()) name += QStringLiteral(".icns");
    return bundlePath + QStringLiteral("/Contents/Resources/") + name;
}

QImage FreedesktopIconSource::renderIcon(const QString &file, int pixelSize)
{
    const QFileInfo info(file);
    if (!info.isFile()) {
        qCInfo(lcIcons).noquote() << "No icon file at" << file;
        return {};
    }
    if (info.size() > kLargestIconFileBytes) {
        qCWarning(lcIcons).noquote()
            << "Icon file" << file << "is too large to read (" << info.size() << "bytes)";
        return {};
    }
    if (!isVectorFile(file)) {
        QImageReader reader(file);
        if (!reader.canRead()) {
            qCWarning(lcIcons).noquote()
                << "Icon file" << file << "cannot be decoded:" << reader.errorString();
            return {};
        }
        const QSize size = reader.size();
        if (size.width() > kLargestIconSide || size.height() > kLargestIconSide) {
            qCWarning(lcIcons).noquote() << "Icon file" << file << "is too large to decode ("
                                         << size.width() << "x" << size.height() << ")";
            return {};
        }
    }
    QImage image = renderIconFile(file, pixelSize);
    if (image.isNull()) qCWarning(lcIcons).noquote() << "Icon file" << file << "cannot be decoded";
    return image;
}

QImage FreedesktopIconSource::themeIcon(const QString &name, int pixelSize) const
{
    const QString file = themeIndex().lookup(name, pixelSize);
    return file.isEmpty() ? QImage() : renderIcon(file, pixelSize);
}

QImage FreedesktopIconSource::genericIcon(int pixelSize) const
{
    for (const QString &name : genericIconNames()) {
        QImage image = themeIcon(name, pixelSize);
        if (!image.isNull()) return image;
    }
    return {};
}

QImage FreedesktopIconSource::iconForFile(const QString &path, int pixelSize) const
{
    if (pixelSize < 1) return {};
    const QFileInfo info(path);
    if (!info.exists()) return {};

    QImage image;
    if (info.isDir()) {
        if (path.endsWith(QLatin1String(".app"))) {
            const QString file = iconFileOfBundle(path);
            if (!file.isEmpty()) image = renderIcon(file, pixelSize);
        }
    } else if (path.endsWith(QLatin1String(".desktop"))) {
        const QString icon = iconOfDesktopEntry(path);
        if (icon.startsWith(QLatin1Char('/'))) {
            image = renderIcon(icon, pixelSize);
        } else if (!icon.isEmpty()) {
            image = themeIcon(icon, pixelSize);
            if (image.isNull())
                qCInfo(lcIcons).noquote() << "No icon named" << icon << "for" << path;
        }
    }
    if (image.isNull()) image = genericIcon(pixelSize);
    return image;
}

} // namespace kelp
