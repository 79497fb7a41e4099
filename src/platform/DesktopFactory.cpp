#include "platform/DesktopFactory.h"

#include "desktop/HeadlessDesktop.h"
#include "extras/Logging.h"
#include "platform/gio/GioAppLauncher.h"
#include "platform/gio/GioAppsOnDisk.h"
#include "platform/gio/GioFileTypeApps.h"
#include "platform/gio/GioLauncherProgress.h"
#include "platform/icons/FreedesktopIconSource.h"
#include "platform/icons/FreedesktopIconThemes.h"
#include "platform/wayland/WaylandClientDisplay.h"
#include "platform/wayland/WaylandWindowSystem.h"
#include "platform/x11/X11Compositing.h"
#include "platform/x11/X11HotKeys.h"
#include "platform/x11/X11HotSpots.h"
#include "platform/x11/X11RunningApplications.h"
#include "platform/x11/X11StatusTray.h"
#include "platform/x11/X11WindowControl.h"
#include "platform/x11/X11WindowHints.h"
#include "platform/x11/X11WorkspaceCheck.h"

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

// What depends on the window system: running applications, window control, window hints, the
// compositor watch and the triggers.
void addWindowSystem(Desktop &services, const QString &platformName, bool triggers)
{
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
    if (platformName == QLatin1String("wayland")) {
        if (auto display = WaylandClientDisplay::fromQt()) {
            addWaylandRunningApplications(services, display);
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
    services.launcher = std::make_shared<GioAppLauncher>();
    services.fileTypes = std::make_shared<GioFileTypeApps>();
    addWindowSystem(services, platformName, options.triggers);
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
    if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) return;
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) return;
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
