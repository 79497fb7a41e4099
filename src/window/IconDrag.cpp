#include "window/IconDrag.h"

#include "catalogue/TQAppManager.h"

#include <algorithm>
#include <cmath>

namespace kelp {

bool IconDragState::isRearranging(Group groupShown) const
{
    return moveInProgress && (groupShown == Group::User || groupShown == Group::User1D);
}

bool IconDragState::dims(const TQApp &app) const
{
    if (dropInProgress) return !droppableApps.contains(&app);
    if (moveInProgress) return payloadApp && payloadApp->isEqual(&app);
    return false;
}

bool IconDragState::highlightsDropTarget(const TQAppPtr &app, const TQAppPtr &selectedApp) const
{
    return dropInProgress && app && selectedApp == app && droppableApps.contains(app.get());
}

bool IconDragState::marksInsertion(Group groupShown, bool isSelectedCell, const TQAppPtr &app) const
{
    if (!isRearranging(groupShown) || !isSelectedCell) return false;
    if (!app) return true;
    return payloadApp && !payloadApp->isEqual(app.get());
}

CellInsertionMark cellInsertionMark(const QRectF &cell, double pad, int readingDirection)
{
    const QRectF &c = cell;
    const double t = std::floor((c.width() - 2 * pad) / 5.0);
    if (readingDirection == 1) {
        return {{QRectF(std::trunc(c.x()), std::trunc(c.y() + t * 0.5), std::trunc(pad + t),
                        std::trunc(c.height() - t)),
                 MarkerEdge::Left},
                QMarginsF(t, 0, 0, 0)};
    }
    return {{QRectF(std::trunc(c.x() + t * 0.5), std::trunc(c.y()), std::trunc(c.width() - t),
                    std::trunc(pad + t)),
             MarkerEdge::Top},
            QMarginsF(0, t, 0, 0)};
}

std::vector<QLineF> bunchSeparatorLines(const IconGridLayout &layout, std::uint64_t targetSpacer)
{
    std::vector<QLineF> result;
    const auto &gaps = layout.bunchSpacingRects();
    const std::uint64_t last = layout.bunchCount();
    const double m = IconGridLayout::kMargin;
    const bool horizontal = layout.orientation() == 1;
    // Lines sit on half coordinates so that a one-pixel line covers whole pixels. The rules are
    // those of a bottom-up view, mirrored: the "low" edge of a horizontal gap is its bottom.
    for (std::uint64_t g = 0; g <= last && g < gaps.size(); ++g) {
        const QRectF r = gaps[g];
        const bool target = g == targetSpacer;
        // The gap's low and high edge, and its middle, along the axis across the gap.
        double low = 0, high = 0, middle = 0;
        if (horizontal) {
            low = std::floor(r.bottom()) - 0.5;
            high = std::floor(r.top()) + 0.5;
            middle = std::ceil(r.top() + r.height() * 0.5) - 0.5;
        } else {
            low = std::floor(r.right()) - 0.5;
            high = std::floor(r.left()) + 0.5;
            middle = std::floor(r.left() + r.width() * 0.5) + 0.5;
        }
        std::vector<double> lines;
        if (target) {
            if (g == 0)
                lines = {low};
            else if (g < last)
                lines = {high, low};
            else
                lines = {high};
        } else if (g > 0 && g < last) {
            lines = {middle};
        }
        for (double at : lines) {
            if (horizontal)
                result.emplace_back(QPointF(m, at), QPointF(r.width() - m, at));
            else
                result.emplace_back(QPointF(at, m), QPointF(at, r.height() - m));
        }
    }
    return result;
}

std::optional<DragMark> bunchEndMark(const IconGridLayout &layout, const Coords &selected)
{
    const Coords &c = selected;
    if (c.bunch == kNotFound || c.margin == kNotFound) return std::nullopt;
    const auto &bunches = layout.bunchRects();
    if (c.bunch >= bunches.size() || c.margin > 3) return std::nullopt;
    std::optional<MarkerEdge> edge;
    if (layout.orientation() == 1) {
        if (c.margin == 3)
            edge = MarkerEdge::Left;
        else if (c.margin == 1)
            edge = MarkerEdge::Right;
    } else {
        if (c.margin == 2)
            edge = MarkerEdge::Bottom;
        else if (c.margin == 0)
            edge = MarkerEdge::Top;
    }
    if (!edge) return std::nullopt;
    const QRectF area = bunches[c.bunch].intersected(layout.marginRects()[c.margin]);
    if (area.isEmpty()) return std::nullopt;
    return DragMark{area, *edge};
}

FavouriteDrop favouriteDropAt(const IconGridLayout &layout, const Coords &target,
                              bool favouritesEmpty)
{
    using Kind = FavouriteDrop::Kind;
    auto toIndex = [](std::uint64_t v) {
        return static_cast<qint64>(std::min<std::uint64_t>(v, Favourites::kAtEnd));
    };
    if (target.hasCell() && layout.isValid(target.row, target.col)) {
        const IconGridLayout::CellInfo &cell = layout.cellAt(target.row, target.col);
        return {Kind::IntoBunch, toIndex(cell.bunch), toIndex(cell.index)};
    }
    if (target.bunch != kNotFound)
        return {Kind::IntoBunch, toIndex(target.bunch),
                target.margin == 0 ? 0 : Favourites::kAtEnd};
    if (target.spacer != kNotFound) return {Kind::NewBunch, 0, toIndex(target.spacer)};
    if (favouritesEmpty) return {Kind::NewBunch, 0, 0};
    return {};
}

} // namespace kelp
