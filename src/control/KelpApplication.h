#pragma once
// The running Kelp: the catalogue, the panel and the controller over the desktop installed with
// setDesktop() (desktop/Desktop.h), answering the requests later starts send to `instance`, until
// it is asked to quit. `request` is this start's own request. Needs a QApplication; returns the
// exit status.
#include "control/SingleInstance.h"

namespace kelp {

int runKelp(SingleInstance &instance, const InstanceRequest &request);

} // namespace kelp
