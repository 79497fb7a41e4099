#pragma once
// Where the one cursor hot spot sits on the primary screen, in Qt's screen coordinates (y grows
// downwards), from the setting cursorHotSpotLocation: 0 none, 1 top-left, 2 left edge, 3
// bottom-left, 4 bottom edge, 5 bottom-right, 6 right edge, 7 top-right, 8 (and any other value)
// top edge. Corners are 4 × 4; edges are 1 wide and leave 28 free at each end, so an edge never
// touches a corner.
#include <QLine>
#include <QList>
#include <QRect>

#include <optional>

namespace kelp {

struct HotSpotPlace
{
    QRect rect;
    // The screen sides the hot spot lies on, as lines along them (from, to inclusive), each with
    // the direction the pointer pushes to reach it: where a desktop catches the pointer pressing
    // against the screen's edge.
    struct Side
    {
        QLine line;
        Qt::Edge edge;
    };
    QList<Side> sides;
};

// The hot spot for a location code on a screen; none for 0. A null screen (no primary screen)
// stands as a zero rectangle, which leaves no room for a hot spot either.
std::optional<HotSpotPlace> hotSpotPlace(qint64 location, const QRect &screen);

// Whether a stored location is one of the nine known codes.
bool isKnownHotSpotLocation(qint64 location);

} // namespace kelp
