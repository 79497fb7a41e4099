#include "triggers/HotSpotPlacement.h"

namespace kelp {

namespace {
constexpr int kCorner = 4;    // a corner hot spot's side
constexpr int kEdgeEnds = 28; // left free at each end of an edge hot spot
} // namespace

bool isKnownHotSpotLocation(qint64 location)
{
    return location >= 0 && location <= 8;
}

std::optional<HotSpotPlace> hotSpotPlace(qint64 location, const QRect &screen)
{
    if (location == 0) return std::nullopt;
    const int x = screen.x(), y = screen.y(), w = screen.width(), h = screen.height();
    QRect r;
    switch (location) {
    case 1:
        r = QRect(x, y, kCorner, kCorner);
        break;
    case 2:
        r = QRect(x, y + kEdgeEnds, 1, h - 2 * kEdgeEnds);
        break;
    case 3:
        r = QRect(x, y + h - kCorner, kCorner, kCorner);
        break;
    case 4:
        r = QRect(x + kEdgeEnds, y + h - 1, w - 2 * kEdgeEnds, 1);
        break;
    case 5:
        r = QRect(x + w - kCorner, y + h - kCorner, kCorner, kCorner);
        break;
    case 6:
        r = QRect(x + w - 1, y + kEdgeEnds, 1, h - 2 * kEdgeEnds);
        break;
    case 7:
        r = QRect(x + w - kCorner, y, kCorner, kCorner);
        break;
    default:
        r = QRect(x + kEdgeEnds, y, w - 2 * kEdgeEnds, 1);
        break;
    }
    // A screen too small for the hot spot (or none at all) has no hot spot.
    if (r.width() <= 0 || r.height() <= 0 || !screen.contains(r)) return std::nullopt;

    HotSpotPlace place;
    place.rect = r;
    if (r.left() == screen.left())
        place.sides.append({QLine(r.left(), r.top(), r.left(), r.bottom()), Qt::LeftEdge});
    if (r.right() == screen.right())
        place.sides.append({QLine(r.right(), r.top(), r.right(), r.bottom()), Qt::RightEdge});
    if (r.top() == screen.top())
        place.sides.append({QLine(r.left(), r.top(), r.right(), r.top()), Qt::TopEdge});
    if (r.bottom() == screen.bottom())
        place.sides.append({QLine(r.left(), r.bottom(), r.right(), r.bottom()), Qt::BottomEdge});
    // An edge strip 1 wide touches the far side too only on a 1-wide screen; keep its own side.
    if (location == 2 || location == 6 || location == 4 || !isKnownHotSpotLocation(location) ||
        location == 8) {
        const Qt::Edge own = location == 2   ? Qt::LeftEdge
                             : location == 6 ? Qt::RightEdge
                             : location == 4 ? Qt::BottomEdge
                                             : Qt::TopEdge;
        place.sides.removeIf([own](const HotSpotPlace::Side &s) { return s.edge != own; });
    }
    return place;
}

} // namespace kelp
