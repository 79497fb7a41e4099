// The icon grid's geometry: row and column searches, icon size, cells, bunches, gaps, margins and
// hit tests, on small groups whose figures can be worked out by hand.
#include "window/IconGridLayout.h"

#include <gtest/gtest.h>

using namespace kelp;

namespace {

// A space whose usable part (less the 12-point frame) is w x h.
QSizeF space(double w, double h)
{
    return {w + 24, h + 24};
}

struct Grid
{
    IconGridLayout layout;

    Grid(GridShape shape, QSizeF maxSize, int group = 5, GridSettings settings = {})
    {
        layout.setSettings(settings);
        layout.setShape(std::move(shape));
        layout.setGroup(group);
        layout.setMaxViewSize(maxSize);
        layout.calcRowColCount();
    }
    std::pair<std::uint64_t, std::uint64_t> shape() const
    {
        return {layout.rowCount(), layout.colCount()};
    }
    // "b:i" for a filled cell, "-i" for an empty one.
    std::string cell(std::uint64_t r, std::uint64_t c) const
    {
        const auto &e = layout.cellAt(r, c);
        return e.filled ? std::to_string(e.bunch) + ":" + std::to_string(e.index)
                        : "-" + std::to_string(e.index);
    }
};

GridSettings orientation(int o, int readingOrder = 1)
{
    GridSettings s;
    s.groupOrientation = o;
    s.iconReadingOrder = readingOrder;
    return s;
}

using Shape = std::pair<std::uint64_t, std::uint64_t>;

} // namespace

TEST(IconGridLayout, FlatGroupsTakeTheShapeClosestToTheSpace)
{
    // Ten entries where width / height = 1.5: 2 rows give 5/2 = 2.5, 3 rows give 4/3; 2.5 is not
    // closer to 1.5, so 3 x 4.
    EXPECT_EQ(Grid(GridShape::flatList(10), space(600, 400)).shape(), Shape(3, 4));
    // Where the last step overshoots by more than the one before falls short, the one before
    // wins: 10 entries, ratio 2.4 -> 1 row gives 10, 2 rows 2.5 (closer than 4/3).
    EXPECT_EQ(Grid(GridShape::flatList(10), space(720, 300)).shape(), Shape(2, 5));
    // The running group fills the width first: 68-point cells, 300 points wide -> 4 columns.
    EXPECT_EQ(Grid(GridShape::flatList(10), space(300, 400), 0).shape(), Shape(3, 4));
    EXPECT_EQ(Grid(GridShape::flatList(10), space(2000, 400), 0).shape(), Shape(1, 10));
}

TEST(IconGridLayout, BunchedSearchAndTransposition)
{
    // Bunches of 3 and 5, 68-point cells, no spacing. Rows 5 (ratio 0.5), then 3 (238/204), then
    // 2 (374/136). At 1.5 the search stops at 3 rows; the 5 fills 2 columns.
    Grid columns(GridShape::bunches({3, 5}), space(600, 400));
    EXPECT_EQ(columns.shape(), Shape(3, 3));
    // As rows (orientation 1) the ratio is height / width and the result is transposed: one row
    // per bunch.
    Grid rows(GridShape::bunches({3, 5}), space(600, 400), 5, orientation(1));
    EXPECT_EQ(rows.shape(), Shape(2, 5));

    // A tall space keeps 5 rows (exact aspect); minimizeEmptyCells accepts 3 x 3 (1 empty cell
    // instead of 2) although its aspect is worse.
    EXPECT_EQ(Grid(GridShape::bunches({3, 5}), space(300, 600)).shape(), Shape(5, 2));
    GridSettings fewerEmpty;
    fewerEmpty.minimizeEmptyCells = true;
    EXPECT_EQ(Grid(GridShape::bunches({3, 5}), space(300, 600), 5, fewerEmpty).shape(),
              Shape(3, 3));

    // Bunches of one: no search; one column per bunch, or one row per bunch as rows.
    EXPECT_EQ(Grid(GridShape::bunches({1, 1, 1}), space(600, 400)).shape(), Shape(1, 3));
    EXPECT_EQ(Grid(GridShape::bunches({1, 1, 1}), space(600, 400), 5, orientation(1)).shape(),
              Shape(3, 1));
    // An empty bunch counts as one entry: it still takes a column.
    EXPECT_EQ(Grid(GridShape::bunches({4, 0}), space(600, 400)).shape(),
              Grid(GridShape::bunches({4, 1}), space(600, 400)).shape());
}

