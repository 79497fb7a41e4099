// The Qt side of Kelp's icon colour analysis: QImage bitmaps described to the colour code, and
// icon files rendered into square bitmaps for it. Everything here is usable off the GUI thread
// (QImage, QImageReader and QSvgRenderer only; no QPixmap, no QIcon).
#pragma once

#include "colour/Bitmap.h"
#include "colour/ColourAnalysis.h"

#include <QImage>
#include <QString>

#include <cstdint>
#include <vector>

namespace kelp {

// A bitmap description and the image whose pixels it points at; the image is held (a shallow,
// shared copy) so the pixels stay valid as long as this object lives.
struct ColourBitmap
{
    QImage image;
    colour::Bitmap bitmap;

    bool isValid() const { return bitmap.data != nullptr; }
};

// True when describeImage() can describe the format in place.
bool isDirectlyDescribable(QImage::Format format);

// Describes the image's pixels without copying them. Format_RGBA8888_Premultiplied (the icon
// format), Format_RGBA8888, Format_RGBX8888, Format_RGB888 and Format_Grayscale8 are described
// as they are; the caller keeps `image` alive and unmodified while the description is in use.
// Any other format gives an empty description (null data, unknown colour model).
colour::Bitmap describeImage(const QImage &image);

// Like describeImage(), but converts other formats to Format_RGBA8888_Premultiplied first. The
// returned object owns (or shares) the pixels it describes.
ColourBitmap colourBitmapForImage(const QImage &image);

// The dominant colours of an image, most important first; empty for a null image or when the
// analysis finds no colours.
std::vector<colour::HclColor> dominantColoursOfImage(const QImage &image, std::int64_t count,
                                                     double minSaturation, double minLuminosity,
                                                     double deltaE = colour::kMergeDeltaE);

// Scales an image into a size x size Format_RGBA8888_Premultiplied bitmap, aspect ratio kept,
// centred on a transparent background. Null when the image is null or size < 1.
QImage squareIconImage(const QImage &image, int size);

// Renders an image file (any format Qt reads: PNG, SVG/SVGZ through QtSvg, ICNS and others
// through the image-format plugins) into a size x size Format_RGBA8888_Premultiplied bitmap,
// aspect ratio kept, centred. From multi-image files (ICNS, ICO) the smallest image at least
// `size` wide is used, else the largest. Null when the file cannot be read.
QImage renderIconFile(const QString &path, int size);

} // namespace kelp
