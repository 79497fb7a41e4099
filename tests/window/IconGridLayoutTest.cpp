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

GridSettings orientation(int o, int readingOrder = 1, int spacing = 0)
{
    GridSettings s;
    s.groupOrientation = o;
    s.iconReadingOrder = readingOrder;
    s.iconSpacing = spacing;
    return s;
}

using Shape = std::pair<std::uint64_t, std::uint64_t>;

GridShape flat(std::uint64_t count)
{
    return GridShape::flatList(count);
}

GridShape bunches(std::vector<std::uint64_t> sizes)
{
    return GridShape::bunches(std::move(sizes));
}

struct Grid
{
    IconGridLayout layout;

    Grid(GridShape shape, QSizeF maxSize, int group = 5, GridSettings s = {})
    {
        layout.setSettings(s);
        layout.setShape(std::move(shape));
        layout.setGroup(group);
        layout.setMaxViewSize(maxSize);
        layout.calcRowColCount();
    }
    Shape shape() const { return {layout.rowCount(), layout.colCount()}; }
    // Every cell row by row: "bunch:index" when filled, "-index" when empty; rows end with " /".
    std::string cells() const
    {
        std::string out;
        for (std::uint64_t r = 0; r < layout.rowCount(); ++r) {
            for (std::uint64_t c = 0; c < layout.colCount(); ++c) {
                const auto &e = layout.cellAt(r, c);
                out += e.filled ? std::to_string(e.bunch) + ":" + std::to_string(e.index)
                                : "-" + std::to_string(e.index);
                out += c + 1 < layout.colCount() ? " " : " /";
            }
            if (r + 1 < layout.rowCount()) out += " ";
        }
        return out;
    }
};

} // namespace

TEST(IconGridLayout, ShapeClosestToTheSpace)
{
    struct Case
    {
        const char *name;
        GridShape shape;
        double width, height; // of the usable space
        int group, orientation;
        std::uint64_t rows, cols;
    } cases[] = {
        // Ratio 1.5: 2 rows give 5/2, 3 rows 4/3; 2.5 is not closer, so 3 x 4.
        {"flat, the last step is closer", flat(10), 600, 400, 5, 2, 3, 4},
        // Ratio 2.4: 1 row gives 10, 2 rows 2.5, closer than the 4/3 of 3 rows.
        {"flat, the step before is closer", flat(10), 720, 300, 5, 2, 2, 5},
        // The running group fills the width first: 68-point cells, 300 points -> 4 columns.
        {"running, fills the width", flat(10), 300, 400, 0, 2, 3, 4},
        {"running, one row when wide", flat(10), 2000, 400, 0, 2, 1, 10},
        // Rows 5 (ratio 0.5), 3 (238/204), 2 (374/136): at 1.5 the search stops at 3 rows.
        {"bunches as columns", bunches({3, 5}), 600, 400, 5, 2, 3, 3},
        // As rows the ratio is height / width and the result is transposed: a row per bunch.
        {"bunches as rows", bunches({3, 5}), 600, 400, 5, 1, 2, 5},
        {"tall space, exact aspect", bunches({3, 5}), 300, 600, 5, 2, 5, 2},
        // Bunches of one: no search.
        {"bunches of one as columns", bunches({1, 1, 1}), 600, 400, 5, 2, 1, 3},
        {"bunches of one as rows", bunches({1, 1, 1}), 600, 400, 5, 1, 3, 1},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Grid g(c.shape, space(c.width, c.height), c.group, orientation(c.orientation));
        EXPECT_EQ(g.shape(), Shape(c.rows, c.cols));
    }
    // One empty cell instead of two, although the aspect is worse than 5 x 2.
    GridSettings fewerEmpty;
    fewerEmpty.minimizeEmptyCells = true;
    EXPECT_EQ(Grid(bunches({3, 5}), space(300, 600), 5, fewerEmpty).shape(), Shape(3, 3));
    // An empty bunch counts as one entry: it still takes a column.
    EXPECT_EQ(Grid(bunches({4, 0}), space(600, 400)).shape(),
              Grid(bunches({4, 1}), space(600, 400)).shape());
}

TEST(IconGridLayout, IconShrinksToFitWithinItsLimits)
{
    // 10 entries in a square space of 176: 4 rows x 3 columns; 4 x cell + 24 <= 200 gives
    // 44-point cells, 40-point icons.
    Grid fits(flat(10), QSizeF(200, 200));
    EXPECT_EQ(fits.shape(), Shape(4, 3));
    EXPECT_EQ(fits.layout.iconWidth(), 40);
    EXPECT_EQ(fits.layout.cellWidth(), 44);
    EXPECT_LE(fits.layout.viewSize().height(), 200);

    Grid tiny(flat(10), QSizeF(30, 30));
    EXPECT_EQ(tiny.layout.iconWidth(), 1);
    EXPECT_EQ(tiny.layout.cellWidth(), 5);

    GridSettings huge;
    huge.maximumIconSize = 200;
    EXPECT_EQ(Grid(flat(2), QSizeF(2000, 2000), 5, huge).layout.iconWidth(), 128);

    // A space not known yet leaves the sizes alone.
    EXPECT_EQ(Grid(flat(10), QSizeF(0, 0)).layout.iconWidth(), 0);
}

