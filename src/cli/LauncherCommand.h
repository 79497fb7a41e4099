#pragma once
// `kelp`, `kelp --toggle/--show/--hide/--rescan/--quit`, `kelp FILE...`: a request for the running
// Kelp, which this process becomes when none runs.
#include "control/SingleInstance.h"

#include <optional>

namespace kelp {

// Hands the request to the running Kelp. The exit status when that settles it: 0 once the running
// Kelp has it, 1 (with a message) for a request that only a running Kelp can follow (hide, rescan,
// quit) when none answers. Nothing when this process should become the running Kelp.
std::optional<int> sendToRunningKelp(const InstanceRequest &request);

// The launcher: makes the desktop for the display, then sends the request to the running Kelp or
// becomes it (the catalogue, the panel and the controller) and runs until asked to quit. Returns
// the exit status.
int startKelp(const InstanceRequest &request);

} // namespace kelp
