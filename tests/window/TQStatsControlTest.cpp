// The group selector bar over a real catalogue: which button lights for which group, label fitting
// to the room in its window, Tab order (favourites only once there are some), clicks and the
// spring-loaded switch while dragging.
#include "window/TQStatsControl.h"

#include "catalogue/CatalogueFixture.h"

#include <QDragEnterEvent>
#include <QFontMetricsF>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>

#include <cmath>

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
    QStringList labels() const
    {
        QStringList out;
        for (int i = 0; i < TQStatsControl::kButtonCount; ++i)
            out << bar->button(i).label;
        return out;
    }
    // The width the bar needs with the given labels, as its geometry rule lays them out.
    int widthFor(const QStringList &texts) const
    {
        QFontMetricsF metrics(bar->font());
        const double h = bar->height() - 2.0;
        double w = 2.0 + h; // the round ends
        for (const QString &t : texts)
            w += std::ceil(metrics.horizontalAdvance(t));
        return int(std::lround(w + (texts.size() - 1) * (h + 1.0)));
    }
    void drag(QEvent::Type type, QPoint at)
    {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/a.txt"))});
        if (type == QEvent::DragEnter) {
            QDragEnterEvent e(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QCoreApplication::sendEvent(bar, &e);
        } else if (type == QEvent::DragMove) {
            QDragMoveEvent e(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QCoreApplication::sendEvent(bar, &e);
        } else {
            QDragLeaveEvent e;
            QCoreApplication::sendEvent(bar, &e);
        }
    }
    QPoint centreOf(int index) const { return bar->button(index).rect.center().toPoint(); }

    std::unique_ptr<QWidget> parent;
    TQStatsControl *bar = nullptr;
};

TEST_F(StatsControl, EveryGroupLightsItsButton)
{
    const std::pair<Group, int> expected[] = {
        {Group::Running, 4},    {Group::Included, 1}, {Group::Included1D, 1}, {Group::Excluded, 2},
        {Group::Excluded1D, 2}, {Group::All, 0},      {Group::All1D, 0},      {Group::Missing, 2},
        {Group::User, 3},       {Group::User1D, 3},   {Group::None, 2}};
    for (const auto &[group, index] : expected) {
        bar->selectButtonForGroup(group);
        EXPECT_EQ(bar->indexOfSelectedButton(), index) << "group " << storedGroup(group);
    }
    // Following the icon view asks for nothing.
    QSignalSpy requests(bar, &TQStatsControl::groupToShowRequested);
    bar->selectButtonForGroup(Group::Missing);
    EXPECT_EQ(requests.count(), 0);
}

TEST_F(StatsControl, CountsFollowTheCatalogue)
{
    EXPECT_EQ(labels(),
              QStringList({"3 Total", "3 Included", "0 Excluded", "0 Favorite", "0 Running"}));
    catalogue->excludeApp(app(Mail));
    catalogue->moveApp(app(Safari), Group::User, TQAppManager::kAtEnd, TQAppManager::kAtEnd);
    EXPECT_EQ(labels(),
              QStringList({"3 Total", "2 Included", "1 Excluded", "1 Favorite", "0 Running"}));
    bar->setCount(99, 5); // no such button
    bar->setCount(99, -1);
    EXPECT_EQ(labels().join(u','), "3 Total,2 Included,1 Excluded,1 Favorite,0 Running");
}

TEST_F(StatsControl, LabelsShortenToFitTheWindow)
{
    const QStringList longLabels{"3 Total", "3 Included", "0 Excluded", "0 Favorite", "0 Running"};
    const QStringList shortLabels{"3 T", "3 I", "0 E", "0 F", "0 R"};
    const QStringList tinyLabels{"T", "I", "E", "F", "R"};
    bar->setRightMargin(30);
    const int room = 10 + 30; // the bar's x and its right margin

    parent->resize(room + widthFor(longLabels), 40);
    EXPECT_EQ(labels(), longLabels);
    EXPECT_EQ(bar->width(), widthFor(longLabels));

    parent->resize(room + widthFor(longLabels) - 1, 40);
    EXPECT_EQ(labels(), shortLabels);
    EXPECT_EQ(bar->width(), widthFor(shortLabels));

    parent->resize(room + widthFor(shortLabels) - 1, 40);
    EXPECT_EQ(labels(), tinyLabels);

    // Narrower still: tiny labels, and the bar takes no more than the room there is.
    parent->resize(room + 20, 40);
    EXPECT_EQ(labels(), tinyLabels);
    EXPECT_EQ(bar->width(), 20);

    // Wide again, and the capsules sit side by side in order, one pixel apart.
    parent->resize(1000, 40);
    EXPECT_EQ(labels(), longLabels);
    for (int i = 1; i < TQStatsControl::kButtonCount; ++i)
        EXPECT_DOUBLE_EQ(bar->button(i).rect.left(), bar->button(i - 1).rect.right() + 1.0);
}

TEST_F(StatsControl, TabSkipsButtonsThatAreNotTabbable)
{
    QSignalSpy requests(bar, &TQStatsControl::groupToShowRequested);
    bar->selectButtonForGroup(Group::Included);

    // No favourites: Included -> Running -> (wrap) Included; Total and Excluded are never tabbed.
    EXPECT_TRUE(key(Qt::Key_Tab));
    EXPECT_EQ(bar->indexOfSelectedButton(), 4);
    EXPECT_TRUE(key(Qt::Key_Tab));
    EXPECT_EQ(bar->indexOfSelectedButton(), 1);
    EXPECT_TRUE(key(Qt::Key_Backtab, Qt::ShiftModifier));
    EXPECT_EQ(bar->indexOfSelectedButton(), 4);
    ASSERT_EQ(requests.count(), 3);
    EXPECT_EQ(requests.last().at(0).value<Group>(), Group::Running);

    // The first favourite makes the Favorite button reachable.
    catalogue->moveApp(app(Maps), Group::User, TQAppManager::kAtEnd, TQAppManager::kAtEnd);
    EXPECT_TRUE(key(Qt::Key_Backtab, Qt::ShiftModifier));
    EXPECT_EQ(bar->indexOfSelectedButton(), 3);
    EXPECT_TRUE(key(Qt::Key_Tab));
    EXPECT_EQ(bar->indexOfSelectedButton(), 4);

    // From Total (reached by a click, not by Tab), Tab goes on to the next tabbable button.
    bar->selectButtonAtIndex(0);
    EXPECT_TRUE(key(Qt::Key_Tab));
    EXPECT_EQ(bar->indexOfSelectedButton(), 1);

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
    EXPECT_EQ(bar->indexOfSelectedButton(), 2);
    ASSERT_EQ(requests.count(), 1);
    EXPECT_EQ(requests.at(0).at(0).value<Group>(), Group::Excluded);

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
    EXPECT_EQ(requests.at(0).at(0).value<Group>(), Group::Running);
    EXPECT_EQ(bar->indexOfSelectedButton(), 4);

    // Leaving the bar cancels a pending switch.
    drag(QEvent::DragMove, centreOf(0));
    drag(QEvent::DragLeave, QPoint());
    QTest::qWait(450);
    EXPECT_EQ(requests.count(), 1);
}
