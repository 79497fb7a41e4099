#include "colour/ColourAnalysis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

using namespace kelp::colour;
namespace {

struct Rgba
{
    std::uint8_t r, g, b, a;
};

// An 8-bit meshed RGBA bitmap (alpha last, not premultiplied) filled with one colour; pixels can
// then be set one by one.
class RgbaImage
{
public:
    RgbaImage(int width, int height, Rgba fill = {0, 0, 0, 0})
        : m_width(width), m_height(height), m_bytes(static_cast<std::size_t>(width * height) * 4)
    {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                set(x, y, fill);
    }
    void set(int x, int y, Rgba c)
    {
        std::uint8_t *p = m_bytes.data() + static_cast<std::size_t>(y * m_width + x) * 4;
        p[0] = c.r;
        p[1] = c.g;
        p[2] = c.b;
        p[3] = c.a;
    }
    Bitmap bitmap() const
    {
        Bitmap b;
        b.pixelsWide = m_width;
        b.pixelsHigh = m_height;
        b.bytesPerRow = m_width * 4;
        b.bitmapFormat = AlphaNonpremultiplied;
        b.data = m_bytes.data();
        return b;
    }

private:
    int m_width;
    int m_height;
    std::vector<std::uint8_t> m_bytes;
};

std::uint32_t keyOf(int r, int g, int b)
{
    return (static_cast<std::uint32_t>(b) * 27011u + static_cast<std::uint32_t>(g) * 30013u +
            static_cast<std::uint32_t>(r) * 33023u) %
           65536u;
}

// A spectrum record built from L*u*v*, finished the way the spectrum finishes its records.
HclColor record(double L, double u, double v, std::uint64_t quantity)
{
    HclColor c;
    c.L = L;
    c.u = u;
    c.v = v;
    c.alpha = 1.0;
    c.quantity = quantity;
    const Colour lch = luvToLch({L, u, v, 1.0});
    c.hue = hueDegrees(lch[2]);
    c.chroma = lch[1] / 100.0;
    c.lightness = L / 100.0;
    return c;
}

std::vector<HclColor> spectrumOf(const std::vector<HclColor> &records)
{
    std::vector<HclColor> spectrum(kSpectrumSize);
    std::size_t at = 0;
    for (const HclColor &r : records)
        spectrum[at++ * 7] = r; // spread out; the merge sorts first anyway
    return spectrum;
}

std::size_t nonEmpty(const std::vector<HclColor> &spectrum)
{
    return static_cast<std::size_t>(std::count_if(spectrum.begin(), spectrum.end(),
                                                  [](const HclColor &c) { return !c.empty(); }));
}

Bitmap layout(std::int64_t wide, std::int64_t high, std::int64_t samples, std::int64_t bitsPerPixel,
              std::int64_t bytesPerRow, bool hasAlpha, const std::uint8_t *data)
{
    Bitmap b;
    b.pixelsWide = wide;
    b.pixelsHigh = high;
    b.samplesPerPixel = samples;
    b.bitsPerPixel = bitsPerPixel;
    b.bytesPerRow = bytesPerRow;
    b.hasAlpha = hasAlpha;
    b.colourModel = samples <= 2 ? ColourModel::Gray : ColourModel::RGB;
    b.data = data;
    return b;
}

} // namespace

TEST(ColourHistogram, AlphaIsSummedThenTruncated)
{
    RgbaImage image(4, 4);               // transparent
    image.set(0, 0, {200, 10, 10, 128}); // one pixel of half alpha: weight 128 / 255 = 0
    image.set(1, 1, {10, 200, 10, 200}); // two pixels: 400 / 255 = 1
    image.set(2, 1, {10, 200, 10, 200});
    image.set(3, 3, {10, 10, 200, 255}); // one opaque pixel: 1
    const auto histogram = colourHistogram(image.bitmap());
    ASSERT_EQ(histogram.size(), 3u);
    for (const HistogramEntry &e : histogram) {
        EXPECT_EQ(e.alpha, 255);
        EXPECT_EQ(e.weight, e.red == 200 ? 0u : 1u);
    }
    // The weight-0 colour does not reach the spectrum.
    std::uint64_t total = 0;
    for (const HclColor &c : colourSpectrum(histogram))
        total += c.quantity;
    EXPECT_EQ(total, 2u);
}

