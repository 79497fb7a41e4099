#include "extras/ColourImage.h"

#include <QFileInfo>
#include <QImageReader>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>

namespace kelp {

bool isDirectlyDescribable(QImage::Format format)
{
    switch (format) {
    case QImage::Format_RGBA8888_Premultiplied:
    case QImage::Format_RGBA8888:
    case QImage::Format_RGBX8888:
    case QImage::Format_RGB888:
    case QImage::Format_Grayscale8:
        return true;
    default:
        return false;
    }
}

colour::Bitmap describeImage(const QImage &image)
{
    colour::Bitmap b;
    b.colourModel = colour::ColourModel::Unknown;
    b.data = nullptr;
    if (image.isNull() || !isDirectlyDescribable(image.format())) return b;

    b.pixelsWide = image.width();
    b.pixelsHigh = image.height();
    b.bitsPerSample = 8;
    b.bytesPerRow = image.bytesPerLine();
    b.bitsPerPixel = image.depth();
    b.isPlanar = false;
    b.numberOfPlanes = 1;
    b.bitmapFormat = 0;
    b.colourModel = colour::ColourModel::RGB;
    switch (image.format()) {
    case QImage::Format_RGBA8888_Premultiplied:
        b.samplesPerPixel = 4;
        b.hasAlpha = true;
        break;
    case QImage::Format_RGBA8888:
        b.samplesPerPixel = 4;
        b.hasAlpha = true;
        b.bitmapFormat = colour::AlphaNonpremultiplied;
        break;
    case QImage::Format_RGBX8888: // the fourth byte is padding
        b.samplesPerPixel = 3;
        b.hasAlpha = false;
        break;
    case QImage::Format_RGB888:
        b.samplesPerPixel = 3;
        b.hasAlpha = false;
        break;
    case QImage::Format_Grayscale8:
        b.samplesPerPixel = 1;
        b.hasAlpha = false;
        b.colourModel = colour::ColourModel::Gray;
        break;
    default:
        break;
    }
    b.isOpaque = !b.hasAlpha;
    // constBits() never detaches, so this is the image's own buffer.
    b.data = image.constBits();
    b.planes[0] = b.data;
    return b;
}

ColourBitmap colourBitmapForImage(const QImage &image)
{
    ColourBitmap result;
    if (image.isNull()) return result;
    result.image = isDirectlyDescribable(image.format())
                       ? image
                       : image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    result.bitmap = describeImage(result.image);
    return result;
}

std::vector<colour::HclColor> dominantColoursOfImage(const QImage &image, std::int64_t count,
                                                     double minSaturation, double minLuminosity,
                                                     double deltaE)
{
    const ColourBitmap bitmap = colourBitmapForImage(image);
    if (!bitmap.isValid()) return {};
    return colour::dominantColours(bitmap.bitmap, count, minSaturation, minLuminosity, deltaE);
}

namespace {

QImage transparentCanvas(int size)
{
    QImage canvas(size, size, QImage::Format_RGBA8888_Premultiplied);
    if (!canvas.isNull()) canvas.fill(Qt::transparent);
    return canvas;
}

// The largest rectangle of the given aspect that fits a size x size square, centred.
QRectF fittedRect(QSizeF natural, int size)
{
    if (natural.isEmpty()) return QRectF(0, 0, size, size);
    const QSizeF scaled = natural.scaled(size, size, Qt::KeepAspectRatio);
    return QRectF((size - scaled.width()) / 2.0, (size - scaled.height()) / 2.0, scaled.width(),
                  scaled.height());
}

QImage renderSvg(const QString &path, int size)
{
    QSvgRenderer renderer(path);
    if (!renderer.isValid()) return {};
    QSizeF natural = renderer.viewBoxF().size();
    if (natural.isEmpty()) natural = renderer.defaultSize();
    QImage canvas = transparentCanvas(size);
    if (canvas.isNull()) return {};
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    renderer.render(&painter, fittedRect(natural, size));
    painter.end();
    return canvas;
}

QImage readBestImage(const QString &path, int size)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    if (!reader.canRead()) return {};
    const int count = reader.imageCount();
    if (count > 1) {
        // Pick the smallest image at least `size` wide, else the largest one.
        int best = -1;
        int bestWidth = 0;
        bool bestBigEnough = false;
        for (int i = 0; i < count; ++i) {
            if (!reader.jumpToImage(i)) break;
            const int width = std::max(reader.size().width(), reader.size().height());
            const bool bigEnough = width >= size;
            const bool better = best < 0 || (bigEnough && (!bestBigEnough || width < bestWidth)) ||
                                (!bigEnough && !bestBigEnough && width > bestWidth);
            if (better) {
                best = i;
                bestWidth = width;
                bestBigEnough = bigEnough;
            }
        }
        QImageReader chosen(path);
        chosen.setAutoTransform(true);
        if (best > 0) chosen.jumpToImage(best);
        return chosen.read();
    }
    // Vector formats read through a plugin render best straight at the target size.
    if (reader.supportsOption(QImageIOHandler::ScaledSize) && reader.size().isValid()) {
        const QSize scaled = reader.size().scaled(size, size, Qt::KeepAspectRatio);
        if (!scaled.isEmpty()) reader.setScaledSize(scaled);
    }
    return reader.read();
}

} // namespace

QImage squareIconImage(const QImage &image, int size)
{
    if (image.isNull() || size < 1) return {};
    if (image.width() == size && image.height() == size)
        return image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    QImage canvas = transparentCanvas(size);
    if (canvas.isNull()) return {};
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(fittedRect(image.size(), size), image);
    painter.end();
    return canvas;
}

QImage renderIconFile(const QString &path, int size)
{
    if (size < 1) return {};
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("svg") || suffix == QLatin1String("svgz"))
        return renderSvg(path, size);
    const QImage image = readBestImage(path, size);
    if (image.isNull()) return {};
    // Qt's smooth scaling averages areas when shrinking, which the painter's bilinear filter
    // does not; scale first, then centre on the square.
    const QImage scaled =
        (image.width() > size || image.height() > size)
            ? image.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation)
            : image;
    return squareIconImage(scaled, size);
}

} // namespace kelp
