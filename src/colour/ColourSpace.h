// Colour-space conversions used by Kelp's icon colour analysis.
//
// Every colour is four doubles; the fourth is alpha and is carried through unchanged unless a
// function says otherwise. The same shape serves for linear RGB (0..1), gamma-encoded RGB (0..1),
// XYZ (reference white Y = 1), L*u*v* (L* 0..100) and L*C*h (hue in radians).
//
// Gamma is a plain 2.2 power law (not the piecewise sRGB curve) in both directions, and the
// RGB <-> XYZ matrices are the sRGB (D65) ones. The L*u*v* reference white is the D65 white as the
// system colour engine holds it, which is a hair away from the white the matrix maps RGB (1,1,1)
// to: pure white therefore has a tiny, non-zero chroma. The analysis relies on that.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace kelp::colour {

using Colour = std::array<double, 4>;
using Matrix3 = std::array<std::array<double, 3>, 3>;

inline constexpr double kPi = 3.141592653589793;
inline constexpr double kTwoPi = 6.283185307179586;
inline constexpr double kAnalysisGamma = 2.2;

// L*u*v* reference white (D65, Yn = 1).
inline constexpr double kWhiteU = 0.1978294495177785;
inline constexpr double kWhiteV = 0.468332168241386;
// CIE constants: above kEpsilon the cube-root branch of L* is taken (strictly), below it L* is
// kKappa * Y.
inline constexpr double kEpsilon = 0.008856451679035631;
inline constexpr double kKappa = 903.2962962962963;

inline constexpr Matrix3 kRgbToXyz{{{0.4124564, 0.3575761, 0.1804375},
                                    {0.2126729, 0.7151522, 0.072175},
                                    {0.0193339, 0.119192, 0.9503041}}};
inline constexpr Matrix3 kXyzToRgb{{{3.2404542, -1.5371385, -0.4985314},
                                    {-0.969266, 1.8760108, 0.041556},
                                    {0.0556434, -0.2040259, 1.0572252}}};

// The process-wide linearisation table: entry i = pow(i / 255, 2.2). Built once, on first use,
// thread-safely; never freed.
const std::array<double, 256> &gammaTable();

// Linearises one 8-bit sample by table look-up.
inline double lineariseByte(std::uint8_t byte)
{
    return gammaTable()[byte];
}

// Linear RGB to XYZ (sRGB matrix). Alpha unchanged.
inline Colour rgbToXyz(const Colour &rgb)
{
    const auto &m = kRgbToXyz;
    return {m[0][0] * rgb[0] + m[0][1] * rgb[1] + m[0][2] * rgb[2],
            m[1][0] * rgb[0] + m[1][1] * rgb[1] + m[1][2] * rgb[2],
            m[2][0] * rgb[0] + m[2][1] * rgb[1] + m[2][2] * rgb[2], rgb[3]};
}

// XYZ to linear RGB; red, green, blue and alpha are each clamped to [0, 1].
inline Colour xyzToRgb(const Colour &xyz)
{
    const auto &m = kXyzToRgb;
    const auto clamp01 = [](double c) { return std::clamp(c, 0.0, 1.0); };
    return {clamp01(m[0][0] * xyz[0] + m[0][1] * xyz[1] + m[0][2] * xyz[2]),
            clamp01(m[1][0] * xyz[0] + m[1][1] * xyz[1] + m[1][2] * xyz[2]),
            clamp01(m[2][0] * xyz[0] + m[2][1] * xyz[1] + m[2][2] * xyz[2]), clamp01(xyz[3])};
}

// Encodes linear red, green and blue in place as pow(c, 1 / gamma); alpha untouched.
void gammaEncode(Colour &rgb, double gamma);

// XYZ to L*u*v*. Black (X = Y = Z = 0) gives L* = u* = v* = 0.
inline Colour xyzToLuv(const Colour &xyz)
{
    const double X = xyz[0], Y = xyz[1], Z = xyz[2];
    if (X == 0.0 && Y == 0.0 && Z == 0.0) return {0.0, 0.0, 0.0, xyz[3]};
    const double d = X + 15.0 * Y + 3.0 * Z;
    const double uPrime = 4.0 * X / d;
    const double vPrime = 9.0 * Y / d;
    const double L = Y > kEpsilon ? 116.0 * std::cbrt(Y) - 16.0 : kKappa * Y;
    return {L, 13.0 * L * (uPrime - kWhiteU), 13.0 * L * (vPrime - kWhiteV), xyz[3]};
}

