#include "platform/wayland/WaylandWindowSystem.h"

#include "extras/Logging.h"
#include "platform/gio/GioAppLauncher.h"
#include "platform/wayland/WaylandClientDisplay.h"
#include "platform/wayland/WaylandRunningApplications.h"
#include "platform/wayland/WaylandSession.h"
#include "platform/wayland/WaylandWindowControl.h"

#include <QCoreApplication>
#include <QThreadPool>

namespace kelp {

bool addWaylandRunningApplications(Desktop &services,
                                   const std::shared_ptr<WaylandClientDisplay> &display)
{
    auto running = std::make_shared<WaylandRunningApplications>(display);
    services.running = running;
    if (!running->isAvailable()) return false;
    // A list for listing only controls no window: Return on a running application launches it,
    // which a single-instance program answers by coming forward.
    if (running->source() != WaylandRunningApplications::Source::ExtForeignToplevelList)
        services.windowControl = std::make_shared<WaylandWindowControl>(running);
    return true;
}

namespace {

void freeWayland()
{
    // Launch threads hold the launcher and may be asking for a token right now.
    QThreadPool::globalInstance()->waitForDone();
    // Only the members that hold Wayland objects: icon loads may still read the icon source.
    Desktop &services = desktop();
    if (auto *gio = dynamic_cast<GioAppLauncher *>(services.launcher.get()))
        gio->setActivationTokens(nullptr);
    services.activationTokens.reset();
    services.windowControl.reset();
    services.running.reset();
    services.panelSurface.reset();
    services.hotSpots.reset();
    services.hotKeys.reset();
    services.statusTray.reset();
    WaylandSession::release();
    qCDebug(lcPlatform) << "Freed Kelp's Wayland objects before Qt's connection closes";
}

} // namespace

void freeWaylandBeforeQtDisconnects()
{
    static bool registered = false;
    if (registered || !QCoreApplication::instance()) return;
    registered = true;
    qAddPostRoutine(freeWayland);
}

} // namespace kelp
