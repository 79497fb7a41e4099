#include "window/TQStatsControl.h"

#include "catalogue/TQAppManager.h"
#include "extras/Logging.h"
#include "settings/Defaults.h"

#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace kelp {

namespace {

struct ButtonSpec
{
    Group group;
    const char *longFormat; // "%1" is the count
    const char *shortFormat;
    const char *tiny;
    bool tabbable;
};

// Display order, left to right.
constexpr ButtonSpec kSpecs[TQStatsControl::kButtonCount] = {
    {Group::All, QT_TRANSLATE_NOOP("TQStatsControl", "%1 Total"),
     QT_TRANSLATE_NOOP("TQStatsControl", "%1 T"), QT_TRANSLATE_NOOP("TQStatsControl", "T"), false},
    {Group::Included, QT_TRANSLATE_NOOP("TQStatsControl", "%1 Included"),
     QT_TRANSLATE_NOOP("TQStatsControl", "%1 I"), QT_TRANSLATE_NOOP("TQStatsControl", "I"), true},
    {Group::Excluded, QT_TRANSLATE_NOOP("TQStatsControl", "%1 Excluded"),
     QT_TRANSLATE_NOOP("TQStatsControl", "%1 E"), QT_TRANSLATE_NOOP("TQStatsControl", "E"), false},
    {Group::User, QT_TRANSLATE_NOOP("TQStatsControl", "%1 Favorite"),
     QT_TRANSLATE_NOOP("TQStatsControl", "%1 F"), QT_TRANSLATE_NOOP("TQStatsControl", "F"), true},
    {Group::Running, QT_TRANSLATE_NOOP("TQStatsControl", "%1 Running"),
     QT_TRANSLATE_NOOP("TQStatsControl", "%1 R"), QT_TRANSLATE_NOOP("TQStatsControl", "R"), true},
};
constexpr int kFavouritesIndex = 3;

QString translated(const char *text)
{
    return QCoreApplication::translate("TQStatsControl", text);
}

QPainterPath capsule(const QRectF &r)
{
    QPainterPath path;
    const double radius = std::min(r.width(), r.height()) / 2.0;
    path.addRoundedRect(r, radius, radius);
    return path;
}

} // namespace

TQStatsControl::TQStatsControl(TQAppManager &catalogue, Defaults &defaults, QWidget *parent)
    : QWidget(parent), _catalogue(catalogue), _defaults(defaults)
{
    for (int i = 0; i < kButtonCount; ++i) {
        _buttons[size_t(i)].group = kSpecs[i].group;
        _buttons[size_t(i)].tabbable = kSpecs[i].tabbable;
    }
    _font = QGuiApplication::font();
    _font.setPointSizeF(10.0);
    setFont(_font);
    setMouseTracking(true);
    setAcceptDrops(true);
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_TranslucentBackground);
    resize(sizeHint());

    _dragTimer.setSingleShot(true);
    connect(&_dragTimer, &QTimer::timeout, this, &TQStatsControl::dragTimerFired);

    connect(&_catalogue, &TQAppManager::groupChanged, this, [this](Group group) {
        if (group != Group::Missing) refreshCounts();
    });
    connect(&_defaults, &Defaults::changed, this, [this](const QString &key) {
        if (PanelColours::dependsOn(key)) updateColours();
    });
    if (parent) parent->installEventFilter(this);

    _colours = PanelColours::fromDefaults(_defaults);
    refreshCounts();
}

TQStatsControl::~TQStatsControl() = default;

QSize TQStatsControl::sizeHint() const
{
    return QSize(200, 20);
}

Group TQStatsControl::groupForGroup(Group group)
{
    switch (group) {
    case Group::Running:
        return Group::Running;
    case Group::Included:
    case Group::Included1D:
        return Group::Included;
    case Group::All:
    case Group::All1D:
        return Group::All;
    case Group::User:
    case Group::User1D:
        return Group::User;
    default: // excluded, missing, anything else
        return Group::Excluded;
    }
}

int TQStatsControl::indexOfSelectedButton() const
{
    for (int i = 0; i < kButtonCount; ++i)
        if (_buttons[size_t(i)].state == 1) return i;
    return -1;
}

Group TQStatsControl::groupForSelectedButton() const
{
    const int index = indexOfSelectedButton();
    return index < 0 ? Group::None : _buttons[size_t(index)].group;
}

void TQStatsControl::selectButtonForGroup(Group group)
{
    const Group buttonGroup = groupForGroup(group);
    for (Button &b : _buttons) {
        b.state = b.group == buttonGroup ? 1 : 0;
        b.tempState = Normal;
    }
    update();
}

