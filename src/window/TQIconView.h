#pragma once
// TQIconView: the grid of application icons inside the panel.
//
// Shows one group of the catalogue (a flat list, or favourites and scan folders as bunches) laid
// out by IconGridLayout; draws the tint, the icons (dimmed when filtered out or excluded), the
// running highlight and, while favourites are rearranged, the insertion markers and bunch
// separators; while the catalogue is walked it shows the scan progress instead. The selection
// follows the pointer. Typed letters filter the icons (one letter: the names' initials; two or
// more: a substring of the name) for as long as keys keep coming within a second; Return launches
// the single match. The wheel steps through letters and a sideways swipe switches groups. Clicks
// launch, Shift-clicks exclude, include or remove, and a context menu offers the rest.
//
// The panel owns the view and forwards key and pointer events (handleKeyDown, handleKeyUp,
// handleCancelOperation, myMouseMoved); the view never takes the keyboard focus itself.
//
// Modifier keys follow Kelp's Linux convention: Command is Ctrl, Control is Meta (Super), Option
// is Alt. There is no function key on PC keyboards; it reads as never held.
#include "catalogue/Group.h"
#include "catalogue/TQApp.h"
#include "window/IconGridLayout.h"
#include "window/PanelColours.h"

#include <QColor>
#include <QElapsedTimer>
#include <QPointer>
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
    void setGroupToShow(kelp::Group group);
    Group groupToShow() const { return _groupToShow; }
    Group groupShown() const { return _groupShown; }
    // The group that group turns into with the modifier keys held now (Alt: included -> all) and
    // without bunches (orientation 0: two-level groups are shown flat).
    Group groupToShowConsideringModifiers(Group group) const;

    // --- Layout ---------------------------------------------------------------------------------
    // The size the panel fits itself to. An empty group gets the smallest panel: one empty cell.
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
    // The first cell (row order, then column order) holding the entry; none when absent.
    Coords coordsOfApp(const TQAppPtr &app) const;
    QRectF rectOfApp(const TQAppPtr &app) const { return _layout.rectOfCoords(coordsOfApp(app)); }
    Coords coordsOfPoint(QPointF p) const { return _layout.coordsOfPoint(p); }
    Coords coordsOfPoint2(QPointF p) const { return _layout.coordsOfPoint2(p); }

    // --- Selection and filter -------------------------------------------------------------------
    void selectCoords(const Coords &c);
    Coords selectedCoords() const { return _selectedCoords; }
    TQAppPtr selectedApp() const { return appAtCoords(_selectedCoords); }
    QString filterSubstring() const { return _filterSubstring; }
    bool isFilterTimerRunning() const { return _filterTimer.isActive(); }
    bool isAppKeyFilteredOut(const TQAppPtr &app) const;
    // The entries of the group shown that the filter lets through, in bunch and index order.
    AppList keyFilteredApps1D() const;
    void resetFilterSubstring();
    bool showsIconSpectrums() const { return _showIconSpectrums; }

    // --- Per-cell drawing states ----------------------------------------------------------------
    bool isOpaque(std::uint64_t row, std::uint64_t col) const;
    bool isHighlighted(std::uint64_t row, std::uint64_t col) const;
    bool isDecorated(std::uint64_t row, std::uint64_t col) const;
    bool isBusyScanning() const { return _isBusyScanning; }
    QString scanningStep() const { return _scanningStep; }
    QString scanningLabel() const { return _scanningLabel; }
    QColor textColor() const { return _colours.text; }

    // --- Events forwarded by the panel ----------------------------------------------------------
    // Typed filter letters, Return/Enter, Backspace, and the Ctrl (Command) keys. True if handled.
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
    // Back to a fresh state: no drag, modifiers, filter, selection or spectrum display.
    void reset();

    // --- Actions on the selected application ---------------------------------------------------
    // Launches the entry with the dropped items (none: nullptr) on a thread of its own and asks
    // the panel to hide. A moved or deleted favourite makes the catalogue look for it again.
    void launchApp(const TQAppPtr &app, const TQApp::DroppedItems *items = nullptr);
    // The context menu for the application at the selection (the caller owns it).
    std::unique_ptr<QMenu> contextualMenu();
    void includeSelectedApp();
    void excludeSelectedApp();
    void addSelectedAppToUser();
    void addSelectedAppToUserNewGroup();
    void removeSelectedAppFromUser();
    void showAppInFinder();
    void sendAppForDeletion();
    void showSelectedApp();
    void hideSelectedApp();
    void quitSelectedApp();

    // Scan progress from the catalogue: count below 1 ends the display.
    void showProgressStep(int step, int count, const QString &label);

    // Drag state read by the drawing (the drag-and-drop code sets it).
    struct DragState
    {
        bool moveInProgress = false; // a favourite is being moved
        bool dropInProgress = false; // files are dragged over the view
        TQAppPtr payloadApp;         // the favourite being moved
        QSet<const TQApp *> droppableApps;
    };
    const DragState &dragState() const { return _drag; }
    void setDragState(const DragState &state);

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

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    void readLayoutSettings();
    void updateColors();
    void fetchAppsShown();
    GridShape shapeOfAppsShown() const;
    TQAppPtr appOfCell(const IconGridLayout::CellInfo &cell) const;
    void catalogueGroupChanged(Group group);
    void defaultsChanged(const QString &key);
    void rebuildExcludedSet();

    void drawCell(QPainter &painter, std::uint64_t row, std::uint64_t col);
    void drawBunchSeparators(QPainter &painter);
    void drawBunchEndMarker(QPainter &painter);
    void setNeedsDisplayForApp(const TQAppPtr &app);
    void redrawCell(const Coords &c, bool now = false);

    void startFilterSubstringTimer(double seconds);
    void cancelFilterSubstringTimer();
    void sendFilterSubstringNotification();
    void readModifierKeys(Qt::KeyboardModifiers modifiers);
    void resetModifiers();
    void updateCursor();

    void rightMouseDown(QMouseEvent *event);
    void scrollVertically(double dy);
    void scrollHorizontally(double dx, qint64 timestampMs);

    bool isExcluded(const TQAppPtr &app) const;
    bool isRunning(const TQAppPtr &app) const;
    void showPoof();
    void showAlert(const QString &title, const QString &message);

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

    bool _shiftKeyDown = false, _controlKeyDown = false, _optionKeyDown = false;
    bool _commandKeyDown = false, _functionKeyDown = false;
    bool _oldShiftKeyDown = false, _oldControlKeyDown = false, _oldOptionKeyDown = false;
    bool _oldCommandKeyDown = false, _oldFunctionKeyDown = false;

    QString _filterSubstring;
    QTimer _filterTimer;
    double _scrollAccumulatorX = 0;
    double _scrollAccumulatorY = 0;
    QPointF _mouseDownPoint;

    // Drawing state.
    PanelColours _colours;
    bool _smoothImages = true;
    bool _showIconSpectrums = false;
    bool _isBusyScanning = false;
    QString _scanningStep;
    QString _scanningLabel;

    DragState _drag;
};

} // namespace kelp
