#pragma once
// IconSource: how the catalogue asks the desktop for the icon of an application file.
//
// Implementations are thread-safe and are called from the icon loader's worker threads: they may
// read the disk and decode images, so the GUI thread never calls them. Images are QImages only
// (QPixmap and QIcon belong to the GUI thread).
#include <QImage>
#include <QString>

#include <cmath>

namespace kelp {

class IconSource
{
public:
    virtual ~IconSource() = default;

    // The icon of the application at path (a desktop entry, an ".app" bundle folder or a program)
    // as a pixelSize x pixelSize Format_RGBA8888_Premultiplied image. A file that names no usable
    // icon gets the theme's generic application icon; null only when the file is gone or not even
    // the generic icon can be found.
    virtual QImage iconForFile(const QString &path, int pixelSize) const = 0;

    // The same icon for display on a screen with the given device pixel ratio: size x ratio pixels,
    // tagged with that ratio so that it paints at size x size logical pixels.
    QImage displayIconForFile(const QString &path, int size, qreal devicePixelRatio) const
    {
        const qreal ratio = devicePixelRatio > 1.0 ? devicePixelRatio : 1.0;
        QImage image = iconForFile(path, static_cast<int>(std::ceil(size * ratio)));
        if (!image.isNull()) image.setDevicePixelRatio(ratio);
        return image;
    }
};

} // namespace kelp
