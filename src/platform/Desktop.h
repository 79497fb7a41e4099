#pragma once
// Desktop: the set of desktop services Kelp runs with, chosen once at start-up from the Qt platform
// name (X11 today; a headless set when there is no display). The catalogue and the views reach the
// desktop only through these narrow interfaces.
#include <memory>

namespace kelp {

class AppsOnDisk;
class AppActions;
class IconSource;
class LauncherProgress;
class RunningApplications;
class WindowHints;

struct Desktop
{
    std::shared_ptr<AppsOnDisk> appsOnDisk; // what files are; names
    std::shared_ptr<AppActions> actions;    // launch, activate, hide, quit... (may be null)
    std::shared_ptr<IconSource> icons;      // icons for files, thread-safe (may be null)
    std::shared_ptr<RunningApplications>
        running;                              // running applications and their events (may be null)
    std::shared_ptr<WindowHints> windowHints; // the panel's window manager hints (may be null)
    std::shared_ptr<LauncherProgress> launcherProgress; // scan progress on the dock (may be null)
};

// The services in use; empty members until start-up installs them.
Desktop &desktop();
void setDesktop(Desktop services);

} // namespace kelp
