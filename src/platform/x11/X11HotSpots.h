#pragma once
// The cursor hot spot on X11. Where the hot spot lies on the outer edge of the screen, it is a set
// of XFixes pointer barriers along that edge, reported through XInput 2.3 barrier events: the
// server sends them when the pointer pushes against the edge, also while another program holds the
// pointer (a drag), the hot spot takes no clicks, and nothing is sent while the pointer is
// elsewhere. Where the server lacks barriers (or the edge borders another monitor, where a barrier
// would trap the pointer), an input-only window over the hot spot reports enter and leave instead.
#include "desktop/HotSpots.h"

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

    struct Connection;
    std::unique_ptr<Connection> _x;
    QSocketNotifier *_notifier = nullptr;
    QTimer *_leaveCheck = nullptr;
    bool _inside = false;
    bool _lostLogged = false;
};

} // namespace kelp
