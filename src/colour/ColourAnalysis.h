// Kelp's icon colour analysis: the pixel-colour histogram of a bitmap, its 361-bin colour
// spectrum, and the few dominant colours an application entry keeps for its colour sort key.
//
// Everything here is plain computation, safe to run on any thread (each thread keeps its own
// reusable hash table). Failures write one fixed message to standard error, each starting with a
// newline and without a trailing one, and return an empty result.
#pragma once

#include "colour/Bitmap.h"
#include "colour/ColourSpace.h"

#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

namespace kelp::colour {

// One dominant colour (or one spectrum bin). A quantity of 0 means the record is empty.
struct HclColor
{
    double L = 0.0;             // L*, 0..100
    double u = 0.0;             // u*
    double v = 0.0;             // v*
    double alpha = 0.0;         // 1.0 once filled
    Colour spare{};             // a second colour that the pipeline never fills
    std::uint64_t quantity = 0; // pixel weight
    double hue = 0.0;           // degrees, [0, 360)
    double chroma = 0.0;        // C* / 100
    double lightness = 0.0;     // L* / 100

    bool empty() const { return quantity == 0; }
};

// quantity x (chroma + 0.5 x lightness)
inline double importance(const HclColor &c)
{
    return static_cast<double>(c.quantity) * (c.chroma + 0.5 * c.lightness);
}

struct HistogramEntry
{
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255; // always 255
    std::uint64_t weight = 0;
};

inline constexpr int kHashBuckets = 65536;
inline constexpr int kSpectrumSize = 361; // hue bins 0..359, then the grey bin
inline constexpr int kGreyBin = 360;
inline constexpr double kMergeDeltaE = 50.0; // what the sort key asks the merge for
inline constexpr std::int64_t kDominantColourCount = 6;

namespace messages {
inline constexpr const char *kOutOfMemoryHashTable = "\nout of memory allocating hash table";
inline constexpr const char *kOutOfMemoryComputingHashTable =
    "\nout of memory computing hash table";
inline constexpr const char *kZeroColours = "\nzero colors specified for histogram";
inline constexpr const char *kOutOfMemoryHistogram = "\nout of memory generating histogram";
inline constexpr const char *kBadSpectrumParameter = "\nbad color spectrum parameter";
inline constexpr const char *kOutOfMemorySpectrum = "\nout of memory making color spectrum";
} // namespace messages

// Distinct colours of the bitmap with their weights, in hash-bucket order and, within a bucket,
// most recently seen first. With alpha, a colour's weight is its summed alpha / 255 (truncated,
// so it can be 0) and fully transparent pixels are skipped; without alpha each pixel weighs 1.
// Colour bytes are used as stored: premultiplied bitmaps are not un-premultiplied.
// Empty on failure (unsupported bitmap, no colours at all, out of memory); a successful
// histogram always has at least one entry.
std::vector<HistogramEntry> colourHistogram(const Bitmap &bitmap);

// The 361-record spectrum of a histogram: one record per whole hue degree for coloured entries,
// record 360 for the greyish ones; every record finished with its hue, chroma and lightness.
// Empty (and "\nbad color spectrum parameter") when the histogram is empty.
std::vector<HclColor> colourSpectrum(std::span<const HistogramEntry> histogram);

// The spectrum of a bitmap's histogram; empty when the histogram fails.
std::vector<HclColor> colourSpectrum(const Bitmap &bitmap);

// Sorts records by importance, most important first. Importances are compared as the 32-bit
// truncation of their difference, so records less than 1 apart tie; ties put non-empty records
// before empty ones and otherwise keep their order. The result is the same on every platform.
void sortByImportance(std::span<HclColor> records);

// Merges a spectrum into at most `count` dominant colours, most important first: grey records
// (chroma below minSaturation) merge with each other, coloured ones when their u*v* distance is
// below deltaE; records under 0.5 % of the total weight are dropped. `minLuminosity` is accepted
// and ignored. The spectrum is consumed. Empty when `count` <= 0 or nothing survives.
std::vector<HclColor> dominantColours(std::vector<HclColor> spectrum, std::int64_t count,
                                      double minSaturation, double minLuminosity, double deltaE);

// The whole pipeline: histogram, spectrum, merge. Empty when any stage fails.
std::vector<HclColor> dominantColours(const Bitmap &bitmap, std::int64_t count,
                                      double minSaturation, double minLuminosity, double deltaE);

// Debugging aid: one line per non-empty record.
void dumpSpectrum(std::span<const HclColor> spectrum, std::FILE *stream = stderr);

} // namespace kelp::colour
