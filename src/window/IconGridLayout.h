#pragma once
// IconGridLayout: the geometry of the icon grid.
//
// Given the shape of the group shown (a flat list of n entries, or bunches of given sizes), the
// group number, the layout settings and the largest size the panel allows, it works out the rows
// and columns, the icon size, every cell, bunch, gap and margin rectangle, which entry sits in
// which cell, and which cell, bunch, gap or margin lies under a point. The icon view and everything
// that draws or hit-tests in it read the geometry from here; none computes any of its own.
//
// Coordinates are the view's (Qt's: origin top-left, y down). Row 0 is the top row, column 0 the
// left column. The layout is first worked out bottom-up (origin bottom-left, y up), where the
// gaps between bunches and the row inversion are natural, and every rectangle is then mirrored into
// the view's coordinates; hit tests on the mirrored rectangles give the same cells as bottom-up
// tests on the originals.
//
// The cell table is fixed at 256 x 256 and is allocated once, so hit tests, drawing and key
// navigation never allocate. Larger groups are clipped to the table.
#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace kelp {

// "Does not apply" in every Coords field.
inline constexpr std::uint64_t kNotFound = 0x7fffffffffffffffULL;

// A place in the icon view. A cell has row and col; a point in a bunch but in no cell has only
// bunch; a point in a gap between bunches has spacer (0 = the margin before the first bunch,
// bunchCount = the margin after the last); a point in the frame around the grid also has margin
// (0 top, 1 right, 2 bottom, 3 left). All fields kNotFound: nothing.
struct Coords
{
    std::uint64_t row = kNotFound;
    std::uint64_t col = kNotFound;
    std::uint64_t bunch = kNotFound;
    std::uint64_t spacer = kNotFound;
    std::uint64_t margin = kNotFound;

    static Coords none() { return {}; }
    static Coords cell(std::uint64_t r, std::uint64_t c) { return {r, c}; }
    bool hasCell() const { return row != kNotFound && col != kNotFound; }
    bool isNone() const
    {
        return row == kNotFound && col == kNotFound && bunch == kNotFound && spacer == kNotFound &&
               margin == kNotFound;
    }
    bool sameCell(const Coords &o) const { return row == o.row && col == o.col; }
    friend bool operator==(const Coords &, const Coords &) = default;
};

// The layout settings, as stored; clamped() applies the limits the grid works with.
struct GridSettings
{
    // 0: no bunches (two-level groups are shown flat); 1: bunches are bands of rows, top to
    // bottom; 2: bunches are blocks of columns, left to right.
    int groupOrientation = 2;
    // 1: across the rows; 2: down the columns; 0: the orientation's natural order.
    int iconReadingOrder = 1;
    bool minimizeEmptyCells = false;
    int maximumIconSize = 64;
    int iconPadding = 2;
    int iconSpacing = 0;

    // The limits clamped() keeps the sizes within (the preferences offer the same).
    static constexpr int kLargestIconSize = 128;
    static constexpr int kSmallestPadding = 2, kLargestPadding = 8;
    static constexpr int kLargestSpacing = 8;

    GridSettings clamped() const;
};

// What the group shown looks like: a flat list of count entries, or bunches of the given sizes.
struct GridShape
{
    bool flat = true;
    std::vector<std::uint64_t> sizes; // flat: one element (the count), or none when empty

    static GridShape flatList(std::uint64_t count);
    static GridShape bunches(std::vector<std::uint64_t> bunchSizes);
    bool isEmpty() const { return sizes.empty() || (flat && sizes.front() == 0); }
};

class IconGridLayout
{
public:
    static constexpr std::uint64_t kMaxRows = 256;
    static constexpr std::uint64_t kMaxCols = 256;
    static constexpr int kMargin = 12;

    // One cell of the table. filled is false for an empty cell, whose index is the one the next
    // entry of the bunch would have.
    struct CellInfo
    {
        bool filled = false;
        std::uint32_t bunch = 0;
        std::uint32_t index = 0;
        QRectF rect;
    };

    IconGridLayout();

    // --- Inputs (none of them lays out by itself; call calcRowColCount())
    // -------------------------
    void setSettings(const GridSettings &settings); // clamps
    const GridSettings &settings() const { return _settings; }
    void setShape(GridShape shape);
    const GridShape &shape() const { return _shape; }
    void setGroup(int group) { _group = group; }
    int group() const { return _group; }
    // The largest size the view may take (the panel's business; the layout only reads it).
    void setMaxViewSize(QSizeF size) { _maxViewSize = size; }
    QSizeF maxViewSize() const { return _maxViewSize; }
    // What viewSize() answers while there is no valid grid (the view's current size).
    void setFallbackSize(QSizeF size) { _fallbackSize = size; }

