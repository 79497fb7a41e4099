#pragma once
// What /proc tells of a process: the GIO launch record in its environment and its executable.
#include "desktop/WindowMatching.h"

namespace kelp {

// Fills facts.launchedDesktopFile, launchedDesktopFilePid and executable for process pid; leaves
// them empty when the process is gone or not readable (pid <= 0: nothing is read).
void readProcessFacts(qint64 pid, WindowFacts &facts);

} // namespace kelp
