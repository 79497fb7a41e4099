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
#include "catalogue/Favourites.h"
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

// Where a favourite dropped on the selection goes, in the terms of the catalogue's moves
// (TQAppManager::moveApp and moveAppToNewBunch).
struct FavouriteDrop
{
    enum class Kind {
        IntoBunch, // moveApp(app, group, bunch, index); index kAtEnd: after the bunch's last
        NewBunch,  // moveAppToNewBunch(app, group, index): a bunch of its own at index
        Refused,   // nowhere to go: Kelp beeps
    };
    Kind kind = Kind::Refused;
    qint64 bunch = 0;
    qint64 index = 0;

    friend bool operator==(const FavouriteDrop &, const FavouriteDrop &) = default;
};

// The move for a drop on target in the laid-out favourites. A cell gives its bunch and index (an
// empty cell: after the bunch's last). A bunch outside its cells gives its start when the point is
// in the top margin and its end for any other margin or none, so with bunches as bands of rows
// the left end also appends. A gap between bunches (or before the first, after the last) makes a
// new bunch there. Nowhere at all makes the first bunch of an empty favourites view, and is
// refused when there are favourites.
FavouriteDrop favouriteDropAt(const IconGridLayout &layout, const Coords &target,
                              bool favouritesEmpty);

} // namespace kelp
