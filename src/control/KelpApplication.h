#pragma once
// The launcher itself: hands the request to a Kelp that already runs, or becomes the running Kelp
// (catalogue, panel, controller) and runs until it is asked to quit. Needs a QApplication and the
// desktop services installed (desktop/Desktop.h).
#include "control/SingleInstance.h"

namespace kelp {

int runKelp(const InstanceRequest &request);

} // namespace kelp