TEST(IconGridLayout, ViewSizeAndItsInverse)
{
    // 3 x 3 cells with 4-point spacing: one bunch gap (half a cell) takes the place of a spacing.
    Grid g(bunches({3, 5}), space(600, 400), 5, orientation(2, 1, 4));
    const int cw = g.layout.cellWidth();
    EXPECT_EQ(g.layout.viewSize(), QSizeF(3 * cw + 24 + 1 * 4 + cw / 2, 3 * cw + 24 + 2 * 4));
    for (int o : {1, 2}) {
        SCOPED_TRACE(o == 1 ? "bunches as rows" : "bunches as columns");
        Grid h(bunches({3, 5}), space(600, 400), 5, orientation(o, 1, 4));
        const QSizeF v = h.layout.viewSizeForCellSize(QSizeF(50, 50), 2, 5);
        EXPECT_EQ(h.layout.cellSizeForViewSize(v, 2, 5), QSizeF(50, 50));
    }
    // No bunches, or nonsense: no inverse.
    EXPECT_EQ(Grid(flat(4), space(600, 400), 5, orientation(0))
                  .layout.cellSizeForViewSize(QSizeF(300, 300), 2, 2),
              QSizeF());
    EXPECT_EQ(g.layout.cellSizeForViewSize(QSizeF(300, 300), 0, 2), QSizeF());
    EXPECT_EQ(g.layout.viewSizeForCellSize(QSizeF(50, 50), 0, 3), QSizeF());
}

TEST(IconGridLayout, BunchRectanglesGapsAndMargins)
{
    // 68-point cells. As columns: bunch 0 in column 0, bunch 1 in columns 1-2 after a 34-point
    // gap, row 0 at the top; as rows: bands stacked from the top.
    Grid cols(bunches({3, 5}), space(600, 400));
    const IconGridLayout &c = cols.layout;
    EXPECT_EQ(c.viewSize(), QSizeF(262, 228));
    EXPECT_EQ(c.cellAt(2, 2).rect, QRectF(182, 148, 68, 68));
    EXPECT_EQ(c.bunchRects(), (std::vector<QRectF>{{12, 0, 68, 228}, {114, 0, 136, 228}}));
    EXPECT_EQ(c.bunchSpacingRects(),
              (std::vector<QRectF>{{0, 0, 12, 228}, {80, 0, 34, 228}, {250, 0, 12, 228}}));
    EXPECT_EQ(c.marginRects()[2], QRectF(0, 216, 262, 12));
    Grid rows(bunches({3, 5}), space(600, 400), 5, orientation(1));
    const IconGridLayout &r = rows.layout;
    EXPECT_EQ(r.cellAt(1, 4).rect, QRectF(284, 114, 68, 68));
    EXPECT_EQ(r.bunchSpacingRects(),
              (std::vector<QRectF>{{0, 0, 364, 12}, {0, 80, 364, 34}, {0, 182, 364, 12}}));
}