TEST(IconGridLayout, SettingsAreClamped)
{
    GridSettings s;
    s.maximumIconSize = 200;
    s.iconPadding = 1;
    s.iconSpacing = -3;
    GridSettings c = s.clamped();
    EXPECT_EQ(c.maximumIconSize, 128);
    EXPECT_EQ(c.iconPadding, 2);
    EXPECT_EQ(c.iconSpacing, 0);
    s.iconPadding = 20;
    s.iconSpacing = 20;
    s.maximumIconSize = -5;
    c = s.clamped();
    EXPECT_EQ(c.iconPadding, 8);
    EXPECT_EQ(c.iconSpacing, 8);
    EXPECT_EQ(c.maximumIconSize, 1);
}

TEST(IconGridLayout, IconShrinksUntilTheGridFitsButNotBelowOnePoint)
{
    // 10 entries in a square space of 176: 4 rows x 3 columns; 4 x cell + 24 <= 200 gives
    // 44-point cells, 40-point icons.
    Grid fits(GridShape::flatList(10), QSizeF(200, 200));
    EXPECT_EQ(fits.shape(), Shape(4, 3));
    EXPECT_EQ(fits.layout.iconWidth(), 40);
    EXPECT_EQ(fits.layout.cellWidth(), 44);
    EXPECT_LE(fits.layout.viewSize().height(), 200);

    Grid tiny(GridShape::flatList(10), QSizeF(30, 30));
    EXPECT_EQ(tiny.layout.iconWidth(), 1);
    EXPECT_EQ(tiny.layout.cellWidth(), 5);

    // A space not known yet leaves the sizes alone.
    Grid unknown(GridShape::flatList(10), QSizeF(0, 0));
    EXPECT_EQ(unknown.layout.iconWidth(), 0);
}

TEST(IconGridLayout, ViewSizeAndItsInverse)
{
    GridSettings s;
    s.iconSpacing = 4;
    Grid g(GridShape::bunches({3, 5}), space(600, 400), 5, s);
    ASSERT_EQ(g.shape(), Shape(3, 3));
    const int cw = g.layout.cellWidth();
    // Columns: 3 cells, one bunch gap (cell / 2) replacing one spacing, one spacing inside the
    // second bunch.
    EXPECT_EQ(g.layout.viewSize(), QSizeF(3 * cw + 24 + 1 * 4 + cw / 2, 3 * cw + 24 + 2 * 4));
    const QSizeF v = g.layout.viewSizeForCellSize(QSizeF(50, 50), 3, 3);
    EXPECT_EQ(g.layout.cellSizeForViewSize(v, 3, 3), QSizeF(50, 50));

    Grid rows(GridShape::bunches({3, 5}), space(600, 400), 5, [] {
        GridSettings r = orientation(1);
        r.iconSpacing = 4;
        return r;
    }());
    const QSizeF vr = rows.layout.viewSizeForCellSize(QSizeF(50, 50), 2, 5);
    EXPECT_EQ(vr, QSizeF(5 * 50 + 24 + 4 * 4, 2 * 50 + 24 + 0 * 4 + 25));
    EXPECT_EQ(rows.layout.cellSizeForViewSize(vr, 2, 5), QSizeF(50, 50));

    // No bunches, or nonsense: no inverse; a grid without cells has no size of its own.
    Grid flat(GridShape::flatList(4), space(600, 400), 5, orientation(0));
    EXPECT_EQ(flat.layout.cellSizeForViewSize(QSizeF(300, 300), 2, 2), QSizeF());
    EXPECT_EQ(g.layout.cellSizeForViewSize(QSizeF(300, 300), 0, 2), QSizeF());
    EXPECT_EQ(g.layout.viewSizeForCellSize(QSizeF(50, 50), 0, 3), QSizeF());
}

