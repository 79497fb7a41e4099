#include "triggers/StatusItemView.h"

#include <QApplication>
#include <QCursor>
#include <QDragEnterEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QSvgRenderer>

namespace kelp {

namespace {

constexpr int kHoldMs = 500; // a press held this long opens the menu

QImage renderImage(const QString &resource, int side)
{
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer svg(resource);
    if (!svg.isValid()) return {};
    QPainter p(&image);
    svg.render(&p);
    return image;
}

// The scan's progress: a framed 14-pixel square filled from the left over step / count of it.
QImage progressImage(int step, int count, const QColor &colour)
{
    QImage image(16, 16, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setPen(colour);
    p.drawRect(QRectF(1.5, 1.5, 13, 13));
    const double width = 12.0 / count * std::clamp(step, 0, count);
    p.fillRect(QRectF(2, 2, width, 12), colour);
    return image;
}

} // namespace

StatusItemView::StatusItemView(std::function<QMenu *()> makeMenu, QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint),
      _makeMenu(std::move(makeMenu))
{
    setWindowTitle(QStringLiteral("Kelp Tray Icon"));
    setAttribute(Qt::WA_QuitOnClose, false);
    setAcceptDrops(true);
    // Trays size their icons from the smallest size the window asks for.
    setMinimumSize(22, 22);
    resize(22, 22);
    _image = renderImage(QStringLiteral(":/triggers/kelp_status_item_black.svg"), 16);
    _altImage = renderImage(QStringLiteral(":/triggers/kelp_status_item_white.svg"), 16);
    _menuTimer.setSingleShot(true);
    connect(&_menuTimer, &QTimer::timeout, this, &StatusItemView::openMenu);
}

StatusItemView::~StatusItemView()
{
    delete _menu;
}

void StatusItemView::setDarkTray(bool dark)
{
    if (dark == _dark) return;
    _dark = dark;
    update();
}

bool StatusItemView::isMenuOpen() const
{
    return _menu && _menu->isVisible();
}

void StatusItemView::showProgressStep(int step, int count)
{
    if (count <= 0) {
        _progress = _altProgress = QImage();
    } else {
        _progress = progressImage(step, count, Qt::black);
        _altProgress = progressImage(step, count, Qt::white);
    }
    repaint();
}

void StatusItemView::setHighlighted(bool on)
{
    if (on == _highlighted) return;
    _highlighted = on;
    repaint();
}

void StatusItemView::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    const QColor background = palette().color(QPalette::Window);
    p.fillRect(rect(), _highlighted ? palette().color(QPalette::Highlight) : background);
    const bool white = _dark || _highlighted;
    const QImage &image =
        !_progress.isNull() ? (_dark ? _altProgress : _progress) : (white ? _altImage : _image);
    if (image.isNull()) return;
    const QRect target(QPoint(0, 0), image.size() / image.devicePixelRatio());
    p.drawImage(target.translated(rect().center() - target.center()), image);
}

void StatusItemView::mousePressEvent(QMouseEvent *event)
{
    const Qt::KeyboardModifiers mods = event->modifiers();
    if (event->button() == Qt::RightButton || (mods & Qt::ControlModifier) || _plain) {
        openMenu();
        return;
    }
    if (event->button() != Qt::LeftButton) return;
    if (mods & (Qt::ShiftModifier | Qt::AltModifier | Qt::MetaModifier)) {
        setHighlighted(true);
        QApplication::beep();
        return;
    }
    _pressed = true;
    setHighlighted(true);
    startMenuTimer();
}

void StatusItemView::mouseMoveEvent(QMouseEvent *event)
{
    if (!_pressed) return;
    const bool inside = rect().contains(event->position().toPoint());
    if (inside == _highlighted) return;
    setHighlighted(inside);
    if (inside)
        startMenuTimer();
    else
        _menuTimer.stop();
}

void StatusItemView::mouseReleaseEvent(QMouseEvent *event)
{
    const bool wasPressed = _pressed;
    _pressed = false;
    setHighlighted(isMenuOpen());
    if (!wasPressed || !_menuTimer.isActive()) return; // the menu opened: the release is its own
    _menuTimer.stop();
    if (rect().contains(event->position().toPoint())) Q_EMIT actionTriggered();
}

void StatusItemView::dragEnterEvent(QDragEnterEvent *event)
{
    // Kelp's icon takes no drop itself: the panel opens under the drag to take it.
    event->ignore();
    setHighlighted(true);
    Q_EMIT dragEntered();
    setHighlighted(false);
}

void StatusItemView::startMenuTimer()
{
    _menuTimer.start(kHoldMs);
}

void StatusItemView::openMenu()
{
    _menuTimer.stop();
    _pressed = false;
    delete _menu;
    _menu = _makeMenu ? _makeMenu() : nullptr;
    if (!_menu) return;
    connect(_menu, &QMenu::aboutToHide, this, [this]() { setHighlighted(false); });
    setHighlighted(true);
    // At the pointer, which is over the icon: inside a tray the window's own idea of where it is
    // on the screen is relative to the tray.
    _menu->popup(QCursor::pos());
}

} // namespace kelp
