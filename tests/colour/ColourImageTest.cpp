#include "extras/ColourImage.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QGuiApplication>

#include <thread>

using namespace kelp;
using kelp::test::writeFile;

namespace {

QImage filled(int w, int h, QImage::Format format, QColor colour)
{
    QImage image(w, h, format);
    image.fill(colour);
    return image;
}

} // namespace

TEST(ColourImage, IconFormatIsDescribedInPlace)
{
    const QImage image = filled(16, 8, QImage::Format_RGBA8888_Premultiplied, QColor(10, 20, 30));
    const QImage shared = image; // a shallow copy: describing it must not detach it
    const colour::Bitmap b = describeImage(shared);
    EXPECT_EQ(b.data, image.constBits());
    EXPECT_EQ(shared.constBits(), image.constBits());
    EXPECT_EQ(b.bitmapFormat & colour::AlphaNonpremultiplied, 0u);

    const auto histogram = colour::colourHistogram(b);
    ASSERT_EQ(histogram.size(), 1u);
    EXPECT_EQ(histogram[0].red, 10);
    EXPECT_EQ(histogram[0].blue, 30);
    EXPECT_EQ(histogram[0].weight, 128u);
}

TEST(ColourImage, GreyAndPaddedRowsAreDescribed)
{
    QImage grey = filled(5, 3, QImage::Format_Grayscale8, QColor(77, 77, 77));
    auto histogram = colour::colourHistogram(describeImage(grey));
    ASSERT_EQ(histogram.size(), 1u);
    EXPECT_EQ(histogram[0].red, 77);
    EXPECT_EQ(histogram[0].weight, 15u);

    // Three-byte pixels in rows padded to four bytes: the padding is never counted.
    QImage rgb(3, 2, QImage::Format_RGB888);
    rgb.fill(QColor(200, 100, 50));
    ASSERT_GT(rgb.bytesPerLine(), 9);
    histogram = colour::colourHistogram(describeImage(rgb));
    ASSERT_EQ(histogram.size(), 1u);
    EXPECT_EQ(histogram[0].weight, 6u);
}

TEST(ColourImage, OtherFormatsAreConverted)
{
    QImage argb = filled(8, 8, QImage::Format_ARGB32, QColor(30, 140, 250, 255));
    argb.setPixelColor(0, 0, QColor(0, 0, 0, 0));
    EXPECT_EQ(describeImage(argb).data, nullptr);
    const ColourBitmap converted = colourBitmapForImage(argb);
    ASSERT_TRUE(converted.isValid());
    EXPECT_EQ(converted.image.format(), QImage::Format_RGBA8888_Premultiplied);
    EXPECT_EQ(converted.bitmap.data, converted.image.constBits());

    const auto fromArgb = dominantColoursOfImage(argb, 6, 0.14, 0.02);
    const auto fromRgba =
        dominantColoursOfImage(argb.convertToFormat(QImage::Format_RGBA8888), 6, 0.14, 0.02);
    ASSERT_EQ(fromArgb.size(), 1u);
    ASSERT_EQ(fromRgba.size(), 1u);
    EXPECT_EQ(fromArgb[0].quantity, 63u);
    EXPECT_DOUBLE_EQ(fromArgb[0].hue, fromRgba[0].hue);

    EXPECT_TRUE(dominantColoursOfImage(QImage(), 6, 0.14, 0.02).empty());
}

TEST(ColourImage, RendersFilesIntoCentredSquares)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());

    // A 2:1 SVG: red, centred with transparent bands above and below.
    const QString svg = dir.filePath(QStringLiteral("wide.svg"));
    ASSERT_TRUE(
        writeFile(svg, "<svg xmlns='http://www.w3.org/2000/svg' width='40' height='20' "
                       "viewBox='0 0 40 20'><rect width='40' height='20' fill='#ff0000'/></svg>"));
    QImage image = renderIconFile(svg, 64);
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.size(), QSize(64, 64));
    EXPECT_EQ(image.format(), QImage::Format_RGBA8888_Premultiplied);
    EXPECT_EQ(image.pixelColor(32, 4).alpha(), 0);
    EXPECT_EQ(image.pixelColor(32, 32), QColor(255, 0, 0));
    EXPECT_EQ(image.pixelColor(32, 60).alpha(), 0);

    // A 1:2 PNG: blue, centred with transparent bands left and right.
    const QString png = dir.filePath(QStringLiteral("tall.png"));
    ASSERT_TRUE(filled(10, 20, QImage::Format_ARGB32, QColor(0, 0, 255)).save(png));
    image = renderIconFile(png, 64);
    ASSERT_EQ(image.size(), QSize(64, 64));
    EXPECT_EQ(image.pixelColor(4, 32).alpha(), 0);
    EXPECT_EQ(image.pixelColor(32, 32), QColor(0, 0, 255));
    EXPECT_EQ(image.pixelColor(60, 32).alpha(), 0);

    EXPECT_TRUE(renderIconFile(dir.filePath(QStringLiteral("missing.png")), 64).isNull());
    EXPECT_TRUE(renderIconFile(png, 0).isNull());
}

TEST(ColourImage, RendersOffTheGuiThread)
{
    QTemporaryDir dir;
    const QString svg = dir.filePath(QStringLiteral("circle.svg"));
    ASSERT_TRUE(writeFile(svg, "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 10 10'>"
                               "<circle cx='5' cy='5' r='5' fill='#00ff00'/></svg>"));
    std::vector<colour::HclColor> colours;
    std::thread worker(
        [&] { colours = dominantColoursOfImage(renderIconFile(svg, 128), 6, 0.14, 0.02); });
    worker.join();
    ASSERT_FALSE(colours.empty());
    EXPECT_GT(colours[0].hue, 100.0); // green
    EXPECT_LT(colours[0].hue, 150.0);
    // Roughly the circle's area, counted in whole alpha.
    std::uint64_t total = 0;
    for (const auto &c : colours)
        total += c.quantity;
    EXPECT_NEAR(static_cast<double>(total), 3.14159 * 64 * 64, 200.0);
}

int main(int argc, char **argv)
{
    // Test discovery runs this without the test environment: never ask for a display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
