#include "window/TQWindow.h"

#include "catalogue/TQAppManager.h"
#include "desktop/Compositing.h"
#include "desktop/Desktop.h"
#include "desktop/PanelSurface.h"
#include "desktop/WindowHints.h"
#include "extras/Logging.h"
#include "extras/Timing.h"
#include "settings/Defaults.h"
#include "window/PanelColours.h"
#include "window/PanelGeometry.h"
#include "window/TQBkgndView.h"
#include "window/TQIconOverlayView.h"
#include "window/TQIconView.h"
#include "window/TQStatsControl.h"

#include <QAbstractButton>
#include <QCloseEvent>
#include <QCursor>
#include <QEasingCurve>
#include <QGraphicsOpacityEffect>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPropertyAnimation>
#include <QScreen>
#include <QTimer>
#include <QVariantAnimation>
#include <QWindow>

#include <cmath>

namespace kelp {

namespace {

constexpr int kButtonSide = 20;
constexpr int kButtonInset = 10;
constexpr int kBarLeft = kButtonInset + kButtonSide + 8;
constexpr int kBarRightMargin = kButtonInset + kButtonSide + 8;
constexpr int kBarHeight = 20;

int ms(double seconds)
{
    return int(std::lround(seconds * 1000.0));
}

// The close and gear buttons: a glyph in black or white, brighter under the pointer.
class PanelButton : public QAbstractButton
{
public:
    enum Glyph { Close, Gear };
    PanelButton(Glyph glyph, QWidget *parent) : QAbstractButton(parent), _glyph(glyph)
    {
        setFocusPolicy(Qt::NoFocus);
        setFixedSize(kButtonSide, kButtonSide);
        setAttribute(Qt::WA_Hover);
    }
    void setBlack(bool black)
    {
        _black = black;
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        QColor c = _black ? QColor(Qt::black) : QColor(Qt::white);
        c.setAlphaF(isDown() ? 1.0 : underMouse() ? 0.9 : 0.6);
        const QRectF r = QRectF(rect()).adjusted(2, 2, -2, -2);
        const QPointF centre = r.center();
        const double radius = r.width() / 2;
        QPen pen(c, 1.6);
        pen.setCapStyle(Qt::RoundCap);
        p.setPen(pen);
        if (_glyph == Close) {
            p.drawEllipse(r);
            const double a = radius * 0.42;
            p.drawLine(centre + QPointF(-a, -a), centre + QPointF(a, a));
            p.drawLine(centre + QPointF(-a, a), centre + QPointF(a, -a));
            return;
        }
        // A gear: eight teeth around a ring.
        QPainterPath gear;
        constexpr int teeth = 8;
        const double outer = radius, inner = radius * 0.72;
        for (int i = 0; i < teeth * 4; ++i) {
            const double angle = (i - 0.5) * M_PI * 2 / (teeth * 4);
            const double rr = (i % 4 == 0 || i % 4 == 1) ? outer : inner;
            const QPointF pt = centre + QPointF(std::cos(angle) * rr, std::sin(angle) * rr);
            if (i == 0)
                gear.moveTo(pt);
            else
                gear.lineTo(pt);
        }
        gear.closeSubpath();
        gear.addEllipse(centre, radius * 0.3, radius * 0.3);
        gear.setFillRule(Qt::OddEvenFill);
        p.setPen(Qt::NoPen);
        p.fillPath(gear, c);
    }

private:
    Glyph _glyph;
    bool _black = false;
};

} // namespace

TQWindow::TQWindow(TQAppManager &catalogue, Defaults &defaults)
    : QWidget(nullptr), _catalogue(catalogue), _defaults(defaults), _hints(desktop().windowHints),
      _compositing(desktop().compositing), _panelSurface(desktop().panelSurface)
{
    _isNonActivating = _defaults.value(Key::NonActivatingPanel);
    _showInTaskbar = _defaults.value(Key::ShowIconInDock);
    _useAnimation = _defaults.value(Key::AnimateWindowResizing);

    Qt::WindowFlags flags = Qt::Window | Qt::FramelessWindowHint;
    // A non-activating panel floats above the other windows.
    if (_isNonActivating) flags |= Qt::WindowStaysOnTopHint;
    // Where the desktop places the panel itself, the window carries what that needs.
    if (_panelSurface) {
        flags |= _panelSurface->windowFlags();
        _panelSurface->setLayer(panelLayerFromStored(_defaults.value(Key::PanelLayer)));
    }
    setWindowFlags(flags);
    setAttribute(Qt::WA_TranslucentBackground);
    setWindowTitle(QStringLiteral("Kelp Main"));
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);

