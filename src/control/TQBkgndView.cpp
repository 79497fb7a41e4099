#include "control/TQBkgndView.h"

#include "extras/Defaults.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace kelp {

TQBkgndView::TQBkgndView(Defaults &defaults, QWidget *parent) : QWidget(parent), _defaults(defaults)
{
    setAttribute(Qt::WA_TranslucentBackground);
    connect(&_defaults, &Defaults::changed, this, [this](const QString &key) {
        if (key == QLatin1String("windowAlpha") || key == QLatin1String("windowColor") ||
            key == QLatin1String("windowBorderColor") || key == QLatin1String("drawWindowBorder"))
            updateColors();
    });
    updateColors();
}

void TQBkgndView::updateColors()
{
    _windowAlpha = std::clamp(_defaults.real(QStringLiteral("windowAlpha")), 0.0, 1.0);
    _windowColor = _defaults.color(QStringLiteral("windowColor"));
    if (!_windowColor.isValid()) _windowColor = Qt::black;
    _borderColor = _defaults.color(QStringLiteral("windowBorderColor"));
    if (!_borderColor.isValid()) _borderColor = Qt::white;
    _drawBorder = _defaults.boolean(QStringLiteral("drawWindowBorder"));
    update();
}

void TQBkgndView::setBorderWidth(double width)
{
    _borderWidth = std::max(0.0, width);
    update();
}

void TQBkgndView::drawBackground(QPainter &p, const QRectF &frame) const
{
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(frame, kCornerRadius, kCornerRadius);
    QColor fill = _windowColor;
    fill.setAlphaF(fill.alphaF() * _windowAlpha);
    p.fillPath(path, fill);
    if (_drawBorder && _borderWidth > 0) {
        // Stroked at twice the width and clipped to the shape: the border lies inside the edge.
        p.save();
        p.setClipPath(path);
        QColor border = _borderColor;
        border.setAlphaF(border.alphaF() * _windowAlpha);
        p.strokePath(path, QPen(border, 2 * _borderWidth));
        p.restore();
    }
}

QImage TQBkgndView::backgroundImage(const QSize &size) const
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    drawBackground(p, QRectF(QPointF(0, 0), QSizeF(size)));
    return image;
}

void TQBkgndView::paintEvent(QPaintEvent *event)
{
    QPainter p(this);
    p.setClipRect(event->rect());
    p.setCompositionMode(QPainter::CompositionMode_Source);
    p.fillRect(event->rect(), Qt::transparent);
    p.setCompositionMode(QPainter::CompositionMode_SourceOver);
    drawBackground(p, QRectF(rect()));
}

} // namespace kelp
