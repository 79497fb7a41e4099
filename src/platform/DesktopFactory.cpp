#include "platform/DesktopFactory.h"

#include "desktop/HeadlessDesktop.h"
#include "extras/Logging.h"
#include "platform/dbus/PortalHotKeys.h"
#include "platform/gio/GioAppLauncher.h"
#include "platform/gio/GioAppsOnDisk.h"
#include "platform/gio/GioFileTypeApps.h"
#include "platform/gio/GioLauncherProgress.h"
#include "platform/icons/FreedesktopIconSource.h"
#include "platform/icons/FreedesktopIconThemes.h"
#include "platform/wayland/WaylandActivation.h"
#include "platform/wayland/WaylandClientDisplay.h"
#include "platform/wayland/WaylandHotSpots.h"
#include "platform/wayland/WaylandPanelSurface.h"
#include "platform/wayland/WaylandSession.h"
#include "platform/wayland/WaylandWindowSystem.h"
#include "platform/x11/X11Compositing.h"
#include "platform/x11/X11HotKeys.h"
#include "platform/x11/X11HotSpots.h"
#include "platform/x11/X11RunningApplications.h"
#include "platform/x11/X11StatusTray.h"
#include "platform/x11/X11WindowControl.h"
#include "platform/x11/X11WindowHints.h"
#include "platform/x11/X11WorkspaceCheck.h"

#include <QStringList>

#include <xcb/xcb.h>

