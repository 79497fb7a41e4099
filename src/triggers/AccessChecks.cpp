#include "triggers/AccessChecks.h"

#include <QCoreApplication>

namespace kelp {

namespace {
QString tr(const char *text)
{
    return QCoreApplication::translate("AccessChecks", text);
}
} // namespace

bool hasMenuAccess(const AccessSettings &s)
{
    return (s.showAppInStatusBar && s.trayAvailable) || s.showIconInDock;
}

bool hasMouseAccess(const AccessSettings &s)
{
    return (s.showAppInStatusBar && s.trayAvailable) || s.showIconInDock ||
           s.cursorHotSpotLocation > 0;
}

bool hasKeyboardAccess(const AccessSettings &s)
{
    return s.hotKeyCode >= 0;
}

std::optional<AccessAlert> noAccessAlert(const AccessSettings &s)
{
    if (hasMouseAccess(s) || hasKeyboardAccess(s)) return std::nullopt;
    return AccessAlert{tr("You have no access to Kelp from the tray, the taskbar, a cursor hot "
                          "spot or a hot key."),
                       tr("You will only be able to re-open the window by choosing Kelp in the "
                          "application menu or by running kelp.")};
}

std::optional<AccessAlert> noMouseAccessAlert(const AccessSettings &s, const QString &hotKeyText)
{
    if (hasMouseAccess(s)) return std::nullopt;
    if (!hasKeyboardAccess(s)) return noAccessAlert(s);
    return AccessAlert{
        tr("You only have access to Kelp using the following hot key:\n\n%1").arg(hotKeyText),
        tr("You can also re-open the window by choosing Kelp in the application menu or by "
           "running kelp.")};
}

AccessAlert notOnAllDesktopsAlert()
{
    return AccessAlert{tr("The window manager keeps Kelp's panel on one workspace."),
                       tr("For Kelp to function properly, please allow Kelp's window on all "
                          "workspaces (in your window manager's settings, or from the window "
                          "menu's \"Always on Visible Workspace\" or \"All Desktops\").")};
}

} // namespace kelp
