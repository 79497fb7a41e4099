#include "colour/ColourSort.h"

#include "TestBitmaps.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace kelp::colour;
using kelp::colour::test::RgbaImage;

namespace {

// A dominant colour with the given hue (degrees), chroma and lightness fractions and weight.
HclColor colour(double hue, double chroma, double lightness, std::uint64_t quantity)
{
    HclColor c;
    c.L = lightness * 100.0;
    c.u = chroma * 100.0 * std::cos(hue * kPi / 180.0);
    c.v = chroma * 100.0 * std::sin(hue * kPi / 180.0);
    c.alpha = 1.0;
    c.quantity = quantity;
    c.hue = hue;
    c.chroma = chroma;
    c.lightness = lightness;
    return c;
}

ColorSortParams defaults()
{
    ColorSortParams p;
    p.maximumIconSize = 64;
    p.colorSortGrayThreshold = 0.05f;
    p.colorSortWrapHue = 0.0f;
    p.colorSortMinSaturation = 0.14f;
    p.colorSortMinLuminosity = 0.02f;
    return p;
}

std::vector<std::int64_t> countsOf(const std::vector<DisplayColour> &colours)
{
    std::vector<std::int64_t> counts;
    for (const DisplayColour &c : colours)
        counts.push_back(c.count);
    return counts;
}

} // namespace

TEST(ColourSortKey, ColouredIconsByPrimaryHue)
{
    // The primary is the most important coloured record, not the first one.
    const HclColor colours[] = {colour(200.0, 0.15, 0.2, 100), colour(90.0, 0.8, 0.5, 100),
                                colour(0.0, 0.02, 0.9, 50)};
    const ColourSortResult r = pickAndSortColours(colours, defaults());
    EXPECT_EQ(r.status, ColourSortStatus::Sorted);
    EXPECT_EQ(r.primary, 1);
    EXPECT_EQ(r.gray, 2);
    EXPECT_DOUBLE_EQ(r.key, 0.25);
    EXPECT_EQ(countsOf(r.sortedColours), (std::vector<std::int64_t>{100, 100, 100, 50}));
}

TEST(ColourSortKey, WrapHueRotatesTheCircle)
{
    ColorSortParams p = defaults();
    p.colorSortWrapHue = 30.0f;
    const HclColor at30[] = {colour(30.0, 0.5, 0.5, 10)};
    EXPECT_DOUBLE_EQ(pickAndSortColours(at30, p).key, 0.0);
    const HclColor at29[] = {colour(29.0, 0.5, 0.5, 10)};
    EXPECT_NEAR(pickAndSortColours(at29, p).key, 1.0 - 30.0 / 360.0 + 29.0 / 360.0, 1e-12);
    const HclColor at300[] = {colour(300.0, 0.5, 0.5, 10)};
    EXPECT_NEAR(pickAndSortColours(at300, p).key, 270.0 / 360.0, 1e-12);
}

TEST(ColourSortKey, ColouredShareMustExceedThreshold)
{
    ColorSortParams p = defaults();
    p.colorSortGrayThreshold = 0.25f;
    // Coloured share exactly 0.25: grey by lightness.
    const HclColor quarter[] = {colour(0.0, 0.01, 0.6, 3), colour(120.0, 0.5, 0.5, 1)};
    ColourSortResult r = pickAndSortColours(quarter, p);
    EXPECT_DOUBLE_EQ(r.key, (1.0 - 0.6) * 0.5 + 1.0);
    // A little more colour and it sorts by hue.
    const HclColor more[] = {colour(0.0, 0.01, 0.6, 3), colour(120.0, 0.5, 0.5, 2)};
    r = pickAndSortColours(more, p);
    EXPECT_DOUBLE_EQ(r.key, 120.0 / 360.0);
}

TEST(ColourSortKey, GreyIconsByLightness)
{
    const ColorSortParams p = defaults();
    const auto keyFor = [&p](double lightness) {
        const HclColor grey[] = {colour(0.0, 0.0, lightness, 10)};
        return pickAndSortColours(grey, p).key;
    };
    EXPECT_DOUBLE_EQ(keyFor(1.0), 1.0); // white sorts first among greys
    EXPECT_DOUBLE_EQ(keyFor(0.0), 1.5); // black last
    EXPECT_DOUBLE_EQ(keyFor(0.3), 1.35);
    EXPECT_DOUBLE_EQ(keyFor(1.2), 1.0);  // lightness over 1 counts as 1
    EXPECT_DOUBLE_EQ(keyFor(-0.1), 1.5); // negative lightness counts as 0
}

