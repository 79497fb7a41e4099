#pragma once
// Compositing: whether a compositing manager draws the screen, and word when one arrives or leaves.
//
// With a compositor the panel is translucent with soft rounded corners; without one every pixel
// of a window goes to the screen as it is, so the panel draws itself opaque and takes its rounded
// shape from a shape mask. The implementation watches without polling: nothing runs while no
// compositor comes or goes. Without an implementation (no window system) the panel assumes one.
#include <QObject>

namespace kelp {

class Compositing : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    // A compositing manager owns the screen now.
    virtual bool isActive() const = 0;

Q_SIGNALS:
    // A compositing manager arrived (true) or left (false).
    void activeChanged(bool active);
};

} // namespace kelp
