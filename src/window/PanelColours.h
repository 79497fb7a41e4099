#pragma once
// The colours of the panel's own drawing (selector bar, overlay, buttons), derived from the
// settings windowAlpha and windowColor.
#include <QColor>

namespace kelp {

class Defaults;

struct PanelColours
{
    double winAlpha = 0.85; // the panel's tint opacity
    QColor bgColor;         // the tint colour (opaque)
    QColor fgColor;         // black or white, whichever reads better on the tint

    static PanelColours fromDefaults(const Defaults &defaults);
    // Black for a light colour, white for a dark one (by perceived luminance).
    static QColor contrastingBlackOrWhite(const QColor &colour);
    // Whether the panel's buttons are drawn black: a fully clear panel, or a light tint.
    static bool wantsBlackButtons(double winAlpha, const QColor &windowColor);
};

} // namespace kelp
