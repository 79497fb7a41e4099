// The cursor hot spot on Wayland: how a place on the primary screen becomes a layer surface's
// anchors, size and margins, and the hot spot itself under a headless sway with the pointer
// driven by a virtual pointer on the seat.
#include "platform/wayland/WaylandHotSpots.h"
#include "platform/wayland/WaylandClientDisplay.h"
#include "support/SwaySession.h"
#include "support/TestSupport.h"
#include "triggers/HotSpotPlacement.h"

#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace kelp::test {
namespace {

TEST(HotSpotLayerPlacement, CornersKeepTheirSizeAndEdgesRunBetweenTheirFreeEnds)
{
    const QRect screen(0, 0, 1024, 768);
    const auto corner = hotSpotLayerPlacement(*hotSpotPlace(5, screen), screen);
    EXPECT_EQ(corner.anchors, Qt::BottomEdge | Qt::RightEdge);
    EXPECT_EQ(corner.size, QSize(4, 4));
    EXPECT_EQ(corner.margins, QMargins());

    // Edges stretch along their side with the free ends as margins, so that they fit any output.
    const auto top = hotSpotLayerPlacement(*hotSpotPlace(8, screen), screen);
    EXPECT_EQ(top.anchors, Qt::TopEdge | Qt::LeftEdge | Qt::RightEdge);
    EXPECT_EQ(top.size, QSize(0, 1));
    EXPECT_EQ(top.margins, QMargins(28, 0, 28, 0));
    const auto left =
        hotSpotLayerPlacement(*hotSpotPlace(2, QRect(100, 50, 800, 600)), QRect(100, 50, 800, 600));
    EXPECT_EQ(left.anchors, Qt::LeftEdge | Qt::TopEdge | Qt::BottomEdge);
    EXPECT_EQ(left.size, QSize(1, 0));
    EXPECT_EQ(left.margins, QMargins(0, 28, 0, 28));
}

class WaylandHotSpotsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QString why;
        if (!SwaySession::instance().start(&why)) GTEST_SKIP() << why.toStdString();
        const QProcessEnvironment env = SwaySession::instance().clientEnvironment();
        for (const char *name : {"WAYLAND_DISPLAY", "XDG_RUNTIME_DIR"})
            qputenv(name, env.value(QString::fromLatin1(name)).toUtf8());
        display = WaylandClientDisplay::connectTo();
        ASSERT_TRUE(display);
    }
    void TearDown() override { SwaySession::instance().stop(); }

    std::shared_ptr<WaylandClientDisplay> display;
};

// Entering and leaving are reported as the pointer comes and goes; a hot spot moved elsewhere no
// longer reports its old corner; outputs that come and go get and take their own; and the
// compositor going away with the hot spot placed harms nothing.
TEST_F(WaylandHotSpotsTest, ThePointerEntersAndLeavesTheCornerUntilTheCompositorGoes)
{
    WaylandHotSpots hotSpots(display);
    ASSERT_TRUE(hotSpots.isAvailable());
    QSignalSpy entered(&hotSpots, &HotSpots::entered);
    QSignalSpy left(&hotSpots, &HotSpots::left);
    const QRect screen(0, 0, 1024, 768);
    hotSpots.setHotSpot(hotSpotPlace(5, screen));
    QTest::qWait(500); // configured and drawn

    SwaySession &sway = SwaySession::instance();
    ASSERT_TRUE(sway.pointerMoveTo(500, 400));
    ASSERT_TRUE(sway.pointerMoveTo(1022, 766));
    ASSERT_TRUE(waitUntil([&] { return entered.count() == 1; }, 5000));
    EXPECT_EQ(left.count(), 0);
    ASSERT_TRUE(sway.pointerMoveTo(1010, 766)); // beside it, still near the corner
    ASSERT_TRUE(waitUntil([&] { return left.count() == 1; }, 5000));

    // Moved to the top-left corner: the bottom-right one is gone.
    hotSpots.setHotSpot(hotSpotPlace(1, screen));
    QTest::qWait(500);
    ASSERT_TRUE(sway.pointerMoveTo(1022, 766));
    QTest::qWait(300);
    EXPECT_EQ(entered.count(), 1);
    ASSERT_TRUE(sway.pointerMoveTo(1, 1));
    ASSERT_TRUE(waitUntil([&] { return entered.count() == 2; }, 5000));

    // A second output gets a hot spot of its own. While it stands right of the first, the
    // pointer's 1024 × 768 maps onto the 2048 × 768 layout: its x is halved.
    bool ok = false;
    sway.swaymsg({QStringLiteral("create_output")}, &ok);
    ASSERT_TRUE(ok);
    sway.swaymsg({QStringLiteral("output"), QStringLiteral("HEADLESS-2"),
                  QStringLiteral("resolution"), QStringLiteral("1024x768"),
                  QStringLiteral("position"), QStringLiteral("1024"), QStringLiteral("0")},
                 &ok);
    ASSERT_TRUE(ok);
    QTest::qWait(500);
    ASSERT_TRUE(sway.pointerMoveTo(256, 384));
    ASSERT_TRUE(waitUntil([&] { return left.count() == 2; }, 5000));
    ASSERT_TRUE(sway.pointerMoveTo(512, 1));
    EXPECT_TRUE(waitUntil([&] { return entered.count() == 3; }, 5000))
        << "the new output's top-left corner";
    // It is turned off with the pointer in its hot spot (sway 1.7 then says nothing to the hot
    // spot): the first output's corner still counts as entered afresh.
    sway.swaymsg(
        {QStringLiteral("output"), QStringLiteral("HEADLESS-2"), QStringLiteral("disable")}, &ok);
    ASSERT_TRUE(ok);
    ASSERT_TRUE(sway.pointerMoveTo(500, 400));
    ASSERT_TRUE(sway.pointerMoveTo(1, 1));
    EXPECT_TRUE(waitUntil([&] { return entered.count() >= 4; }, 5000));

    sway.stop();
    EXPECT_TRUE(waitUntil([&] { return display->isBroken(); }, 5000));
    hotSpots.setHotSpot(hotSpotPlace(3, screen));
}

} // namespace
} // namespace kelp::test