// L*u*v* to XYZ. L* <= 0 gives black whatever u* and v*; negative X or Z are clamped to 0.
inline Colour luvToXyz(const Colour &luv)
{
    const double L = luv[0];
    if (L <= 0.0) return {0.0, 0.0, 0.0, luv[3]};
    const double uPrime = luv[1] / (13.0 * L) + kWhiteU;
    const double vPrime = luv[2] / (13.0 * L) + kWhiteV;
    double Y;
    if (L > 8.0) {
        const double f = (L + 16.0) / 116.0;
        Y = f * f * f;
    } else {
        Y = L / kKappa;
    }
    const double X = std::max(0.0, 9.0 * uPrime / (4.0 * vPrime) * Y);
    const double Z = std::max(0.0, (12.0 - 3.0 * uPrime - 20.0 * vPrime) / (4.0 * vPrime) * Y);
    return {X, Y, Z, luv[3]};
}

// L*u*v* to L*C*h, hue in radians in atan2's range (-pi, pi].
inline Colour luvToLch(const Colour &luv)
{
    return {luv[0], std::sqrt(luv[1] * luv[1] + luv[2] * luv[2]), std::atan2(luv[2], luv[1]),
            luv[3]};
}

inline constexpr double radiansToDegrees(double radians)
{
    return radians * 180.0 / kPi;
}

// Moves x into [low, high) by repeated addition or subtraction of the span (bounds are swapped
// when given the wrong way round). Values the loop could never bring into range (infinities,
// NaN, an empty span) come back unchanged.
double wrap(double x, double low, double high);

// Radians to a fraction of a turn: adds 2 pi while negative, then divides by 2 pi.
double radiansToTurnFraction(double radians);
// A fraction of a turn to radians.
inline constexpr double turnFractionToRadians(double fraction)
{
    return fraction * kTwoPi;
}
// Adds 360 while negative.
double wrapNegativeDegrees(double degrees);

// Hue of an L*C*h colour in degrees, wrapped into [0, 360).
inline double hueDegrees(double radians)
{
    return wrap(radiansToDegrees(radians), 0.0, 360.0);
}

struct Chromaticity
{
    double x = 0.0;
    double y = 0.0;
};

// Chromaticity of XYZ; (1/3, 1/3) for black.
Chromaticity chromaticity(double X, double Y, double Z);
// XYZ (Y = 1) of a chromaticity; all zero when y is 0. Alpha of the result is 1.
Colour chromaticityToXyz(Chromaticity xy);

// Distance of two L*u*v* colours in the u*v* plane only; lightness takes no part.
inline double planeDistance(const Colour &luv1, const Colour &luv2)
{
    return std::hypot(luv2[1] - luv1[1], luv2[2] - luv1[2]);
}

// CMC l:c colour difference of two L*C*h colours (hue in radians); colour 1 is the reference.
double cmcDifference(const Colour &lch1, const Colour &lch2, double l, double c);

struct Illuminant
{
    std::string_view description;
    Chromaticity white; // CIE 1931 2-degree observer
};

// The standard CIE illuminants, A first, F12 last (20 entries).
const std::array<Illuminant, 20> &illuminants();

// Builds the RGB-to-XYZ matrix of three primaries and a white point. Returns false (after the
// inversion has reported its zero pivot) when the primaries are degenerate.
bool rgbToXyzMatrix(Chromaticity red, Chromaticity green, Chromaticity blue, Chromaticity white,
                    Matrix3 &out);

// Inverts m by Gaussian elimination with partial pivoting. A singular matrix writes
// "zero pivot found in line:%d\n" (the row being eliminated) to standard error and returns false.
bool invert(const Matrix3 &m, Matrix3 &out);

inline Colour multiply(const Matrix3 &m, const Colour &v)
{
    return {m[0][0] * v[0] + m[0][1] * v[1] + m[0][2] * v[2],
            m[1][0] * v[0] + m[1][1] * v[1] + m[1][2] * v[2],
            m[2][0] * v[0] + m[2][1] * v[1] + m[2][2] * v[2], v[3]};
}

// Writes "Matrix |name|:" and the three rows to the stream (standard error by default).
void dumpMatrix(const Matrix3 &m, const char *name, std::FILE *stream = stderr);

} // namespace kelp::colour
