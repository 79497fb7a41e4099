#include "platform/wayland/WaylandWindowSystem.h"

#include "platform/wayland/WaylandClientDisplay.h"
#include "platform/wayland/WaylandRunningApplications.h"
#include "platform/wayland/WaylandWindowControl.h"

namespace kelp {

bool addWaylandRunningApplications(Desktop &services,
                                   const std::shared_ptr<WaylandClientDisplay> &display)
{
    auto running = std::make_shared<WaylandRunningApplications>(display);
    services.running = running;
    if (!running->isAvailable()) return false;
    services.windowControl = std::make_shared<WaylandWindowControl>(running);
    return true;
}

} // namespace kelp
