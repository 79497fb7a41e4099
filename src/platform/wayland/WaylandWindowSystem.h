#pragma once
// What Kelp takes from a Wayland compositor's window list: running applications and window
// control where the compositor shares its toplevels, else a running layer that says it is not
// shared (GNOME), so the running group can tell the user.
#include "desktop/Desktop.h"

namespace kelp {

class WaylandClientDisplay;

// Fills services.running (always) and services.windowControl (where the compositor shares its
// toplevels) on the given connection; returns whether the window list is shared.
bool addWaylandRunningApplications(Desktop &services,
                                   const std::shared_ptr<WaylandClientDisplay> &display);

} // namespace kelp
