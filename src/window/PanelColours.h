#pragma once
// The colours of everything the panel draws, read from the settings in one place: the background
// and its border, the icon grid's tint, highlight and dimming, the selector bar, the overlay and
// the buttons. Every view that draws keeps one PanelColours, rebuilt when dependsOn() says a
// changed setting matters.
#include <QColor>
#include <QString>

namespace kelp {

class Defaults;

struct PanelColours
{
    double alpha = 0.85;       // the panel's opacity (windowAlpha, clamped to 0..1)
    QColor window = Qt::black; // the window colour as stored, its own alpha kept
    QColor tint = Qt::black;   // the window colour made opaque
    QColor text = Qt::white;   // black or white, whichever reads better on the tint
    QColor border = Qt::white; // drawn only when drawBorder
    bool drawBorder = false;
    QColor highlight = Qt::red; // the frame around running applications' icons
    bool drawFilledHighlight = true;
    bool drawStrokedHighlight = false;
    double excludedIconAlpha = 0.15;

    static PanelColours fromDefaults(const Defaults &defaults);
    // Whether a change of that setting changes the colours.
    static bool dependsOn(const QString &key);

    // A panel this clear shows whatever lies behind it; text and buttons then stay black.
    bool isClear() const { return alpha < 0.01; }
    // Whether the panel's buttons are drawn black: a fully clear panel, or a light tint.
    bool wantsBlackButtons() const { return wantsBlackButtons(alpha, window); }

    // Black for a light colour, white for a dark one (by perceived luminance).
    static QColor contrastingBlackOrWhite(const QColor &colour);
    static bool wantsBlackButtons(double alpha, const QColor &windowColour);
};

} // namespace kelp
