#pragma once
// The cursor hot spot on X11, in two parts that nothing wakes while the pointer is elsewhere.
// Where the hot spot lies on the outer edge of the screen, XFixes pointer barriers along that edge
// are reported through XInput 2.3 barrier events: the server sends them when the pointer pushes
// against the edge, also while another program holds the pointer (a drag). An input-only window
// over the hot spot reports the pointer entering however it got there (a warp, a tablet, a touch
// screen), and is the whole hot spot where the server lacks barriers or the edge borders another
// monitor (a barrier there would trap the pointer). That window is unmapped while the pointer is
// inside, so it never takes a click from the window beneath; until the pointer has left, Kelp asks
// where it is while it moves (XInput 2.1 raw motion) and for a few seconds after it stops.
#include "desktop/HotSpots.h"

#include <QPoint>

#include <memory>

class QSocketNotifier;
class QTimer;

namespace kelp {

class X11HotSpots : public HotSpots
{
    Q_OBJECT
public:
    explicit X11HotSpots(const QByteArray &displayName = {}, QObject *parent = nullptr);
    ~X11HotSpots() override;

    bool isConnected() const;
    bool hasBarriers() const;
    void setHotSpot(const std::optional<HotSpotPlace> &place) override;

private:
    void readEvents();
    void clear();
    void setInside(bool inside);
    void checkPointerLeft();
    void showStrip(bool shown);
    // Raw motion events on while the pointer is in the hot spot (barrier events always).
    void followMotion(bool follow);

    struct Connection;
    std::unique_ptr<Connection> _x;
    QSocketNotifier *_notifier = nullptr;
    QTimer *_leaveCheck = nullptr;
    bool _inside = false;
    // Checks of a pointer that has not moved; at kChecksBeforeRest (3 s) the checks stop.
    static constexpr int kChecksBeforeRest = 30;
    int _restingChecks = 0;
    QPoint _lastPointer;
    bool _lostLogged = false;
};

} // namespace kelp
