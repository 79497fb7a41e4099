#pragma once
// IconContextMenu: the menu of the application under the pointer, and what its items do.
//
// The items depend on the group shown. Among the favourites: "Move to New Group" and "Remove
// Favorite". Elsewhere: "Include" or "Exclude", and for an application that is not a favourite yet
// "Add Favorite" and "Add Favorite in New Group". Then always "Show in File Manager"; "Send to"
// the app remover the user chose (outside the running group, when one is chosen); and for a
// running application "Hide" or "Show", and "Quit". Over no application the menu holds only "Hide
// Group", which does no more than refresh the pointer.
//
// Every action works on the application at the view's selection and does nothing without one;
// taking an application out of the group shown shows the poof where it was. Clicks use the same
// actions (a Shift-click excludes, includes or removes; a Ctrl-click shows the file). The alerts
// of the app remover (not installed, or refusing the application) are shown here too.
#include <QCoreApplication>
#include <QString>

#include <memory>

class QMenu;

namespace kelp {

class Defaults;
class TQAppManager;
class TQIconView;

class IconContextMenu
{
    Q_DECLARE_TR_FUNCTIONS(IconContextMenu)
public:
    IconContextMenu(TQIconView &view, TQAppManager &catalogue, Defaults &defaults);

    // The menu for the application at the selection (the caller owns it; its parent is the view).
    std::unique_ptr<QMenu> build();

    // A Shift-click: removes a favourite, includes an excluded application, excludes any other;
    // in the running group it only redraws the cell.
    void takeSelectedAppOutOfGroup();
    void includeSelectedApp();
    void excludeSelectedApp();
    void addSelectedAppToUser();
    void addSelectedAppToUserNewGroup();
    void removeSelectedAppFromUser();
    void showAppInFinder();
    void sendAppForDeletion();
    void showSelectedApp();
    void hideSelectedApp();
    void quitSelectedApp();

private:
    void showPoof();
    void showAlert(const QString &title, const QString &message);

    TQIconView &_view;
    TQAppManager &_catalogue;
    Defaults &_defaults;
};

} // namespace kelp
