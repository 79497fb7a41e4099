#include "window/IconGridLayout.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>

namespace kelp {

namespace {

// Ceil divisions are done on float quotients and truncated, like the layout has always done; for
// the counts a panel can show this equals the exact integer division.
std::uint64_t ceilDiv(std::uint64_t a, std::uint64_t b)
{
    if (b == 0) return 0;
    return static_cast<std::uint64_t>(std::ceil(static_cast<float>(a) / static_cast<float>(b)));
}

// A half-open point-in-rectangle test, [min, max) on both axes. In the view's y-down coordinates
// this is exactly the bottom-up test (x in [min, max), y in (min, max]) on the mirrored rectangle.
bool pointInRect(QPointF p, const QRectF &r)
{
    return p.x() >= r.left() && p.x() < r.left() + r.width() && p.y() >= r.top() &&
           p.y() < r.top() + r.height();
}

// The pixel test of the fast search: origin <= v <= origin + extent - 1; zero extent never matches.
int comparePixel(double v, double origin, double extent)
{
    if (extent <= 0) return 2; // never matches; callers treat it as a miss
    if (v < origin) return -1;
    if (v > origin + extent - 1) return 1;
    return 0;
}

const IconGridLayout::CellInfo kEmptyCell{};

} // namespace

GridSettings GridSettings::clamped() const
{
    GridSettings s = *this;
    // Icons narrower than a point cannot be drawn; anything larger than the largest is shown at it.
    s.maximumIconSize = std::clamp(maximumIconSize, 1, kLargestIconSize);
    s.iconPadding = std::clamp(iconPadding, kSmallestPadding, kLargestPadding);
    s.iconSpacing = std::clamp(iconSpacing, 0, kLargestSpacing);
    return s;
}

GridShape GridShape::flatList(std::uint64_t count)
{
    GridShape s;
    s.flat = true;
    if (count > 0) s.sizes.push_back(count);
    return s;
}

GridShape GridShape::bunches(std::vector<std::uint64_t> bunchSizes)
{
    GridShape s;
    s.flat = bunchSizes.empty();
    s.sizes = std::move(bunchSizes);
    return s;
}

IconGridLayout::IconGridLayout()
    : _table(std::make_unique<std::array<CellInfo, kMaxRows * kMaxCols>>())
{
    _settings = _settings.clamped();
}

void IconGridLayout::setSettings(const GridSettings &settings)
{
    _settings = settings.clamped();
}

void IconGridLayout::setShape(GridShape shape)
{
    _shape = std::move(shape);
}

const IconGridLayout::CellInfo &IconGridLayout::cellAt(std::uint64_t row, std::uint64_t col) const
{
    return isValid(row, col) ? entry(row, col) : kEmptyCell;
}

// --- Rows and columns ---------------------------------------------------------------------------

void IconGridLayout::calcRowColCount()
{
    _rowCount = _colCount = _bunchCount = 0;
    if (_shape.isEmpty()) {
        followUps();
        return;
    }
    _bunchCount = _shape.flat ? 1 : _shape.sizes.size();

    const double availW = _maxViewSize.width() - 2.0 * kMargin;
    const double availH = _maxViewSize.height() - 2.0 * kMargin;
    const double target = availW / availH;
    const std::uint64_t fullCell =
        static_cast<std::uint64_t>(_settings.maximumIconSize + 2 * _settings.iconPadding);
    const std::uint64_t spacing = static_cast<std::uint64_t>(_settings.iconSpacing);

    if (_shape.flat && _group == 0) {
        // The running group fills the width first and keeps as few rows as possible. Spacing is
        // left out here; the icon width step takes care of any overflow.
        const std::uint64_t n = _shape.sizes.front();
        const double cellForWidth = std::min(static_cast<double>(fullCell), std::floor(availW));
        std::uint64_t r = 1;
        std::uint64_t cols = ceilDiv(n, r);
        while (static_cast<double>(cols) * cellForWidth > availW && r < n) {
            ++r;
            cols = ceilDiv(n, r);
        }
        _rowCount = r;
        _colCount = cols;
    } else if (_shape.flat) {
        // The shape whose columns-to-rows ratio comes closest to the space's, from above.
        const std::uint64_t n = _shape.sizes.front();
        std::uint64_t r = 1;
        std::uint64_t cols = ceilDiv(n, r);
        float ratio = static_cast<float>(cols) / static_cast<float>(r);
        std::uint64_t prevR = 0, prevCols = 0;
        float prevRatio = 0;
        while (ratio > target && r < n) {
            prevR = r;
            prevCols = cols;
            prevRatio = ratio;
            ++r;
            cols = ceilDiv(n, r);
            ratio = static_cast<float>(cols) / static_cast<float>(r);
        }
        if (r > 1 && prevR > 0 && std::abs(prevRatio - target) < std::abs(ratio - target)) {
            r = prevR;
            cols = prevCols;
        }
        _rowCount = r;
        _colCount = cols;
    } else {
        // Bunches: search downward from the largest bunch for the row count whose block comes
        // closest to the space's aspect (or, if asked, leaves fewer cells empty).
        const std::uint64_t bunches = _bunchCount;
        std::uint64_t total = 0, largest = 0;
        for (std::uint64_t s : _shape.sizes) {
            total += s;
            largest = std::max(largest, s);
        }
        std::uint64_t rows = largest, cols = bunches;
        if (largest >= 2) {
            std::uint64_t r = largest;
            double bestError = DBL_MAX;
            std::uint64_t bestEmpty = std::numeric_limits<std::uint64_t>::max();
            while (r > 1) {
                std::uint64_t candCols = 0, candRows = 0;
                for (std::uint64_t size : _shape.sizes) {
                    const std::uint64_t s = size < 2 ? 1 : size;
                    const std::uint64_t c = ceilDiv(s, r);
                    candCols += c;
                    candRows = std::max(candRows, ceilDiv(s, c));
                }
                const double w = static_cast<double>((bunches - 1) * (fullCell / 2)) +
                                 static_cast<double>(candCols * fullCell) +
                                 static_cast<double>((candCols - bunches) * spacing);
                const double h = static_cast<double>((candRows - 1) * spacing) +
                                 static_cast<double>(candRows * fullCell);
                const double ratio = _settings.groupOrientation == 1 ? h / w : w / h;
                const double error = std::abs(ratio - target);
                const std::uint64_t empty = candCols * candRows - total;
                if (error < bestError || (_settings.minimizeEmptyCells && empty < bestEmpty)) {
                    rows = candRows;
                    cols = candCols;
                    bestError = error;
                    bestEmpty = empty;
                } else {
                    break;
                }
                r = candRows - 1;
            }
        }
        if (_settings.groupOrientation == 1) std::swap(rows, cols);
        _rowCount = rows;
        _colCount = cols;
    }
    clipToTable();
    followUps();
}

void IconGridLayout::forceRowColCountForRows(std::uint64_t rows, std::uint64_t cols)
{
    if (_shape.isEmpty()) return;
    if (rows != 0) {
        _rowCount = rows;
        std::uint64_t sum = 0;
        for (std::uint64_t s : _shape.sizes)
            sum += ceilDiv(s, rows);
        _colCount = sum;
    } else if (cols != 0) {
        _colCount = cols;
        std::uint64_t sum = 0;
        for (std::uint64_t s : _shape.sizes)
            sum += ceilDiv(s, cols);
        _rowCount = sum;
    }
    _bunchCount = _shape.flat ? 1 : _shape.sizes.size();
    clipToTable();
    followUps();
}

std::uint64_t IconGridLayout::bunchExtent(std::uint64_t b) const
{
    // A bunch takes at least one column (or row), even an empty one, as the row search counted it.
    const std::uint64_t across = _settings.groupOrientation == 1 ? _colCount : _rowCount;
    return std::max<std::uint64_t>(1, ceilDiv(_shape.sizes[b], across));
}

void IconGridLayout::clipToTable()
{
    if (_rowCount <= kMaxRows && _colCount <= kMaxCols) return;
    if (_shape.flat) {
        const std::uint64_t n = _shape.sizes.front();
        if (_rowCount > kMaxRows) {
            _rowCount = kMaxRows;
            _colCount = ceilDiv(n, kMaxRows);
        }
        if (_colCount > kMaxCols) {
            _colCount = kMaxCols;
            _rowCount = std::min(kMaxRows, ceilDiv(n, kMaxCols));
        }
        return;
    }
    // Bunched: clip the axis across the bunches first, then keep the bunches that start inside
    // the table along the other.
    const bool rowsAreBunches = _settings.groupOrientation == 1;
    std::uint64_t &across = rowsAreBunches ? _colCount : _rowCount;
    std::uint64_t &along = rowsAreBunches ? _rowCount : _colCount;
    const std::uint64_t limit = rowsAreBunches ? kMaxRows : kMaxCols;
    if (across > (rowsAreBunches ? kMaxCols : kMaxRows)) {
        across = rowsAreBunches ? kMaxCols : kMaxRows;
        std::uint64_t sum = 0;
        for (std::uint64_t b = 0; b < _shape.sizes.size(); ++b)
            sum += bunchExtent(b);
        along = sum;
    }
    if (along > limit) {
        along = limit;
        std::uint64_t start = 0, visible = 0;
        for (std::uint64_t b = 0; b < _shape.sizes.size() && start < limit; ++b) {
            start += bunchExtent(b);
            ++visible;
        }
        _bunchCount = visible;
    }
}

void IconGridLayout::followUps()
{
    calcIconWidth();
    buildLookupTable();
    buildBunchRects();
    buildMarginRects();
}

// --- Icon width ----------------------------------------------------------------------------------

void IconGridLayout::calcIconWidth()
{
    if (_maxViewSize.width() == 0 || _maxViewSize.height() == 0 || _bunchCount == 0) return;
    _iconWidth = _settings.maximumIconSize;
    for (;;) {
        _cellWidth = _cellHeight = _iconWidth + 2 * _settings.iconPadding;
        const QSizeF v = viewSize();
        if (v.width() <= _maxViewSize.width() && v.height() <= _maxViewSize.height()) break;
        if (_iconWidth <= 1) break; // as small as an icon gets
        --_iconWidth;
    }
}

// --- Sizes ---------------------------------------------------------------------------------------

QSizeF IconGridLayout::viewSize() const
{
    return viewSizeForCellSize(QSizeF(_cellWidth, _cellHeight),
                               static_cast<std::int64_t>(_rowCount),
                               static_cast<std::int64_t>(_colCount));
}

QSizeF IconGridLayout::viewSizeForCellSize(QSizeF cell, std::int64_t r, std::int64_t c) const
{
    const double w = cell.width(), h = cell.height();
    if (w <= 0 || h <= 0 || r < 1 || c < 1) return _fallbackSize;
    const double s = _settings.iconSpacing;
    const double g = bunchSpacingForCellWidth(static_cast<int>(std::lround(w)));
    const double b = static_cast<double>(_bunchCount);
    const double rows = static_cast<double>(r), cols = static_cast<double>(c);
    const double margins = 2.0 * kMargin;
    switch (_settings.groupOrientation) {
    case 2:
        return {cols * w + margins + (cols - b) * s + (b - 1) * g,
                rows * h + margins + (rows - 1) * s};
    case 1:
        return {cols * w + margins + (cols - 1) * s,
                rows * h + margins + (rows - b) * s + (b - 1) * g};
    default:
        return {cols * w + margins + (cols - 1) * s, rows * h + margins + (rows - 1) * s};
    }
}

QSizeF IconGridLayout::cellSizeForViewSize(QSizeF view, std::int64_t r, std::int64_t c) const
{
    const int o = _settings.groupOrientation;
    if ((o != 1 && o != 2) || r < 1 || c < 1) return {};
    const double s = _settings.iconSpacing;
    const double b = static_cast<double>(_bunchCount);
    const double rows = static_cast<double>(r), cols = static_cast<double>(c);
    const double margins = 2.0 * kMargin;
    if (o == 2) {
        return {std::floor((view.width() - margins - (cols - b) * s) / (cols + (b - 1) * 0.5)),
                std::floor((view.height() - margins - (rows - 1) * s) / rows)};
    }
    return {std::floor((view.width() - margins - (cols - 1) * s) / cols),
            std::floor((view.height() - margins - (rows - b) * s) / (rows + (b - 1) * 0.5))};
}

// --- Cells ---------------------------------------------------------------------------------------

QRectF IconGridLayout::yUpRectOfCell(std::uint64_t row, std::uint64_t col) const
{
    if (!isValid(row, col)) return {};
    const std::uint64_t i = _rowCount - 1 - row; // rows counted from the bottom
    const std::uint64_t g = static_cast<std::uint64_t>(bunchSpacingForCellWidth(_cellWidth));
    const std::uint64_t s = static_cast<std::uint64_t>(_settings.iconSpacing);
    double x = static_cast<double>(_cellWidth) * static_cast<double>(col) + kMargin;
    double y = static_cast<double>(_cellHeight) * static_cast<double>(i) + kMargin;
    switch (_settings.groupOrientation) {
    case 2: {
        const std::uint64_t b = entry(0, col).bunch;
        x += static_cast<float>(g * b + (col - b) * s);
        y += static_cast<float>(i * s);
        break;
    }
    case 1: {
        const std::uint64_t b = (_bunchCount - 1) - entry(row, 0).bunch; // bunches below
        x += static_cast<float>(col * s);
        y += static_cast<float>(g * b + (i - b) * s);
        break;
    }
    default:
        x += static_cast<float>(col * s);
        y += static_cast<float>(i * s);
    }
    return {x, y, static_cast<double>(_cellWidth), static_cast<double>(_cellHeight)};
}

QRectF IconGridLayout::mirrored(const QRectF &r) const
{
    if (r.isNull()) return r;
    return {r.x(), _builtViewSize.height() - r.y() - r.height(), r.width(), r.height()};
}

QRectF IconGridLayout::rectOfCoords(const Coords &c) const
{
    if (!isValid(c.row, c.col)) return {};
    return entry(c.row, c.col).rect;
}

Coords IconGridLayout::coordsOfEntry(std::uint32_t bunch, std::uint32_t index) const
{
    for (std::uint64_t row = 0; row < _rowCount; ++row) {
        for (std::uint64_t col = 0; col < _colCount; ++col) {
            const CellInfo &e = entry(row, col);
            if (e.filled && e.bunch == bunch && e.index == index) return Coords::cell(row, col);
        }
    }
    return Coords::none();
}

// --- The cell table ------------------------------------------------------------------------------

void IconGridLayout::eraseLookupTable()
{
    std::fill(_table->begin(), _table->end(), CellInfo{});
}

void IconGridLayout::buildLookupTable()
{
    if (_shape.isEmpty()) {
        eraseLookupTable();
        return;
    }
    _builtViewSize = viewSize();
    const int order = _settings.iconReadingOrder;
    // The cell rectangle of orientations 1 and 2 reads the bunch of an entry set earlier in the
    // same pass (row 0 of the column, or column 0 of the row), so fill in that order.
    auto set = [this](std::uint64_t row, std::uint64_t col, std::uint64_t bunch,
                      std::uint64_t index, std::uint64_t size) {
        CellInfo &e = entry(row, col);
        e.bunch = static_cast<std::uint32_t>(bunch);
        e.index = static_cast<std::uint32_t>(index);
        e.filled = index < size;
        e.rect = mirrored(yUpRectOfCell(row, col));
    };

    if (_shape.flat) {
        const std::uint64_t n = _shape.sizes.front();
        for (std::uint64_t row = 0; row < _rowCount; ++row)
            for (std::uint64_t col = 0; col < _colCount; ++col)
                set(row, col, 0, order == 1 ? row * _colCount + col : col * _rowCount + row, n);
        return;
    }

    const std::uint64_t bunches = _bunchCount;
    if (_settings.groupOrientation != 1) {
        std::uint64_t col = 0;
        for (std::uint64_t b = 0; b < bunches && col < _colCount; ++b) {
            const std::uint64_t size = _shape.sizes[b];
            const std::uint64_t k = bunchExtent(b);
            for (std::uint64_t j = 0; j < k && col < _colCount; ++j, ++col)
                for (std::uint64_t row = 0; row < _rowCount; ++row)
                    set(row, col, b, order == 1 ? row * k + j : j * _rowCount + row, size);
        }
        // Columns the bunches did not reach stay empty (they belong to the last bunch).
        for (; col < _colCount; ++col)
            for (std::uint64_t row = 0; row < _rowCount; ++row)
                set(row, col, bunches - 1, std::numeric_limits<std::uint32_t>::max(), 0);
    } else {
        std::uint64_t row = 0;
        for (std::uint64_t b = 0; b < bunches && row < _rowCount; ++b) {
            const std::uint64_t size = _shape.sizes[b];
            const std::uint64_t k = bunchExtent(b);
            for (std::uint64_t j = 0; j < k && row < _rowCount; ++j, ++row)
                for (std::uint64_t col = 0; col < _colCount; ++col)
                    set(row, col, b, order == 2 ? j + col * k : j * _colCount + col, size);
        }
        for (; row < _rowCount; ++row)
            for (std::uint64_t col = 0; col < _colCount; ++col)
                set(row, col, bunches - 1, std::numeric_limits<std::uint32_t>::max(), 0);
    }
}

// --- Bunch, gap and margin rectangles ------------------------------------------------------------

void IconGridLayout::buildBunchRects()
{
    _bunchRects.assign(_bunchCount, QRectF());
    _bunchSpacingRects.assign(_bunchCount + 1, QRectF());
    if (_bunchCount == 0) return;
    const QSizeF v = viewSize();
    _builtViewSize = v;
    const double m = kMargin;
    const double g = bunchSpacingForCellWidth(_cellWidth);
    const double s = _settings.iconSpacing;

    if (_shape.flat) {
        _bunchRects[0] = QRectF(0, 0, v.width(), v.height());
        return;
    }
    if (_settings.groupOrientation == 2) {
        _bunchSpacingRects[0] = QRectF(0, 0, m, v.height());
        double x = m;
        std::uint64_t col = 0;
        for (std::uint64_t b = 0; b < _bunchCount; ++b) {
            const std::uint64_t k = std::min(bunchExtent(b), _colCount - std::min(col, _colCount));
            col += k;
            const double w = static_cast<double>(k) * _cellWidth + (static_cast<double>(k) - 1) * s;
            if (b > 0) {
                _bunchSpacingRects[b] = QRectF(x, 0, g, v.height());
                x += g;
            }
            _bunchRects[b] = QRectF(x, 0, w, v.height());
            x += w;
        }
        _bunchSpacingRects[_bunchCount] = QRectF(x, 0, m, v.height());
    } else if (_settings.groupOrientation == 1) {
        // Built bottom-up (the first bunch at the top), then mirrored.
        _bunchSpacingRects[0] = QRectF(0, v.height() - m, v.width(), m);
        double y = v.height() - m;
        std::uint64_t row = 0;
        for (std::uint64_t b = 0; b < _bunchCount; ++b) {
            const std::uint64_t k = std::min(bunchExtent(b), _rowCount - std::min(row, _rowCount));
            row += k;
            const double h =
                static_cast<double>(k) * _cellHeight + (static_cast<double>(k) - 1) * s;
            if (b > 0) {
                _bunchSpacingRects[b] = QRectF(0, y - g, v.width(), g);
                y -= g;
            }
            y -= h;
            _bunchRects[b] = QRectF(0, y, v.width(), h);
        }
        _bunchSpacingRects[_bunchCount] = QRectF(0, 0, v.width(), m);
        for (QRectF &r : _bunchRects)
            r = mirrored(r);
        for (QRectF &r : _bunchSpacingRects)
            r = mirrored(r);
    }
    // Orientation 0 with bunches: no bunch or gap rectangles.
}

void IconGridLayout::buildMarginRects()
{
    const QSizeF v = viewSize();
    const double m = kMargin;
    // Top, right, bottom, left, in the view's coordinates.
    _marginRects = {QRectF(0, 0, v.width(), m), QRectF(v.width() - m, 0, m, v.height()),
                    QRectF(0, v.height() - m, v.width(), m), QRectF(0, 0, m, v.height())};
}

// --- Hit tests -----------------------------------------------------------------------------------

Coords IconGridLayout::coordsOfPoint(QPointF p) const
{
    Coords c;
    const QSizeF v = viewSize();
    if (!pointInRect(p, QRectF(QPointF(0, 0), v)) || _bunchCount == 0) return c;

    const bool byRows = _settings.groupOrientation == 1;
    for (std::uint64_t b = 0; b < _bunchRects.size(); ++b) {
        if (!pointInRect(p, _bunchRects[b])) continue;
        c.bunch = b;
        // From the bunch's first cell, forward over its cells, in the order they were filled.
        const std::uint64_t total = _rowCount * _colCount;
        bool inBunch = false;
        for (std::uint64_t k = 0; k < total; ++k) {
            const std::uint64_t row = byRows ? k / _colCount : k % _rowCount;
            const std::uint64_t col = byRows ? k % _colCount : k / _rowCount;
            const CellInfo &e = entry(row, col);
            if (e.bunch != b) {
                if (inBunch) break;
                continue;
            }
            inBunch = true;
            if (pointInRect(p, e.rect)) {
                c.row = row;
                c.col = col;
                break;
            }
        }
        break;
    }
    if (c.bunch == kNotFound) {
        for (std::uint64_t g = 0; g < _bunchSpacingRects.size(); ++g) {
            if (pointInRect(p, _bunchSpacingRects[g])) {
                c.spacer = g;
                break;
            }
        }
    }
    if (!c.hasCell()) {
        for (std::uint64_t m = 0; m < 4; ++m) {
            if (pointInRect(p, _marginRects[m])) {
                c.margin = m;
                break;
            }
        }
    }
    return c;
}

Coords IconGridLayout::coordsOfPoint2(QPointF p) const
{
    const QSizeF v = viewSize();
    if (!pointInRect(p, QRectF(QPointF(0, 0), v)) || _rowCount == 0 || _colCount == 0)
        return Coords::none();

    // Binary search over [0, n) for the index whose rectangle holds v along one axis.
    auto search = [](std::uint64_t n, double value, auto rectOf, bool horizontal) {
        std::int64_t lo = 0, hi = static_cast<std::int64_t>(n) - 1;
        while (lo <= hi) {
            const std::int64_t mid = lo + (hi - lo) / 2;
            const QRectF r = rectOf(static_cast<std::uint64_t>(mid));
            const int cmp = horizontal ? comparePixel(value, r.x(), r.width())
                                       : comparePixel(value, r.y(), r.height());
            if (cmp == 0) return static_cast<std::uint64_t>(mid);
            if (cmp == 2) return kNotFound;
            if (cmp < 0)
                hi = mid - 1;
            else
                lo = mid + 1;
        }
        return kNotFound;
    };

    std::uint64_t row = kNotFound, col = kNotFound;
    if (_settings.groupOrientation == 1) {
        row = search(
            _rowCount, p.y(), [this](std::uint64_t r) { return entry(r, 0).rect; }, false);
        if (row == kNotFound) return Coords::none();
        col = search(
            _colCount, p.x(), [this, row](std::uint64_t c) { return entry(row, c).rect; }, true);
    } else {
        col = search(
            _colCount, p.x(), [this](std::uint64_t c) { return entry(0, c).rect; }, true);
        if (col == kNotFound) return Coords::none();
        row = search(
            _rowCount, p.y(), [this, col](std::uint64_t r) { return entry(r, col).rect; }, false);
    }
    if (row == kNotFound || col == kNotFound) return Coords::none();
    return Coords::cell(row, col);
}

} // namespace kelp
