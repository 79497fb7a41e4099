#pragma once
// Whether the user keeps a way to open Kelp, from the trigger settings, and what Kelp tells the
// user when not. On Linux the status bar is the tray icon and the dock icon is Kelp's taskbar
// entry (showIconInDock).
#include <QString>

#include <optional>

namespace kelp {

struct AccessSettings
{
    bool showAppInStatusBar = true;
    bool showIconInDock = true;
    qint64 cursorHotSpotLocation = 0;
    qint64 hotKeyCode = 48;
    // Whether the tray icon really shows (a tray took it); a tray-less session has none.
    bool trayAvailable = true;
};

// The menu is reachable: the tray icon carries it, or the taskbar entry does.
bool hasMenuAccess(const AccessSettings &s);
// A pointer alone can open Kelp: tray icon, taskbar entry or a hot spot.
bool hasMouseAccess(const AccessSettings &s);
// The hot key opens Kelp.
bool hasKeyboardAccess(const AccessSettings &s);

struct AccessAlert
{
    QString message;
    QString informativeText;
    bool operator==(const AccessAlert &) const = default;
};

// The alert for no way in at all, or none.
std::optional<AccessAlert> noAccessAlert(const AccessSettings &s);
// The alert for the hot key as the only way in (or the no-access alert without a hot key), or
// none while the pointer can reach Kelp. hotKeyText is the hot key as a person reads it.
std::optional<AccessAlert> noMouseAccessAlert(const AccessSettings &s, const QString &hotKeyText);

// The alert for a panel the window manager would not put on every workspace.
AccessAlert notOnAllDesktopsAlert();

} // namespace kelp