    _background = new TQBkgndView(_defaults, this);
    _iconView = new TQIconView(_catalogue, _defaults, this);
    _statsControl = new TQStatsControl(_catalogue, _defaults, this);
    _statsControl->move(kBarLeft, kButtonInset);
    _statsControl->resize(_statsControl->width(), kBarHeight);
    _statsControl->setRightMargin(kBarRightMargin);
    auto *closeButton = new PanelButton(PanelButton::Close, this);
    closeButton->setToolTip(tr("Close"));
    auto *prefsButton = new PanelButton(PanelButton::Gear, this);
    prefsButton->setToolTip(tr("Kelp menu"));
    _closeButton = closeButton;
    _prefsButton = prefsButton;
    connect(_closeButton, &QAbstractButton::clicked, this, &TQWindow::closeRequested);
    connect(_prefsButton, &QAbstractButton::clicked, this, [this]() {
        Q_EMIT menuRequested(_prefsButton->mapToGlobal(QPoint(0, _prefsButton->height())));
    });

    // The overlay: drawn inside the panel over everything else, never taking a click, a hover or
    // the keyboard, so that whatever the window manager does the pointer reaches what lies below.
    _overlayView = new TQIconOverlayView(_defaults, this);

    // The icon view's news.
    connect(_iconView, &TQIconView::subviewNeedsResizing, this, &TQWindow::subviewDidResize);
    // A drag over the icons needs the whole panel on screen, and the front when Kelp lacked it.
    connect(_iconView, &TQIconView::dragWantsPanelOnscreen, this, [this](bool activate) {
        slideOnscreen();
        if (activate && !_isNonActivating) activateWindow();
    });
    connect(_iconView, &TQIconView::dragReleasedPanel, this, &TQWindow::slideBack);
    connect(_iconView, &TQIconView::groupShownChanged, _statsControl,
            &TQStatsControl::selectButtonForGroup);
    connect(_iconView, &TQIconView::selectNextIconGroup, _statsControl,
            &TQStatsControl::selectNextButton);
    connect(_iconView, &TQIconView::selectPrevIconGroup, _statsControl,
            &TQStatsControl::selectPreviousButton);
    connect(_statsControl, &TQStatsControl::groupToShowRequested, _iconView,
            &TQIconView::setGroupToShow);
    connect(_iconView, &TQIconView::filterStringChanged, _overlayView,
            &TQIconOverlayView::filterStringDidChange);
    connect(_iconView, &TQIconView::filterStringChanged, this, [this](const QString &filter) {
        // Letters that leave one application (the one Return launches) show it big.
        const AppList matches = filter.isEmpty() ? AppList() : _iconView->keyFilteredApps1D();
        _overlayView->setBigIconApp(matches.size() == 1 ? matches.first() : nullptr);
    });
    connect(_iconView, &TQIconView::selectedAppChanged, this,
            [this](const std::shared_ptr<TQApp> &app, const QRectF &rect) {
                // Cell rectangles arrive in icon view coordinates; the overlay covers the panel.
                _overlayView->selectedAppDidChange(app, rect.translated(_iconView->pos()));
            });

    connect(&_defaults, &Defaults::changed, this, &TQWindow::defaultsChanged);

    // A compositor may start or quit at any time, the panel shown or not.
    if (_compositing)
        connect(_compositing.get(), &Compositing::activeChanged, this, &TQWindow::setComposited);
    _composited = !(_compositing && !_compositing->isActive());
    _background->setOpaque(!_composited);

    // Screens that come, go or change their usable area.
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen *screen) {
        watchScreen(screen);
        scheduleScreenCheck();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &TQWindow::scheduleScreenCheck);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &TQWindow::scheduleScreenCheck);
    for (QScreen *screen : QGuiApplication::screens())
        watchScreen(screen);

    updateColours();
    _iconView->setMaxIconViewSize(maxIconViewSize());
    subviewDidResize();
    centerExactlyOn(QGuiApplication::primaryScreen());
}

TQWindow::~TQWindow() = default;

void TQWindow::defaultsChanged(const QString &key)
{
    if (PanelColours::dependsOn(key))
        updateColours();
    else if (Key::AnimateWindowResizing.is(key))
        _useAnimation = _defaults.value(Key::AnimateWindowResizing);
    else if (Key::PanelLayer.is(key) && _panelSurface)
        _panelSurface->setLayer(panelLayerFromStored(_defaults.value(Key::PanelLayer)));
}

