#pragma once
// TQBkgndView: the panel's background, a rounded rectangle in the window colour at the window
// opacity, with an optional border drawn inside its edge. It follows the four colour settings.
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
    void setBorderWidth(double width);
    double borderWidth() const { return _borderWidth; }

    // The background at a given size, for drawing elsewhere (and for checks).
    QImage backgroundImage(const QSize &size) const;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void drawBackground(QPainter &p, const QRectF &frame) const;

    Defaults &_defaults;
    PanelColours _colours;
    double _borderWidth = 1.0;
};

} // namespace kelp
