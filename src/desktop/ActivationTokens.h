#pragma once
// ActivationTokens: permission from the compositor for another program to take the front. Kelp
// asks for a token for every launch (the launched application finds it in XDG_ACTIVATION_TOKEN
// and DESKTOP_STARTUP_ID) and for activating a running application. Only a Wayland compositor
// that offers activation gives tokens; elsewhere there is no implementation.
#include <QString>

namespace kelp {

class ActivationTokens
{
public:
    virtual ~ActivationTokens() = default;
    // A fresh token for the application with the desktop-file ID `appId` (may be empty), tied to
    // the panel's surface and the last input Kelp received when there are; empty when the
    // compositor gives none. Waits for the compositor's answer (one round trip).
    virtual QString requestToken(const QString &appId = {}) = 0;
};

} // namespace kelp
