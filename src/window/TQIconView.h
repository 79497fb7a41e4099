#pragma once
// TQIconView: the grid of application icons inside the panel.
//
// Shows one group of the catalogue (a flat list, or favourites and scan folders as bunches) laid
// out by IconGridLayout. The view holds the group to show and the group shown, the selection
// (which follows the pointer) and the typed filter, takes the events, and hands the rest to the
// classes beside it:
//   IconGridPainter  how the grid looks: tint, icons, dimming, highlights, markers, scan progress;
//   TypedFilter      the typed letters and the applications they let through;
//   ModifierKeys     the modifier keys held, and what a change of them means for the group shown;
//   IconGestures     the wheel's letters and the sideways swipe that switches groups;
//   IconContextMenu  the context menu and the actions on the selected application;
//   IconDragState    what a drag over the grid is doing (IconDrag.h).
//
// Typed letters filter the icons for as long as keys keep coming within a second; Return
// launches the single match. Clicks launch, Shift-clicks exclude, include or remove, Ctrl-clicks
// show the file, and a right click (or a Meta-click) opens the context menu.
//
// The panel owns the view and forwards key and pointer events (handleKeyDown, handleKeyUp,
// handleCancelOperation, myMouseMoved); the view never takes the keyboard focus itself.
#include "catalogue/Group.h"
#include "catalogue/TQApp.h"
#include "window/DragPayload.h"
#include "window/FileDrop.h"
#include "window/IconContextMenu.h"
#include "window/IconDrag.h"
#include "window/IconGestures.h"
#include "window/IconGridLayout.h"
#include "window/IconGridPainter.h"
#include "window/ModifierKeys.h"
#include "window/TypedFilter.h"

#include <QColor>
#include <QSet>
#include <QTimer>
#include <QWidget>

#include <memory>

class QMenu;

namespace kelp {

class Defaults;
class TQAppManager;

class TQIconView : public QWidget
{
    Q_OBJECT
public:
    TQIconView(TQAppManager &catalogue, Defaults &defaults, QWidget *parent = nullptr);
    ~TQIconView() override;

    // --- Group ----------------------------------------------------------------------------------
    // Shows group (0 to 9) unless it is already the one shown; remembers it as the group to
    // restore next time, resets the filter and the selection, and lays the group out.
    void setGroupToShow(Group group);
    Group groupToShow() const { return _groupToShow; }
    Group groupShown() const { return _groupShown; }
    // The group that group turns into with the modifier keys held now (Alt: included -> all) and
    // without bunches (orientation 0: two-level groups are shown flat).
    Group groupToShowConsideringModifiers(Group group) const;
    // Whether the group shown is bunched, and whether it holds any application.
    bool showsBunches() const { return !_shownIsFlat; }
    bool hasAppsShown() const
    {
        return _shownIsFlat ? !_appsShownFlat.isEmpty() : !_appsShownBunches.isEmpty();
    }

    // What an empty group says in its place, or an empty string: the running group where the
    // desktop keeps its running applications to itself (GNOME on Wayland).
    QString emptyGroupNote() const;

    // --- Layout ---------------------------------------------------------------------------------
    // The size the panel fits itself to. An empty group gets the smallest panel: one empty cell,
    // three wide when it has a note to show.
    QSize viewSize() const;
    QSize sizeHint() const override { return viewSize(); }
    // Rereads the layout settings and lays out again (forced).
    void updateLayout();
    // Lays out the group to show; announces subviewNeedsResizing when forced or when the grid's
    // rows, columns, bunches or cell size changed.
    void resizeViewForced(bool forced);
    // The largest size the panel allows the view on its screen. Until the panel sets one, the
    // screen's available area less a frame is used.
    void setMaxIconViewSize(QSize size);
    QSize maxIconViewSize() const;
    const IconGridLayout &layout() const { return _layout; }