void TQStatsControl::selectButtonAtIndex(int index)
{
    index = std::clamp(index, 0, kButtonCount - 1);
    for (int i = 0; i < kButtonCount; ++i) {
        _buttons[size_t(i)].state = i == index ? 1 : 0;
        _buttons[size_t(i)].tempState = Normal;
    }
    update();
    Q_EMIT groupToShowRequested(_buttons[size_t(index)].group);
}

void TQStatsControl::selectNextButton()
{
    const int start = indexOfSelectedButton();
    int i = start;
    for (int step = 0; step < kButtonCount; ++step) {
        i = (i + 1) % kButtonCount;
        if (_buttons[size_t(i)].tabbable) {
            selectButtonAtIndex(i);
            return;
        }
    }
}

void TQStatsControl::selectPreviousButton()
{
    const int start = indexOfSelectedButton();
    int i = start < 0 ? 0 : start;
    for (int step = 0; step < kButtonCount; ++step) {
        i = (i + kButtonCount - 1) % kButtonCount;
        if (_buttons[size_t(i)].tabbable) {
            selectButtonAtIndex(i);
            return;
        }
    }
}

void TQStatsControl::setCount(qint64 count, int index)
{
    if (index < 0 || index >= kButtonCount) return;
    Button &b = _buttons[size_t(index)];
    const QString number = QString::number(count);
    b.longLabel = translated(kSpecs[index].longFormat).arg(number);
    b.shortLabel = translated(kSpecs[index].shortFormat).arg(number);
    b.tinyLabel = translated(kSpecs[index].tiny);
    if (index == kFavouritesIndex) b.tabbable = count > 0;
}

void TQStatsControl::refreshCounts()
{
    const qint64 counts[kButtonCount] = {
        _catalogue.allApps1D().size(), _catalogue.includedApps1D().size(),
        _catalogue.excludedApps1D().size(), _catalogue.userApps1D().size(),
        _catalogue.runningApps().size()};
    for (int i = 0; i < kButtonCount; ++i)
        setCount(counts[i], i);
    frameDidChange();
    update();
}

void TQStatsControl::useLabels(int which)
{
    for (Button &b : _buttons)
        b.label = which == 0 ? b.longLabel : which == 1 ? b.shortLabel : b.tinyLabel;
}

int TQStatsControl::calcButtonsTotalWidth()
{
    const double h = height() - 2.0;
    const QFontMetricsF metrics(_font);
    double x = 1.0 + h / 2.0;
    for (int i = 0; i < kButtonCount; ++i) {
        Button &b = _buttons[size_t(i)];
        const double labelWidth = std::ceil(metrics.horizontalAdvance(b.label));
        b.rect = QRectF(x - h / 2.0, 1.0, labelWidth + h, h);
        x += labelWidth;
        if (i + 1 < kButtonCount) x += h + 1.0;
    }
    return int(std::lround(x + 1.0 + h / 2.0));
}

void TQStatsControl::frameDidChange()
{
    if (_fitting) return;
    _fitting = true;
    const int available =
        parentWidget() ? parentWidget()->width() - _rightMargin - x() : width() - _rightMargin;
    int total = 0;
    for (int which = 0; which < 3; ++which) {
        useLabels(which);
        total = calcButtonsTotalWidth();
        if (total <= available) break;
    }
    const int w = std::max(0, std::min(available, total));
    _usedFrame = QRect(0, 0, w, height());
    if (width() != w) resize(w, height());
    _fitting = false;
    update();
}

void TQStatsControl::setRightMargin(int margin)
{
    _rightMargin = margin;
    frameDidChange();
}

bool TQStatsControl::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize) frameDidChange();
    return QWidget::eventFilter(watched, event);
}

void TQStatsControl::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ParentAboutToChange && parentWidget())
        parentWidget()->removeEventFilter(this);
    else if (event->type() == QEvent::ParentChange && parentWidget())
        parentWidget()->installEventFilter(this);
}

bool TQStatsControl::handleKeyDown(QKeyEvent *event)
{
    if (event->isAutoRepeat() || event->text().size() > 1) return false;
    const bool shift = event->modifiers() & Qt::ShiftModifier;
    if (event->key() == Qt::Key_Backtab || (event->key() == Qt::Key_Tab && shift)) {
        selectPreviousButton();
        return true;
    }
    if (event->key() == Qt::Key_Tab) {
        selectNextButton();
        return true;
    }
    return false;
}

