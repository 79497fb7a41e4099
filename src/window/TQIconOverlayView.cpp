#include "window/TQIconOverlayView.h"

#include "catalogue/TQApp.h"
#include "settings/Defaults.h"

#include <QCoreApplication>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QThreadPool>
#include <QVariantAnimation>

#include <algorithm>
#include <cmath>

namespace kelp {

namespace {

// The path with the extension of its last component removed ("/a/Foo.Bar.app" → "/a/Foo.Bar").
QString pathWithoutExtension(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    const qsizetype dot = path.lastIndexOf(u'.');
    return dot > slash + 1 ? path.left(dot) : path;
}

QRectF pixelAligned(const QRectF &r)
{
    return QRectF(QPointF(std::floor(r.left()), std::floor(r.top())),
                  QPointF(std::ceil(r.right()), std::ceil(r.bottom())));
}

constexpr double kLabelPadding = 6.0;

} // namespace

TQIconOverlayView::TQIconOverlayView(Defaults &defaults, QWidget *parent)
    : QWidget(parent), _defaults(defaults)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_TranslucentBackground);
    setFocusPolicy(Qt::NoFocus);

    _smallFont = QGuiApplication::font();
    _smallFont.setPointSizeF(9.0);
    _mediumFont = QGuiApplication::font();
    _mediumFont.setPointSizeF(11.0);
    _largeFont = QGuiApplication::font();
    _largeFont.setPointSizeF(16.0);
    _largeFont.setBold(true);
    _keyFont = QGuiApplication::font();
    _keyFont.setPointSizeF(48.0);
    _keyFont.setBold(true);

    _filterStringTimer.setSingleShot(true);
    connect(&_filterStringTimer, &QTimer::timeout, this,
            &TQIconOverlayView::filterStringTimerFired);
    _labelTimer.setSingleShot(true);
    _labelTimer.setInterval(kLongLabelDelayMs);
    connect(&_labelTimer, &QTimer::timeout, this, &TQIconOverlayView::labelTimerFired);

    connect(&_defaults, &Defaults::changed, this, [this](const QString &key) {
        if (PanelColours::dependsOn(key))
            updateColours();
        else if (Key::GroupOrientation.is(key) || Key::TabletMode.is(key) ||
                 Key::TabletHandedness.is(key))
            readLayoutSettings();
    });
    _colours = PanelColours::fromDefaults(_defaults);
    readLayoutSettings();
}

TQIconOverlayView::~TQIconOverlayView() = default;

void TQIconOverlayView::readLayoutSettings()
{
    _groupOrientation = int(_defaults.value(Key::GroupOrientation));
    _tabletMode = _defaults.value(Key::TabletMode);
    _tabletHandedness = int(_defaults.value(Key::TabletHandedness));
    update();
}

void TQIconOverlayView::updateColours()
{
    _colours = PanelColours::fromDefaults(_defaults);
    update();
}

// --- Filter ---------------------------------------------------------------------------------

void TQIconOverlayView::filterStringDidChange(const QString &filter, double resetInterval)
{
    cancelFilterStringTimer();
    stopFilterStringAnimation();
    if (resetInterval > 0.0) {
        _filterString = filter;
        _filterStringTimer.start(int(std::lround(resetInterval * 1000.0)));
    } else {
        _filterString.clear();
    }
    update();
}

bool TQIconOverlayView::isShowingFilter() const
{
    return !_filterString.isEmpty() && (_filterStringTimer.isActive() || _fade);
}

void TQIconOverlayView::cancelFilterStringTimer()
{
    _filterStringTimer.stop();
}

void TQIconOverlayView::filterStringTimerFired()
{
    cancelFilterStringTimer();
    startFilterStringAnimation();
}

