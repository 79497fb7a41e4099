#pragma once
// TQStatsControl: the group selector bar at the top of the panel.
//
// Five capsule buttons, one per principal group (all, included, excluded, favourites, running),
// each labelled with the group's size. A click, Tab / Shift-Tab, a horizontal swipe on the icon
// view, or a drag resting over a button switches the group the icon view shows; the bar follows
// the group actually shown, so the lit button always matches the grid. Labels come in three
// lengths ("12 Included", "12 I", "I") and the bar takes the longest that fits its window.
#include "catalogue/Group.h"
#include "window/PanelColours.h"

#include <QFont>
#include <QRectF>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <array>

class QKeyEvent;

namespace kelp {

class Defaults;
class TQAppManager;

class TQStatsControl : public QWidget
{
    Q_OBJECT
public:
    static constexpr int kButtonCount = 5;
    enum TempState { Normal = 0, Pressed = 2, Hovered = 3 };

    struct Button
    {
        int state = 0;                // 1: selected
        int tempState = 0;            // TempState
        Group group = Group::Running; // the group the button shows
        bool tabbable = false;
        QRectF rect;
        QString longLabel, shortLabel, tinyLabel;
        QString label; // the one in use
    };

    // The bar follows the catalogue's group sizes and the panel colour settings.
    TQStatsControl(TQAppManager &catalogue, Defaults &defaults, QWidget *parent = nullptr);
    ~TQStatsControl() override;

    // The button group for any group number: the flat form of a group lights its two-level
    // button, and the missing group (7) and anything unknown light Excluded.
    static Group groupForGroup(Group group);

    const Button &button(int index) const { return _buttons.at(size_t(index)); }
    int indexOfSelectedButton() const;
    Group groupForSelectedButton() const;

    // Lights the buttons of the group shown (follows the icon view; switches nothing).
    void selectButtonForGroup(kelp::Group group);
    // Lights one button (index clamped to 0..4) and asks for its group (groupToShowRequested).
    void selectButtonAtIndex(int index);
    // The next / previous tabbable button, wrapping around.
    void selectNextButton();
    void selectPreviousButton();
    // New count for a button's labels; the favourites button is tabbable only with favourites.
    // An index outside 0..4 is ignored.
    void setCount(qint64 count, int index);

    // Lays the buttons out with the labels in use; returns the width they need.
    int calcButtonsTotalWidth();
    // Picks the longest labels that fit the room left in the parent and sizes the bar to them.
    void frameDidChange();
    // Room kept free at the right of the parent (the gear button's place).
    void setRightMargin(int margin);
    int rightMargin() const { return _rightMargin; }
    // The part of the bar in use after fitting.
    QRect usedFrame() const { return _usedFrame; }

    // Tab and Shift-Tab; answers whether the key was taken.
    bool handleKeyDown(QKeyEvent *event);

    // Seconds a drag must rest over a button before it switches.
    double springLoadingDelay() const { return _springDelay; }
    void setSpringLoadingDelay(double seconds) { _springDelay = seconds; }
    int dragButton() const { return _dragBtn; }

    void updateColours();
    void refreshCounts();
    QSize sizeHint() const override;

Q_SIGNALS:
    // The user picked a group (click, key, swipe, spring-loaded drag).
    void groupToShowRequested(kelp::Group group);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    int buttonAt(const QPointF &point) const;
    void setPressed(int index);
    void setHovered(int index);
    void testDrag(const QPointF &point);
    void startDragTimer(double seconds);
    void cancelDragTimer();
    void dragTimerFired();
    void useLabels(int which);

    TQAppManager &_catalogue;
    Defaults &_defaults;
    std::array<Button, kButtonCount> _buttons;
    PanelColours _colours;
    QFont _font;
    QTimer _dragTimer;
    int _dragBtn = -1;
    double _springDelay = 0.5;
    int _rightMargin = 0;
    QRect _usedFrame;
    bool _fitting = false;
};

} // namespace kelp
