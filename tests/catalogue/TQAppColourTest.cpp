// An entry's colour key from real images, through the Qt glue.
#include "catalogue/TQApp.h"
#include "extras/Notifications.h"

#include <QPainter>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace kelp;

namespace {

ColorSortParams defaultParams()
{
    ColorSortParams p;
    p.maximumIconSize = 32;
    p.colorSortGrayThreshold = 0.05f;
    p.colorSortMinSaturation = 0.14f;
    p.colorSortMinLuminosity = 0.02f;
    return p;
}

QImage filled(QColor colour, QColor second = QColor(), int size = 32)
{
    QImage image(size, size, QImage::Format_RGBA8888_Premultiplied);
    image.fill(colour);
    if (second.isValid()) {
        QPainter p(&image);
        p.fillRect(0, 0, size, size / 4, second);
    }
    return image;
}

std::shared_ptr<TQApp> entryWithIcon(const QImage &icon,
                                     const ColorSortParams &params = defaultParams())
{
    auto app = std::make_shared<TQApp>(QStringLiteral("/apps/Test.app"));
    app->setColorSortParams(params);
    app->setIcon(icon);
    return app;
}

} // namespace

TEST(TQAppColour, ColouredIconsSortByHueFromTheWrapHue)
{
    const auto red = entryWithIcon(filled(QColor(255, 0, 0)));
    const auto green = entryWithIcon(filled(QColor(0, 200, 0)));
    const auto blue = entryWithIcon(filled(QColor(0, 0, 255)));
    for (const auto &e : {red, green, blue}) {
        EXPECT_GE(e->colorSortValue(), 0.0);
        EXPECT_LT(e->colorSortValue(), 1.0);
    }
    EXPECT_LT(red->colorSortValue(), green->colorSortValue());
    EXPECT_LT(green->colorSortValue(), blue->colorSortValue());
    EXPECT_EQ(TQApp::compareColorSortValues(*blue, *red), 1);
    EXPECT_EQ(TQApp::compareColorSortValues(*red, *blue), 0);
    EXPECT_EQ(TQApp::compareColorSortValues(*red, *red), 0);

    // Moving the wrap hue past red's hue re-sorts from the kept colours: no new analysis.
    const double hue = red->hclColors().front().hue;
    const auto *coloursBefore = red->hclColors().data();
    ColorSortParams wrapped = defaultParams();
    wrapped.colorSortWrapHue = static_cast<float>(hue + 1.0);
    red->setColorSortParameters(wrapped);
    EXPECT_EQ(red->hclColors().data(), coloursBefore);
    EXPECT_NEAR(red->colorSortValue(), 1.0 - 1.0 / 360.0, 1e-6);
}

TEST(TQAppColour, AnnouncesEveryParameterSetAndResetsWithANewIcon)
{
    auto app = entryWithIcon(filled(QColor(255, 0, 0)));
    QSignalSpy changed(&Notifications::instance(), &Notifications::appIconChanged);
    app->setColorSortParameters(defaultParams()); // nothing differs: still announced
    EXPECT_EQ(changed.size(), 1);
    app->setIcon(filled(Qt::white));
    EXPECT_EQ(changed.size(), 2);
    EXPECT_DOUBLE_EQ(app->colorSortValue(), 1.0);
    app->setIcon(QImage());
    EXPECT_DOUBLE_EQ(app->colorSortValue(), 10.0);
    EXPECT_TRUE(app->sortedColors().isEmpty());
    EXPECT_EQ(changed.size(), 3);
}

TEST(TQAppColour, DisplayColoursAndSpectrumIcon)
{
    auto app = entryWithIcon(filled(QColor(0, 0, 255), QColor(255, 255, 0)));
    const QList<TQApp::SortedColour> colours = app->sortedColors();
    ASSERT_GE(colours.size(), 2);
    EXPECT_GT(colours.at(0).color.blueF(), 0.9) << "the primary colour first";

    const QImage spectrum = app->spectrumIcon();
    ASSERT_EQ(spectrum.size(), QSize(32, 32));
    // The ring carries the primary colour; the middle is a pie slice.
    EXPECT_EQ(spectrum.pixelColor(16, 1).rgb(), colours.at(0).color.rgb());
    EXPECT_NE(spectrum.pixelColor(16, 16).alpha(), 0);

    // One display colour: the ring alone, with a hole in the middle.
    app->setSortedColors({colours.first()});
    const QImage ring = app->spectrumIcon();
    EXPECT_EQ(ring.pixelColor(16, 16).alpha(), 0);
    EXPECT_EQ(ring.pixelColor(16, 1).rgb(), colours.at(0).color.rgb());
    // No colours: the plain icon.
    app->setSortedColors({});
    EXPECT_EQ(app->spectrumIcon().cacheKey(), app->icon().cacheKey());
}
