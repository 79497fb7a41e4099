#pragma once
// WaylandClientDisplay: the Wayland connection Kelp's desktop layer puts its own objects on.
//
// In the running Kelp it is Qt's own connection, from WaylandSession: Qt reads the
// socket and dispatches the default event queue on the GUI thread, so listeners on objects made
// here run from Qt's event dispatch with no polling. A connection of its own (tests, tools) is
// read through a socket notifier instead, with the same effect. Objects are made on the default
// queue either way; requests are flushed by flush().
#include <QByteArray>
#include <QObject>

#include <memory>

struct wl_display;
class QSocketNotifier;

namespace kelp {

class WaylandClientDisplay : public QObject
{
    Q_OBJECT
public:
    // Qt's connection, when Qt runs on its wayland platform; nullptr otherwise.
    static std::shared_ptr<WaylandClientDisplay> fromQt();
    // A connection of Kelp's own to the named display ($WAYLAND_DISPLAY when empty); nullptr
    // when the compositor cannot be reached.
    static std::shared_ptr<WaylandClientDisplay> connectTo(const QByteArray &name = {});

    ~WaylandClientDisplay() override;

    wl_display *display() const { return _display; }
    // Sends the requests made so far.
    void flush();
    // Waits for the compositor to answer everything sent so far, dispatching what arrives; false
    // when the connection is broken.
    bool roundtrip();
    bool isBroken() const;
    // Qt's connection ends with the application object; objects made on it must then be left
    // alone (Kelp's desktop services outlive it).
    bool isGone() const;

Q_SIGNALS:
    // The compositor went away (a connection of Kelp's own only: Qt ends the application when
    // its own breaks).
    void broken();

private:
    WaylandClientDisplay(wl_display *display, bool owned);
    void readEvents();

    wl_display *_display = nullptr;
    bool _owned = false;
    QSocketNotifier *_notifier = nullptr;
};

} // namespace kelp
