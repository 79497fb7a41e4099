#pragma once
// The XEmbed system tray (the owner of the selection _NET_SYSTEM_TRAY_S<screen>): Kelp's icon
// window is handed to it with a dock request. Kelp's own connection listens on the root window for
// the MANAGER announcement of a tray that starts, and on the tray for its going away, so the icon
// docks again when a tray comes back. It also follows the tray's _NET_SYSTEM_TRAY_COLORS and the
// desktop's dark mode (XSETTINGS), both through events.
#include "desktop/StatusTray.h"

#include <memory>

class QSocketNotifier;

namespace kelp {

class X11XSettingsWatch;

class X11StatusTray : public StatusTray
{
    Q_OBJECT
public:
    explicit X11StatusTray(const QByteArray &displayName = {}, QObject *parent = nullptr);
    ~X11StatusTray() override;

    bool isConnected() const;
    bool isAvailable() const override;
    bool dock(QWindow *window) override;
    std::optional<QColor> foreground() const override;
    std::optional<bool> darkDesktop() const override;
    void prepare(QWindow *window) override;

private:
    void readEvents();
    quint32 trayOwner() const;
    void watchOwner();

    struct Connection;
    std::unique_ptr<Connection> _x;
    QSocketNotifier *_notifier = nullptr;
    X11XSettingsWatch *_xsettings = nullptr;
    bool _lostLogged = false;
};

} // namespace kelp