    // --- Cells and entries ----------------------------------------------------------------------
    TQAppPtr appAtCoords(const Coords &c) const;
    TQAppPtr appAtPoint(QPointF p) const { return appAtCoords(_layout.coordsOfPoint(p)); }
    TQAppPtr appOfCell(const IconGridLayout::CellInfo &cell) const;
    // The first cell (row order, then column order) holding the entry; none when absent.
    Coords coordsOfApp(const TQAppPtr &app) const;
    QRectF rectOfApp(const TQAppPtr &app) const { return _layout.rectOfCoords(coordsOfApp(app)); }
    Coords coordsOfPoint(QPointF p) const { return _layout.coordsOfPoint(p); }
    Coords coordsOfPoint2(QPointF p) const { return _layout.coordsOfPoint2(p); }
    bool isExcluded(const TQAppPtr &app) const;
    bool isRunning(const TQAppPtr &app) const;

    // --- Selection and filter -------------------------------------------------------------------
    void selectCoords(const Coords &c);
    Coords selectedCoords() const { return _selectedCoords; }
    TQAppPtr selectedApp() const { return appAtCoords(_selectedCoords); }
    QString filterSubstring() const { return _filter.text(); }
    bool isFilterTimerRunning() const { return _filter.isWordOpen(); }
    bool isAppKeyFilteredOut(const TQAppPtr &app) const { return _filter.filtersOut(app); }
    // The entries of the group shown that the filter lets through, in bunch and index order.
    AppList keyFilteredApps1D() const { return _filter.matches(appsShown1D()); }
    void resetFilterSubstring();
    bool showsIconSpectrums() const { return _painter.showsSpectra(); }

    // --- Drawing --------------------------------------------------------------------------------
    bool isOpaque(std::uint64_t row, std::uint64_t col) const
    {
        return _painter.isOpaque(row, col);
    }
    bool isHighlighted(std::uint64_t row, std::uint64_t col) const
    {
        return _painter.isHighlighted(row, col);
    }
    bool isDecorated(std::uint64_t row, std::uint64_t col) const
    {
        return _painter.isDecorated(row, col);
    }
    bool isBusyScanning() const { return _painter.isBusyScanning(); }
    QString scanningStep() const { return _painter.scanningStep(); }
    QString scanningLabel() const { return _painter.scanningLabel(); }
    QColor textColour() const { return _painter.colours().text; }
    // Redraws a cell, at once (when shown) or at the next paint.
    void redrawCell(const Coords &c, bool now = false);

    // --- Events forwarded by the panel ----------------------------------------------------------
    // Typed filter letters, Return/Enter, Backspace, and the Ctrl keys. True if handled.
    bool handleKeyDown(QKeyEvent *event);
    // Only follows the modifier keys; always false.
    bool handleKeyUp(QKeyEvent *event);
    // Ctrl-"=", Ctrl-"-", Ctrl-"`", Ctrl-".", Escape. True if handled.
    bool performKeyEquivalent(QKeyEvent *event);
    // Escape or Ctrl-".": clears a typed filter (true); with none, false (the panel acts).
    bool handleCancelOperation();
    void myMouseMoved(QPointF viewPos);
    // The modifier keys changed (from a key event, or the application's key filter).
    void modifierKeysChanged(Qt::KeyboardModifiers modifiers);
    const ModifierKeys &modifierKeys() const { return _modifiers; }
    // The pointer's shape: forbidden while a Shift-click would take the icon out of its group.
    void updateCursor();
    // Back to a fresh state: no drag, modifiers, filter, selection or spectrum display.
    void reset();

    // --- Actions on the selected application ---------------------------------------------------
    // Launches the entry with the dropped items (none: nullptr) on a thread of its own and asks
    // the panel to hide. A moved or deleted favourite makes the catalogue look for it again.
    void launchApp(const TQAppPtr &app, const TQApp::DroppedItems *items = nullptr);
    // The context menu for the application at the selection (the caller owns it).
    std::unique_ptr<QMenu> contextualMenu();
    void includeSelectedApp() { _menu.includeSelectedApp(); }
    void excludeSelectedApp() { _menu.excludeSelectedApp(); }
    void addSelectedAppToUser() { _menu.addSelectedAppToUser(); }
    void addSelectedAppToUserNewGroup() { _menu.addSelectedAppToUserNewGroup(); }
    void removeSelectedAppFromUser() { _menu.removeSelectedAppFromUser(); }
    void showAppInFinder() { _menu.showAppInFinder(); }
    void sendAppForDeletion() { _menu.sendAppForDeletion(); }
    void showSelectedApp() { _menu.showSelectedApp(); }
    void hideSelectedApp() { _menu.hideSelectedApp(); }
    void quitSelectedApp() { _menu.quitSelectedApp(); }

