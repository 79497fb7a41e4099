#include "window/TQBkgndView.h"

#include "settings/Defaults.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QRegion>

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

void TQBkgndView::setOpaque(bool opaque)
{
    if (_opaque == opaque) return;
    _opaque = opaque;
    update();
}

QRegion TQBkgndView::shape(const QSize &size)
{
    const int w = size.width(), h = size.height();
    const int r = std::min({int(kCornerRadius), w / 2, h / 2});
    if (r <= 0) return QRegion(0, 0, w, h);
    // The rectangle without its four corner squares, and in each corner the quarter of a circle.
    const QRegion corners = QRegion(0, 0, r, r) + QRegion(w - r, 0, r, r) +
                            QRegion(0, h - r, r, r) + QRegion(w - r, h - r, r, r);
    const QRegion rounds = QRegion(0, 0, 2 * r, 2 * r, QRegion::Ellipse) +
                           QRegion(w - 2 * r, 0, 2 * r, 2 * r, QRegion::Ellipse) +
                           QRegion(0, h - 2 * r, 2 * r, 2 * r, QRegion::Ellipse) +
                           QRegion(w - 2 * r, h - 2 * r, 2 * r, 2 * r, QRegion::Ellipse);
    return QRegion(0, 0, w, h) - corners + (rounds & corners);
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
    if (_opaque) {
        // Every pixel goes to the screen as it is: no soft edge, no see-through colour. The
        // panel's shape mask cuts the corners.
        fill.setAlphaF(1.0);
        p.fillRect(frame, fill);
    } else {
        fill.setAlphaF(fill.alphaF() * _colours.alpha);
        p.fillPath(path, fill);
    }
    if (_colours.drawBorder && _borderWidth > 0) {
        // Stroked at twice the width and clipped to the shape: the border lies inside the edge.
        p.save();
        p.setClipPath(path);
        QColor border = _colours.border;
        border.setAlphaF(_opaque ? 1.0 : border.alphaF() * _colours.alpha);
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
