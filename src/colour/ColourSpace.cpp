#include "colour/ColourSpace.h"

#include <cmath>
#include <utility>

namespace kelp::colour {

const std::array<double, 256> &gammaTable()
{
    static const std::array<double, 256> table = [] {
        std::array<double, 256> t{};
        for (std::size_t i = 0; i < t.size(); ++i)
            t[i] = std::pow(static_cast<double>(i) / 255.0, kAnalysisGamma);
        return t;
    }();
    return table;
}

void gammaEncode(Colour &rgb, double gamma)
{
    for (int i = 0; i < 3; ++i)
        rgb[i] = std::pow(rgb[i], 1.0 / gamma);
}

double wrap(double x, double low, double high)
{
    if (low > high) std::swap(low, high);
    const double span = high - low;
    if (!std::isfinite(x) || !(span > 0.0) || !std::isfinite(span)) return x;
    // Repeated addition keeps the exact arithmetic of small excursions (a hue is never more than
    // half a turn out of range). Far outside the range a step may no longer change x, so fall
    // back to fmod there rather than loop for ever.
    if (std::abs(x - low) > 1e6 * span) x = low + std::fmod(x - low, span);
    while (x < low)
        x += span;
    while (x >= high)
        x -= span;
    return x;
}

double radiansToTurnFraction(double radians)
{
    if (!std::isfinite(radians)) return radians;
    if (radians < -1e6 * kTwoPi) radians = std::fmod(radians, kTwoPi);
    while (radians < 0.0)
        radians += kTwoPi;
    return radians / kTwoPi;
}

double wrapNegativeDegrees(double degrees)
{
    if (!std::isfinite(degrees)) return degrees;
    if (degrees < -1e6 * 360.0) degrees = std::fmod(degrees, 360.0);
    while (degrees < 0.0)
        degrees += 360.0;
    return degrees;
}

Chromaticity chromaticity(double X, double Y, double Z)
{
    const double sum = X + Y + Z;
    if (X == 0.0 && Y == 0.0 && Z == 0.0) return {1.0 / 3.0, 1.0 / 3.0};
    return {X / sum, Y / sum};
}

Colour chromaticityToXyz(Chromaticity xy)
{
    if (xy.y == 0.0) return {0.0, 0.0, 0.0, 1.0};
    return {xy.x / xy.y, 1.0, (1.0 - xy.x - xy.y) / xy.y, 1.0};
}

double cmcDifference(const Colour &lch1, const Colour &lch2, double l, double c)
{
    const double L1 = lch1[0], C1 = lch1[1], h1 = lch1[2];
    const double L2 = lch2[0], C2 = lch2[1], h2 = lch2[2];
    constexpr double degree = kPi / 180.0;

    const double SL = L1 < 16.0 ? 0.511 : 0.040975 * L1 / (1.0 + 0.01765 * L1);
    const double SC = 0.0638 * C1 / (1.0 + 0.0131 * C1) + 0.638;
    const double C1to4 = C1 * C1 * C1 * C1;
    const double F = std::sqrt(C1to4 / (C1to4 + 1900.0));
    const double h1Degrees = wrap(radiansToDegrees(h1), 0.0, 360.0);
    const double T = (h1Degrees >= 164.0 && h1Degrees <= 345.0)
                         ? 0.56 + std::abs(0.2 * std::cos((h1Degrees + 168.0) * degree))
                         : 0.36 + std::abs(0.4 * std::cos((h1Degrees + 35.0) * degree));
    const double SH = SC * (F * T + 1.0 - F);

    const double dL = L1 - L2;
    const double dC = C1 - C2;
    const double da = C1 * std::cos(h1) - C2 * std::cos(h2);
    const double db = C1 * std::sin(h1) - C2 * std::sin(h2);
    // Rounding can make the hue term a tiny negative number for colours of equal hue.
    const double dH2 = std::max(0.0, da * da + db * db - dC * dC);

    const double tL = dL / (l * SL);
    const double tC = dC / (c * SC);
    return std::sqrt(tL * tL + tC * tC + dH2 / (SH * SH));
}

const std::array<Illuminant, 20> &illuminants()
{
    static const std::array<Illuminant, 20> list{{
        {"Illuminant A - Incandescent, Tungsten-Filament Lamp", {0.44757, 0.40745}},
        {"Illuminant B - Direct Sunlight at Noon (obsolete)", {0.34842, 0.35161}},
        {"Illuminant C - Shady Daylight at Noon (Average, North Sky Daylight) (obsolete)",
         {0.31006, 0.31616}},
        {"Illuminant D50 - Horizon Light, ICC Profile PCS", {0.34567, 0.35850}},
        {"Illuminant D55 - Mid-Morning, Mid-Afternoon Daylight", {0.33242, 0.34743}},
        {"Illuminant D65 - 2\u00b0 Observer, Noon Daylight, Television, sRGB Color Space",
         {0.31271, 0.32902}},
        {"Illuminant D75 - North Sky Daylight", {0.29902, 0.31485}},
        {"Illuminant E - Equal Energy", {1.0 / 3.0, 1.0 / 3.0}},
        {"Illuminant F1 - Daylight Fluorescent (CCT 6430K, CRI 76)", {0.31310, 0.33727}},
        {"Illuminant F2 - Cool White Fluorescent (CCT 4230K, CRI 64)", {0.37208, 0.37529}},
        {"Illuminant F3 - White Fluorescent (CCT 3450K, CRI 57)", {0.40910, 0.39430}},
        {"Illuminant F4 - Warm White Fluorescent (CCT 2940K, CRI 51)", {0.44018, 0.40329}},
        {"Illuminant F5 - Daylight Fluorescent (CCT 6350K, CRI 72)", {0.31379, 0.34531}},
        {"Illuminant F6 - Lite White Fluorescent (CCT 4150K, CRI 59)", {0.37790, 0.38835}},
        {"Illuminant F7 - D65 Simulator, Daylight Simulator (CCT 6500K, CRI 90)",
         {0.31292, 0.32933}},
        {"Illuminant F8 - D50 simulator, Sylvania F40 Design 50 (CCT 5000K, CRI 95)",
         {0.34588, 0.35875}},
        {"Illuminant F9 - Cool White Deluxe Fluorescent (CCT 4150K, CRI 90)", {0.37417, 0.37281}},
        {"Illuminant F10 - Philips TL85, Ultralume 50 (CCT 5000K, CRI 81)", {0.34609, 0.35986}},
        {"Illuminant F11 - Philips TL84, Ultralume 40 (CCT 4000K, CRI 83)", {0.38052, 0.37713}},
        {"Illuminant F12 - Philips TL83, Ultralume 30 (CCT 3000K, CRI 83)", {0.43695, 0.40441}},
    }};
    return list;
}

bool invert(const Matrix3 &m, Matrix3 &out)
{
    Matrix3 a = m;
    Matrix3 inv{{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}};
    for (int col = 0; col < 3; ++col) {
        int pivot = col;
        for (int row = col + 1; row < 3; ++row)
            if (std::abs(a[row][col]) > std::abs(a[pivot][col])) pivot = row;
        if (a[pivot][col] == 0.0) {
            std::fprintf(stderr, "zero pivot found in line:%d\n", col);
            return false;
        }
        std::swap(a[pivot], a[col]);
        std::swap(inv[pivot], inv[col]);
        const double p = a[col][col];
        for (int k = 0; k < 3; ++k) {
            a[col][k] /= p;
            inv[col][k] /= p;
        }
        for (int row = 0; row < 3; ++row) {
            if (row == col) continue;
            const double f = a[row][col];
            for (int k = 0; k < 3; ++k) {
                a[row][k] -= f * a[col][k];
                inv[row][k] -= f * inv[col][k];
            }
        }
    }
    out = inv;
    return true;
}

bool rgbToXyzMatrix(Chromaticity red, Chromaticity green, Chromaticity blue, Chromaticity white,
                    Matrix3 &out)
{
    const Colour r = chromaticityToXyz(red);
    const Colour g = chromaticityToXyz(green);
    const Colour b = chromaticityToXyz(blue);
    const Matrix3 primaries{{{r[0], g[0], b[0]}, {r[1], g[1], b[1]}, {r[2], g[2], b[2]}}};
    Matrix3 inverse;
    if (!invert(primaries, inverse)) return false;
    const Colour scale = multiply(inverse, chromaticityToXyz(white));
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col)
            out[row][col] = primaries[row][col] * scale[col];
    return true;
}

void dumpMatrix(const Matrix3 &m, const char *name, std::FILE *stream)
{
    std::fprintf(stream, "Matrix |%s|:\n", name);
    for (const auto &row : m)
        std::fprintf(stream, "Matrix |%s|: %f, %f, %f\n", name, row[0], row[1], row[2]);
}

} // namespace kelp::colour