void TQWindow::updateColours()
{
    const bool black = PanelColours::fromDefaults(_defaults).wantsBlackButtons();
    static_cast<PanelButton *>(_closeButton)->setBlack(black);
    static_cast<PanelButton *>(_prefsButton)->setBlack(black);
    _background->updateColours();
}

// --- Compositing --------------------------------------------------------------------------------

void TQWindow::setComposited(bool composited)
{
    if (composited == _composited) return;
    _composited = composited;
    qCInfo(lcWindow) << (composited ? "Panel translucent: a compositor blends it"
                                    : "Panel opaque and shaped: no compositor");
    _background->setOpaque(!composited);
    updateShape();
    update();
}

// Without a compositor the corners are cut by a shape mask (the X server's Shape extension under
// X11); with one they are drawn soft and transparent, and no mask is wanted.
void TQWindow::updateShape()
{
    if (_composited) {
        if (!mask().isEmpty()) clearMask();
        return;
    }
    const QRegion shape = TQBkgndView::shape(size());
    if (shape != mask()) setMask(shape);
}

// --- Screens ------------------------------------------------------------------------------------

QScreen *TQWindow::panelScreen() const
{
    if (QScreen *s = QGuiApplication::screenAt(geometry().center())) return s;
    return QGuiApplication::primaryScreen();
}

QRect TQWindow::visibleFrame() const
{
    QList<QRect> frames;
    int primary = 0;
    for (QScreen *s : QGuiApplication::screens()) {
        if (s == QGuiApplication::primaryScreen()) primary = int(frames.size());
        frames.append(s->availableGeometry());
    }
    return panel::visibleFrameForPanel(geometry(), frames, primary);
}

QSize TQWindow::maxIconViewSize() const
{
    return panel::maxIconViewSize(visibleFrame(), kMargins);
}

bool TQWindow::hasBeenMoved() const
{
    // Where the desktop places the panel, Qt does not learn where it is: only the user's own drag
    // says it moved, never a placement by the compositor.
    if (_panelSurface) return _movedByUser;
    const QRect screen = visibleFrame();
    return !screen.isEmpty() && panel::hasBeenMoved(geometry(), screen);
}

void TQWindow::watchScreen(QScreen *screen)
{
    connect(screen, &QScreen::availableGeometryChanged, this, &TQWindow::scheduleScreenCheck);
    connect(screen, &QScreen::geometryChanged, this, &TQWindow::scheduleScreenCheck);
}

// Screens change in bursts (a monitor unplugged changes every geometry); look once they settle.
void TQWindow::scheduleScreenCheck()
{
    if (_screenCheckPending) return;
    _screenCheckPending = true;
    QTimer::singleShot(0, this, [this]() {
        _screenCheckPending = false;
        screenParametersDidChange();
    });
}

void TQWindow::screenParametersDidChange()
{
    _iconView->setMaxIconViewSize(maxIconViewSize());
    _iconView->resizeViewForced(false);
    const QRect target = panel::constrainedInto(geometry(), visibleFrame());
    if (target != geometry()) {
        qCDebug(lcPlatform) << "Screens changed: the panel slides from" << geometry() << "to"
                            << target;
        setFrame(target, isVisible() ? panel::kSlideDuration : 0);
    }
}

void TQWindow::centerExactlyOn(QScreen *screen)
{
    if (!screen) return;
    _movedByUser = false;
    setGeometry(panel::centredOn(size(), screen->availableGeometry()));
}

// --- Showing and hiding -------------------------------------------------------------------------

void TQWindow::show()
{
    const bool needsCentring = !isVisible() || panelOpacity() < 0.01 || _fadingOut;
    QScreen *screen = nullptr;
    if (needsCentring) {
        screen = QGuiApplication::screenAt(QCursor::pos());
        if (!screen) screen = QGuiApplication::primaryScreen();
        centerExactlyOn(screen);
        _iconView->setMaxIconViewSize(maxIconViewSize());
    }
    const int group = panel::groupToShowOnOpen(_defaults.value(Key::GroupToShowWhenWindowOpens),
                                               _defaults.value(Key::GroupShownWhenWindowClosed));
    _iconView->setGroupToShow(groupFromStored(group));
    _statsControl->selectButtonForGroup(_iconView->groupShown());
    if (needsCentring) centerExactlyOn(screen); // the group may have changed the panel's size

    fadeInOver(panel::kFadeDuration);
    QWidget::raise();
    activateWindow();
    setFocus(Qt::ActiveWindowFocusReason);
}

