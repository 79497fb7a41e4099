// The group selector bar over a real catalogue: counts, label fitting to the room in its window,
// Tab order (favourites only once there are some), clicks and the spring-loaded switch while
// dragging.
#include "window/TQStatsControl.h"

#include "catalogue/CatalogueFixture.h"

#include <QDragEnterEvent>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>

using namespace kelp;
using kelp::test::CatalogueFixture;

namespace {
const QString Safari = QStringLiteral("/apps/Safari.app");
const QString Mail = QStringLiteral("/apps/Mail.app");
const QString Maps = QStringLiteral("/apps/Maps.app");
} // namespace

class StatsControl : public CatalogueFixture
{
protected:
    void SetUp() override
    {
        CatalogueFixture::SetUp();
        makeCatalogue();
        setAll({{Safari, Mail, Maps}});
        catalogue->rebuildDependentApps();
        parent = std::make_unique<QWidget>();
        parent->resize(1000, 40);
        bar = new TQStatsControl(*catalogue, *defaults, parent.get());
        bar->setGeometry(10, 10, 100, 20);
        parent->show(); // a hidden window hears of its new sizes only once shown
    }
    void TearDown() override { parent.reset(); }

    bool key(int k, Qt::KeyboardModifiers mods = Qt::NoModifier, bool repeat = false)
    {
        QKeyEvent e(QEvent::KeyPress, k, mods, k == Qt::Key_Tab ? QStringLiteral("\t") : QString(),
                    repeat);
        return bar->handleKeyDown(&e);
    }
    // Tab (or Shift-Tab), then the button lit.
    int tab(bool back = false)
    {
        EXPECT_TRUE(back ? key(Qt::Key_Backtab, Qt::ShiftModifier) : key(Qt::Key_Tab));
        return bar->indexOfSelectedButton();
    }
    QString labels() const
    {
        QStringList out;
        for (int i = 0; i < TQStatsControl::kButtonCount; ++i)
            out << bar->button(i).label;
        return out.join(u',');
    }
    void drag(QEvent::Type type, QPoint at = QPoint())
    {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/a.txt"))});
        QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QDragMoveEvent move(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QDragLeaveEvent leave;
        QEvent *const events[] = {&enter, &move, &leave};
        QCoreApplication::sendEvent(bar, events[type == QEvent::DragEnter  ? 0
                                                : type == QEvent::DragMove ? 1
                                                                           : 2]);
    }
    QPoint centreOf(int index) const { return bar->button(index).rect.center().toPoint(); }
    Group requested(const QSignalSpy &spy) const { return spy.last().at(0).value<Group>(); }

    std::unique_ptr<QWidget> parent;
    TQStatsControl *bar = nullptr;
};

TEST_F(StatsControl, CountsFollowTheCatalogue)
{
    EXPECT_EQ(labels(), "3 Total,3 Included,0 Excluded,0 Favorite,0 Running");
    catalogue->excludeApp(app(Mail));
    catalogue->moveApp(app(Safari), Group::User, TQAppManager::kAtEnd, TQAppManager::kAtEnd);
    bar->setCount(99, 5); // no such button
    bar->setCount(99, -1);
    EXPECT_EQ(labels(), "3 Total,2 Included,1 Excluded,1 Favorite,0 Running");
}

TEST_F(StatsControl, LabelsShortenToFitTheWindow)
{
    const QString longLabels = "3 Total,3 Included,0 Excluded,0 Favorite,0 Running";
    bar->setRightMargin(30);
    const int room = 10 + 30; // the bar's x and its right margin
    // Wide: long labels, the capsules side by side in order, one pixel apart, inside the bar.
    EXPECT_EQ(labels(), longLabels);
    for (int i = 1; i < TQStatsControl::kButtonCount; ++i)
        EXPECT_DOUBLE_EQ(bar->button(i).rect.left(), bar->button(i - 1).rect.right() + 1.0);
    const int longWidth = bar->width();
    EXPECT_LE(bar->button(4).rect.right(), longWidth);

    // One pixel short of the long labels' width gives the short ones, then the tiny ones.
    parent->resize(room + longWidth, 40);
    EXPECT_EQ(labels(), longLabels);
    parent->resize(room + longWidth - 1, 40);
    EXPECT_EQ(labels(), "3 T,3 I,0 E,0 F,0 R");
    const int shortWidth = bar->width();
    EXPECT_LT(shortWidth, longWidth);
    parent->resize(room + shortWidth - 1, 40);
    EXPECT_EQ(labels(), "T,I,E,F,R");
    // Narrower still: tiny labels, and the bar takes no more than the room there is.
    parent->resize(room + 20, 40);
    EXPECT_EQ(labels(), "T,I,E,F,R");
    EXPECT_EQ(bar->width(), 20);
    parent->resize(1000, 40);
    EXPECT_EQ(bar->width(), longWidth);
}

TEST_F(StatsControl, TabSkipsButtonsThatAreNotTabbable)
{
    QSignalSpy requests(bar, &TQStatsControl::groupToShowRequested);
    // Following the icon view asks for nothing; a flat group lights its two-level button.
    bar->selectButtonForGroup(Group::Included1D);
    EXPECT_EQ(bar->indexOfSelectedButton(), 1);
    EXPECT_EQ(requests.count(), 0);

    // No favourites: Included -> Running -> (wrap) Included; Total and Excluded are never tabbed.
    EXPECT_EQ(tab(), 4);
    EXPECT_EQ(tab(), 1);
    EXPECT_EQ(tab(true), 4);
    ASSERT_EQ(requests.count(), 3);
    EXPECT_EQ(requested(requests), Group::Running);

    // The first favourite makes the Favorite button reachable.
    catalogue->moveApp(app(Maps), Group::User, TQAppManager::kAtEnd, TQAppManager::kAtEnd);
    EXPECT_EQ(tab(true), 3);
    EXPECT_EQ(tab(), 4);
    // From Total (reached by a click, not by Tab), Tab goes on to the next tabbable button.
    bar->selectButtonAtIndex(0);
    EXPECT_EQ(tab(), 1);

    // Held keys and other keys are left to the icon view.
    EXPECT_FALSE(key(Qt::Key_Tab, Qt::NoModifier, true));
    EXPECT_FALSE(key(Qt::Key_A));
    EXPECT_EQ(bar->indexOfSelectedButton(), 1);
}

TEST_F(StatsControl, ClickSelectsTheButtonReleasedOn)
{
    QSignalSpy requests(bar, &TQStatsControl::groupToShowRequested);
    QTest::mousePress(bar, Qt::LeftButton, {}, centreOf(2));
    EXPECT_EQ(bar->button(2).tempState, TQStatsControl::Pressed);
    EXPECT_EQ(requests.count(), 0);
    QTest::mouseRelease(bar, Qt::LeftButton, {}, centreOf(2));
    EXPECT_EQ(bar->button(2).tempState, TQStatsControl::Normal);
    ASSERT_EQ(requests.count(), 1);
    EXPECT_EQ(requested(requests), Group::Excluded);

    // Released off every button: nothing is chosen.
    QTest::mousePress(bar, Qt::LeftButton, {}, centreOf(0));
    QTest::mouseRelease(bar, Qt::LeftButton, {}, QPoint(bar->width() + 50, 5));
    EXPECT_EQ(requests.count(), 1);
    EXPECT_EQ(bar->indexOfSelectedButton(), 2);
}

TEST_F(StatsControl, DragRestingOnAButtonSwitchesAfterTheSpringDelay)
{
    QSignalSpy requests(bar, &TQStatsControl::groupToShowRequested);
    bar->setSpringLoadingDelay(0.3);
    QElapsedTimer clock;
    clock.start();
    drag(QEvent::DragEnter, centreOf(1));
    EXPECT_EQ(bar->dragButton(), 1);
    // Moving to another button before the delay restarts it there.
    QTest::qWait(150);
    drag(QEvent::DragMove, centreOf(4));
    drag(QEvent::DragMove, centreOf(4) + QPoint(1, 0)); // same button: no restart
    ASSERT_TRUE(kelp::test::waitUntil([&] { return requests.count() > 0; }));
    EXPECT_GE(clock.elapsed(), 150 + 300 - 20);
    EXPECT_EQ(requests.count(), 1);
    EXPECT_EQ(requested(requests), Group::Running);
    EXPECT_EQ(bar->indexOfSelectedButton(), 4);

    // Leaving the bar cancels a pending switch.
    drag(QEvent::DragMove, centreOf(0));
    drag(QEvent::DragLeave);
    QTest::qWait(450);
    EXPECT_EQ(requests.count(), 1);
}
