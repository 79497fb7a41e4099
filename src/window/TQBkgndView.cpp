#include "window/TQBkgndView.h"

#include "settings/Defaults.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace kelp {

TQBkgndView::TQBkgndView(Defaults &defaults, QWidget *parent) : QWidget(parent), _defaults(defaults)
{
    setAttribute(Qt::WA_TranslucentBackground);
    connect(&_defaults, &Defaults::changed, this, [this](const QString &key) {
        if (PanelColours::dependsOn(key)) updateColours();
    });
    updateColours();
}

void TQBkgndView::updateColours()
{
    _colours = PanelColours::fromDefaults(_defaults);
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
    QColor fill = _colours.window;
    fill.setAlphaF(fill.alphaF() * _colours.alpha);
    p.fillPath(path, fill);
    if (_colours.drawBorder && _borderWidth > 0) {
        // Stroked at twice the width and clipped to the shape: the border lies inside the edge.
        p.save();
        p.setClipPath(path);
        QColor border = _colours.border;
        border.setAlphaF(border.alphaF() * _colours.alpha);
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