void TQIconOverlayView::startFilterStringAnimation()
{
    stopFilterStringAnimation();
    _fade = new QVariantAnimation(this);
    _fade->setStartValue(1.0);
    _fade->setEndValue(0.0);
    _fade->setDuration(kFadeDurationMs);
    connect(_fade, &QVariantAnimation::valueChanged, this, [this](const QVariant &v) {
        _fadeOpacity = v.toDouble();
        update();
    });
    connect(_fade, &QVariantAnimation::finished, this,
            &TQIconOverlayView::stopFilterStringAnimation);
    _fade->start();
}

// Ends a fade (finished or interrupted): the filter is no longer drawn, the overlay is whole again.
void TQIconOverlayView::stopFilterStringAnimation()
{
    if (_fade) {
        QVariantAnimation *fade = _fade;
        _fade = nullptr;
        fade->disconnect(this);
        fade->stop();
        fade->deleteLater();
    }
    _fadeOpacity = 1.0;
    update();
}

QString TQIconOverlayView::displayedFilterText() const
{
    const double room = std::max(0.0, width() - 2 * kFilterInset);
    return QFontMetricsF(_keyFont).elidedText(_filterString, Qt::ElideLeft, room);
}

QRectF TQIconOverlayView::filterBox() const
{
    const QString text = displayedFilterText();
    if (text.isEmpty()) return {};
    const QFontMetricsF metrics(_keyFont);
    const QSizeF textSize(metrics.horizontalAdvance(text), metrics.height());
    const QRectF frame = rect();
    const QRectF textRect(frame.center().x() - textSize.width() / 2,
                          frame.center().y() - textSize.height() / 2, textSize.width(),
                          textSize.height());
    return pixelAligned(
        textRect.adjusted(-kFilterInset, -kFilterInset, kFilterInset, kFilterInset));
}

void TQIconOverlayView::drawFilterString(QPainter &p)
{
    if (!isShowingFilter()) return;
    const QRectF box = filterBox();
    if (box.isEmpty()) return;
    p.save();
    p.setOpacity(_fadeOpacity);
    QColor bg = _colours.tint;
    bg.setAlphaF(0.25);
    QPainterPath path;
    path.addRoundedRect(box, kFilterBoxRadius, kFilterBoxRadius);
    p.fillPath(path, bg);
    p.setFont(_keyFont);
    p.setPen(_colours.text);
    p.drawText(pixelAligned(box.adjusted(kFilterInset, kFilterInset, -kFilterInset, -kFilterInset)),
               Qt::AlignCenter, displayedFilterText());
    p.restore();
}

// --- Big icon -------------------------------------------------------------------------------

void TQIconOverlayView::setBigIconApp(const std::shared_ptr<TQApp> &app)
{
    if (_bigIconApp.lock() == app) return;
    _bigIconApp = app;
    update();
}

bool TQIconOverlayView::isShowingBigIcon() const
{
    return isShowingFilter() && !_bigIconApp.expired();
}

// Placed from the bottom of the overlay up, at fixed distances: the text's lines 25 and 50 pixels
// above the bottom edge, the icon above them, its left edge 32 pixels left of the centred 64-pixel
// column and the text 48 pixels right of it.
TQIconOverlayView::BigIconPlaces TQIconOverlayView::bigIconPlaces() const
{
    const double h = height();
    const double c = (width() - kBigIconSide) / 2.0;
    BigIconPlaces places;
    places.icon = QRectF(c - 32, h - 79 - kBigIconSide, kBigIconSide, kBigIconSide);
    places.name = QPointF(c + 48, h - 25 - QFontMetricsF(_largeFont).height());
    places.folder = QPointF(c + 48, h - 50 - QFontMetricsF(_smallFont).height());
    return places;
}