TEST(IconGridLayout, ReadingOrdersAndForcedCounts)
{
    struct Case
    {
        const char *name;
        GridShape shape;
        int group, orientation, readingOrder;
        std::uint64_t forcedRows, forcedCols; // 0, 0: none forced
        const char *cells;
    } cases[] = {
        {"bunches as columns read across", bunches({3, 5}), 5, 2, 1, 0, 0,
         "0:0 1:0 1:1 / 0:1 1:2 1:3 / 0:2 1:4 -5 /"},
        {"bunches as columns, order 0 reads down", bunches({5}), 5, 2, 0, 2, 0,
         "0:0 0:2 0:4 / 0:1 0:3 -5 /"},
        {"bunches as rows, order 0 reads across", bunches({3, 5}), 5, 1, 0, 0, 0,
         "0:0 0:1 0:2 -3 -4 / 1:0 1:1 1:2 1:3 1:4 /"},
        {"bunches as rows, order 2 reads down the band", bunches({6}), 5, 1, 2, 0, 3,
         "0:0 0:2 0:4 / 0:1 0:3 0:5 /"},
        {"flat, order 1 reads across", flat(5), 6, 2, 1, 0, 0, "0:0 0:1 0:2 / 0:3 0:4 -5 /"},
        {"flat, order 2 reads down", flat(5), 6, 2, 2, 0, 0, "0:0 0:2 0:4 / 0:1 0:3 -5 /"},
        {"one forced row", bunches({3, 5}), 5, 2, 1, 1, 0, "0:0 0:1 0:2 1:0 1:1 1:2 1:3 1:4 /"},
        {"four forced rows: 1 + 2 columns", bunches({3, 5}), 5, 2, 1, 4, 0,
         "0:0 1:0 1:1 / 0:1 1:2 1:3 / 0:2 1:4 -5 / -3 -6 -7 /"},
        {"two forced columns: 2 + 3 rows", bunches({3, 5}), 5, 1, 1, 0, 2,
         "0:0 0:1 / 0:2 -3 / 1:0 1:1 / 1:2 1:3 / 1:4 -5 /"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Grid g(c.shape, space(600, 400), c.group, orientation(c.orientation, c.readingOrder));
        if (c.forcedRows != 0 || c.forcedCols != 0)
            g.layout.forceRowColCountForRows(c.forcedRows, c.forcedCols);
        EXPECT_EQ(g.cells(), c.cells);
    }
}

TEST(IconGridLayout, HitTestsAtCellEdgesGapsAndMargins)
{
    Grid g(bunches({3, 5}), space(600, 400), 5, orientation(2, 1, 4));
    const IconGridLayout &l = g.layout;
    const QRectF c = l.cellAt(1, 1).rect;

    // The fast search: a cell's last pixel belongs to it, the next one does not (spacing).
    EXPECT_EQ(l.coordsOfPoint2(QPointF(c.right() - 1, c.y())), Coords::cell(1, 1));
    EXPECT_EQ(l.coordsOfPoint2(QPointF(c.right(), c.y())), Coords::none());
    EXPECT_EQ(l.coordsOfPoint2(QPointF(c.x(), c.bottom() - 1)), Coords::cell(1, 1));
    EXPECT_EQ(l.coordsOfPoint2(QPointF(c.x(), c.bottom())), Coords::none());
    EXPECT_EQ(l.coordsOfPoint2(QPointF(-1, 20)), Coords::none());

    // The full test: cell, bunch without a cell, gap, frame.
    EXPECT_EQ(l.coordsOfPoint(c.center()), (Coords{1, 1, 1}));
    EXPECT_EQ(l.coordsOfPoint(QPointF(c.right() + 1, c.center().y())), (Coords{.bunch = 1}));
    EXPECT_EQ(l.coordsOfPoint(l.bunchSpacingRects()[1].center()), (Coords{.spacer = 1}));
    EXPECT_EQ(l.coordsOfPoint(QPointF(3, 3)), (Coords{.spacer = 0, .margin = 0}))
        << "top comes before left";
    const QSizeF v = l.viewSize();
    EXPECT_EQ(l.coordsOfPoint(QPointF(v.width() - 3, v.height() / 2)),
              (Coords{.spacer = 2, .margin = 1}));
    EXPECT_EQ(l.coordsOfPoint(QPointF(c.center().x(), 5)), (Coords{.bunch = 1, .margin = 0}));
    EXPECT_TRUE(l.coordsOfPoint(QPointF(v.width(), 5)).isNone());

    // Both searches agree on every cell centre, in both orientations.
    for (int o : {1, 2}) {
        Grid h(bunches({3, 7, 2}), space(500, 500), 5, orientation(o));
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
    // Emptied: no cells, rectangles or hits.
    Grid emptied(flat(6), space(600, 400));
    emptied.layout.setShape(flat(0));
    emptied.layout.calcRowColCount();
    EXPECT_EQ(emptied.shape(), Shape(0, 0));
    EXPECT_EQ(emptied.layout.cellAt(0, 0).rect, QRectF());
    EXPECT_TRUE(emptied.layout.coordsOfPoint(QPointF(20, 20)).isNone());
    EXPECT_TRUE(emptied.layout.coordsOfPoint2(QPointF(20, 20)).isNone());

    Grid huge(flat(70000), QSizeF(1000, 800), 6);
    EXPECT_EQ(huge.shape(), Shape(256, 256));
    EXPECT_EQ(huge.layout.iconWidth(), 1);
    EXPECT_TRUE(huge.layout.cellAt(255, 255).filled);
    EXPECT_EQ(huge.layout.cellAt(255, 255).index, 65535u);
    const QPointF last = huge.layout.cellAt(255, 255).rect.center();
    EXPECT_EQ(huge.layout.coordsOfPoint2(last), Coords::cell(255, 255));

    Grid running(flat(70000), QSizeF(1000, 800), 0);
    EXPECT_LE(running.layout.rowCount(), 256u);
    EXPECT_LE(running.layout.colCount(), 256u);

    // Three hundred one-entry bunches: the table keeps the first 256.
    Grid many(bunches(std::vector<std::uint64_t>(300, 1)), QSizeF(1000, 800));
    EXPECT_EQ(many.shape(), Shape(1, 256));
    EXPECT_EQ(many.layout.bunchCount(), 256u);
    EXPECT_EQ(many.layout.cellAt(0, 255).bunch, 255u);
}
