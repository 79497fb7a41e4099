#pragma once
// HotSpots: the one cursor hot spot of the desktop. entered() when the pointer, or a drag held by
// any program, reaches it; left() when it goes. It takes no clicks from the windows beneath and
// costs nothing while the pointer is elsewhere.
#include "triggers/HotSpotPlacement.h"

#include <QObject>

#include <optional>

namespace kelp {

class HotSpots : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    ~HotSpots() override = default;

    // Replaces the hot spot; none removes it.
    virtual void setHotSpot(const std::optional<HotSpotPlace> &place) = 0;

Q_SIGNALS:
    void entered();
    void left();
};

} // namespace kelp
