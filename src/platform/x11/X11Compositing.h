#pragma once
// Compositing on X11: a compositing manager is one that owns the selection _NET_WM_CM_S<screen>
// (EWMH). Kelp follows that selection's owner through XFixes selection events on a connection of
// its own, read when the connection's socket becomes readable: no polling, and nothing runs while
// no compositor starts or quits.
#include "desktop/Compositing.h"

#include <QByteArray>

#include <memory>

class QSocketNotifier;

namespace kelp {

class X11Compositing : public Compositing
{
    Q_OBJECT
public:
    // displayName: an X display (":1"); empty means $DISPLAY.
    explicit X11Compositing(const QByteArray &displayName = {}, QObject *parent = nullptr);
    ~X11Compositing() override;

    // Connected and watching (the X server offers XFixes).
    bool isWatching() const { return _watching; }
    bool isActive() const override { return _active; }

private:
    void readEvents();
    bool readOwner();
    void stopWatching(const char *why);

    struct Connection;
    std::unique_ptr<Connection> _x;
    QSocketNotifier *_notifier = nullptr;
    bool _watching = false;
    bool _active = false;
};

} // namespace kelp
