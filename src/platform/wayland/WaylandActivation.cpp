#include "platform/wayland/WaylandActivation.h"

#include "extras/Logging.h"
#include "platform/wayland/WaylandSession.h"

#include <QGuiApplication>

#include "xdg-activation-v1-client-protocol.h"
#include <wayland-client.h>

namespace kelp {

namespace {

void onDone(void *data, xdg_activation_token_v1 *, const char *token)
{
    *static_cast<QString *>(data) = QString::fromUtf8(token);
}

const xdg_activation_token_v1_listener tokenListener = {onDone};

} // namespace

WaylandActivation::WaylandActivation(WaylandSession &session) : _session(session)
{
    _activation = _session.bind<xdg_activation_v1>(&xdg_activation_v1_interface, 1);
    if (_activation) _queue = _session.makeQueue();
}

WaylandActivation::~WaylandActivation()
{
    if (_activation) xdg_activation_v1_destroy(_activation);
    if (_queue) wl_event_queue_destroy(_queue);
}

QString WaylandActivation::requestToken(const QString &appId)
{
    if (!_activation) return {};
    // The token's answer comes on a queue of its own: Kelp waits for it alone.
    auto *wrapper = static_cast<xdg_activation_v1 *>(wl_proxy_create_wrapper(_activation));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(wrapper), _queue);
    xdg_activation_token_v1 *request = xdg_activation_v1_get_activation_token(wrapper);
    wl_proxy_wrapper_destroy(wrapper);
    QString token;
    xdg_activation_token_v1_add_listener(request, &tokenListener, &token);
    const uint32_t serial = WaylandSession::lastInputSerial();
    wl_seat *seat = WaylandSession::seat();
    if (serial && seat) xdg_activation_token_v1_set_serial(request, serial, seat);
    if (!appId.isEmpty()) xdg_activation_token_v1_set_app_id(request, appId.toUtf8().constData());
    QWindow *window = _window ? _window.data() : QGuiApplication::focusWindow();
    if (wl_surface *surface = WaylandSession::surfaceOf(window))
        xdg_activation_token_v1_set_surface(request, surface);
    xdg_activation_token_v1_commit(request);
    for (int i = 0; i < 4 && token.isEmpty(); ++i)
        if (!_session.roundTrip(_queue)) break;
    xdg_activation_token_v1_destroy(request);
    if (token.isEmpty()) qCInfo(lcPlatform) << "The compositor gave no activation token";
    return token;
}

} // namespace kelp
