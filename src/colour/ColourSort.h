// The colour sort key of an application entry, and the display colours that go with it.
//
// Plain functions over an entry's dominant colours (see ColourAnalysis.h) and its colour-sort
// parameters. The entry keeps the state (its colours, its key, its display colours); these
// functions only compute. Key ranges:
//   [0, 1)      coloured icon: hue of the primary colour as a fraction of a turn, measured from
//               the wrap hue;
//   [1.0, 1.5]  grey icon, by lightness (lighter first), or, when greys go by their secondary
//               colour, by the hue of their strongest colour;
//   [1.5, 2.0]  when greys go by their secondary colour: a grey icon with no colour at all;
//   10.0        no usable colours.
#pragma once

#include "colour/ColourAnalysis.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace kelp::colour {

// The icon parameters an entry keeps; the values are those of a new entry.
struct ColorSortParams
{
    std::int64_t maximumIconSize = 128;  // pixels
    float colorSortGrayThreshold = 0.0f; // coloured share an icon needs to count as coloured
    bool colorSortGraysBySecondaryColor = false;
    float colorSortWrapHue = 0.0f;       // degrees; the hue that sorts first
    float colorSortMinSaturation = 0.0f; // compared with chroma (C* / 100)
    float colorSortMinLuminosity = 0.0f; // passed to the analysis, which ignores it
};

inline constexpr double kNoColourKey = 10.0;

// What a new parameter record asks of an entry.
struct ColorSortUpdate
{
    bool recompute = false; // analyse the icon's pixels again (and reset the colour data first)
    bool resort = false;    // recompute the key and display colours from the kept colours
};

// Folds a new parameter record into the stored one. The icon size is always taken. A change of
// min saturation or min luminosity (or no colours yet: haveColours false) takes every colour
// field and asks for a recompute and re-sort; otherwise a change of gray threshold, wrap hue or
// grays-by-secondary takes those three and asks for a re-sort. NaN counts as a change.
ColorSortUpdate updateColorSortParams(ColorSortParams &stored, const ColorSortParams &incoming,
                                      bool haveColours);

// A display colour: gamma-encoded sRGB, alpha 1, with the record's pixel weight.
struct DisplayColour
{
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double alpha = 1.0;
    std::int64_t count = 0;
};

// L*u*v* -> XYZ -> clamped linear RGB -> gamma 2.2 encoding.
DisplayColour displayColour(const HclColor &colour);

// The display colours of an entry: primary, secondary, the other records in reverse order, and
// the grey record last. The primary appears twice when it is also the secondary, and again among
// the others when it is not. Empty when there are no colours or an index is out of range (gray may
// be -1: no grey record).
std::vector<DisplayColour> colourArrayForPrimaryIndex(std::span<const HclColor> colours,
                                                      std::int64_t primary, std::int64_t secondary,
                                                      std::int64_t gray);

enum class ColourSortStatus {
    Sorted,          // key and display colours computed
    NoColours,       // no records: log kNoColoursLogPrefix + name
    ZeroQuantity,    // records of no weight: log kZeroQuantityLogPrefix + name
    NoUsableColours, // no coloured primary and no grey record; nothing to log
};

inline constexpr std::string_view kNoColoursLogPrefix =
    "No colors passed to pick & sort method for app: ";
inline constexpr std::string_view kZeroQuantityLogPrefix = "Zero pixel quantity for app: ";

struct ColourSortResult
{
    double key = kNoColourKey;
    std::vector<DisplayColour> sortedColours; // empty when there are none
    ColourSortStatus status = ColourSortStatus::NoColours;
    std::int64_t primary = -1; // strongest coloured record, -1 when none
    std::int64_t gray = -1;    // first grey record, -1 when none
};

// Picks the primary colour among the dominant colours (most important first) and computes the
// sort key and the display colours.
ColourSortResult pickAndSortColours(std::span<const HclColor> colours,
                                    const ColorSortParams &params);

// The catalogue's colour order as a two-valued answer: 1 when a's key is greater than b's,
// otherwise 0 (ties and smaller keys alike).
inline int compareColourSortValues(double a, double b)
{
    return a > b ? 1 : 0;
}

// What the diagnostic spectrum icon draws, in a size x size image with the origin at a corner
// and angles in degrees counter-clockwise from three o'clock, 90 at the top.
struct SpectrumSlice
{
    std::size_t colourIndex = 0; // into the display colours
    double startDegrees = 0.0;
    double sweepDegrees = 0.0;
};

struct SpectrumIconLayout
{
    double size = 0.0;
    double centre = 0.0;    // the centre is (centre, centre)
    double pieRadius = 0.0; // radius of the pie slices
    // The ring: the oval (0, 0, size, size) minus the same oval inset by ringInset on every side,
    // filled even-odd with display colour 0.
    double ringInset = 0.0;
    // Display colours 1.. as pie slices, the first centred on the top; empty with one colour.
    std::vector<SpectrumSlice> slices;
};

// Nothing (draw the plain icon instead) when the icon size is 0 or there are no display colours.
std::optional<SpectrumIconLayout> spectrumIconLayout(std::span<const DisplayColour> sortedColours,
                                                     std::int64_t maximumIconSize);

} // namespace kelp::colour
