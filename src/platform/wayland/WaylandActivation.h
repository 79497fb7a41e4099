#pragma once
// ActivationTokens through xdg_activation_v1: a token per request, tied to the last input serial
// and the panel's surface when Qt gives them.
#include "desktop/ActivationTokens.h"

#include <QPointer>
#include <QWindow>

struct xdg_activation_v1;
struct wl_event_queue;

namespace kelp {

class WaylandSession;

class WaylandActivation : public ActivationTokens
{
public:
    // Binds xdg_activation_v1 when offered (isBound() says).
    explicit WaylandActivation(WaylandSession &session);
    ~WaylandActivation() override;
    bool isBound() const { return _activation != nullptr; }

    // The window whose surface goes with each request (the panel), when shown.
    void setWindow(QWindow *window) { _window = window; }

    QString requestToken(const QString &appId = {}) override;

private:
    WaylandSession &_session;
    xdg_activation_v1 *_activation = nullptr;
    wl_event_queue *_queue = nullptr;
    QPointer<QWindow> _window;
};

} // namespace kelp
