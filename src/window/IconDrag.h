#pragma once
// IconDrag: what a drag over the icon grid is doing, and the marks it leaves on the grid.
//
// Two kinds of drag meet in the grid. A move rearranges the favourites: an icon dragged to another
// cell, to either end of a bunch, or into the gap between two bunches, which makes a new bunch. A
// drop brings files onto an application that can open them. The drag code keeps IconDragState up
// to date; the grid reads it to dim the icon being moved and the applications that cannot take the
// files, to highlight the application the files would go to, and to mark where a moved favourite
// would land. The target is always the view's selection, which follows the pointer.
//
// The marks of a move, worked out here from the layout and drawn by IconGridPainter: an insertion
// marker along the edge of the target cell, both edges of the target gap between bunches (or the
// one edge of a gap at either end), and a triangle at the target end of a bunch.
#include "catalogue/Group.h"
#include "catalogue/TQApp.h"
#include "window/IconGridLayout.h"

#include <QLineF>
#include <QMarginsF>
#include <QRectF>
#include <QSet>

#include <optional>
#include <vector>

namespace kelp {

struct IconDragState
{
    bool moveInProgress = false; // a favourite is being moved
    bool dropInProgress = false; // files are dragged over the view
    TQAppPtr payloadApp;         // the favourite being moved
    QSet<const TQApp *> droppableApps;

    bool isIdle() const { return !moveInProgress && !dropInProgress; }
    // A favourite is moved while the favourites are shown.
    bool isRearranging(Group groupShown) const;
    // The drag dims the application: it cannot take the dragged files, or it is the one moved.
    bool dims(const TQApp &app) const;
    // The application is the selected one and can take the dragged files.
    bool highlightsDropTarget(const TQAppPtr &app, const TQAppPtr &selectedApp) const;
    // The selected cell (an empty one, or one holding another application than the one moved)
    // shows where the moved favourite would land.
    bool marksInsertion(Group groupShown, bool isSelectedCell, const TQAppPtr &app) const;
};

// The side of a rectangle a marker triangle stands on; its tip points into the rectangle.
enum class MarkerEdge { Bottom, Top, Right, Left };

struct DragMark
{
    QRectF area;
    MarkerEdge edge = MarkerEdge::Top;
};

// The insertion marker of a cell, and how far the cell and its icon move aside for it.
struct CellInsertionMark
{
    DragMark mark;
    QMarginsF inset; // taken off the cell and the icon rectangles
};

// The marker in a cell whose icon has padding pad on every side; it is a fifth of the icon wide.
// Reading direction 1 (bunches as rows, or across the rows without bunches) puts it along the left
// edge and moves the icon right; any other along the top edge, the icon keeping its bottom edge.
CellInsertionMark cellInsertionMark(const QRectF &cell, double pad, int readingDirection);
// The separator lines between bunches, in view coordinates. An inner gap gets one line through its
// middle; the target gap of a move (targetSpacer, kNotFound when there is none) gets a line along
// each edge that faces a bunch instead.
std::vector<QLineF> bunchSeparatorLines(const IconGridLayout &layout, std::uint64_t targetSpacer);
// The triangle at the end of a bunch that a move would append to: the selection is in a bunch's
// margin at its start or end (top or bottom for bunches of columns, left or right for bands of
// rows).
std::optional<DragMark> bunchEndMark(const IconGridLayout &layout, const Coords &selected);

} // namespace kelp
