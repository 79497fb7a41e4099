// The panel with its real icon view over a real catalogue: the group it opens on and remembers,
// centring and the moved threshold, fitting to the icon view at once or animated, and where keys
// go (the bar, then the grid, then the panel itself).
#include "window/TQWindow.h"

#include "catalogue/CatalogueFixture.h"
#include "window/PanelColours.h"
#include "window/PanelGeometry.h"
#include "window/TQIconOverlayView.h"
#include "window/TQIconView.h"
#include "window/TQStatsControl.h"

#include <QElapsedTimer>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

using namespace kelp;
using kelp::test::CatalogueFixture;
using kelp::test::waitUntil;

// Readable rectangles in failure messages.
QT_BEGIN_NAMESPACE
inline void PrintTo(const QRect &r, std::ostream *os)
{
    *os << "QRect(" << r.x() << ", " << r.y() << " " << r.width() << "x" << r.height() << ")";
}
QT_END_NAMESPACE

class Panel : public CatalogueFixture
{
protected:
    void SetUp() override
    {
        CatalogueFixture::SetUp();
        makeCatalogue();
        QStringList apps;
        for (int i = 0; i < 12; ++i)
            apps << QStringLiteral("/apps/App%1.app").arg(i);
        setAll({apps});
        catalogue->rebuildDependentApps();
        panel = std::make_unique<TQWindow>(*catalogue, *defaults);
    }
    void TearDown() override { panel.reset(); }

    QRect screenFrame() const { return QGuiApplication::primaryScreen()->availableGeometry(); }
    QSize expectedSize() const
    {
        const QSize view = panel->iconView()->viewSize();
        return QSize(std::max(view.width() + TQWindow::kMargins.left() + TQWindow::kMargins.right(),
                              TQWindow::kMinimumWidth),
                     view.height() + TQWindow::kMargins.top() + TQWindow::kMargins.bottom());
    }

    std::unique_ptr<TQWindow> panel;
};

TEST_F(Panel, OpensOnTheChosenGroupAndRemembersTheLastOne)
{
    defaults->setValue(Key::GroupToShowWhenWindowOpens, storedGroup(Group::None));
    defaults->setValue(Key::GroupShownWhenWindowClosed, storedGroup(Group::All));
    panel->show();
    EXPECT_EQ(panel->iconView()->groupToShow(), Group::All);
    EXPECT_EQ(panel->statsControl()->indexOfSelectedButton(), 0);
    EXPECT_TRUE(panel->isPanelVisible());

    panel->iconView()->setGroupToShow(Group::Running);
    EXPECT_EQ(panel->statsControl()->indexOfSelectedButton(), 4); // the bar follows the grid
    panel->hide();
    EXPECT_FALSE(panel->isPanelVisible()); // at once, while it fades
    EXPECT_EQ(defaults->integer("groupShownWhenWindowClosed"), storedGroup(Group::Running));
    ASSERT_TRUE(waitUntil([&] { return !panel->isVisible(); }));
    EXPECT_FALSE(panel->overlayView()->isVisible());

    panel->show();
    EXPECT_EQ(panel->iconView()->groupToShow(), Group::Running);
    ASSERT_TRUE(waitUntil([&] { return panel->windowOpacity() >= 1.0; }));

    // A fixed choice wins over the remembered group.
    panel->hide();
    defaults->setValue(Key::GroupToShowWhenWindowOpens, storedGroup(Group::Included));
    panel->show(); // while still fading out: shown again, on the chosen group
    EXPECT_TRUE(panel->isPanelVisible());
    EXPECT_EQ(panel->iconView()->groupToShow(), Group::Included);
    QTest::qWait(400);
    EXPECT_TRUE(panel->isVisible());
}

TEST_F(Panel, CentresWhenOpeningAndKnowsWhenItWasMoved)
{
    panel->show();
    ASSERT_TRUE(waitUntil([&] { return panel->windowOpacity() >= 1.0; }));
    const QRect centred = panel->geometry();
    EXPECT_EQ(centred, panel::centredOn(centred.size(), screenFrame()));
    EXPECT_FALSE(panel->hasBeenMoved());

    panel->move(centred.topLeft() + QPoint(16, -16));
    EXPECT_FALSE(panel->hasBeenMoved());
    panel->move(centred.topLeft() + QPoint(0, 17));
    EXPECT_TRUE(panel->hasBeenMoved());

    // Showing a panel that is on screen leaves it where the user put it...
    panel->show();
    EXPECT_TRUE(panel->hasBeenMoved());
    // ...but a fully faded one is centred again.
    panel->setWindowOpacity(0.0);
    panel->show();
    EXPECT_FALSE(panel->hasBeenMoved());
    EXPECT_EQ(panel->geometry(), centred);
}

