#pragma once
// The one place Kelp's desktop services are made: X11 with GIO for the "xcb" Qt platform, Wayland
// with GIO for "wayland" (the panel as a layer surface, activation tokens), the headless set with
// GIO for anything else (no running applications, no window control, no window
// hints; launching, file types, files on disk and the dock progress need no display).
#include "desktop/Desktop.h"

#include <QString>

#include <optional>

namespace kelp {

struct DesktopOptions
{
    // The icon theme the catalogue's icons come from (empty: the desktop's own theme); no icon
    // source at all when unset.
    std::optional<QString> iconTheme;
    // The scan's progress on Kelp's icon in the dock: for the running Kelp only, since it talks to
    // the session bus.
    bool launcherProgress = false;
    // The hot key, the hot spot and the tray: for the running Kelp only.
    bool triggers = false;
};

// The services for a Qt platform name (QGuiApplication::platformName()). Call on the GUI thread
// once the application object exists; install the result with setDesktop().
Desktop makeDesktop(const QString &platformName, const DesktopOptions &options = {});

// Before the application object exists: picks Qt's wayland platform when WAYLAND_DISPLAY is set,
// makes Qt fall back to the offscreen platform when there is no display to connect to (so
// command-line tools still run), unless QT_QPA_PLATFORM says.
void chooseQtPlatform();

} // namespace kelp