int TQStatsControl::buttonAt(const QPointF &point) const
{
    // The last button wins where rectangles overlap.
    for (int i = kButtonCount - 1; i >= 0; --i)
        if (_buttons[size_t(i)].rect.contains(point)) return i;
    return -1;
}

void TQStatsControl::setPressed(int index)
{
    bool changed = false;
    for (int i = 0; i < kButtonCount; ++i) {
        const int wanted = i == index ? Pressed : Normal;
        if (_buttons[size_t(i)].tempState != wanted) {
            _buttons[size_t(i)].tempState = wanted;
            changed = true;
        }
    }
    if (changed) update();
}

void TQStatsControl::setHovered(int index)
{
    bool changed = false;
    for (int i = 0; i < kButtonCount; ++i) {
        Button &b = _buttons[size_t(i)];
        const int wanted = i == index ? Hovered : (b.tempState == Hovered ? Normal : b.tempState);
        if (b.tempState != wanted) {
            b.tempState = wanted;
            changed = true;
        }
    }
    if (changed) update();
}

void TQStatsControl::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
    setPressed(buttonAt(event->position()));
    event->accept();
}

void TQStatsControl::mouseMoveEvent(QMouseEvent *event)
{
    if (event->buttons() & Qt::LeftButton)
        setPressed(buttonAt(event->position()));
    else
        setHovered(buttonAt(event->position()));
    event->accept();
}

void TQStatsControl::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) return QWidget::mouseReleaseEvent(event);
    for (Button &b : _buttons)
        b.tempState = Normal;
    const int index = buttonAt(event->position());
    if (index >= 0)
        selectButtonAtIndex(index);
    else
        update();
    event->accept();
}

void TQStatsControl::leaveEvent(QEvent *event)
{
    setHovered(-1);
    QWidget::leaveEvent(event);
}

// A drag resting over a button switches to its group; the bar itself takes no drop.
void TQStatsControl::dragEnterEvent(QDragEnterEvent *event)
{
    event->setDropAction(Qt::IgnoreAction);
    event->accept(); // keeps the move events coming
    testDrag(event->position());
}

void TQStatsControl::dragMoveEvent(QDragMoveEvent *event)
{
    testDrag(event->position());
    event->setDropAction(Qt::IgnoreAction);
    event->ignore();
}

void TQStatsControl::dragLeaveEvent(QDragLeaveEvent *event)
{
    cancelDragTimer();
    event->accept();
}

void TQStatsControl::dropEvent(QDropEvent *event)
{
    cancelDragTimer();
    event->ignore();
}

void TQStatsControl::testDrag(const QPointF &point)
{
    const int index = buttonAt(point);
    if (index < 0) {
        cancelDragTimer();
        return;
    }
    if (index != _dragBtn) {
        _dragBtn = index;
        startDragTimer(_springDelay);
    }
}

void TQStatsControl::startDragTimer(double seconds)
{
    _dragTimer.start(int(std::lround(seconds * 1000.0)));
}

void TQStatsControl::cancelDragTimer()
{
    _dragTimer.stop();
    _dragBtn = -1;
}

void TQStatsControl::dragTimerFired()
{
    const int index = _dragBtn;
    cancelDragTimer();
    if (index >= 0) selectButtonAtIndex(index);
}

void TQStatsControl::updateColours()
{
    _colours = PanelColours::fromDefaults(_defaults);
    update();
}

void TQStatsControl::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    const double winAlpha = _colours.alpha;
    const bool clear = winAlpha < 0.01;

    const QPainterPath frame = capsule(QRectF(_usedFrame));
    p.setClipPath(frame);
    QColor bg = _colours.tint;
    bg.setAlphaF(clear ? 0.0 : std::clamp(winAlpha * 0.5, 0.0, 1.0));
    p.fillPath(frame, bg);

    p.setFont(_font);
    for (const Button &b : _buttons) {
        if (b.rect.width() < 1.0) continue;
        double fill = 0.0;
        if (b.tempState == Pressed)
            fill = clear ? 0.3 : winAlpha * 0.3;
        else if (b.tempState == Hovered)
            fill = clear ? 0.0 : winAlpha * 0.5;
        else if (b.state == 1)
            fill = clear ? 0.3 : winAlpha * 0.5;
        if (fill > 0.0) {
            QColor fg = _colours.text;
            fg.setAlphaF(std::clamp(fill, 0.0, 1.0));
            p.fillPath(capsule(b.rect), fg);
        }
        p.setPen(_colours.text);
        p.drawText(b.rect, Qt::AlignCenter, b.label);
        p.setPen(Qt::NoPen);
    }
}

} // namespace kelp
