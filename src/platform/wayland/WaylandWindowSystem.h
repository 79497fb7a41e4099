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

// Kelp's Wayland objects on Qt's connection (toplevel handles, the layer surface, the activation
// global, their event queues) are freed before Qt closes that connection: once registered (any
// number of calls, with the application object alive), a routine run as the application object
// goes drops the desktop's Wayland services and then the session, while the connection is still
// open. Launches still under way finish first, since they ask for activation tokens.
void freeWaylandBeforeQtDisconnects();

} // namespace kelp