void TQIconOverlayView::drawBigIconForApp(QPainter &p, const TQApp &app)
{
    const QString path = app.path();
    const qsizetype slash = path.lastIndexOf(u'/');
    const QString folder = slash > 0 ? path.left(slash) : QStringLiteral("/");
    const QString name = pathWithoutExtension(path).mid(slash + 1);
    const BigIconPlaces places = bigIconPlaces();
    p.save();
    p.setOpacity(_fadeOpacity);
    p.setPen(_colours.text);
    p.setFont(_largeFont);
    p.drawText(QRectF(places.name, QSizeF(width() - places.name.x(), height())),
               Qt::AlignLeft | Qt::AlignTop | Qt::TextSingleLine, name);
    p.setFont(_smallFont);
    p.drawText(QRectF(places.folder, QSizeF(width() - places.folder.x(), height())),
               Qt::AlignLeft | Qt::AlignTop | Qt::TextSingleLine, folder);
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    p.drawImage(places.icon, app.displayIcon());
    p.restore();
}

// --- Selected application -------------------------------------------------------------------

void TQIconOverlayView::selectedAppDidChange(const std::shared_ptr<TQApp> &app, const QRectF &rect)
{
    _showLongLabel = false;
    cancelLabelTimer();
    if (app) {
        drawInfoForApp(app, rect);
        _labelTimer.start();
    } else {
        drawInfoForApp(nullptr, QRectF());
    }
}

void TQIconOverlayView::drawInfoForApp(const std::shared_ptr<TQApp> &app, const QRectF &rect)
{
    _selectedApp = app;
    _selectedAppRect = app ? rect : QRectF();
    _selectedPath = app ? app->path() : QString();
    _selectedName = app ? app->name() : QString();
    if (app) requestVersion(_selectedPath);
    update();
}

void TQIconOverlayView::cancelLabelTimer()
{
    _labelTimer.stop();
}

void TQIconOverlayView::labelTimerFired()
{
    _showLongLabel = true;
    update();
}

// Versions are read off the GUI thread as soon as an icon is selected, so that they are there by
// the time the long label shows; each path is read once per run.
void TQIconOverlayView::requestVersion(const QString &path)
{
    if (path.isEmpty() || _versions.contains(path) || _versionsPending.contains(path)) return;
    _versionsPending.insert(path, true);
    QPointer<TQIconOverlayView> self(this);
    QThreadPool::globalInstance()->start([self, path]() {
        const AppVersion version = AppVersion::forPath(path);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, path, version]() {
                if (self) self->versionRead(path, version);
            },
            Qt::QueuedConnection);
    });
}

void TQIconOverlayView::versionRead(const QString &path, const AppVersion &version)
{
    _versionsPending.remove(path);
    _versions.insert(path, version);
    if (_showLongLabel && path == _selectedPath) update();
}

QString TQIconOverlayView::labelText() const
{
    if (_selectedPath.isEmpty()) return {};
    if (!_showLongLabel) return _selectedName;
    return pathWithoutExtension(_selectedPath) + _versions.value(_selectedPath).labelSuffix();
}

QSizeF TQIconOverlayView::labelTextSize(const QString &text) const
{
    const QFontMetricsF metrics(_mediumFont);
    const QRectF r =
        metrics.boundingRect(QRectF(0, 0, 1e6, 1e6), Qt::AlignLeft | Qt::AlignTop, text);
    return QSizeF(std::ceil(r.width()), std::ceil(r.height()));
}

QList<TQIconOverlayView::Side>
TQIconOverlayView::labelSideOrder(int groupOrientation, bool tabletMode, int tabletHandedness)
{
    if (tabletMode) {
        // The hand holding the pen covers the area below the pen and on its own side.
        if (tabletHandedness == 1) return {Side::Left, Side::Above, Side::Right, Side::Below};
        return {Side::Right, Side::Above, Side::Left, Side::Below};
    }
    // Bunches stacked in bands of rows leave room between the bands; bunches side by side leave
    // room between the columns.
    if (groupOrientation < 2) return {Side::Below, Side::Above, Side::Right, Side::Left};
    return {Side::Right, Side::Left, Side::Below, Side::Above};
}