namespace kelp {

namespace {

// The hot key, the hot spot and the tray, each on a connection of its own.
void addTriggers(Desktop &services)
{
    auto hotKeys = std::make_shared<X11HotKeys>();
    if (hotKeys->isConnected()) services.hotKeys = hotKeys;
    auto hotSpots = std::make_shared<X11HotSpots>();
    if (hotSpots->isConnected()) services.hotSpots = hotSpots;
    auto tray = std::make_shared<X11StatusTray>();
    if (tray->isConnected()) services.statusTray = tray;
    services.workspaceCheck = std::make_shared<X11WorkspaceCheck>();
}

// The Wayland parts: the panel as a layer surface and activation tokens for launching, where the
// compositor offers them. One line says what the compositor offers and what Kelp uses of it.
bool addWayland(Desktop &services, bool triggers)
{
    WaylandSession *session = WaylandSession::instance();
    if (!session) return false;
    freeWaylandBeforeQtDisconnects();
    QStringList offered;
    for (const char *name :
         {"zwlr_layer_shell_v1", "xdg_activation_v1", "zwlr_foreign_toplevel_manager_v1",
          "ext_foreign_toplevel_list_v1", "org_kde_plasma_window_management", "xdg_wm_base"}) {
        if (const uint32_t version = session->offeredVersion(name))
            offered << QStringLiteral("%1 %2").arg(QLatin1String(name)).arg(version);
    }
    QStringList active;
    // Without layer shell the panel is an ordinary window, still with painted fades and never
    // taking a placement for a move.
    auto panel = std::make_shared<WaylandPanelSurface>(*session);
    services.panelSurface = panel;
    if (panel->isBound()) {
        active << QStringLiteral("the panel as an overlay layer surface (layer shell %1)")
                      .arg(panel->version());
    } else {
        active << QStringLiteral("the panel as an ordinary window (no layer shell: it cannot float "
                                 "above other windows or take the keyboard on its own)");
    }
    auto activation = std::make_shared<WaylandActivation>(*session);
    if (activation->isBound()) {
        services.activationTokens = activation;
        active << QStringLiteral("activation tokens for launched applications");
    } else {
        active << QStringLiteral("no activation tokens (launched applications may open behind)");
    }
    // The hot key through the desktop's shortcut service; which one is known once the session bus
    // answers (its own line then).
    if (triggers) {
        services.hotKeys = std::make_shared<PortalHotKeys>();
        active << QStringLiteral("the hot key through the GlobalShortcuts portal or KDE's "
                                 "KGlobalAccel where the session offers one (else a binding of "
                                 "kelp --toggle made by hand)");
    }
    services.summary =
        QStringLiteral("Wayland; the compositor offers %1; Kelp uses %2")
            .arg(offered.isEmpty() ? QStringLiteral("none of the protocols Kelp knows")
                                   : offered.join(QStringLiteral(", ")),
                 active.join(QStringLiteral(", ")));
    return true;
}

// What depends on the window system: running applications, window control, window hints, the
// compositor watch and the triggers.
void addWindowSystem(Desktop &services, const QString &platformName, bool triggers)
{
    if (platformName == QLatin1String("wayland")) {
        const bool known = addWayland(services, triggers);
        if (auto display = WaylandClientDisplay::fromQt()) {
            const bool shared = addWaylandRunningApplications(services, display);
            if (!known) services.summary = QStringLiteral("Wayland");
            services.summary +=
                shared ? QStringLiteral("; running applications from the compositor's window list")
                       : QStringLiteral("; no running applications (the compositor does not share "
                                        "its window list)");
            if (triggers) {
                auto hotSpots = std::make_shared<WaylandHotSpots>(display);
                if (hotSpots->isAvailable()) services.hotSpots = hotSpots;
                services.summary += hotSpots->isAvailable()
                                        ? QStringLiteral("; the hot spot as layer surfaces")
                                        : QStringLiteral("; no hot spot (no layer shell)");
            }
            qCInfo(lcPlatform).noquote() << services.summary;
            return;
        }
        if (known) {
            qCInfo(lcPlatform).noquote() << services.summary;
            services.running = std::make_shared<HeadlessRunningApplications>();
            return;
        }
    }
    if (platformName == QLatin1String("xcb")) {
        auto running = std::make_shared<X11RunningApplications>();
        if (running->isConnected()) {
            services.running = running;
            services.windowControl = std::make_shared<X11WindowControl>(running);
            auto hints = std::make_shared<X11WindowHints>();
            if (hints->isConnected()) services.windowHints = hints;
            auto compositing = std::make_shared<X11Compositing>();
            if (compositing->isWatching()) services.compositing = compositing;
            if (triggers) addTriggers(services);
            return;
        }
    }
    qCInfo(lcPlatform).noquote() << "No window system services on" << platformName
                                 << "; running without them";
    services.running = std::make_shared<HeadlessRunningApplications>();
}

} // namespace

Desktop makeDesktop(const QString &platformName, const DesktopOptions &options)
{
    Desktop services;
    services.appsOnDisk = std::make_shared<GioAppsOnDisk>();
    auto launcher = std::make_shared<GioAppLauncher>();
    services.launcher = launcher;
    services.fileTypes = std::make_shared<GioFileTypeApps>();
    addWindowSystem(services, platformName, options.triggers);
    launcher->setActivationTokens(services.activationTokens);
    if (options.launcherProgress)
        services.launcherProgress = std::make_shared<GioLauncherProgress>();
    if (options.iconTheme) {
        services.iconThemes =
            std::make_shared<FreedesktopIconThemes>(platformName == QLatin1String("xcb"));
        services.icons = services.iconThemes->makeIconSource(*options.iconTheme);
    }
    return services;
}

void chooseQtPlatform()
{
    // On Wayland the panel is a surface Qt makes without a shell role, for Kelp to give it the
    // layer surface role (WaylandPanelSurface); Qt does so for windows that bypass the window
    // manager once this is set. Launched applications do not inherit it (GioAppLauncher).
    const QByteArray asked = qgetenv("QT_QPA_PLATFORM");
    const bool wayland = asked.isEmpty() ? !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
                                         : asked.startsWith("wayland");
    if (wayland) qputenv("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "1");
    if (!asked.isEmpty()) return;
    if (wayland) {
        // Qt would take xcb (through XWayland) unless the session says it is a Wayland one.
        qputenv("QT_QPA_PLATFORM",
                qEnvironmentVariableIsEmpty("DISPLAY") ? "wayland" : "wayland;xcb");
        return;
    }
    // A display named but out of reach would make Qt abort: try it first.
    if (!qEnvironmentVariableIsEmpty("DISPLAY")) {
        xcb_connection_t *probe = xcb_connect(nullptr, nullptr);
        const bool reachable = probe && !xcb_connection_has_error(probe);
        if (probe) xcb_disconnect(probe);
        if (reachable) return;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
}

} // namespace kelp