TEST(ColourSortKey, GreyIconsBySecondaryColour)
{
    ColorSortParams p = defaults();
    p.colorSortGraysBySecondaryColor = true;
    p.colorSortGrayThreshold = 0.5f;
    // Mostly grey with a little green: by the green's hue, in the first half unit above 1.
    const HclColor someColour[] = {colour(0.0, 0.0, 0.7, 90), colour(120.0, 0.6, 0.5, 10)};
    ColourSortResult r = pickAndSortColours(someColour, p);
    EXPECT_DOUBLE_EQ(r.key, 120.0 / 360.0 * 0.5 + 1.0);
    EXPECT_EQ(countsOf(r.sortedColours), (std::vector<std::int64_t>{90, 10, 90}));
    // No colour at all: by lightness, in the second half unit.
    const HclColor noColour[] = {colour(0.0, 0.0, 0.7, 90)};
    r = pickAndSortColours(noColour, p);
    EXPECT_NEAR(r.key, 0.3 * 0.5 + 1.5, 1e-12);
    p.colorSortGraysBySecondaryColor = false;
    r = pickAndSortColours(someColour, p);
    EXPECT_NEAR(r.key, 0.3 * 0.5 + 1.0, 1e-12);
}

TEST(ColourSortKey, NoUsableColours)
{
    const ColorSortParams p = defaults();
    ColourSortResult r = pickAndSortColours({}, p);
    EXPECT_EQ(r.status, ColourSortStatus::NoColours);
    EXPECT_EQ(r.key, kNoColourKey);
    EXPECT_TRUE(r.sortedColours.empty());

    const HclColor weightless[] = {colour(10.0, 0.5, 0.5, 0)};
    r = pickAndSortColours(weightless, p);
    EXPECT_EQ(r.status, ColourSortStatus::ZeroQuantity);
    EXPECT_EQ(r.key, kNoColourKey);

    // Only coloured records, but a threshold no share can pass: no grey to fall back on.
    ColorSortParams strict = p;
    strict.colorSortGrayThreshold = 1.0f;
    const HclColor coloured[] = {colour(10.0, 0.5, 0.5, 5)};
    r = pickAndSortColours(coloured, strict);
    EXPECT_EQ(r.status, ColourSortStatus::NoUsableColours);
    EXPECT_EQ(r.key, kNoColourKey);
    EXPECT_TRUE(r.sortedColours.empty());
}

TEST(ColourSortKey, WhiteAndBlackIconsEndToEnd)
{
    const ColorSortParams p = defaults();
    const auto keyOf = [&p](std::uint8_t level) {
        const RgbaImage image(16, 16, {level, level, level, 255});
        const auto colours =
            dominantColours(image.bitmap(), kDominantColourCount, p.colorSortMinSaturation,
                            p.colorSortMinLuminosity, kMergeDeltaE);
        return pickAndSortColours(colours, p).key;
    };
    EXPECT_DOUBLE_EQ(keyOf(255), 1.0);
    EXPECT_DOUBLE_EQ(keyOf(0), 1.5);
}

TEST(ColourSortKey, DisplayArrayLayout)
{
    std::vector<HclColor> colours;
    for (std::uint64_t q : {10, 11, 12, 13})
        colours.push_back(colour(40.0, 0.5, 0.5, q));
    // Primary, secondary, the others in reverse order, grey last.
    EXPECT_EQ(countsOf(colourArrayForPrimaryIndex(colours, 0, 1, 2)),
              (std::vector<std::int64_t>{10, 11, 13, 10, 12}));
    // Primary equal to secondary appears twice.
    EXPECT_EQ(countsOf(colourArrayForPrimaryIndex(colours, 2, 2, 3)),
              (std::vector<std::int64_t>{12, 12, 11, 10, 13}));
    // No grey record.
    EXPECT_EQ(countsOf(colourArrayForPrimaryIndex(colours, 3, 3, -1)),
              (std::vector<std::int64_t>{13, 13, 12, 11, 10}));
    EXPECT_TRUE(colourArrayForPrimaryIndex({}, 0, 0, 0).empty());
    EXPECT_TRUE(colourArrayForPrimaryIndex(colours, 4, 0, 0).empty());
    EXPECT_TRUE(colourArrayForPrimaryIndex(colours, 0, -1, 0).empty());
}