    // --- Layout ---------------------------------------------------------------------------------
    // Rows, columns and bunch count, then icon width, cell table, bunch rectangles, margins.
    void calcRowColCount();
    // After the user asked for one more or one fewer row (rows != 0) or column (cols != 0):
    // keeps that count, derives the other from the bunch sizes, and lays out again.
    void forceRowColCountForRows(std::uint64_t rows, std::uint64_t cols);

    std::uint64_t rowCount() const { return _rowCount; }
    std::uint64_t colCount() const { return _colCount; }
    std::uint64_t bunchCount() const { return _bunchCount; }
    int maxIconWidth() const { return _settings.maximumIconSize; }
    int iconWidth() const { return _iconWidth; }
    int cellWidth() const { return _cellWidth; }
    int cellHeight() const { return _cellHeight; }
    int cellPadding() const { return _settings.iconPadding; }
    int cellSpacing() const { return _settings.iconSpacing; }
    int orientation() const { return _settings.groupOrientation; }
    bool isFlat() const { return _shape.flat; }

    static int bunchSpacingForCellWidth(int cellWidth) { return cellWidth / 2; }
    int cellPaddingForIconWidth(int /*iconWidth*/) const { return _settings.iconPadding; }

    // --- Sizes ----------------------------------------------------------------------------------
    QSizeF viewSize() const;
    QSizeF viewSizeForCellSize(QSizeF cell, std::int64_t rows, std::int64_t cols) const;
    // The inverse, for bunched orientations (1 and 2); a zero size otherwise or on bad input.
    QSizeF cellSizeForViewSize(QSizeF view, std::int64_t rows, std::int64_t cols) const;

    // --- Cells ----------------------------------------------------------------------------------
    bool isValid(std::uint64_t row, std::uint64_t col) const
    {
        return row < _rowCount && col < _colCount;
    }
    // The cell as the table holds it; the empty record for an invalid cell.
    const CellInfo &cellAt(std::uint64_t row, std::uint64_t col) const;
    QRectF rectOfCoords(const Coords &c) const;
    // Where the entry of the given bunch and index sits (first match in row order), else none.
    Coords coordsOfEntry(std::uint32_t bunch, std::uint32_t index) const;

    const std::vector<QRectF> &bunchRects() const { return _bunchRects; }
    // bunchCount + 1 rectangles: the margin before the first bunch, the gaps, the margin after.
    const std::vector<QRectF> &bunchSpacingRects() const { return _bunchSpacingRects; }
    // Top, right, bottom, left.
    const std::array<QRectF, 4> &marginRects() const { return _marginRects; }

    // --- Hit tests ------------------------------------------------------------------------------
    // The cell, bunch, gap or margin under the point.
    Coords coordsOfPoint(QPointF p) const;
    // The cell under the point, by binary search; only row and col are set. A cell's last pixel
    // row and column belong to it (origin <= p <= origin + extent - 1).
    Coords coordsOfPoint2(QPointF p) const;

private:
    void calcIconWidth();
    void buildLookupTable();
    void eraseLookupTable();
    void buildBunchRects();
    void buildMarginRects();
    void clipToTable();
    void followUps();

    // Rectangles in bottom-up coordinates, and their mirror in the view's.
    QRectF yUpRectOfCell(std::uint64_t row, std::uint64_t col) const;
    QRectF mirrored(const QRectF &r) const;
    CellInfo &entry(std::uint64_t row, std::uint64_t col)
    {
        return (*_table)[row * kMaxCols + col];
    }
    const CellInfo &entry(std::uint64_t row, std::uint64_t col) const
    {
        return (*_table)[row * kMaxCols + col];
    }
    // Columns (orientation other than 1) or rows (orientation 1) that bunch b takes in the table.
    std::uint64_t bunchExtent(std::uint64_t b) const;

    GridSettings _settings;
    GridShape _shape;
    int _group = -1;
    QSizeF _maxViewSize;
    QSizeF _fallbackSize;

    std::uint64_t _rowCount = 0;
    std::uint64_t _colCount = 0;
    std::uint64_t _bunchCount = 0;
    int _iconWidth = 0;
    int _cellWidth = 0;
    int _cellHeight = 0;
    QSizeF _builtViewSize; // the view size the rectangles were mirrored against

    std::unique_ptr<std::array<CellInfo, kMaxRows * kMaxCols>> _table;
    std::vector<QRectF> _bunchRects;
    std::vector<QRectF> _bunchSpacingRects;
    std::array<QRectF, 4> _marginRects{};
};

} // namespace kelp
