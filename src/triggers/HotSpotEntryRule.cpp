#include "triggers/HotSpotEntryRule.h"

#include <cmath>

namespace kelp {

HotSpotEntryRule::HotSpotEntryRule(std::function<bool()> panelVisible, QObject *parent)
    : QObject(parent), _panelVisible(std::move(panelVisible))
{
    _delay.setSingleShot(true);
    _delay.setTimerType(Qt::PreciseTimer);
    connect(&_delay, &QTimer::timeout, this, &HotSpotEntryRule::fired);
}

void HotSpotEntryRule::setDisplayHotSpots(bool display)
{
    if (!display) setHighlighted(false);
    _displayHotSpots = display;
}

void HotSpotEntryRule::entered()
{
    _delay.stop();
    if (_panelVisible && _panelVisible() && _ignoreDelayOnClose) {
        Q_EMIT fired();
    } else if (_delaySeconds > 0 && std::isfinite(_delaySeconds)) {
        _delay.start(static_cast<int>(std::lround(std::min(_delaySeconds, 3600.0) * 1000.0)));
    } else {
        Q_EMIT fired();
    }
    setHighlighted(true);
}

void HotSpotEntryRule::left()
{
    _delay.stop();
    setHighlighted(false);
}

void HotSpotEntryRule::setHighlighted(bool on)
{
    if (on && !_displayHotSpots) return;
    if (on == _highlighted) return;
    _highlighted = on;
    Q_EMIT highlightChanged(on);
}

} // namespace kelp