// Display colours against colorjs.io: L*u*v* to linear sRGB, then pow(c, 1 / 2.2).
TEST(ColourSortKey, DisplayColourAgreesWithIndependentConversion)
{
    HclColor c;
    c.L = 50.0;
    c.u = 20.0;
    c.v = -30.0;
    c.alpha = 1.0;
    c.quantity = 42;
    DisplayColour d = displayColour(c);
    EXPECT_NEAR(d.red, 0.567889115882, 2e-4);
    EXPECT_NEAR(d.green, 0.410519588168, 2e-4);
    EXPECT_NEAR(d.blue, 0.583665525285, 2e-4);
    EXPECT_EQ(d.alpha, 1.0);
    EXPECT_EQ(d.count, 42);
    // Out of gamut is clamped, and black stays black.
    c.L = 60.0;
    c.u = 300.0;
    c.v = 0.0;
    d = displayColour(c);
    EXPECT_EQ(d.red, 1.0);
    EXPECT_EQ(d.green, 0.0);
    d = displayColour(HclColor{});
    EXPECT_EQ(d.red, 0.0);
    EXPECT_EQ(d.alpha, 1.0);
}

TEST(ColourSortParameters, WhatEachChangeAsksFor)
{
    ColorSortParams stored = defaults();
    ColorSortParams incoming = defaults();
    incoming.maximumIconSize = 32;
    incoming.colorSortMinSaturation = 0.2f;
    incoming.colorSortWrapHue = 90.0f;
    // Min saturation changed: everything is taken, analysed again and re-sorted.
    ColorSortUpdate u = updateColorSortParams(stored, incoming, true);
    EXPECT_TRUE(u.recompute && u.resort);
    EXPECT_EQ(stored.maximumIconSize, 32);
    EXPECT_EQ(stored.colorSortWrapHue, 90.0f);
    // Nothing changed: nothing to do, unless there are no colours yet.
    u = updateColorSortParams(stored, incoming, true);
    EXPECT_FALSE(u.recompute || u.resort);
    EXPECT_TRUE(updateColorSortParams(stored, incoming, false).recompute);
    // A sort-only change re-sorts the kept colours; the icon size alone asks for nothing.
    incoming.colorSortGraysBySecondaryColor = true;
    incoming.maximumIconSize = 16;
    u = updateColorSortParams(stored, incoming, true);
    EXPECT_FALSE(u.recompute);
    EXPECT_TRUE(u.resort);
    EXPECT_TRUE(stored.colorSortGraysBySecondaryColor);
    EXPECT_EQ(stored.maximumIconSize, 16);
    // NaN never equals itself: always a change.
    incoming.colorSortMinLuminosity = NAN;
    EXPECT_TRUE(updateColorSortParams(stored, incoming, true).recompute);
    EXPECT_TRUE(updateColorSortParams(stored, incoming, true).recompute);
}

TEST(SpectrumIcon, SlicesAndRing)
{
    std::vector<DisplayColour> colours(3);
    colours[0].count = 999; // the ring colour; not part of the pie
    colours[1].count = 10;
    colours[2].count = 30;
    const auto layout = spectrumIconLayout(colours, 128);
    ASSERT_TRUE(layout);
    EXPECT_EQ(layout->size, 128.0);
    EXPECT_EQ(layout->centre, 64.0);
    EXPECT_DOUBLE_EQ(layout->pieRadius, 50.2);
    EXPECT_DOUBLE_EQ(layout->ringInset, 12.8);
    ASSERT_EQ(layout->slices.size(), 2u);
    EXPECT_EQ(layout->slices[0].colourIndex, 1u);
    EXPECT_DOUBLE_EQ(layout->slices[0].startDegrees, 45.0); // centred on the top
    EXPECT_DOUBLE_EQ(layout->slices[0].sweepDegrees, 90.0);
    EXPECT_DOUBLE_EQ(layout->slices[1].startDegrees, 135.0);
    EXPECT_DOUBLE_EQ(layout->slices[1].sweepDegrees, 270.0);

    colours.resize(1);
    const auto ringOnly = spectrumIconLayout(colours, 128);
    ASSERT_TRUE(ringOnly);
    EXPECT_TRUE(ringOnly->slices.empty());

    EXPECT_FALSE(spectrumIconLayout(colours, 0));
    EXPECT_FALSE(spectrumIconLayout({}, 128));
}
