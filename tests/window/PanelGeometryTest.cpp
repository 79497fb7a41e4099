// The panel's frame arithmetic: the group it opens on, the moved threshold, keeping it on a screen
// (also after a monitor goes away), the resize duration and the room left for the icon view.
#include "window/PanelGeometry.h"

#include <gtest/gtest.h>

using namespace kelp::panel;

TEST(PanelGeometry, GroupOnOpenFallsBackOnlyOnMinusOne)
{
    EXPECT_EQ(groupToShowOnOpen(1, -1), 1);
    EXPECT_EQ(groupToShowOnOpen(-1, 8), 8);  // the group shown at the last close
    EXPECT_EQ(groupToShowOnOpen(-1, -1), 1); // nothing known: included
    EXPECT_EQ(groupToShowOnOpen(0, 8), 0);   // running is a real choice, not "unset"
    EXPECT_EQ(groupToShowOnOpen(-2, 8), -2); // other values are passed on as they are
}

TEST(PanelGeometry, MovedMeansMoreThanSixteenPixelsOnEitherAxis)
{
    const QRect screen(0, 0, 1280, 800);
    const QRect centred = centredOn(QSize(400, 300), screen);
    EXPECT_FALSE(hasBeenMoved(centred, screen));
    EXPECT_FALSE(hasBeenMoved(centred.translated(16, 0), screen));
    EXPECT_FALSE(hasBeenMoved(centred.translated(-16, -16), screen));
    EXPECT_TRUE(hasBeenMoved(centred.translated(17, 0), screen));
    EXPECT_TRUE(hasBeenMoved(centred.translated(0, -17), screen));

    // Centres between pixels (odd sizes) are compared exactly, not rounded.
    const QRect odd = centredOn(QSize(401, 301), screen); // centre at 640, 400 (rounded down)
    EXPECT_FALSE(hasBeenMoved(odd.translated(16, 16), screen));
    EXPECT_TRUE(hasBeenMoved(odd.translated(17, 0), screen));

    // A screen that does not start at the origin.
    const QRect second(1280, 200, 1920, 1080);
    EXPECT_FALSE(hasBeenMoved(centredOn(QSize(300, 300), second), second));
    EXPECT_TRUE(hasBeenMoved(centredOn(QSize(300, 300), screen), second));
}

TEST(PanelGeometry, ConstrainingMovesIntoBoundsWithoutResizing)
{
    const QRect bounds(0, 30, 1280, 770);
    EXPECT_EQ(constrainedInto(QRect(1100, 600, 400, 300), bounds), QRect(880, 500, 400, 300));
    EXPECT_EQ(constrainedInto(QRect(-50, 0, 400, 300), bounds), QRect(0, 30, 400, 300));
    EXPECT_EQ(constrainedInto(QRect(100, 100, 400, 300), bounds), QRect(100, 100, 400, 300));
    // Too big for the screen: the top-left corner (close button, bar) stays reachable.
    EXPECT_EQ(constrainedInto(QRect(-300, -300, 2000, 1000), bounds), QRect(0, 30, 2000, 1000));
}

TEST(PanelGeometry, PanelOnAnUnpluggedMonitorComesBackOnAScreen)
{
    const QRect left(0, 0, 1280, 800), right(1280, 0, 1920, 1080);
    const QRect onRight(2000, 400, 600, 400);
    EXPECT_EQ(visibleFrameForPanel(onRight, {left, right}), right);

    // The right monitor is gone: the panel's frame is now nowhere, and it goes to what remains.
    const QRect target = constrainedInto(onRight, visibleFrameForPanel(onRight, {left}));
    EXPECT_TRUE(left.contains(target));
    EXPECT_EQ(target.size(), onRight.size());

    // Straddling two screens: the one holding its centre; off every screen: the nearest one.
    EXPECT_EQ(visibleFrameForPanel(QRect(1000, 100, 600, 400), {left, right}), right);
    const QRect below(0, 900, 1280, 800);
    EXPECT_EQ(visibleFrameForPanel(QRect(100, 1850, 300, 300), {left, below}), below);
    EXPECT_EQ(visibleFrameForPanel(QRect(100, 100, 300, 300), {}), QRect());
}

TEST(PanelGeometry, ResizeDurationGrowsWithTheChangeOfDiagonal)
{
    const QSize screen(1440, 900);
    const QRect small(0, 0, 400, 300), big(0, 0, 800, 600); // diagonals 500 and 1000
    EXPECT_DOUBLE_EQ(animationResizeTime(small, big, screen), 1.2 + 500.0 / 1440.0 * 0.2);
    EXPECT_DOUBLE_EQ(animationResizeTime(big, small, screen), 1.2 + 500.0 / 1440.0 * 0.2);
    EXPECT_DOUBLE_EQ(animationResizeTime(small, small.translated(50, 50), screen), 1.2);
    // The larger side of the screen counts, whichever way the screen is turned.
    EXPECT_DOUBLE_EQ(animationResizeTime(small, big, QSize(900, 1440)),
                     animationResizeTime(small, big, screen));
}

TEST(PanelGeometry, RoomForTheIconView)
{
    const QMargins margins(8, 38, 8, 8);
    EXPECT_EQ(maxIconViewSize(QRect(0, 0, 1280, 800), margins),
              QSize(1280 - 32 - 16, 800 - 32 - 46));
    EXPECT_EQ(maxIconViewSize(QRect(0, 0, 40, 40), margins), QSize(0, 0));
    EXPECT_EQ(maxIconViewSize(QRect(), margins), QSize(0, 0));
}

TEST(PanelGeometry, NewContentKeepsAVisiblePanelCentredAndOnScreen)
{
    const QMargins margins(8, 38, 8, 8);
    const QRect screen(0, 0, 1280, 800);
    const QRect old(440, 250, 400, 300);

    const QRect grown = frameForContent(QSize(584, 354), margins, old, screen, true);
    EXPECT_EQ(grown.size(), QSize(600, 400));
    EXPECT_EQ(grown.center(), old.center());

    // Near the edge, the grown panel is pushed back inside.
    const QRect nearEdge(860, 480, 400, 300);
    const QRect pushed = frameForContent(QSize(584, 354), margins, nearEdge, screen, true);
    EXPECT_TRUE(screen.contains(pushed));

    // A hidden panel keeps its corner; it is centred when it shows.
    EXPECT_EQ(frameForContent(QSize(584, 354), margins, nearEdge, screen, false),
              QRect(860, 480, 600, 400));
}
