#include "window/IconGestures.h"

#include "window/TypedFilter.h"

#include <cmath>

namespace kelp {

namespace {

constexpr double kSwipeGap = 0.15;       // seconds between wheel events that end a gesture
constexpr double kSwipeThreshold = 10.0; // sideways wheel distance that switches a group
constexpr double kWheelNotch = 120.0;    // Qt's angle delta of one wheel step

// Sideways gestures are followed across all icon views of the process.
struct SwipeState
{
    double lastTime = 0;     // seconds, of the last sideways event
    double meanInterval = 0; // between the events of the current gesture
    int eventCount = 0;
    bool switched = false;
};
SwipeState &swipeState()
{
    static SwipeState state;
    return state;
}

} // namespace

IconGestures::Outcome IconGestures::wheel(QPoint angleDelta, qint64 timestampMs, bool reverseWheel,
                                          TypedFilter &filter)
{
    const double dx = angleDelta.x() / kWheelNotch;
    const double dy = angleDelta.y() / kWheelNotch;
    if (std::abs(dx) < 0.0001 && std::abs(dy) < 0.0001) return Outcome::None;
    const bool sideways = std::abs(dx) > std::abs(dy);
    const qsizetype typed = filter.text().size();
    if (typed >= 2) {
        _accumulatorX = _accumulatorY = 0;
        if (filter.isWordOpen()) return Outcome::None; // still typing a word
        filter.clear();
    } else if (typed == 1 && sideways && filter.isWordOpen()) {
        _accumulatorX = 0;
        return Outcome::None;
    }
    return sideways ? scrollHorizontally(dx, timestampMs)
                    : scrollVertically(dy, reverseWheel, filter);
}

IconGestures::Outcome IconGestures::scrollVertically(double dy, bool reverseWheel,
                                                     TypedFilter &filter)
{
    if (_accumulatorY != 0 && (dy > 0) != (_accumulatorY > 0)) {
        _accumulatorY = 0; // the wheel turned the other way
        return Outcome::None;
    }
    _accumulatorY += dy;
    if (std::abs(_accumulatorY) < 1.0) return Outcome::None;
    const bool up = (_accumulatorY > 0) != reverseWheel;
    _accumulatorY = 0;
    filter.stepLetter(up);
    return Outcome::FilterStepped;
}

IconGestures::Outcome IconGestures::scrollHorizontally(double dx, qint64 timestampMs)
{
    SwipeState &s = swipeState();
    const double now = static_cast<double>(timestampMs) / 1000.0;
    const double dt = now - s.lastTime;
    s.lastTime = now;
    if ((s.meanInterval > 0 && dt > kSwipeGap) || s.eventCount == 0) {
        // A new gesture; its first event only starts it.
        s.eventCount = 1;
        _accumulatorX = 0;
        s.meanInterval = 0;
        s.switched = false;
        return Outcome::None;
    }
    if (s.switched) return Outcome::None; // one gesture switches one group
    ++s.eventCount;
    s.meanInterval += (dt - s.meanInterval) / (s.eventCount - 1);
    if (_accumulatorX != 0 && (dx > 0) != (_accumulatorX > 0)) {
        _accumulatorX = 0;
        s.eventCount = 0;
        return Outcome::None;
    }
    _accumulatorX += dx;
    if (std::abs(_accumulatorX) <= kSwipeThreshold) return Outcome::None;
    const Outcome outcome = _accumulatorX > 0 ? Outcome::NextGroup : Outcome::PreviousGroup;
    _accumulatorX = 0;
    s.switched = true;
    return outcome;
}

} // namespace kelp