TEST(IconGridLayout, BunchesAsColumnsCellsGapsAndReading)
{
    Grid g(GridShape::bunches({3, 5}), space(600, 400));
    ASSERT_EQ(g.shape(), Shape(3, 3));
    const IconGridLayout &l = g.layout;
    ASSERT_EQ(l.cellWidth(), 68);
    EXPECT_EQ(l.viewSize(), QSizeF(262, 228));
    // Bunch 0 in column 0, bunch 1 in columns 1-2 after a 34-point gap; row 0 at the top.
    EXPECT_EQ(l.cellAt(0, 0).rect, QRectF(12, 12, 68, 68));
    EXPECT_EQ(l.cellAt(0, 1).rect, QRectF(114, 12, 68, 68));
    EXPECT_EQ(l.cellAt(2, 2).rect, QRectF(182, 148, 68, 68));
    EXPECT_EQ(l.bunchRects(), (std::vector<QRectF>{{12, 0, 68, 228}, {114, 0, 136, 228}}));
    EXPECT_EQ(l.bunchSpacingRects(),
              (std::vector<QRectF>{{0, 0, 12, 228}, {80, 0, 34, 228}, {250, 0, 12, 228}}));
    EXPECT_EQ(l.marginRects()[0], QRectF(0, 0, 262, 12));
    EXPECT_EQ(l.marginRects()[2], QRectF(0, 216, 262, 12));
    // Across the rows within each bunch (reading order 1).
    EXPECT_EQ(g.cell(0, 0), "0:0");
    EXPECT_EQ(g.cell(2, 0), "0:2");
    EXPECT_EQ(g.cell(0, 1), "1:0");
    EXPECT_EQ(g.cell(0, 2), "1:1");
    EXPECT_EQ(g.cell(1, 1), "1:2");
    EXPECT_EQ(g.cell(2, 1), "1:4");
    EXPECT_EQ(g.cell(2, 2), "-5");
    EXPECT_EQ(l.coordsOfEntry(1, 4), Coords::cell(2, 1));
}

TEST(IconGridLayout, ReadingOrders)
{
    // Order 0 with bunches as columns reads down: a bunch of 5 in 2 rows.
    Grid down(GridShape::bunches({5}), space(600, 400), 5, orientation(2, 0));
    down.layout.forceRowColCountForRows(2, 0);
    ASSERT_EQ(down.shape(), Shape(2, 3));
    EXPECT_EQ(down.cell(0, 0), "0:0");
    EXPECT_EQ(down.cell(1, 0), "0:1");
    EXPECT_EQ(down.cell(0, 1), "0:2");
    EXPECT_EQ(down.cell(1, 1), "0:3");
    EXPECT_EQ(down.cell(0, 2), "0:4");
    EXPECT_EQ(down.cell(1, 2), "-5");

    // Bunches as rows: order 0 (or 1) reads across, order 2 down the bunch's band.
    Grid across(GridShape::bunches({3, 5}), space(600, 400), 5, orientation(1, 0));
    ASSERT_EQ(across.shape(), Shape(2, 5));
    EXPECT_EQ(across.cell(0, 2), "0:2");
    EXPECT_EQ(across.cell(0, 3), "-3");
    EXPECT_EQ(across.cell(1, 4), "1:4");
    Grid band(GridShape::bunches({6}), space(600, 400), 5, orientation(1, 2));
    band.layout.forceRowColCountForRows(0, 3); // 3 columns -> a band of 2 rows
    ASSERT_EQ(band.shape(), Shape(2, 3));
    EXPECT_EQ(band.cell(0, 0), "0:0");
    EXPECT_EQ(band.cell(1, 0), "0:1");
    EXPECT_EQ(band.cell(0, 1), "0:2");

    // Flat: 1 across the rows, anything else down the columns.
    Grid flatAcross(GridShape::flatList(5), space(600, 400), 6, orientation(2, 1));
    ASSERT_EQ(flatAcross.shape(), Shape(2, 3));
    EXPECT_EQ(flatAcross.cell(0, 2), "0:2");
    EXPECT_EQ(flatAcross.cell(1, 0), "0:3");
    EXPECT_EQ(flatAcross.cell(1, 2), "-5");
    Grid flatDown(GridShape::flatList(5), space(600, 400), 6, orientation(2, 2));
    EXPECT_EQ(flatDown.cell(1, 0), "0:1");
    EXPECT_EQ(flatDown.cell(0, 2), "0:4");
}