QRectF TQIconOverlayView::placeLabel(const QSizeF &size, const QRectF &cell, const QRectF &bounds,
                                     const QList<Side> &order)
{
    const QRectF around = cell.adjusted(-kCellOutset, -kCellOutset, kCellOutset, kCellOutset);
    const auto clampAlong = [](double pos, double length, double lo, double hi) {
        if (length >= hi - lo) return lo;
        return std::clamp(pos, lo, hi - length);
    };
    const auto candidate = [&](Side side) {
        QRectF r(QPointF(), size);
        switch (side) {
        case Side::Right:
            r.moveLeft(around.right());
            break;
        case Side::Left:
            r.moveRight(around.left());
            break;
        case Side::Below:
            r.moveTop(around.bottom());
            break;
        case Side::Above:
            r.moveBottom(around.top());
            break;
        }
        if (side == Side::Right || side == Side::Left)
            r.moveTop(clampAlong(around.center().y() - size.height() / 2, size.height(),
                                 bounds.top(), bounds.bottom()));
        else
            r.moveLeft(clampAlong(around.center().x() - size.width() / 2, size.width(),
                                  bounds.left(), bounds.right()));
        return r;
    };
    const auto room = [&](Side side) {
        switch (side) {
        case Side::Right:
            return (bounds.right() - around.right()) - size.width();
        case Side::Left:
            return (around.left() - bounds.left()) - size.width();
        case Side::Below:
            return (bounds.bottom() - around.bottom()) - size.height();
        case Side::Above:
            return (around.top() - bounds.top()) - size.height();
        }
        return -1e9;
    };
    for (Side side : order)
        if (room(side) >= 0) return candidate(side);

    // Nowhere fits: the side with the most room, pushed inside the bounds.
    Side best = order.isEmpty() ? Side::Right : order.first();
    for (Side side : order)
        if (room(side) > room(best)) best = side;
    QRectF r = candidate(best);
    r.moveLeft(clampAlong(r.left(), r.width(), bounds.left(), bounds.right()));
    r.moveTop(clampAlong(r.top(), r.height(), bounds.top(), bounds.bottom()));
    return r;
}

QRectF TQIconOverlayView::labelBox() const
{
    const QString text = labelText();
    if (text.isEmpty()) return {};
    const QSizeF textSize = labelTextSize(text);
    const bool oneLine = !text.contains(u'\n');
    const double padX = oneLine ? textSize.height() / 2 + 2 : kLabelPadding;
    const QSizeF boxSize(textSize.width() + 2 * padX, textSize.height() + 2 * 3.0);
    return pixelAligned(
        placeLabel(boxSize, _selectedAppRect, rect(),
                   labelSideOrder(_groupOrientation, _tabletMode, _tabletHandedness)));
}

void TQIconOverlayView::drawLabel(QPainter &p)
{
    const QString text = labelText();
    const QRectF box = labelBox();
    if (text.isEmpty() || box.isEmpty()) return;
    const bool oneLine = !text.contains(u'\n');
    QColor bg = _colours.tint;
    bg.setAlphaF(0.8);
    QPainterPath path;
    const double radius = oneLine ? box.height() / 2 : kLabelPadding;
    path.addRoundedRect(box, radius, radius);
    p.fillPath(path, bg);
    p.setFont(_mediumFont);
    p.setPen(_colours.isClear() ? PanelColours::contrastingBlackOrWhite(bg) : _colours.text);
    if (oneLine)
        p.drawText(box, Qt::AlignCenter | Qt::TextDontClip, text);
    else
        p.drawText(box.adjusted(kLabelPadding, 0, -kLabelPadding, 0),
                   Qt::AlignLeft | Qt::AlignVCenter | Qt::TextDontClip, text);
}

void TQIconOverlayView::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    // Drawn over the panel's own content: only the label, the big icon and the filter, nothing
    // cleared.
    drawLabel(p);
    if (const std::shared_ptr<TQApp> app = _bigIconApp.lock(); app && isShowingFilter())
        drawBigIconForApp(p, *app);
    drawFilterString(p);
}

} // namespace kelp
