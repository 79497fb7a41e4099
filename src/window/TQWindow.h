#pragma once
// TQWindow: Kelp's panel.
//
// A frameless, translucent window holding the icon grid (TQIconView), the group selector bar
// (TQStatsControl), a close button and a gear button, over a rounded background (TQBkgndView).
// The overlay (TQIconOverlayView: the typed filter and the selected application's label) is a child
// laid over all of it that lets every pointer event through to what lies below.
//
// The panel fits itself to its icon view plus fixed margins, opens centred on the screen that
// holds the pointer, fades in and out, slides back onto a screen when screens change, and tells
// whether the user has dragged it away from the centre. It is on every virtual desktop and stays
// out of the taskbar unless the dock-icon setting (showIconInDock) asks for it there.
//
// Keys typed into the panel go to the selector bar (Tab, Shift-Tab), then to the icon view; Escape
// with nothing to cancel, or Ctrl-W, asks the controller to close the panel.
#include <QMargins>
#include <QPointer>
#include <QRect>
#include <QWidget>

#include <memory>

class QAbstractButton;
class QPropertyAnimation;
class QScreen;
class QVariantAnimation;

namespace kelp {

class Compositing;
class Defaults;
class PanelSurface;
class TQAppManager;
class TQBkgndView;
class TQIconOverlayView;
class TQIconView;
class TQStatsControl;
class WindowHints;

class TQWindow : public QWidget
{
    Q_OBJECT
public:
    // Space between the icon view and the panel's edges; the top holds the buttons and the bar.
    static constexpr QMargins kMargins{8, 38, 8, 8};
    // The panel is never narrower than this, so the bar and the buttons always have room.
    static constexpr int kMinimumWidth = 200;

    TQWindow(TQAppManager &catalogue, Defaults &defaults);
    ~TQWindow() override;

    // Opens the panel: picks the group (groupToShowWhenWindowOpens, else the one shown when it
    // last closed, else included), centres it on the screen under the pointer unless it is already
    // showing, fades it in and takes the keyboard.
    void show();
    // Remembers the group shown (groupShownWhenWindowClosed) and fades the panel out.
    void hide();
    // Floats the panel above other windows (around an explicit hide), or lets it back among them.
    void raise();
    void lower();

    bool isNonActivating() const { return _isNonActivating; }
    // The panel's centre is more than 16 pixels away from its screen's centre on either axis.
    bool hasBeenMoved() const;
    // Shown and not fully faded (a panel fading out counts as hidden).
    bool isPanelVisible() const;
    // The panel's opacity in its fades: the window's, or the one it paints with where the desktop
    // has no window opacity (Wayland).
    double panelOpacity() const;
    TQIconView *iconView() const { return _iconView; }
    TQStatsControl *statsControl() const { return _statsControl; }
    TQIconOverlayView *overlayView() const { return _overlayView; }
    // The largest icon view that fits the panel's screen (primary screen when it is on none).
    QSize maxIconViewSize() const;

    // Fits the panel to its icon view's size (the icon view announces subviewNeedsResizing).
    void subviewDidResize();
    // The screens changed: the icon view gets the new room and the panel slides onto a screen.
    void screenParametersDidChange();
    // Slides the panel inside its screen's usable area, remembering where it was (movedFrame).
    void slideOnscreen();
    // Slides back to where slideOnscreen / slideToCenter found it.
    void slideBack();
    // Slides to the centre of its screen when it is off-centre by more than 16 pixels.
    void slideToCenter();
    QRect movedFrame() const { return _movedFrame; }

    // Seconds the running (or last) animated resize lasts; 0 for an immediate one.
    double lastResizeDuration() const { return _lastResizeDuration; }
    bool isAnimating() const;

    void updateColours();

    // Whether a compositor blends the panel with the desktop (assumed without a window system).
    // Without one the panel is opaque and shaped by a mask, so its corners show the desktop.
    bool isComposited() const { return _composited; }
    void setComposited(bool composited);

Q_SIGNALS:
    // The close button, Ctrl-W, or Escape with nothing to cancel.
    void closeRequested();
    // The gear button; globalPos is where its menu should open.
    void menuRequested(QPoint globalPos);
    // Around every change of size.
    void windowWillResize();
    void windowDidResize();

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool focusNextPrevChild(bool next) override;
    void closeEvent(QCloseEvent *event) override;

private:
    QRect visibleFrame() const;
    QScreen *panelScreen() const;
    void centerExactlyOn(QScreen *screen);
    void layoutSubviews();
    // The overlay shows only while the panel is at rest: hidden during fades and resizes.
    void setOverlayShown(bool shown);
    void updateShape();
    void setFrame(const QRect &frame, double seconds, bool fadeOut = false);
    void fadeInOver(double seconds);
    void fadeOutOver(double seconds);
    void stopFade();
    void applyWindowHints();
    void setPanelOpacity(double opacity);
    // Tells the desktop where the panel now is, when the desktop places it (PanelSurface).
    void updatePanelSurface();
    void watchScreen(QScreen *screen);
    void scheduleScreenCheck();
    void defaultsChanged(const QString &key);

    TQAppManager &_catalogue;
    Defaults &_defaults;
    std::shared_ptr<WindowHints> _hints;
    std::shared_ptr<Compositing> _compositing;
    std::shared_ptr<PanelSurface> _panelSurface;
    double _paintedOpacity = 1.0;
    bool _movedByUser = false; // dragged by the user since the panel was last centred
    bool _composited = true;
    TQBkgndView *_background = nullptr;
    TQIconView *_iconView = nullptr;
    TQStatsControl *_statsControl = nullptr;
    QAbstractButton *_closeButton = nullptr;
    QAbstractButton *_prefsButton = nullptr;
    TQIconOverlayView *_overlayView = nullptr;

    bool _isNonActivating = false;
    bool _showInTaskbar = true;
    bool _useAnimation = false;
    QRect _movedFrame;
    double _lastResizeDuration = 0;

    QPointer<QVariantAnimation> _fade;
    bool _fadingOut = false;
    QPointer<QPropertyAnimation> _frameAnimation;
    QPointer<QVariantAnimation> _iconFade;
    bool _screenCheckPending = false;

    // Dragging the panel by its background where the window manager cannot move it.
    QPoint _dragOffset;
    bool _dragging = false;
};

} // namespace kelp