TEST(IconGridLayout, BunchesAsRowsStackFromTheTop)
{
    Grid g(GridShape::bunches({3, 5}), space(600, 400), 5, orientation(1));
    ASSERT_EQ(g.shape(), Shape(2, 5));
    const IconGridLayout &l = g.layout;
    EXPECT_EQ(l.viewSize(), QSizeF(364, 194));
    EXPECT_EQ(l.cellAt(0, 0).rect, QRectF(12, 12, 68, 68));
    EXPECT_EQ(l.cellAt(1, 4).rect, QRectF(284, 114, 68, 68));
    EXPECT_EQ(l.bunchRects(), (std::vector<QRectF>{{0, 12, 364, 68}, {0, 114, 364, 68}}));
    EXPECT_EQ(l.bunchSpacingRects(),
              (std::vector<QRectF>{{0, 0, 364, 12}, {0, 80, 364, 34}, {0, 182, 364, 12}}));
}

TEST(IconGridLayout, HitTestsAtCellEdgesGapsAndMargins)
{
    GridSettings s;
    s.iconSpacing = 4;
    Grid g(GridShape::bunches({3, 5}), space(600, 400), 5, s);
    const IconGridLayout &l = g.layout;
    const QRectF c = l.cellAt(1, 1).rect;

    // The fast search: a cell's last pixel belongs to it, the next one does not (spacing).
    EXPECT_EQ(l.coordsOfPoint2(QPointF(c.x() + c.width() - 1, c.y())), Coords::cell(1, 1));
    EXPECT_EQ(l.coordsOfPoint2(QPointF(c.x() + c.width(), c.y())), Coords::none());
    EXPECT_EQ(l.coordsOfPoint2(QPointF(c.x(), c.y() + c.height() - 1)), Coords::cell(1, 1));
    EXPECT_EQ(l.coordsOfPoint2(QPointF(c.x(), c.y() + c.height())), Coords::none());
    EXPECT_EQ(l.coordsOfPoint2(QPointF(-1, 20)), Coords::none());

    // The full test: cell, bunch without a cell, gap, frame.
    const Coords cell = l.coordsOfPoint(c.center());
    EXPECT_EQ(cell.row, 1u);
    EXPECT_EQ(cell.col, 1u);
    EXPECT_EQ(cell.bunch, 1u);
    EXPECT_EQ(cell.margin, kNotFound);

    const Coords between = l.coordsOfPoint(QPointF(c.x() + c.width() + 1, c.center().y()));
    EXPECT_FALSE(between.hasCell());
    EXPECT_EQ(between.bunch, 1u);

    const QRectF gap = l.bunchSpacingRects()[1];
    const Coords inGap = l.coordsOfPoint(gap.center());
    EXPECT_EQ(inGap.spacer, 1u);
    EXPECT_EQ(inGap.bunch, kNotFound);
    EXPECT_EQ(inGap.margin, kNotFound);

    const Coords corner = l.coordsOfPoint(QPointF(3, 3));
    EXPECT_EQ(corner.spacer, 0u);
    EXPECT_EQ(corner.margin, 0u) << "top comes before left";
    const QSizeF v = l.viewSize();
    const Coords right = l.coordsOfPoint(QPointF(v.width() - 3, v.height() / 2));
    EXPECT_EQ(right.spacer, 2u);
    EXPECT_EQ(right.margin, 1u);
    const Coords topOfBunch = l.coordsOfPoint(QPointF(c.center().x(), 5));
    EXPECT_EQ(topOfBunch.bunch, 1u);
    EXPECT_EQ(topOfBunch.margin, 0u);

    EXPECT_TRUE(l.coordsOfPoint(QPointF(v.width(), 5)).isNone());

    // Both searches agree on every cell centre, in both orientations.
    for (int o : {1, 2}) {
        Grid h(GridShape::bunches({3, 7, 2}), space(500, 500), 5, orientation(o));
        for (std::uint64_t r = 0; r < h.layout.rowCount(); ++r)
            for (std::uint64_t k = 0; k < h.layout.colCount(); ++k) {
                const QPointF p = h.layout.cellAt(r, k).rect.center();
                EXPECT_EQ(h.layout.coordsOfPoint2(p), Coords::cell(r, k));
                EXPECT_TRUE(h.layout.coordsOfPoint(p).sameCell(Coords::cell(r, k)));
            }
    }
}

