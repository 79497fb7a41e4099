#pragma once
// TQBkgndView: the panel's background, a rounded rectangle in the window colour at the window
// opacity, with an optional border drawn inside its edge. It follows the four colour settings.
// Where no compositor blends windows with what lies below them it is opaque: the window colour
// at full strength over the whole view, rounded by the panel's shape (shape()).
#include "window/PanelColours.h"

#include <QColor>
#include <QWidget>

namespace kelp {

class Defaults;

class TQBkgndView : public QWidget
{
    Q_OBJECT
public:
    static constexpr double kCornerRadius = 29.0;

    explicit TQBkgndView(Defaults &defaults, QWidget *parent = nullptr);

    void updateColours();
    // Opaque where no compositor blends the panel with the desktop; translucent otherwise.
    void setOpaque(bool opaque);
    bool isOpaque() const { return _opaque; }
    void setBorderWidth(double width);
    double borderWidth() const { return _borderWidth; }

    // The background at a given size, for drawing elsewhere (and for checks).
    QImage backgroundImage(const QSize &size) const;
    // The rounded rectangle of this size as a region: the panel's shape where it cannot be drawn
    // with soft edges.
    static QRegion shape(const QSize &size);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void drawBackground(QPainter &p, const QRectF &frame) const;

    Defaults &_defaults;
    PanelColours _colours;
    double _borderWidth = 1.0;
    bool _opaque = false;
};

} // namespace kelp
