#pragma once
// The status-item menu (on the tray icon, or on the panel's gear button when there is no tray
// icon): built afresh each time from the titles of Kelp's main menu, in a fixed order, leaving out
// each action Kelp does not offer (yet) and keeping the separators where they are.
#include <QString>

#include <vector>

namespace kelp {

enum class MenuAction {
    ShowHide,
    About,
    CheckForUpdates,
    Preferences,
    Rescan,
    AutoExclude,
    Welcome,
    UserGuide,
    HomePage,
    Feedback,
    Quit,
};

struct MenuEntry
{
    bool separator = false;
    MenuAction action = MenuAction::ShowHide;
    QString title;
};

// Kelp's main menu: the actions it offers now, with their titles.
struct MainMenuItem
{
    MenuAction action;
    QString title;
};
std::vector<MainMenuItem> mainMenuItems();

// The status-item menu from a main menu. Quit is always last, titled "Quit Kelp".
std::vector<MenuEntry> statusItemMenu(const std::vector<MainMenuItem> &mainMenu);

// Which windows are open now, for validateMenuItem.
struct OpenWindows
{
    bool preferences = false;
    bool feedback = false;
    bool welcome = false;
};
// An item is disabled only while its own window is already open.
bool validateMenuItem(MenuAction action, const OpenWindows &open);

} // namespace kelp