TEST_F(Panel, FitsItsIconViewAtOnceWithoutAnimation)
{
    panel->show();
    EXPECT_EQ(panel->size(), expectedSize());
    const QSize before = panel->size();
    const QPoint centre = panel->geometry().center();

    QSignalSpy will(panel.get(), &TQWindow::windowWillResize);
    QSignalSpy did(panel.get(), &TQWindow::windowDidResize);
    QStringList more;
    for (int i = 0; i < 40; ++i)
        more << QStringLiteral("/more/Tool%1.app").arg(i);
    setAll({more});
    catalogue->rebuildDependentApps();
    panel->iconView()->resizeViewForced(true);

    EXPECT_NE(panel->size(), before);
    EXPECT_EQ(panel->size(), expectedSize());
    EXPECT_LE((panel->geometry().center() - centre).manhattanLength(), 2);
    EXPECT_EQ(panel->lastResizeDuration(), 0.0);
    EXPECT_GE(will.count(), 1);
    EXPECT_EQ(will.count(), did.count());
    // The overlay covers the whole panel, yet the pointer finds the icons and the bar below it.
    EXPECT_EQ(panel->overlayView()->geometry(), panel->rect());
    EXPECT_EQ(panel->childAt(panel->iconView()->geometry().center()), panel->iconView());
    EXPECT_EQ(panel->childAt(panel->statsControl()->geometry().center()), panel->statsControl());
    EXPECT_TRUE(screenFrame().contains(panel->geometry()));
}

TEST_F(Panel, AnimatedResizeTakesTheTimeItsSizeChangeCalls)
{
    defaults->setValue(Key::AnimateWindowResizing, true);
    panel->show();
    const QRect before = panel->geometry();

    QStringList more;
    for (int i = 0; i < 40; ++i)
        more << QStringLiteral("/more/Tool%1.app").arg(i);
    setAll({more});
    catalogue->rebuildDependentApps();
    QElapsedTimer clock;
    clock.start();
    panel->iconView()->resizeViewForced(true);

    const QSize target = expectedSize();
    const double expected = panel::animationResizeTime(before, QRect(QPoint(), target),
                                                       QGuiApplication::primaryScreen()->size());
    EXPECT_DOUBLE_EQ(panel->lastResizeDuration(), expected);
    EXPECT_TRUE(panel->isAnimating());
    EXPECT_NE(panel->size(), target); // not there yet

    ASSERT_TRUE(waitUntil([&] { return panel->size() == target && !panel->isAnimating(); }));
    EXPECT_GE(clock.elapsed(), qint64(expected * 1000) - 50);
    EXPECT_EQ(panel->overlayView()->geometry(), panel->rect());
}

