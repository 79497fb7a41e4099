#include "platform/DesktopServices.h"

#include "extras/Logging.h"
#include "platform/HeadlessDesktop.h"
#include "platform/gio/GioAppsOnDisk.h"
#include "platform/x11/X11AppActions.h"
#include "platform/x11/X11RunningApplications.h"
#include "platform/x11/X11WindowHints.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

namespace kelp {

Desktop makeDesktopServices(const QString &platformName)
{
    Desktop services;
    services.appsOnDisk = std::make_shared<GioAppsOnDisk>();
    if (platformName == QLatin1String("xcb")) {
        auto running = std::make_shared<X11RunningApplications>();
        if (running->isConnected()) {
            services.actions = std::make_shared<X11AppActions>(running);
            services.running = running;
            auto hints = std::make_shared<X11WindowHints>();
            if (hints->isConnected()) services.windowHints = hints;
            return services;
        }
    }
    qCInfo(lcPlatform).noquote() << "No window system services on" << platformName
                                 << "; running without them";
    services.actions = std::make_shared<HeadlessAppActions>();
    services.running = std::make_shared<HeadlessRunningApplications>();
    return services;
}

void installDesktopServices()
{
    Desktop services = makeDesktopServices(QGuiApplication::platformName());
    // Services installed earlier by their own owners stay.
    const Desktop &current = desktop();
    if (current.appsOnDisk) services.appsOnDisk = current.appsOnDisk;
    services.icons = current.icons;
    setDesktop(std::move(services));
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
