#include "colour/Bitmap.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <ostream>

using namespace kelp::colour;

namespace {

struct Offsets
{
    std::int64_t red, green, blue, gray, alpha;
    bool operator==(const Offsets &) const = default;
};

Offsets offsetsOf(const PixelDescription &d)
{
    return {d.red, d.green, d.blue, d.gray, d.alpha};
}

// Planes live in one buffer, 1000 bytes apart, so plane k sits at offset 1000 k.
std::array<std::uint8_t, 5000> planeBuffer{};

Bitmap makeBitmap(std::int64_t samples, bool alphaFirst, bool planar, std::int64_t bitsPerPixel)
{
    Bitmap b;
    b.pixelsWide = 4;
    b.pixelsHigh = 2;
    b.bitsPerSample = 8;
    b.samplesPerPixel = samples;
    b.bitsPerPixel = bitsPerPixel;
    b.bytesPerRow = 4 * bitsPerPixel / 8;
    b.hasAlpha = samples == 2 || samples == 4;
    b.bitmapFormat = alphaFirst ? AlphaFirst : 0u;
    b.colourModel = samples <= 2 ? ColourModel::Gray : ColourModel::RGB;
    b.isPlanar = planar;
    b.data = planeBuffer.data();
    if (planar) {
        b.numberOfPlanes = samples;
        for (int k = 0; k < samples; ++k)
            b.planes[static_cast<std::size_t>(k)] = planeBuffer.data() + 1000 * k;
    }
    return b;
}

struct LayoutCase
{
    const char *name;
    std::int64_t samples;
    bool alphaFirst;
    bool planar;
    std::int64_t bitsPerPixel;
    Offsets expected;

    friend void PrintTo(const LayoutCase &c, std::ostream *os) { *os << c.name; }
};

class PixelLayout : public testing::TestWithParam<LayoutCase>
{
};

} // namespace

TEST_P(PixelLayout, OffsetsFollowSampleLayout)
{
    const LayoutCase &c = GetParam();
    const Bitmap b = makeBitmap(c.samples, c.alphaFirst, c.planar, c.bitsPerPixel);
    PixelDescription d;
    ASSERT_TRUE(describePixels(b, kDescriptionGamma, d));
    EXPECT_TRUE(d.valid);
    EXPECT_EQ(offsetsOf(d), c.expected);
    EXPECT_EQ(d.bytesPerPixel, c.bitsPerPixel / 8);
    EXPECT_EQ(d.rep, &b);
    EXPECT_EQ(d.data, planeBuffer.data());
}

INSTANTIATE_TEST_SUITE_P(
    ColourBitmap, PixelLayout,
    testing::Values(
        // red, green, blue, gray, alpha
        LayoutCase{"Grey", 1, false, false, 8, {0, 0, 0, 0, 0}},
        LayoutCase{"GreyAlphaFirstPlanar", 2, true, true, 8, {0, 0, 0, 1000, 0}},
        LayoutCase{"GreyAlphaFirstMeshed", 2, true, false, 16, {0, 0, 0, 1, 0}},
        LayoutCase{"GreyAlphaLastPlanar", 2, false, true, 8, {0, 0, 0, 0, 1000}},
        LayoutCase{"GreyAlphaLastMeshed", 2, false, false, 16, {0, 0, 0, 0, 1}},
        LayoutCase{"RgbPlanar", 3, false, true, 8, {0, 1000, 2000, 0, 0}},
        LayoutCase{"RgbMeshed", 3, false, false, 24, {0, 1, 2, 0, 0}},
        LayoutCase{"RgbPaddingByte", 3, false, false, 32, {0, 1, 2, 0, 3}},
        LayoutCase{"ArgbPlanar", 4, true, true, 8, {1000, 2000, 3000, 0, 0}},
        LayoutCase{"ArgbMeshed", 4, true, false, 32, {1, 2, 3, 0, 0}},
        LayoutCase{"RgbaPlanar", 4, false, true, 8, {0, 1000, 2000, 0, 3000}},
        LayoutCase{"RgbaMeshed", 4, false, false, 32, {0, 1, 2, 0, 3}}),
    [](const testing::TestParamInfo<LayoutCase> &param) { return std::string(param.param.name); });

TEST(ColourBitmap, RefusesOtherModelsAndSampleCounts)
{
    for (ColourModel model : {ColourModel::CMYK, ColourModel::Lab, ColourModel::Indexed}) {
        Bitmap b = makeBitmap(4, false, false, 32);
        b.colourModel = model;
        PixelDescription d;
        d.red = 7;
        EXPECT_FALSE(describePixels(b, kDescriptionGamma, d));
        // The whole description is cleared, geometry included.
        EXPECT_FALSE(d.valid);
        EXPECT_EQ(d.pixelsWide, 0);
        EXPECT_EQ(d.red, 0);
        EXPECT_EQ(d.data, nullptr);
    }
    Bitmap five = makeBitmap(4, false, false, 40);
    five.samplesPerPixel = 5;
    PixelDescription d;
    EXPECT_FALSE(describePixels(five, kDescriptionGamma, d));
    EXPECT_EQ(offsetsOf(d), (Offsets{0, 0, 0, 0, 0}));
    EXPECT_EQ(d.pixelsWide, 4); // geometry is still reported
}

TEST(ColourBitmap, PremultipliedOnlyWithAlpha)
{
    Bitmap b = makeBitmap(4, false, false, 32);
    PixelDescription d;
    describePixels(b, kDescriptionGamma, d);
    EXPECT_TRUE(d.premultiplied);
    b.bitmapFormat = AlphaNonpremultiplied;
    describePixels(b, kDescriptionGamma, d);
    EXPECT_FALSE(d.premultiplied);

    // The fourth byte of a three-sample pixel is padding: never alpha, never premultiplied.
    b = makeBitmap(3, false, false, 32);
    b.hasAlpha = false;
    ASSERT_TRUE(describePixels(b, kDescriptionGamma, d));
    EXPECT_EQ(d.alpha, 3);
    EXPECT_FALSE(d.hasAlpha);
    EXPECT_FALSE(d.premultiplied);
}

TEST(ColourBitmap, WideSamplesScaleOffsetsToBytes)
{
    Bitmap b = makeBitmap(4, false, false, 64);
    b.bitsPerSample = 16;
    PixelDescription d;
    ASSERT_TRUE(describePixels(b, kDescriptionGamma, d));
    EXPECT_EQ(offsetsOf(d), (Offsets{0, 2, 4, 0, 6}));
}
