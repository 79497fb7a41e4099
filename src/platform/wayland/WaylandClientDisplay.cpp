#include "platform/wayland/WaylandClientDisplay.h"

#include "extras/Logging.h"
#include "platform/wayland/WaylandSession.h"

#include <QSocketNotifier>

#include <wayland-client.h>

#include <cerrno>

namespace kelp {

std::shared_ptr<WaylandClientDisplay> WaylandClientDisplay::fromQt()
{
    WaylandSession *session = WaylandSession::instance();
    if (!session || !session->display()) return nullptr;
    return std::shared_ptr<WaylandClientDisplay>(
        new WaylandClientDisplay(session->display(), false));
}

std::shared_ptr<WaylandClientDisplay> WaylandClientDisplay::connectTo(const QByteArray &name)
{
    wl_display *display = wl_display_connect(name.isEmpty() ? nullptr : name.constData());
    if (!display) {
        qCWarning(lcPlatform).noquote() << "Cannot connect to the Wayland display"
                                        << (name.isEmpty() ? qgetenv("WAYLAND_DISPLAY") : name);
        return nullptr;
    }
    return std::shared_ptr<WaylandClientDisplay>(new WaylandClientDisplay(display, true));
}

WaylandClientDisplay::WaylandClientDisplay(wl_display *display, bool owned)
    : _display(display), _owned(owned)
{
    if (!_owned) return;
    _notifier = new QSocketNotifier(wl_display_get_fd(_display), QSocketNotifier::Read, this);
    connect(_notifier, &QSocketNotifier::activated, this, &WaylandClientDisplay::readEvents);
}

WaylandClientDisplay::~WaylandClientDisplay()
{
    if (_owned) wl_display_disconnect(_display);
}

bool WaylandClientDisplay::isGone() const
{
    return !_owned && !WaylandSession::isConnectionOpen();
}

void WaylandClientDisplay::flush()
{
    if (isGone()) return;
    if (wl_display_flush(_display) < 0 && errno != EAGAIN && _owned) readEvents();
}

bool WaylandClientDisplay::roundtrip()
{
    if (isGone()) return false;
    return wl_display_roundtrip(_display) >= 0;
}

bool WaylandClientDisplay::isBroken() const
{
    if (isGone()) return true;
    return wl_display_get_error(_display) != 0;
}

void WaylandClientDisplay::readEvents()
{
    // Events another call (a roundtrip) already queued come first; then the socket is read once,
    // as the notifier said it has data.
    bool prepared = true;
    while (wl_display_prepare_read(_display) != 0) {
        if (wl_display_dispatch_pending(_display) < 0) {
            prepared = false;
            break;
        }
    }
    if (prepared) {
        wl_display_flush(_display);
        if (wl_display_read_events(_display) >= 0) wl_display_dispatch_pending(_display);
        wl_display_flush(_display);
    }
    if (isBroken()) {
        qCWarning(lcPlatform) << "Lost the connection to the Wayland compositor";
        _notifier->setEnabled(false);
        Q_EMIT broken();
    }
}

} // namespace kelp
