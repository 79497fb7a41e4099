#pragma once
// IconGestures: what the wheel does over the icon grid.
//
// Turning the wheel steps the typed filter through the alphabet, one letter a notch (see
// TypedFilter::stepLetter); part notches add up, and a turn the other way starts the count again.
// A sideways swipe (a touchpad's horizontal wheel events) switches to the next or previous group
// once it has travelled far enough. One gesture switches one group however far it goes; a pause of
// more than 0.15 s between its events ends it. Swipes are followed across all icon views of the
// process.
//
// A word being typed wins over the wheel: while it is open the wheel leaves it alone, and once it
// is closed the wheel clears it and goes on as with no word. A single letter (the wheel's own)
// keeps sideways swipes from switching groups while it is open.
#include <QPoint>
#include <QtGlobal>

namespace kelp {

class TypedFilter;

class IconGestures
{
public:
    enum class Outcome {
        None,
        FilterStepped, // the filter changed to its next or previous letter
        NextGroup,
        PreviousGroup,
    };

    // A wheel event: angleDelta in Qt's eighths of a degree, the event's time stamp, and whether
    // the user reverses the wheel's direction.
    Outcome wheel(QPoint angleDelta, qint64 timestampMs, bool reverseWheel, TypedFilter &filter);
    // Forgets a part-turned wheel (the filter it would step was cleared).
    void resetVertical() { _accumulatorY = 0; }

private:
    Outcome scrollVertically(double dy, bool reverseWheel, TypedFilter &filter);
    Outcome scrollHorizontally(double dx, qint64 timestampMs);

    double _accumulatorX = 0; // notches sideways, in the direction of the swipe
    double _accumulatorY = 0; // notches up (positive) or down
};

} // namespace kelp