TEST_F(Panel, KeysGoToTheBarThenTheGridThenThePanel)
{
    defaults->setValue(Key::GroupToShowWhenWindowOpens, storedGroup(Group::Included));
    panel->show();
    QSignalSpy close(panel.get(), &TQWindow::closeRequested);

    // Tab belongs to the bar (not to focus changes): no favourites, so Included -> Running.
    QTest::keyClick(panel.get(), Qt::Key_Tab);
    EXPECT_EQ(panel->iconView()->groupShown(), Group::Running);
    QTest::keyClick(panel.get(), Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(panel->iconView()->groupShown(), Group::Included);

    // Letters filter the grid and show in the overlay.
    QTest::keyClicks(panel.get(), QStringLiteral("ap"));
    EXPECT_EQ(panel->iconView()->filterSubstring(), QStringLiteral("ap"));
    EXPECT_TRUE(panel->overlayView()->isShowingFilter());
    EXPECT_EQ(panel->overlayView()->filterString(), QStringLiteral("ap"));

    // Escape first clears the filter; with nothing left to cancel it closes the panel.
    QTest::keyClick(panel.get(), Qt::Key_Escape);
    EXPECT_TRUE(panel->iconView()->filterSubstring().isEmpty());
    EXPECT_EQ(close.count(), 0);
    QTest::keyClick(panel.get(), Qt::Key_Escape);
    EXPECT_EQ(close.count(), 1);
    QTest::keyClick(panel.get(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_EQ(close.count(), 2);
}

TEST_F(Panel, ButtonsAreBlackOnAClearOrLightPanel)
{
    EXPECT_TRUE(PanelColours::wantsBlackButtons(0.0, Qt::black));
    EXPECT_TRUE(PanelColours::wantsBlackButtons(0.85, QColor(220, 220, 220)));
    EXPECT_FALSE(PanelColours::wantsBlackButtons(0.85, Qt::black));
    EXPECT_FALSE(PanelColours::wantsBlackButtons(0.85, QColor(20, 60, 120)));
}

TEST_F(Panel, WithoutACompositorTheBackgroundIsOpaqueAndTheCornersCut)
{
    panel->show();
    ASSERT_TRUE(panel->isComposited()); // assumed where nothing says otherwise
    EXPECT_TRUE(panel->mask().isEmpty());
    const QPoint bottomMiddle(panel->width() / 2, panel->height() - 3); // background, no view
    EXPECT_LT(panel->grab().toImage().pixelColor(bottomMiddle).alpha(), 255);

    panel->setComposited(false);
    const auto checkShape = [&] {
        const QRegion shape = panel->mask();
        const int w = panel->width(), h = panel->height();
        EXPECT_EQ(shape.boundingRect(), panel->rect());
        for (const QPoint corner : {QPoint(0, 0), QPoint(w - 1, 0), QPoint(0, h - 1),
                                    QPoint(w - 1, h - 1), QPoint(4, 4), QPoint(w - 5, h - 5)})
            EXPECT_FALSE(shape.contains(corner)) << corner.x() << "," << corner.y();
        for (const QPoint inside : {QPoint(w / 2, 0), QPoint(0, h / 2), QPoint(w - 1, h / 2),
                                    QPoint(w / 2, h - 1), QPoint(12, 12), QPoint(w / 2, h / 2)})
            EXPECT_TRUE(shape.contains(inside)) << inside.x() << "," << inside.y();
    };
    checkShape();
    EXPECT_EQ(panel->grab().toImage().pixelColor(bottomMiddle).alpha(), 255);

    // The shape follows the panel's size.
    QStringList more;
    for (int i = 0; i < 40; ++i)
        more << QStringLiteral("/more/Tool%1.app").arg(i);
    setAll({more});
    catalogue->rebuildDependentApps();
    panel->iconView()->resizeViewForced(true);
    checkShape();

    panel->setComposited(true);
    EXPECT_TRUE(panel->mask().isEmpty());
    EXPECT_LT(panel->grab().toImage().pixelColor(bottomMiddle).alpha(), 255);
}

TEST_F(Panel, LettersThatLeaveOneApplicationShowItBig)
{
    defaults->setValue(Key::GroupToShowWhenWindowOpens, storedGroup(Group::Included));
    panel->show();
    TQIconOverlayView *overlay = panel->overlayView();

    QTest::keyClicks(panel.get(), QStringLiteral("app1")); // App1, App10 and App11
    EXPECT_FALSE(overlay->bigIconApp());
    EXPECT_FALSE(overlay->isShowingBigIcon());
    QTest::keyClicks(panel.get(), QStringLiteral("1"));
    ASSERT_TRUE(overlay->bigIconApp());
    EXPECT_EQ(overlay->bigIconApp()->path(), QStringLiteral("/apps/App11.app"));
    EXPECT_TRUE(overlay->isShowingBigIcon());

    // Near the bottom of the panel, the text to the right of the icon and below it.
    const auto places = overlay->bigIconPlaces();
    EXPECT_TRUE(QRectF(overlay->rect()).contains(places.icon));
    EXPECT_EQ(places.icon.size(), QSizeF(64, 64));
    EXPECT_DOUBLE_EQ(places.icon.bottom(), overlay->height() - 79.0);
    EXPECT_GT(places.name.x(), places.icon.right());
    EXPECT_GT(places.name.y(), places.folder.y());
    EXPECT_GT(places.folder.y(), places.icon.bottom());

    QTest::keyClick(panel.get(), Qt::Key_Backspace);
    EXPECT_FALSE(overlay->bigIconApp());
    QTest::keyClicks(panel.get(), QStringLiteral("1"));
    EXPECT_TRUE(overlay->bigIconApp());
    // It goes with the filter: cleared, or faded out after the pause.
    QTest::keyClick(panel.get(), Qt::Key_Escape);
    EXPECT_FALSE(overlay->bigIconApp());
    QTest::keyClicks(panel.get(), QStringLiteral("app11"));
    ASSERT_TRUE(waitUntil([&] { return !overlay->isShowingBigIcon(); }, 5000));
}