void TQWindow::hide()
{
    _defaults.setValue(Key::GroupShownWhenWindowClosed, qint64(_iconView->groupToShow()));
    _defaults.synchronize();
    fadeOutOver(panel::kFadeDuration);
    _movedFrame = QRect();
}

bool TQWindow::isPanelVisible() const
{
    if (!isVisible() || _fadingOut) return false;
    // A panel fading in counts as shown from its first frame.
    return panelOpacity() >= 0.01 || (_fade && _fade->state() == QAbstractAnimation::Running);
}

double TQWindow::panelOpacity() const
{
    return _panelSurface && _panelSurface->paintsOpacity() ? _paintedOpacity : windowOpacity();
}

void TQWindow::setPanelOpacity(double opacity)
{
    if (!_panelSurface || !_panelSurface->paintsOpacity()) {
        setWindowOpacity(opacity);
        return;
    }
    // No window opacity here: each part of the panel paints itself with the fade's opacity (an
    // effect of its own; a part busy with another effect, the icons in a resize, keeps that one).
    _paintedOpacity = opacity;
    static const char *const kFadeEffect = "kelpPanelFade";
    const QList<QWidget *> parts = findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
    for (QWidget *part : parts) {
        QGraphicsEffect *current = part->graphicsEffect();
        if (current && !current->property(kFadeEffect).toBool()) continue;
        if (opacity >= 1.0) {
            if (current) part->setGraphicsEffect(nullptr);
            continue;
        }
        auto *effect = static_cast<QGraphicsOpacityEffect *>(current);
        if (!effect) {
            effect = new QGraphicsOpacityEffect(part);
            effect->setProperty(kFadeEffect, true);
            part->setGraphicsEffect(effect);
        }
        effect->setOpacity(opacity);
    }
}

void TQWindow::updatePanelSurface()
{
    if (_panelSurface && isVisible() && windowHandle())
        _panelSurface->setFrame(windowHandle(), geometry(), panelScreen(), hasBeenMoved());
}

void TQWindow::raise()
{
    if (_hints && windowHandle()) {
        _hints->setKeepAbove(windowHandle(), true);
    } else if (windowHandle()) {
        windowHandle()->setFlag(Qt::WindowStaysOnTopHint, true);
    }
    QWidget::raise();
}

void TQWindow::lower()
{
    if (_isNonActivating) return; // a floating panel stays afloat
    if (_hints && windowHandle())
        _hints->setKeepAbove(windowHandle(), false);
    else if (windowHandle())
        windowHandle()->setFlag(Qt::WindowStaysOnTopHint, false);
}

void TQWindow::applyWindowHints()
{
    if (!_hints || !windowHandle()) return;
    _hints->setOnAllDesktops(windowHandle());
    _hints->setSkipTaskbar(windowHandle(), !_showInTaskbar);
}

void TQWindow::setOverlayShown(bool shown)
{
    _overlayView->setVisible(shown);
}

void TQWindow::stopFade()
{
    if (_fade) {
        _fade->disconnect(this);
        _fade->stop();
        _fade->deleteLater();
    }
    _fade = nullptr;
    _fadingOut = false;
}

void TQWindow::fadeInOver(double seconds)
{
    stopFade();
    if (!isVisible()) {
        setPanelOpacity(0.0);
        setOverlayShown(false);
        winId();
        applyWindowHints();
        QWidget::show();
        // The desktop's surface exists now and Qt has not drawn yet: the desktop's placement.
        if (_panelSurface) {
            _panelSurface->attach(windowHandle(), geometry(), panelScreen(), hasBeenMoved());
            // Qt forgets a position it cannot give such a surface: Kelp's frame stays the place
            // the desktop puts it, for a drag to start from.
            if (!_movedByUser) centerExactlyOn(panelScreen());
        }
        applyWindowHints();
    }
    if (panelOpacity() >= 1.0) {
        setOverlayShown(true);
        return;
    }
    auto *fade = new QVariantAnimation(this);
    fade->setStartValue(panelOpacity());
    fade->setEndValue(1.0);
    fade->setDuration(ms(seconds * (1.0 - panelOpacity())));
    fade->setEasingCurve(QEasingCurve::InQuad);
    connect(fade, &QVariantAnimation::valueChanged, this,
            [this](const QVariant &v) { setPanelOpacity(v.toDouble()); });
    connect(fade, &QVariantAnimation::finished, this, [this]() {
        setPanelOpacity(1.0);
        setOverlayShown(true);
        stopFade();
    });
    _fade = fade;
    fade->start();
}

