// A bitmap as the colour analysis sees it, and the description of its pixel layout.
//
// Bitmap mirrors what an image toolkit reports of a decoded bitmap (geometry, sample layout,
// planes, colour model) without owning anything: the pixels stay wherever the caller keeps them
// and must outlive the analysis. describePixels() works out once, per bitmap, where each channel
// of a pixel lives, so the histogram can read pixels with plain pointer arithmetic.
#pragma once

#include <array>
#include <cstdint>

namespace kelp::colour {

enum class ColourModel : std::int32_t {
    Gray = 0,
    RGB = 1,
    CMYK = 2,
    Lab = 3,
    DeviceN = 4,
    Indexed = 5,
    Pattern = 6,
    Unknown = -1,
};

// Bit flags of Bitmap::bitmapFormat.
enum BitmapFormatFlags : std::uint32_t {
    AlphaFirst = 1u << 0,            // alpha is the first sample of a pixel (else the last)
    AlphaNonpremultiplied = 1u << 1, // colour samples are not multiplied by alpha
    FloatingPointSamples = 1u << 2,  // informational only; samples are read as bytes
};

inline constexpr int kMaxPlanes = 5;

struct Bitmap
{
    std::int64_t pixelsWide = 0;
    std::int64_t pixelsHigh = 0;
    std::int64_t bitsPerSample = 8;
    std::int64_t samplesPerPixel = 4;
    std::int64_t bytesPerRow = 0;   // of one plane when planar
    std::int64_t bitsPerPixel = 32; // of one plane when planar
    bool isOpaque = false;
    bool hasAlpha = true;
    std::uint32_t bitmapFormat = 0;
    bool isPlanar = false;
    std::int64_t numberOfPlanes = 1;
    ColourModel colourModel = ColourModel::RGB;
    // Meshed data, or the first plane of planar data.
    const std::uint8_t *data = nullptr;
    // One pointer per plane for planar data (planes[0] == data); unused when meshed.
    std::array<const std::uint8_t *, kMaxPlanes> planes{};
};

// Where the channels of a pixel live. Offsets are bytes from the start of a pixel; for planar
// data they are from the start of the first plane (plane k's pointer minus data).
struct PixelDescription
{
    const Bitmap *rep = nullptr;
    bool valid = false;
    std::int64_t pixelsWide = 0;
    std::int64_t pixelsHigh = 0;
    std::int64_t bitsPerSample = 0;
    std::int64_t samplesPerPixel = 0;
    std::int64_t bytesPerRow = 0;
    std::int64_t bitsPerPixel = 0;
    std::int64_t bytesPerPixel = 0;
    bool isOpaque = false;
    bool hasAlpha = false;
    std::uint32_t bitmapFormat = 0;
    bool premultiplied = false;
    bool isPlanar = false;
    std::int64_t numberOfPlanes = 0;
    ColourModel colourModel = ColourModel::Unknown;
    double gamma = 0.0; // clamped to [1/3, 1]; the pixel reader ignores it
    std::int64_t red = 0;
    std::int64_t green = 0;
    std::int64_t blue = 0;
    std::int64_t gray = 0;
    std::int64_t alpha = 0;
    const std::uint8_t *data = nullptr;
    std::array<const std::uint8_t *, kMaxPlanes> planes{};
};

// The gamma the colour pipeline passes to describePixels() (1 / 2.2).
inline constexpr double kDescriptionGamma = 0.45454545454545453;

// Fills `out` from the bitmap and returns out.valid. Only grey and RGB bitmaps with 1 to 4 samples
// per pixel are accepted; anything else leaves a cleared, invalid description. Offsets of samples
// wider than 8 bits are scaled to bytes, but a single byte is still read at each of them, so only
// 8-bit bitmaps give true colours.
bool describePixels(const Bitmap &bitmap, double gamma, PixelDescription &out);

} // namespace kelp::colour
