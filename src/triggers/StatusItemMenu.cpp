#include "triggers/StatusItemMenu.h"

#include <QCoreApplication>

#include <algorithm>
#include <optional>

namespace kelp {

namespace {
QString tr(const char *text)
{
    return QCoreApplication::translate("StatusItemMenu", text);
}
} // namespace

std::vector<MainMenuItem> mainMenuItems()
{
    return {
        {MenuAction::ShowHide, tr("Show/Hide Kelp")},
        {MenuAction::About, tr("About Kelp")},
        {MenuAction::Preferences, tr("Preferences…")},
        {MenuAction::Rescan, tr("Rescan Applications")},
        {MenuAction::AutoExclude, tr("Exclude Applications Automatically…")},
        {MenuAction::Welcome, tr("Welcome to Kelp")},
        {MenuAction::UserGuide, tr("Kelp User Guide")},
        {MenuAction::HomePage, tr("Kelp Home Page")},
        {MenuAction::Feedback, tr("Send Feedback…")},
        {MenuAction::Quit, tr("Quit Kelp")},
    };
}

std::vector<MenuEntry> statusItemMenu(const std::vector<MainMenuItem> &mainMenu)
{
    static constexpr std::optional<MenuAction> kOrder[] = {
        MenuAction::ShowHide,
        std::nullopt,
        MenuAction::About,
        std::nullopt,
        MenuAction::CheckForUpdates,
        std::nullopt,
        MenuAction::Preferences,
        MenuAction::Rescan,
        MenuAction::AutoExclude,
        std::nullopt,
        MenuAction::Welcome,
        MenuAction::UserGuide,
        MenuAction::HomePage,
        MenuAction::Feedback,
        std::nullopt,
    };
    std::vector<MenuEntry> menu;
    for (const auto &slot : kOrder) {
        if (!slot) {
            menu.push_back({true, MenuAction::ShowHide, {}});
            continue;
        }
        const auto item = std::find_if(mainMenu.begin(), mainMenu.end(),
                                       [&](const MainMenuItem &m) { return m.action == *slot; });
        if (item != mainMenu.end()) menu.push_back({false, item->action, item->title});
    }
    menu.push_back({false, MenuAction::Quit, tr("Quit Kelp")});
    return menu;
}

bool validateMenuItem(MenuAction action, const OpenWindows &open)
{
    switch (action) {
    case MenuAction::Preferences:
        return !open.preferences;
    case MenuAction::Feedback:
        return !open.feedback;
    case MenuAction::Welcome:
        return !open.welcome;
    default:
        return true;
    }
}

} // namespace kelp