TEST(ColourHistogram, NothingToCountGivesEmptyResultsAndOneMessageEach)
{
    const RgbaImage transparent(8, 8);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(colourHistogram(transparent.bitmap()).empty());
    EXPECT_TRUE(dominantColours(transparent.bitmap(), 6, 0.14, 0.02, 50.0).empty());
    EXPECT_TRUE(colourSpectrum(std::span<const HistogramEntry>{}).empty());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "\nzero colors specified for histogram\nzero colors specified for histogram"
              "\nbad color spectrum parameter");

    // Entries of no weight leave every record empty.
    const HistogramEntry weightless[] = {{10, 20, 30, 255, 0}, {200, 20, 30, 255, 0}};
    const auto spectrum = colourSpectrum(weightless);
    ASSERT_EQ(spectrum.size(), 361u);
    EXPECT_EQ(nonEmpty(spectrum), 0u);
    EXPECT_TRUE(std::all_of(spectrum.begin(), spectrum.end(),
                            [](const HclColor &c) { return c.alpha == 0.0; }));
}

// The histogram's order decides how the spectrum's float-weighted means round, so it must be
// exactly that of a hash table filled column by column with new colours pushed at the head of
// their chain. Compare against a plain model of that table on images full of bucket collisions,
// through the four-byte and the general pixel readers.
TEST(ColourHistogram, OrderMatchesColumnByColumnChains)
{
    // Colours that collide in a handful of buckets.
    std::vector<Rgba> palette;
    for (int r = 0; r < 256 && palette.size() < 24; ++r)
        for (int g = 0; g < 256 && palette.size() < 24; ++g)
            for (int b = 0; b < 4; ++b)
                if (keyOf(r, g, b) % 8192 == 0)
                    palette.push_back({static_cast<std::uint8_t>(r), static_cast<std::uint8_t>(g),
                                       static_cast<std::uint8_t>(b), 255});
    ASSERT_GE(palette.size(), 24u);

    const int width = 37, height = 23;
    std::mt19937 random(7);
    std::vector<Rgba> pixels;
    for (int i = 0; i < width * height; ++i) {
        Rgba c = palette[random() % palette.size()];
        c.a = static_cast<std::uint8_t>(random() % 3 == 0 ? 0 : 100 + random() % 156);
        pixels.push_back(c);
        if (random() % 4 == 0) // some runs
            pixels.push_back(c), ++i;
    }
    pixels.resize(static_cast<std::size_t>(width * height));
    const auto at = [&](int x, int y) { return pixels[static_cast<std::size_t>(y * width + x)]; };

    // The model: column by column, chains as lists with the newest colour in front.
    std::map<std::uint32_t, std::vector<HistogramEntry>> buckets;
    for (int x = 0; x < width; ++x)
        for (int y = 0; y < height; ++y) {
            const Rgba p = at(x, y);
            if (p.a == 0) continue;
            auto &chain = buckets[keyOf(p.r, p.g, p.b)];
            auto found = std::find_if(chain.begin(), chain.end(), [&](const HistogramEntry &e) {
                return e.red == p.r && e.green == p.g && e.blue == p.b;
            });
            if (found != chain.end())
                found->weight += p.a;
            else
                chain.insert(chain.begin(), HistogramEntry{p.r, p.g, p.b, 255, p.a});
        }
    std::vector<HistogramEntry> expected;
    for (auto &[key, chain] : buckets)
        for (HistogramEntry e : chain) {
            e.weight /= 255;
            expected.push_back(e);
        }

    const auto check = [&](const Bitmap &b, const char *what) {
        SCOPED_TRACE(what);
        const auto actual = colourHistogram(b);
        ASSERT_EQ(actual.size(), expected.size());
        for (std::size_t i = 0; i < actual.size(); ++i) {
            EXPECT_EQ(actual[i].red, expected[i].red) << "entry " << i;
            EXPECT_EQ(actual[i].green, expected[i].green) << "entry " << i;
            EXPECT_EQ(actual[i].blue, expected[i].blue) << "entry " << i;
            EXPECT_EQ(actual[i].weight, expected[i].weight) << "entry " << i;
        }
    };

    // RGBA, four bytes a pixel.
    RgbaImage rgba(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            rgba.set(x, y, at(x, y));
    check(rgba.bitmap(), "RGBA");

    // ARGB in five-byte pixels with padded rows: the general reader.
    const int stride = width * 5 + 3;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(stride * height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const Rgba p = at(x, y);
            std::uint8_t *q = bytes.data() + y * stride + x * 5;
            q[0] = p.a;
            q[1] = p.r;
            q[2] = p.g;
            q[3] = p.b;
        }
    Bitmap argb = layout(width, height, 4, 40, stride, true, bytes.data());
    argb.bitmapFormat = AlphaFirst | AlphaNonpremultiplied;
    check(argb, "ARGB");
}

// One grey sample per pixel keys the table by the grey byte: entries in grey-value order.
TEST(ColourHistogram, GreyBitmapsKeyByGreyByte)
{
    const std::uint8_t grey[] = {200, 10, 200, 90, 10, 10};
    const auto histogram = colourHistogram(layout(3, 2, 1, 8, 3, false, grey));
    ASSERT_EQ(histogram.size(), 3u);
    EXPECT_EQ(histogram[0].red, 10);
    EXPECT_EQ(histogram[0].green, 10);
    EXPECT_EQ(histogram[0].blue, 10);
    EXPECT_EQ(histogram[0].weight, 3u);
    EXPECT_EQ(histogram[1].red, 90);
    EXPECT_EQ(histogram[2].red, 200);
    EXPECT_EQ(histogram[2].weight, 2u);
}

TEST(ColourSpectrum, OneColourFillsOneBin)
{
    // Pure red: hue 12.18 degrees (colorjs.io, from the same 2.2-linearised values).
    const auto spectrum = colourSpectrum(RgbaImage(10, 10, {255, 0, 0, 255}).bitmap());
    ASSERT_EQ(spectrum.size(), 361u);
    EXPECT_EQ(nonEmpty(spectrum), 1u);
    const HclColor &c = spectrum[12];
    EXPECT_EQ(c.quantity, 100u);
    EXPECT_EQ(c.alpha, 1.0);
    EXPECT_NEAR(c.hue, 12.1770506301, 1e-2);
    EXPECT_NEAR(c.chroma, 1.79038096924, 2e-4);
    EXPECT_NEAR(c.lightness, 0.532371155954, 1e-4);
    EXPECT_EQ(spectrum[360].alpha, 0.0); // empty records stay all zero
    EXPECT_EQ(spectrum[360].hue, 0.0);
}

TEST(ColourSpectrum, BlackIsGreyAndWhiteIsNot)
{
    const auto black = colourSpectrum(RgbaImage(2, 2, {0, 0, 0, 255}).bitmap());
    ASSERT_EQ(black.size(), 361u);
    EXPECT_EQ(black[kGreyBin].quantity, 4u);
    EXPECT_EQ(black[kGreyBin].lightness, 0.0);
    EXPECT_EQ(nonEmpty(black), 1u);

    // White's chroma is tiny but the grey threshold at full lightness is just below zero, and
    // its hue bin is (close to) 0.
    const auto white = colourSpectrum(RgbaImage(2, 2, {255, 255, 255, 255}).bitmap());
    ASSERT_EQ(white.size(), 361u);
    EXPECT_EQ(white[kGreyBin].quantity, 0u);
    EXPECT_EQ(nonEmpty(white), 1u);
    for (const HclColor &c : white)
        if (!c.empty()) {
            EXPECT_NEAR(c.lightness, 1.0, 1e-7); // the matrix maps white to Y = 1.0000001
            EXPECT_LT(c.chroma, 0.001);
        }

    // A mid grey is grey: its chroma is far below 0.0096.
    const auto grey = colourSpectrum(RgbaImage(2, 2, {128, 128, 128, 255}).bitmap());
    EXPECT_EQ(grey[kGreyBin].quantity, 4u);
    EXPECT_EQ(grey[kGreyBin].u, 0.0);
}

TEST(ColourSpectrum, HueJustBelow360LandsInBinZero)
{
    // (205, 0, 89) has a hue of 359.75 degrees, which rounds to bin 360: that is bin 0.
    const HistogramEntry entries[] = {{205, 0, 89, 255, 3}};
    const auto spectrum = colourSpectrum(entries);
    EXPECT_EQ(spectrum[0].quantity, 3u);
    EXPECT_EQ(nonEmpty(spectrum), 1u);
    EXPECT_GT(spectrum[0].hue, 359.5); // the bin keeps the colour's own hue
    EXPECT_LT(spectrum[0].hue, 360.0);
}

TEST(ColourSort, ImportanceTiesKeepOrderWithNonEmptyFirst)
{
    std::vector<HclColor> records(5);
    records[1] = record(0.0, 0.0, 0.0, 7);    // black: importance 0, like the empty ones
    records[2] = record(50.0, 30.0, 0.0, 10); // importance 10 * (0.3 + 0.25) = 5.5
    records[3] = record(50.0, 0.0, 35.0, 10); // 6.0: less than 1 apart, a tie
    records[4] = record(50.0, 0.0, 90.0, 10); // 11.5
    sortByImportance(records);
    EXPECT_EQ(records[0].v, 90.0);
    EXPECT_EQ(records[1].u, 30.0); // tie: earlier record stays first
    EXPECT_EQ(records[2].v, 35.0);
    EXPECT_EQ(records[3].quantity, 7u); // the black record before the empty one
    EXPECT_TRUE(records[4].empty());
}

// Which records survive the merge and the pruning of hand-made spectra, most important first.
TEST(DominantColours, MergeAndPrune)
{
    struct Row
    {
        const char *name;
        double deltaE;
        std::int64_t count;
        std::vector<std::uint64_t> quantities;
        std::vector<HclColor> records;
    };
    // 50 apart in the u*v* plane, whatever their lightness.
    const std::vector<HclColor> fiftyApart{record(50, 60, 0, 300), record(70, 60, 50, 100)};
    const std::vector<HclColor> greyBesideColour{record(50, 5, 0, 100), record(50, 20, 0, 100)};
    const std::vector<HclColor> farGreys{record(90, 3, 0, 300), record(10, 0, -4, 100)};
    // The leading record absorbs an opposite colour and ends below the minimum saturation, yet
    // counts as coloured for the rest of its pass: the grey stays apart.
    const std::vector<HclColor> opposites{record(50, 20, 0, 1000), record(50, -15, 0, 1000),
                                          record(50, 1, 0, 500)};
    // 99 %, 0.4 % and 0.6 % of the weight.
    const std::vector<HclColor> smallShares{record(50, 80, 0, 990), record(50, 0, 80, 4),
                                            record(50, -80, 0, 6)};
    const std::vector<HclColor> threeHues{record(50, 80, 0, 500), record(50, 0, 80, 400),
                                          record(50, -80, 0, 300)};
    const Row rows[] = {
        {"ExactlyDeltaEApartStaysApart", 50.0, 6, {300, 100}, fiftyApart},
        {"JustUnderDeltaEApartMerges", 50.000001, 6, {400}, fiftyApart},
        {"GreyNeverMergesWithAColour", 50.0, 6, {100, 100}, greyBesideColour},
        {"GreysMergeWhateverTheirDistance", 1.0, 6, {400}, farGreys},
        {"GreyTestUsesChromaFromStartOfPass", 50.0, 6, {2000, 500}, opposites},
        {"UnderHalfAPercentIsDropped", 10.0, 6, {990, 6}, smallShares},
        {"CountAboveTheRecordsGivesAll", 10.0, 100, {500, 400, 300}, threeHues},
        {"CountKeepsTheMostImportant", 10.0, 2, {500, 400}, threeHues},
        {"ZeroCountGivesNothing", 10.0, 0, {}, threeHues},
        {"NegativeCountGivesNothing", 10.0, -1, {}, threeHues},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<std::uint64_t> quantities;
        for (const HclColor &c :
             dominantColours(spectrumOf(row.records), row.count, 0.14, 0.02, row.deltaE))
            quantities.push_back(c.quantity);
        EXPECT_EQ(quantities, row.quantities);
    }
}

TEST(DominantColours, MergedRecordsAreWeightedMeans)
{
    auto colours =
        dominantColours(spectrumOf({record(50.0, 60.0, 0.0, 300), record(70.0, 60.0, 50.0, 100)}),
                        6, 0.14, 0.02, 50.000001);
    ASSERT_EQ(colours.size(), 1u);
    EXPECT_DOUBLE_EQ(colours[0].L, 55.0);
    EXPECT_DOUBLE_EQ(colours[0].u, 60.0);
    EXPECT_DOUBLE_EQ(colours[0].v, 12.5);
    EXPECT_NEAR(colours[0].chroma, 0.612882533607, 1e-12);
    EXPECT_NEAR(colours[0].hue, 11.7682889320, 1e-9);
    EXPECT_DOUBLE_EQ(colours[0].lightness, 0.55);

    // Greys lose their hue and chroma.
    colours =
        dominantColours(spectrumOf({record(90.0, 3.0, 0.0, 300), record(10.0, 0.0, -4.0, 100)}), 6,
                        0.14, 0.02, 1.0);
    ASSERT_EQ(colours.size(), 1u);
    EXPECT_DOUBLE_EQ(colours[0].L, 70.0);
    EXPECT_EQ(colours[0].u, 0.0);
    EXPECT_EQ(colours[0].chroma, 0.0);
    EXPECT_EQ(colours[0].hue, 0.0);
    EXPECT_DOUBLE_EQ(colours[0].lightness, 0.7);
    EXPECT_EQ(colours[0].alpha, 1.0);
}
