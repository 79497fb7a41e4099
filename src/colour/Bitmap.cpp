#include "colour/Bitmap.h"

#include <algorithm>
#include <cstdint>

namespace kelp::colour {

namespace {

// Distance in bytes from the first plane to plane k; 0 when there is no such plane.
std::int64_t planeOffset(const PixelDescription &d, int k)
{
    if (k >= d.numberOfPlanes || d.planes[static_cast<std::size_t>(k)] == nullptr ||
        d.data == nullptr)
        return 0;
    return static_cast<std::int64_t>(
        reinterpret_cast<std::uintptr_t>(d.planes[static_cast<std::size_t>(k)]) -
        reinterpret_cast<std::uintptr_t>(d.data));
}

} // namespace

bool describePixels(const Bitmap &bitmap, double gamma, PixelDescription &out)
{
    out = PixelDescription{};
    const ColourModel model = bitmap.colourModel;
    if (model != ColourModel::Gray && model != ColourModel::RGB) return false;

    PixelDescription d;
    d.rep = &bitmap;
    d.colourModel = model;
    d.pixelsWide = bitmap.pixelsWide;
    d.pixelsHigh = bitmap.pixelsHigh;
    d.bitsPerSample = bitmap.bitsPerSample;
    d.samplesPerPixel = bitmap.samplesPerPixel;
    d.bytesPerRow = bitmap.bytesPerRow;
    d.bitsPerPixel = bitmap.bitsPerPixel;
    d.bytesPerPixel = bitmap.bitsPerPixel / 8;
    d.isOpaque = bitmap.isOpaque;
    d.hasAlpha = bitmap.hasAlpha;
    d.bitmapFormat = bitmap.bitmapFormat;
    d.premultiplied = bitmap.hasAlpha && !(bitmap.bitmapFormat & AlphaNonpremultiplied);
    d.gamma = std::clamp(gamma, 0.3333333333333333, 1.0);
    d.data = bitmap.data;
    d.isPlanar = bitmap.isPlanar;
    d.numberOfPlanes = bitmap.numberOfPlanes;
    if (bitmap.isPlanar)
        d.planes = bitmap.planes;
    else
        d.planes[0] = bitmap.data;

    const bool alphaFirst = (bitmap.bitmapFormat & AlphaFirst) != 0;
    const bool planar = bitmap.isPlanar;
    const auto P = [&d](int k) { return planeOffset(d, k); };
    d.valid = true;
    switch (bitmap.samplesPerPixel) {
    case 1:
        break;
    case 2:
        if (alphaFirst) {
            d.alpha = planar ? P(0) : 0;
            d.gray = planar ? P(1) : 1;
        } else {
            d.gray = planar ? P(0) : 0;
            d.alpha = planar ? P(1) : 1;
        }
        break;
    case 3:
        if (planar) {
            d.red = P(0);
            d.green = P(1);
            d.blue = P(2);
        } else {
            d.red = 0;
            d.green = 1;
            d.blue = 2;
            // A fourth byte in a three-sample pixel is padding; hasAlpha stays false, so the
            // reader never takes it for alpha.
            d.alpha = d.bytesPerPixel == 4 ? 3 : 0;
        }
        break;
    case 4:
        if (alphaFirst) {
            d.alpha = planar ? P(0) : 0;
            d.red = planar ? P(1) : 1;
            d.green = planar ? P(2) : 2;
            d.blue = planar ? P(3) : 3;
        } else {
            d.red = planar ? P(0) : 0;
            d.green = planar ? P(1) : 1;
            d.blue = planar ? P(2) : 2;
            d.alpha = planar ? P(3) : 3;
        }
        break;
    default:
        d.valid = false;
        break;
    }

    if (d.valid && d.bitsPerSample >= 9) {
        const std::int64_t bytesPerSample = (d.bitsPerSample + 7) / 8;
        d.red *= bytesPerSample;
        d.green *= bytesPerSample;
        d.blue *= bytesPerSample;
        d.gray *= bytesPerSample;
        d.alpha *= bytesPerSample;
    }
    out = d;
    return d.valid;
}

} // namespace kelp::colour
