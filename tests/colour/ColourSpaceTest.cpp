#include "colour/ColourSpace.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace kelp::colour;

TEST(ColourSpace, BlackAndNonPositiveLightnessMapToZero)
{
    EXPECT_EQ(xyzToLuv({0.0, 0.0, 0.0, 0.7}), (Colour{0.0, 0.0, 0.0, 0.7}));
    EXPECT_EQ(luvToXyz({0.0, 40.0, -20.0, 0.5}), (Colour{0.0, 0.0, 0.0, 0.5}));
    EXPECT_EQ(luvToXyz({-3.0, 40.0, -20.0, 1.0}), (Colour{0.0, 0.0, 0.0, 1.0}));
}

// Either side of the threshold, L* is 8 and the inverse gives the threshold back.
TEST(ColourSpace, LightnessBranchesMeetAtEpsilon)
{
    EXPECT_NEAR(xyzToLuv({0.0, kEpsilon, 0.0, 1.0})[0], 8.0, 1e-9);
    EXPECT_NEAR(xyzToLuv({0.0, std::nextafter(kEpsilon, 1.0), 0.0, 1.0})[0], 8.0, 1e-9);
    EXPECT_NEAR(luvToXyz({8.0, 0.0, 0.0, 1.0})[1], kEpsilon, 1e-12);
    EXPECT_NEAR(luvToXyz({100.0, 0.0, 0.0, 1.0})[1], 1.0, 1e-12);
}

TEST(ColourSpace, PlainPowerLawGamma)
{
    EXPECT_EQ(gammaTable()[0], 0.0);
    EXPECT_EQ(gammaTable()[255], 1.0);
    // 2.2 power law, not the piecewise sRGB curve (which gives about 0.0030 here).
    EXPECT_NEAR(lineariseByte(10), 8.0466e-4, 1e-7);
}

TEST(ColourSpace, WrapMovesIntoHalfOpenRange)
{
    EXPECT_EQ(wrap(-30.0, 0.0, 360.0), 330.0);
    EXPECT_EQ(wrap(360.0, 0.0, 360.0), 0.0);
    EXPECT_EQ(wrap(725.0, 0.0, 360.0), 5.0);
    EXPECT_EQ(wrap(-720.0, 0.0, 360.0), 0.0);
    EXPECT_EQ(wrap(-30.0, 360.0, 0.0), 330.0); // bounds given the wrong way round
    EXPECT_EQ(wrap(5.0, -180.0, 180.0), 5.0);
    // Values no loop could bring into range come back as they are instead of hanging.
    EXPECT_TRUE(std::isinf(wrap(INFINITY, 0.0, 360.0)));
    EXPECT_TRUE(std::isnan(wrap(NAN, 0.0, 360.0)));
    const double far = wrap(1e300, 0.0, 360.0);
    EXPECT_TRUE(far >= 0.0 && far < 360.0);
    EXPECT_EQ(hueDegrees(-kPi / 2.0), 270.0);
}

// Reference values computed with the npm package colorjs.io (0.5.x), whose sRGB matrix and D65
// white differ from Kelp's in the fifth digit; the tolerances allow for that and nothing more.
TEST(ColourSpace, AgreesWithIndependentConversions)
{
    const auto expectNear = [](const Colour &actual, const Colour &expected, double tolerance) {
        for (int i = 0; i < 4; ++i)
            EXPECT_NEAR(actual[i], expected[i], tolerance) << "component " << i;
    };
    expectNear(rgbToXyz({0.2, 0.5, 0.8, 1.0}),
               {0.405654960267, 0.457865992847, 0.823889275440, 1.0}, 2e-4);
    expectNear(xyzToLuv({0.2, 0.3, 0.4, 1.0}), {61.6542222095, -49.8830884810, -8.57039262474, 1},
               2e-2);
    // Below the lightness threshold, both ways.
    expectNear(xyzToLuv({0.004, 0.005, 0.006, 1.0}),
               {4.51648148148, -1.93061602972, -0.258487715970, 1.0}, 2e-3);
    expectNear(luvToXyz({5.0, 1.0, 2.0, 1.0}),
               {0.00532060579672, 0.00553528229940, 0.00382235414643, 1.0}, 1e-5);
    expectNear(luvToXyz({50.0, 20.0, -30.0, 1.0}),
               {0.224404585820, 0.184186518512, 0.313133387815, 1.0}, 1e-4);

    const Colour lch = luvToLch(xyzToLuv({0.2, 0.3, 0.4, 1.0}));
    EXPECT_NEAR(lch[1], 50.6139718472, 2e-2);
    EXPECT_NEAR(hueDegrees(lch[2]), 189.748784323, 2e-2);
}

// Pixel bytes through the 2.2 power law, the sRGB matrix, L*u*v* and L*C*h, against colorjs.io
// fed with the same linearised values.
TEST(ColourSpace, PixelPathAgreesWithIndependentConversions)
{
    struct Row
    {
        const char *name;
        std::uint8_t r, g, b;
        double L, C, H;
    };
    const Row rows[] = {
        {"Red", 255, 0, 0, 53.2371155954, 179.038096924, 12.1770506301},
        {"DodgerBlue", 30, 144, 255, 59.6660060941, 106.954552449, 251.680532260},
        {"Yellow", 250, 200, 20, 83.0679596258, 96.0488728075, 64.0886680595},
    };
    const auto lchOf = [](std::uint8_t r, std::uint8_t g, std::uint8_t b) {
        return luvToLch(
            xyzToLuv(rgbToXyz({lineariseByte(r), lineariseByte(g), lineariseByte(b), 1})));
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const Colour lch = lchOf(row.r, row.g, row.b);
        EXPECT_NEAR(lch[0], row.L, 5e-3);
        EXPECT_NEAR(lch[1], row.C, 2e-2);
        EXPECT_NEAR(hueDegrees(lch[2]), row.H, 2e-2);
    }
    // Mid grey: colorjs.io gives chroma 0; Kelp's white is a hair off the matrix white.
    const Colour grey = lchOf(128, 128, 128);
    EXPECT_NEAR(grey[0], 53.9760087759, 5e-3);
    EXPECT_LT(grey[1], 0.02);
}

TEST(ColourSpace, MatrixBuilderReproducesSrgbMatrix)
{
    Matrix3 m{};
    ASSERT_TRUE(rgbToXyzMatrix({0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}, {0.3127, 0.3290}, m));
    Matrix3 inverse{};
    ASSERT_TRUE(invert(kRgbToXyz, inverse));
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) {
            EXPECT_NEAR(m[r][c], kRgbToXyz[r][c], 5e-4) << r << "," << c;
            EXPECT_NEAR(inverse[r][c], kXyzToRgb[r][c], 1e-5) << r << "," << c;
        }
    // A permutation needs a row exchange, not a zero-pivot report.
    ASSERT_TRUE(invert({{{0, 1, 0}, {1, 0, 0}, {0, 0, 1}}}, inverse));
    EXPECT_EQ(inverse[0][1], 1.0);

    // Red and green at the same chromaticity: no inverse.
    testing::internal::CaptureStderr();
    EXPECT_FALSE(rgbToXyzMatrix({0.64, 0.33}, {0.64, 0.33}, {0.15, 0.06}, {0.3127, 0.3290}, m));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "zero pivot found in line:1\n");
}
