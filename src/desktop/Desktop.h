#pragma once
// Desktop: the set of desktop services Kelp runs with, made once at start-up for the Qt platform
// Kelp runs on (platform/DesktopFactory.h: X11 with GIO, or the headless set with GIO when there
// is no window system) and installed with setDesktop(). The catalogue and the views reach the
// desktop only through these narrow interfaces.
#include <QString>

#include <memory>

namespace kelp {

class ActivationTokens;
class AppLauncher;
class AppsOnDisk;
class Compositing;
class FileTypeApps;
class HotKeys;
class HotSpots;
class IconSource;
class IconThemes;
class LauncherProgress;
class PanelSurface;
class RunningApplications;
class StatusTray;
class WindowControl;
class WindowHints;
class WorkspaceCheck;

struct Desktop
{
    std::shared_ptr<AppsOnDisk> appsOnDisk; // what files are; names
    std::shared_ptr<AppLauncher> launcher; // launch, file types, reveal, uninstallers (may be null)
    // activate, hide, show, quit a running application (null without a window system)
    std::shared_ptr<WindowControl> windowControl;
    std::shared_ptr<IconSource> icons; // icons for files, thread-safe (may be null)
    // makes icon sources for a theme; says when the desktop's own theme changes (may be null)
    std::shared_ptr<IconThemes> iconThemes;
    std::shared_ptr<RunningApplications>
        running;                              // running applications and their events (may be null)
    std::shared_ptr<WindowHints> windowHints; // the panel's window manager hints (may be null)
    std::shared_ptr<LauncherProgress> launcherProgress; // scan progress on the dock (may be null)
    std::shared_ptr<FileTypeApps> fileTypes;  // applications by content type (may be null)
    std::shared_ptr<Compositing> compositing; // a compositor arriving or leaving (may be null)
    // The triggers: global hot key, cursor hot spot, tray (each null where the desktop has none).
    std::shared_ptr<HotKeys> hotKeys;
    std::shared_ptr<HotSpots> hotSpots;
    std::shared_ptr<StatusTray> statusTray;
    std::shared_ptr<WorkspaceCheck> workspaceCheck; // is the panel on every workspace
    // The panel placed by the desktop itself (a Wayland layer surface; null: an ordinary window).
    std::shared_ptr<PanelSurface> panelSurface;
    // Tokens that let a launched or activated application take the front (null: none needed).
    std::shared_ptr<ActivationTokens> activationTokens;
    // One line for the log and the preferences: the session and what of it Kelp can use (empty
    // when the factory has nothing to say).
    QString summary;
};

// The services in use; empty members until start-up installs them.
Desktop &desktop();
void setDesktop(Desktop services);

} // namespace kelp