void TQWindow::fadeOutOver(double seconds)
{
    if (!isVisible() || _fadingOut) return;
    stopFade();
    setOverlayShown(false);
    auto *fade = new QVariantAnimation(this);
    fade->setStartValue(panelOpacity());
    fade->setEndValue(0.0);
    fade->setDuration(ms(seconds * panelOpacity()));
    fade->setEasingCurve(QEasingCurve::OutQuad);
    connect(fade, &QVariantAnimation::valueChanged, this,
            [this](const QVariant &v) { setPanelOpacity(v.toDouble()); });
    connect(fade, &QVariantAnimation::finished, this, [this]() {
        stopFade();
        if (_panelSurface) _panelSurface->detach(windowHandle());
        QWidget::hide();
        setPanelOpacity(1.0); // ready for the next show
    });
    _fade = fade;
    _fadingOut = true;
    fade->start();
}

// --- Frame --------------------------------------------------------------------------------------

bool TQWindow::isAnimating() const
{
    return (_frameAnimation && _frameAnimation->state() == QAbstractAnimation::Running) ||
           (_fade && _fade->state() == QAbstractAnimation::Running);
}

void TQWindow::setFrame(const QRect &frame, double seconds, bool fadeOut)
{
    if (_frameAnimation) {
        _frameAnimation->stop();
        _frameAnimation->deleteLater();
    }
    if (seconds <= 0 || !isVisible()) {
        setGeometry(frame);
        return;
    }
    auto *slide = new QPropertyAnimation(this, "geometry", this);
    slide->setStartValue(geometry());
    slide->setEndValue(frame);
    slide->setDuration(ms(seconds));
    slide->setEasingCurve(QEasingCurve::InOutQuad);
    _frameAnimation = slide;
    if (fadeOut) fadeOutOver(seconds);
    slide->start(QAbstractAnimation::DeleteWhenStopped);
}

void TQWindow::subviewDidResize()
{
    const QSize viewSize = _iconView->viewSize();
    QRect frame =
        panel::frameForContent(viewSize, kMargins, geometry(), visibleFrame(), isVisible());
    if (frame.width() < kMinimumWidth) {
        const int grow = kMinimumWidth - frame.width();
        frame.adjust(-grow / 2, 0, grow - grow / 2, 0);
        if (isVisible()) frame = panel::constrainedInto(frame, visibleFrame());
    }
    setOverlayShown(false);
    Q_EMIT windowWillResize();

    const bool animate = _useAnimation && isVisible() && frame.size() != size();
    _lastResizeDuration = 0;
    if (animate) {
        const QScreen *screen = panelScreen();
        _lastResizeDuration =
            panel::animationResizeTime(geometry(), frame, screen ? screen->size() : QSize());
        // The icons fade out over the first half of the resize and back in over the second.
        auto *effect = new QGraphicsOpacityEffect(_iconView);
        _iconView->setGraphicsEffect(effect);
        auto *iconFade = new QVariantAnimation(this);
        iconFade->setKeyValueAt(0.0, 1.0);
        iconFade->setKeyValueAt(0.5, 0.0);
        iconFade->setKeyValueAt(1.0, 1.0);
        iconFade->setDuration(ms(_lastResizeDuration));
        connect(iconFade, &QVariantAnimation::valueChanged, effect,
                [effect](const QVariant &v) { effect->setOpacity(v.toDouble()); });
        connect(iconFade, &QVariantAnimation::finished, this,
                [this]() { _iconView->setGraphicsEffect(nullptr); });
        if (_iconFade) _iconFade->stop();
        _iconFade = iconFade;
        iconFade->start(QAbstractAnimation::DeleteWhenStopped);
        setFrame(frame, _lastResizeDuration);
        connect(_frameAnimation, &QAbstractAnimation::finished, this, [this]() {
            setOverlayShown(true);
            Q_EMIT windowDidResize();
        });
        layoutSubviews();
        return;
    }
    setFrame(frame, 0);
    layoutSubviews();
    setOverlayShown(true);
    Q_EMIT windowDidResize();
}