TEST(IconGridLayout, EmptyAndHugeGroups)
{
    Grid filled(GridShape::flatList(6), space(600, 400));
    filled.layout.setShape(GridShape::flatList(0));
    filled.layout.calcRowColCount();
    EXPECT_EQ(filled.shape(), Shape(0, 0));
    EXPECT_FALSE(filled.layout.cellAt(0, 0).filled);
    EXPECT_EQ(filled.layout.cellAt(0, 0).rect, QRectF());
    EXPECT_TRUE(filled.layout.coordsOfPoint(QPointF(20, 20)).isNone());
    EXPECT_TRUE(filled.layout.coordsOfPoint2(QPointF(20, 20)).isNone());
    EXPECT_TRUE(filled.layout.bunchRects().empty());

    Grid huge(GridShape::flatList(70000), QSizeF(1000, 800), 6);
    EXPECT_EQ(huge.shape(), Shape(256, 256));
    EXPECT_EQ(huge.layout.iconWidth(), 1);
    EXPECT_EQ(huge.cell(255, 255), "0:65535");
    const QPointF last = huge.layout.cellAt(255, 255).rect.center();
    EXPECT_EQ(huge.layout.coordsOfPoint2(last), Coords::cell(255, 255));

    Grid running(GridShape::flatList(70000), QSizeF(1000, 800), 0);
    EXPECT_LE(running.layout.rowCount(), 256u);
    EXPECT_LE(running.layout.colCount(), 256u);

    // Three hundred one-entry bunches: the table keeps the first 256.
    Grid bunches(GridShape::bunches(std::vector<std::uint64_t>(300, 1)), QSizeF(1000, 800));
    EXPECT_EQ(bunches.shape(), Shape(1, 256));
    EXPECT_EQ(bunches.layout.bunchCount(), 256u);
    EXPECT_EQ(bunches.cell(0, 255), "255:0");
}

TEST(IconGridLayout, ForcedRowCountsFollowTheBunches)
{
    Grid g(GridShape::bunches({3, 5}), space(600, 400));
    g.layout.forceRowColCountForRows(1, 0);
    EXPECT_EQ(g.shape(), Shape(1, 8));
    g.layout.forceRowColCountForRows(4, 0);
    EXPECT_EQ(g.shape(), Shape(4, 3)); // 1 + 2 columns
    EXPECT_EQ(g.cell(3, 0), "-3");
    EXPECT_EQ(g.cell(2, 1), "1:4");
    EXPECT_EQ(g.cell(3, 1), "-6");

    Grid r(GridShape::bunches({3, 5}), space(600, 400), 5, orientation(1));
    r.layout.forceRowColCountForRows(0, 2);
    EXPECT_EQ(r.shape(), Shape(5, 2)); // 2 + 3 rows
    EXPECT_EQ(r.layout.bunchRects().size(), 2u);
    EXPECT_EQ(r.layout.bunchRects()[1].height(), 3 * r.layout.cellHeight());
}
