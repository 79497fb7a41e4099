#pragma once
// What the cursor hot spot does when the pointer (or a drag) enters and leaves it. Entering
// cancels any pending delay; with the panel showing and ignoreCursorHotSpotDelayOnHide set it
// fires at once (the toggle hides the panel); else after cursorHotSpotDelay seconds of rest, or at
// once for a delay of 0. Leaving before the delay cancels it, so a pointer passing through does
// nothing. The highlight (highlightHotSpots) is on from the entry until the pointer leaves.
#include <QObject>
#include <QTimer>

#include <functional>

namespace kelp {

class HotSpotEntryRule : public QObject
{
    Q_OBJECT
public:
    // panelVisible answers whether the panel shows now.
    explicit HotSpotEntryRule(std::function<bool()> panelVisible, QObject *parent = nullptr);

    void setDelay(double seconds) { _delaySeconds = seconds; }
    void setIgnoreDelayOnClose(bool ignore) { _ignoreDelayOnClose = ignore; }
    void setDisplayHotSpots(bool display);

    void entered();
    void left();

    bool isTimerPending() const { return _delay.isActive(); }
    bool isHighlighted() const { return _highlighted; }

Q_SIGNALS:
    // The hot spot's action: the panel's toggle.
    void fired();
    // The red square shows (true) or goes (false); only with highlightHotSpots on.
    void highlightChanged(bool shown);

private:
    void setHighlighted(bool on);

    std::function<bool()> _panelVisible;
    QTimer _delay;
    double _delaySeconds = 0.35;
    bool _ignoreDelayOnClose = true;
    bool _displayHotSpots = false;
    bool _highlighted = false;
};

} // namespace kelp
