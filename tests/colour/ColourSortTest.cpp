#include "colour/ColourSort.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace kelp::colour;

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

// The key of each kind of icon: coloured by hue from the wrap hue, grey by lightness or by the
// hue of its strongest colour, and the key of icons without usable colours.
TEST(ColourSortKey, KeysOfEachKindOfIcon)
{
    struct Row
    {
        const char *name;
        ColorSortParams params;
        double key;
        std::vector<HclColor> colours;
        ColourSortStatus status = ColourSortStatus::Sorted;
    };
    const auto with = [](float grayThreshold, float wrapHue, bool graysBySecondary) {
        ColorSortParams p = defaults();
        p.colorSortGrayThreshold = grayThreshold;
        p.colorSortWrapHue = wrapHue;
        p.colorSortGraysBySecondaryColor = graysBySecondary;
        return p;
    };
    const ColorSortParams plain = defaults(), wrap30 = with(0.05f, 30.0f, false),
                          quarter = with(0.25f, 0.0f, false), half = with(0.5f, 0.0f, false),
                          bySecondary = with(0.5f, 0.0f, true), strict = with(1.0f, 0.0f, false);
    const HclColor lightGrey = colour(0.0, 0.01, 0.6, 3);
    const HclColor mostlyGrey = colour(0.0, 0.0, 0.7, 90);
    const HclColor littleGreen = colour(120.0, 0.6, 0.5, 10);
    const HclColor red = colour(10, 0.5, 0.5, 5), weightless = colour(10, 0.5, 0.5, 0);
    // The primary is the most important coloured record, not the first one.
    const std::vector<HclColor> threeColours{colour(200, 0.15, 0.2, 100), colour(90, 0.8, 0.5, 100),
                                             colour(0, 0.02, 0.9, 50)};
    const Row rows[] = {
        {"PrimaryIsTheMostImportantColour", plain, 0.25, threeColours},
        {"WrapHueSortsFirst", wrap30, 0.0, {colour(30, 0.5, 0.5, 10)}},
        {"HueJustBelowWrapHueSortsLast", wrap30, 359.0 / 360, {colour(29, 0.5, 0.5, 10)}},
        {"HueAboveWrapHue", wrap30, 0.75, {colour(300, 0.5, 0.5, 10)}},
        {"ColouredShareAtThresholdIsGrey", quarter, 1.2, {lightGrey, colour(120, 0.5, 0.5, 1)}},
        {"ColouredShareAboveThreshold", quarter, 1.0 / 3, {lightGrey, colour(120, 0.5, 0.5, 2)}},
        {"WhiteFirstAmongGreys", plain, 1.0, {colour(0, 0, 1.0, 10)}},
        {"BlackLastAmongGreys", plain, 1.5, {colour(0, 0, 0.0, 10)}},
        {"DarkGrey", plain, 1.35, {colour(0, 0, 0.3, 10)}},
        {"LightnessOverOneCountsAsOne", plain, 1.0, {colour(0, 0, 1.2, 10)}},
        {"NegativeLightnessCountsAsZero", plain, 1.5, {colour(0, 0, -0.1, 10)}},
        {"GreyByLightnessDespiteAColour", half, 1.15, {mostlyGrey, littleGreen}},
        {"GreyBySecondaryColourHue", bySecondary, 1.0 + 1.0 / 6, {mostlyGrey, littleGreen}},
        {"GreyWithoutColourBySecondary", bySecondary, 1.65, {mostlyGrey}},
        {"NoColours", plain, kNoColourKey, {}, ColourSortStatus::NoColours},
        {"ZeroQuantity", plain, kNoColourKey, {weightless}, ColourSortStatus::ZeroQuantity},
        // Only coloured records, but a threshold no share can pass: no grey to fall back on.
        {"NoGreyToFallBackOn", strict, kNoColourKey, {red}, ColourSortStatus::NoUsableColours},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const ColourSortResult r = pickAndSortColours(row.colours, row.params);
        EXPECT_EQ(r.status, row.status);
        EXPECT_NEAR(r.key, row.key, 1e-12);
        EXPECT_EQ(r.sortedColours.empty(), row.status != ColourSortStatus::Sorted);
    }
}

TEST(ColourSortKey, DisplayColoursStartWithThePrimary)
{
    const HclColor colours[] = {colour(200.0, 0.15, 0.2, 100), colour(90.0, 0.8, 0.5, 100),
                                colour(0.0, 0.02, 0.9, 50)};
    const ColourSortResult r = pickAndSortColours(colours, defaults());
    EXPECT_EQ(r.primary, 1);
    EXPECT_EQ(r.gray, 2);
    EXPECT_EQ(countsOf(r.sortedColours), (std::vector<std::int64_t>{100, 100, 100, 50}));

    // A grey icon sorted by its secondary colour shows the grey, then that colour.
    ColorSortParams p = defaults();
    p.colorSortGraysBySecondaryColor = true;
    p.colorSortGrayThreshold = 0.5f;
    const HclColor grey[] = {colour(0.0, 0.0, 0.7, 90), colour(120.0, 0.6, 0.5, 10)};
    EXPECT_EQ(countsOf(pickAndSortColours(grey, p).sortedColours),
              (std::vector<std::int64_t>{90, 10, 90}));
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
    DisplayColour d = displayColour({50.0, 20.0, -30.0, 1.0, {}, 42});
    EXPECT_NEAR(d.red, 0.567889115882, 2e-4);
    EXPECT_NEAR(d.green, 0.410519588168, 2e-4);
    EXPECT_NEAR(d.blue, 0.583665525285, 2e-4);
    EXPECT_EQ(d.alpha, 1.0);
    EXPECT_EQ(d.count, 42);
    // Out of gamut is clamped, and black stays black.
    d = displayColour({60.0, 300.0, 0.0, 1.0, {}, 1});
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