    // Scan progress from the catalogue: count below 1 ends the display.
    void showProgressStep(int step, int count, const QString &label);

    // --- Drag and drop (TQIconViewDrag.cpp) -----------------------------------------------------
    // Drag state read by the drawing (the drag-and-drop code sets it).
    const IconDragState &dragState() const { return _drag; }
    void setDragState(const IconDragState &state)
    {
        _drag = state;
        update();
    }
    // Favourites can be rearranged in the group shown (8 or 9).
    bool canMoveInGroupShown() const
    {
        return _groupShown == Group::User || _groupShown == Group::User1D;
    }
    // During a move, whether the cell under the pointer holds another application than the one
    // moved.
    bool dropAllowed() const { return _dropAllowed; }
    Coords startCoords() const { return _startCoords; }
    // The view can take a drag now: no dialogue or menu of Kelp's is open.
    static bool iconViewHasUserFocus();
    // Ends any drag: a file drop lets the panel slide back and, when Kelp was not active as it
    // began, gives the front back to the application that had it; a move forgets its payload.
    void draggingReset();

Q_SIGNALS:
    void subviewNeedsResizing();
    // A null app and an empty rect when the new cell is empty or there is none.
    void selectedAppChanged(std::shared_ptr<kelp::TQApp> app, QRectF rect);
    // An empty string with resetInterval 0: nothing to show.
    void filterStringChanged(QString filterString, double resetInterval);
    void selectNextIconGroup();
    void selectPrevIconGroup();
    void groupShownChanged(kelp::Group group);
    // An application was launched from the panel; the panel hides without waiting for it.
    void appLaunched(std::shared_ptr<kelp::TQApp> app);
    // A drag came over the view: the panel slides fully onto its screen (slideOnscreen), and,
    // when Kelp was not the active application, comes to the front.
    void dragWantsPanelOnscreen(bool activate);
    // The drag is over: the panel slides back to where it was (slideBack).
    void dragReleasedPanel();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void readLayoutSettings();
    void updateColours();
    void fetchAppsShown();
    AppList appsShown1D() const;
    GridShape shapeOfAppsShown() const;
    void catalogueGroupChanged(Group group);
    void defaultsChanged(const QString &key);
    void rebuildExcludedSet();
    void setNeedsDisplayForApp(const TQAppPtr &app);
    void sendFilterSubstringNotification();
    bool changeRowOrColumnCount(bool more);
    // Drag and drop (TQIconViewDrag.cpp).
    bool mouseDragged(QMouseEvent *event);
    bool readPayload(const QDropEvent &event);
    void answerMove(QDragMoveEvent *event);
    void performMove();
    void performFileDrop(QDropEvent *event);
    void followDragModifiers(Qt::KeyboardModifiers held);
    void refreshDroppableApps();
    // draggingReset; dragIsOver: dropped or abandoned, the panel is restored wherever the pointer.
    void finishDrag(bool dragIsOver);

    TQAppManager &_catalogue;
    Defaults &_defaults;
    IconGridLayout _layout;
    QSize _maxIconViewSize;

    Group _groupToShow = Group::None;
    Group _groupShown = Group::None;
    bool _shownIsFlat = true;
    AppList _appsShownFlat;
    AppLists _appsShownBunches;
    QSet<const TQApp *> _excluded;

    Coords _selectedCoords;
    Coords _oldSelectedCoords;
    Coords _startCoords;
    QPointF _mouseDownPoint;

    TypedFilter _filter;
    ModifierKeys _modifiers;
    IconGestures _gestures;
    IconDragState _drag;
    TQDragPayload _dragPayload;
    bool _dropAllowed = false;
    bool _activeWhenDragBegan = true;
    bool _dragWidened = false;         // Ctrl held during the file drop: every capable application
    bool _panelRestorePending = false; // slide back / give the front back once the drag is gone
    DroppableApps _droppable;
    QList<QUrl> _dragFiles;    // the files of the drag over the view
    QTimer _dragModifierTimer; // reads the modifier keys while files are dragged over the view
    IconGridPainter _painter{*this};
    IconContextMenu _menu;
};

} // namespace kelp
