#include "window/PanelColours.h"

#include "settings/Defaults.h"

#include <algorithm>

namespace kelp {
namespace {

QColor orElse(const QColor &colour, Qt::GlobalColor fallback)
{
    return colour.isValid() ? colour : QColor(fallback);
}

} // namespace

PanelColours PanelColours::fromDefaults(const Defaults &defaults)
{
    PanelColours c;
    c.alpha = std::clamp(defaults.value(Key::WindowAlpha), 0.0, 1.0);
    c.window = orElse(defaults.value(Key::WindowColour), Qt::black);
    c.tint = c.window;
    c.tint.setAlphaF(1.0);
    c.text = c.isClear() ? QColor(Qt::black) : contrastingBlackOrWhite(c.tint);
    c.border = orElse(defaults.value(Key::WindowBorderColour), Qt::white);
    c.drawBorder = defaults.value(Key::DrawWindowBorder);
    c.highlight = orElse(defaults.value(Key::IconHighlightColour), Qt::red);
    c.drawFilledHighlight = defaults.value(Key::DrawFilledIconHighlight);
    c.drawStrokedHighlight = defaults.value(Key::DrawStrokedIconHighlight);
    c.excludedIconAlpha = defaults.value(Key::ExcludedIconAlpha);
    return c;
}

bool PanelColours::dependsOn(const QString &key)
{
    for (const auto &setting :
         {Key::WindowColour, Key::WindowBorderColour, Key::IconHighlightColour})
        if (setting.is(key)) return true;
    for (const auto &setting :
         {Key::DrawWindowBorder, Key::DrawFilledIconHighlight, Key::DrawStrokedIconHighlight})
        if (setting.is(key)) return true;
    return Key::WindowAlpha.is(key) || Key::ExcludedIconAlpha.is(key);
}

QColor PanelColours::contrastingBlackOrWhite(const QColor &colour)
{
    const QColor rgb = colour.toRgb();
    const double luminance = 0.299 * rgb.redF() + 0.587 * rgb.greenF() + 0.114 * rgb.blueF();
    return luminance > 0.5 ? QColor(Qt::black) : QColor(Qt::white);
}

bool PanelColours::wantsBlackButtons(double alpha, const QColor &windowColour)
{
    return alpha < 0.01 || windowColour.toHsv().valueF() > 0.73;
}

} // namespace kelp