void TQWindow::layoutSubviews()
{
    const QSize viewSize = _iconView->viewSize();
    // The icon view keeps its final size during an animated resize; the panel uncovers it.
    const QRect target = _frameAnimation ? _frameAnimation->endValue().toRect() : geometry();
    const int room = target.width() - kMargins.left() - kMargins.right();
    _iconView->setGeometry(kMargins.left() + std::max(0, (room - viewSize.width()) / 2),
                           kMargins.top(), viewSize.width(), viewSize.height());
    _background->setGeometry(rect());
    _background->lower();
    _closeButton->move(kButtonInset, kButtonInset);
    _prefsButton->move(width() - kButtonInset - kButtonSide, kButtonInset);
    _overlayView->setGeometry(rect());
    _overlayView->raise();
}

void TQWindow::moveEvent(QMoveEvent *event)
{
    QWidget::moveEvent(event);
    updatePanelSurface();
}

void TQWindow::resizeEvent(QResizeEvent *event)
{
    updatePanelSurface();
    QWidget::resizeEvent(event);
    layoutSubviews();
    updateShape();
}

void TQWindow::slideOnscreen()
{
    const QRect target = panel::constrainedInto(geometry(), visibleFrame());
    if (target == geometry()) return;
    _movedFrame = geometry();
    setFrame(target, panel::kSlideDuration);
}

void TQWindow::slideBack()
{
    if (_movedFrame.isNull() || _movedFrame == geometry()) return;
    setFrame(_movedFrame, panel::kSlideDuration);
}

void TQWindow::slideToCenter()
{
    const QRect screen = visibleFrame();
    if (screen.isEmpty() || !panel::hasBeenMoved(geometry(), screen)) return;
    _movedFrame = geometry();
    setFrame(panel::centredOn(size(), screen), panel::kSlideDuration);
}

// --- Events -------------------------------------------------------------------------------------

bool TQWindow::focusNextPrevChild(bool)
{
    return false; // Tab and Shift-Tab belong to the selector bar
}

bool TQWindow::event(QEvent *event)
{
    const bool handled = QWidget::event(event);
    // An update request paints every widget of the panel and flushes them to the screen.
    if (event->type() == QEvent::UpdateRequest) timing::panelPainted();
    return handled;
}

void TQWindow::keyPressEvent(QKeyEvent *event)
{
    if (_statsControl->handleKeyDown(event) || _iconView->performKeyEquivalent(event) ||
        _iconView->handleKeyDown(event)) {
        event->accept();
        return;
    }
    const bool closeKey = event->key() == Qt::Key_Escape ||
                          (event->key() == Qt::Key_W && event->modifiers() & Qt::ControlModifier);
    if (closeKey && !event->isAutoRepeat()) {
        if (event->key() == Qt::Key_Escape && _iconView->handleCancelOperation()) return;
        Q_EMIT closeRequested();
        event->accept();
        return;
    }
    QWidget::keyPressEvent(event);
}

void TQWindow::keyReleaseEvent(QKeyEvent *event)
{
    _iconView->handleKeyUp(event);
    QWidget::keyReleaseEvent(event);
}

void TQWindow::mousePressEvent(QMouseEvent *event)
{
    // The background moves the panel: the window manager's own move where it offers one.
    if (event->button() == Qt::LeftButton) {
        if (windowHandle() && windowHandle()->startSystemMove()) {
            event->accept();
            return;
        }
        _dragging = true;
        _dragOffset = event->globalPosition().toPoint() - pos();
        event->accept();
        return;
    }
    QWidget::mousePressEvent(event);
}

void TQWindow::mouseMoveEvent(QMouseEvent *event)
{
    if (_dragging && (event->buttons() & Qt::LeftButton)) {
        _movedByUser = true;
        move(event->globalPosition().toPoint() - _dragOffset);
        return;
    }
    const QPointF p = event->position();
    if (_iconView->geometry().contains(p.toPoint())) {
        _iconView->myMouseMoved(p - QPointF(_iconView->pos()));
        return;
    }
    QWidget::mouseMoveEvent(event);
}

void TQWindow::mouseReleaseEvent(QMouseEvent *event)
{
    _dragging = false;
    QWidget::mouseReleaseEvent(event);
}

void TQWindow::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() != QEvent::ActivationChange) return;
    if (isActiveWindow()) return;
    // The keyboard went elsewhere: drop the typed filter. (Whether that hides the panel is the
    // controller's call, from the application's state: TQController.)
    _iconView->reset();
    _iconView->update();
}

void TQWindow::closeEvent(QCloseEvent *event)
{
    // The window manager's close (Alt-F4) is the close button.
    event->ignore();
    Q_EMIT closeRequested();
}

} // namespace kelp
