#include "colour/ColourSort.h"

#include <algorithm>

namespace kelp::colour {

ColorSortUpdate updateColorSortParams(ColorSortParams &stored, const ColorSortParams &incoming,
                                      bool haveColours)
{
    ColorSortUpdate update;
    stored.maximumIconSize = incoming.maximumIconSize;
    // Written as !(a == b) so that NaN always counts as a change.
    const auto differ = [](float a, float b) { return !(a == b); };
    if (!haveColours || differ(stored.colorSortMinSaturation, incoming.colorSortMinSaturation) ||
        differ(stored.colorSortMinLuminosity, incoming.colorSortMinLuminosity)) {
        stored.colorSortMinSaturation = incoming.colorSortMinSaturation;
        stored.colorSortMinLuminosity = incoming.colorSortMinLuminosity;
        stored.colorSortGrayThreshold = incoming.colorSortGrayThreshold;
        stored.colorSortWrapHue = incoming.colorSortWrapHue;
        stored.colorSortGraysBySecondaryColor = incoming.colorSortGraysBySecondaryColor;
        update.recompute = true;
        update.resort = true;
    } else if (differ(stored.colorSortGrayThreshold, incoming.colorSortGrayThreshold) ||
               differ(stored.colorSortWrapHue, incoming.colorSortWrapHue) ||
               stored.colorSortGraysBySecondaryColor != incoming.colorSortGraysBySecondaryColor) {
        stored.colorSortGrayThreshold = incoming.colorSortGrayThreshold;
        stored.colorSortWrapHue = incoming.colorSortWrapHue;
        stored.colorSortGraysBySecondaryColor = incoming.colorSortGraysBySecondaryColor;
        update.resort = true;
    }
    return update;
}

DisplayColour displayColour(const HclColor &colour)
{
    Colour rgb = xyzToRgb(luvToXyz({colour.L, colour.u, colour.v, colour.alpha}));
    gammaEncode(rgb, kAnalysisGamma);
    return {rgb[0], rgb[1], rgb[2], 1.0, static_cast<std::int64_t>(colour.quantity)};
}

std::vector<DisplayColour> colourArrayForPrimaryIndex(std::span<const HclColor> colours,
                                                      std::int64_t primary, std::int64_t secondary,
                                                      std::int64_t gray)
{
    const auto n = static_cast<std::int64_t>(colours.size());
    if (n < 1 || primary < 0 || primary >= n || secondary < 0 || secondary >= n) return {};
    const auto at = [&colours](std::int64_t i) {
        return displayColour(colours[static_cast<std::size_t>(i)]);
    };
    std::vector<DisplayColour> array;
    array.reserve(static_cast<std::size_t>(n) + 1);
    array.push_back(at(primary));
    array.push_back(at(secondary));
    for (std::int64_t j = 0; j < n; ++j) {
        if (j == secondary) continue;
        if (j == gray)
            array.push_back(at(j));
        else
            array.insert(array.begin() + 2, at(j));
    }
    return array;
}

ColourSortResult pickAndSortColours(std::span<const HclColor> colours,
                                    const ColorSortParams &params)
{
    ColourSortResult result;
    if (colours.empty()) {
        result.status = ColourSortStatus::NoColours;
        return result;
    }

    const auto minSaturation = static_cast<double>(params.colorSortMinSaturation);
    std::int64_t primary = -1;
    std::int64_t gray = -1;
    double best = 0.0;
    // Both quantities are 32-bit running sums, as the key has always been computed.
    std::uint32_t colouredQuantity = 0;
    std::uint32_t totalQuantity = 0;
    for (std::size_t i = 0; i < colours.size(); ++i) {
        const HclColor &c = colours[i];
        if (minSaturation > c.chroma) {
            if (gray == -1) gray = static_cast<std::int64_t>(i);
        } else {
            colouredQuantity += static_cast<std::uint32_t>(c.quantity);
            const double score = importance(c);
            if (score > best) {
                best = score;
                primary = static_cast<std::int64_t>(i);
            }
        }
        totalQuantity += static_cast<std::uint32_t>(c.quantity);
    }
    result.primary = primary;
    result.gray = gray;

    const auto Qc = static_cast<std::int32_t>(colouredQuantity);
    const auto Qt = static_cast<std::int32_t>(totalQuantity);
    if (Qt <= 0) {
        result.status = ColourSortStatus::ZeroQuantity;
        return result;
    }

    const double w = static_cast<double>(params.colorSortWrapHue) / 360.0;
    const auto rotated = [&](std::int64_t index) {
        const double h = colours[static_cast<std::size_t>(index)].hue / 360.0;
        return w <= h ? h - w : 1.0 - w + h;
    };

    if (primary >= 0 && static_cast<double>(Qc) / static_cast<double>(Qt) >
                            static_cast<double>(params.colorSortGrayThreshold)) {
        result.key = rotated(primary);
        result.sortedColours = colourArrayForPrimaryIndex(colours, primary, primary, gray);
        result.status = ColourSortStatus::Sorted;
        return result;
    }
    if (gray < 0) {
        result.status = ColourSortStatus::NoUsableColours;
        return result;
    }

    const double lightness = colours[static_cast<std::size_t>(gray)].lightness;
    const double x = lightness < 0.0 ? 0.0 : std::min(1.0, lightness);
    if (!params.colorSortGraysBySecondaryColor) {
        result.key = (1.0 - x) * 0.5 + 1.0;
        result.sortedColours = colourArrayForPrimaryIndex(colours, gray, gray, gray);
    } else if (primary < 0) {
        result.key = (1.0 - x) * 0.5 + 1.5;
        result.sortedColours = colourArrayForPrimaryIndex(colours, gray, gray, gray);
    } else {
        result.key = rotated(primary) * 0.5 + 1.0;
        result.sortedColours = colourArrayForPrimaryIndex(colours, gray, primary, gray);
    }
    result.status = ColourSortStatus::Sorted;
    return result;
}

std::optional<SpectrumIconLayout> spectrumIconLayout(std::span<const DisplayColour> sortedColours,
                                                     std::int64_t maximumIconSize)
{
    const auto S = static_cast<double>(maximumIconSize);
    if (S == 0.0 || sortedColours.empty()) return std::nullopt;

    SpectrumIconLayout layout;
    layout.size = S;
    layout.centre = S / 2.0;
    layout.pieRadius = 8.0 * S / 10.0 * 0.5 - 1.0;
    layout.ringInset = S / 10.0;

    std::uint32_t total = 0; // a 32-bit sum, like the key's quantities
    for (std::size_t i = 1; i < sortedColours.size(); ++i)
        total += static_cast<std::uint32_t>(sortedColours[i].count);
    const auto T = static_cast<double>(static_cast<std::int32_t>(total));
    if (sortedColours.size() >= 2 && T != 0.0) {
        double start = 0.0;
        for (std::size_t i = 1; i < sortedColours.size(); ++i) {
            const double sweep = static_cast<double>(sortedColours[i].count) / T * 360.0;
            if (i == 1) start = 90.0 - sweep / 2.0;
            layout.slices.push_back({i, start, sweep});
            start += sweep;
        }
    }
    return layout;
}

} // namespace kelp::colour
