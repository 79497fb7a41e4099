#include "window/PanelColours.h"

#include "extras/Defaults.h"

namespace kelp {

PanelColours PanelColours::fromDefaults(const Defaults &defaults)
{
    PanelColours c;
    c.winAlpha = defaults.real(QStringLiteral("windowAlpha"));
    c.bgColor = defaults.color(QStringLiteral("windowColor"));
    if (!c.bgColor.isValid()) c.bgColor = Qt::black;
    c.bgColor.setAlphaF(1.0);
    // On a clear panel the text stands on whatever lies behind it; black is the safer choice.
    c.fgColor = c.winAlpha < 0.01 ? QColor(Qt::black) : contrastingBlackOrWhite(c.bgColor);
    return c;
}

QColor PanelColours::contrastingBlackOrWhite(const QColor &colour)
{
    const QColor rgb = colour.toRgb();
    const double luminance = 0.299 * rgb.redF() + 0.587 * rgb.greenF() + 0.114 * rgb.blueF();
    return luminance > 0.5 ? QColor(Qt::black) : QColor(Qt::white);
}

bool PanelColours::wantsBlackButtons(double winAlpha, const QColor &windowColor)
{
    return winAlpha < 0.01 || windowColor.toHsv().valueF() > 0.73;
}

} // namespace kelp
