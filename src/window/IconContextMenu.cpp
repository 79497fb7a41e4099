#include "window/IconContextMenu.h"

#include "catalogue/TQAppManager.h"
#include "settings/Defaults.h"
#include "window/PoofEffect.h"
#include "window/TQIconView.h"

#include <QCursor>
#include <QMenu>
#include <QMessageBox>
#include <QStandardPaths>

#include <algorithm>

namespace kelp {

namespace {

bool isFavourites(Group group)
{
    return group == Group::User || group == Group::User1D;
}

bool isExcludedGroup(Group group)
{
    return group == Group::Excluded || group == Group::Excluded1D;
}

} // namespace

IconContextMenu::IconContextMenu(TQIconView &view, TQAppManager &catalogue, Defaults &defaults)
    : _view(view), _catalogue(catalogue), _defaults(defaults)
{}

std::unique_ptr<QMenu> IconContextMenu::build()
{
    auto menu = std::make_unique<QMenu>(tr("Contextual Menu"), &_view);
    auto add = [&](const QString &text, void (IconContextMenu::*action)()) {
        menu->addAction(text, &_view, [this, action] { (this->*action)(); });
    };
    const TQAppPtr app = _view.selectedApp();
    if (!app) {
        menu->addAction(tr("Hide Group"), &_view, &TQIconView::updateCursor);
        return menu;
    }
    const Group g = _view.groupShown();
    if (isFavourites(g)) {
        add(tr("Move to New Group"), &IconContextMenu::addSelectedAppToUserNewGroup);
        add(tr("Remove Favorite"), &IconContextMenu::removeSelectedAppFromUser);
    } else {
        if (_view.isExcluded(app))
            add(tr("Include"), &IconContextMenu::includeSelectedApp);
        else
            add(tr("Exclude"), &IconContextMenu::excludeSelectedApp);
        const AppList &favourites = _catalogue.userApps1D();
        const bool isFavourite =
            std::any_of(favourites.begin(), favourites.end(),
                        [&](const TQAppPtr &a) { return a->isEqual(app.get()); });
        if (!isFavourite) {
            menu->addSeparator();
            add(tr("Add Favorite"), &IconContextMenu::addSelectedAppToUser);
            add(tr("Add Favorite in New Group"), &IconContextMenu::addSelectedAppToUserNewGroup);
        }
    }
    menu->addSeparator();
    add(tr("Show in File Manager"), &IconContextMenu::showAppInFinder);
    const QString remover = _defaults.value(Key::AppRemoverName);
    if (!remover.isEmpty() && g != Group::Running) {
        menu->addSeparator();
        add(tr("Send to %1").arg(remover), &IconContextMenu::sendAppForDeletion);
    }
    if (_view.isRunning(app)) {
        menu->addSeparator();
        if (app->isVisible())
            add(tr("Hide"), &IconContextMenu::hideSelectedApp);
        else
            add(tr("Show"), &IconContextMenu::showSelectedApp);
        add(tr("Quit"), &IconContextMenu::quitSelectedApp);
    }
    return menu;
}

void IconContextMenu::takeSelectedAppOutOfGroup()
{
    const Group g = _view.groupShown();
    if (isFavourites(g))
        removeSelectedAppFromUser();
    else if (g == Group::Running)
        _view.redrawCell(_view.selectedCoords());
    else if (_view.isExcluded(_view.selectedApp()))
        includeSelectedApp();
    else
        excludeSelectedApp();
}

void IconContextMenu::includeSelectedApp()
{
    const Coords at = _view.selectedCoords();
    const TQAppPtr app = _view.appAtCoords(at);
    if (!app || !_view.isExcluded(app)) return;
    if (isExcludedGroup(_view.groupShown())) showPoof();
    _catalogue.includeApp(app);
    _view.redrawCell(at);
}

void IconContextMenu::excludeSelectedApp()
{
    const Coords at = _view.selectedCoords();
    const TQAppPtr app = _view.appAtCoords(at);
    if (!app || _view.isExcluded(app)) return;
    if (!isExcludedGroup(_view.groupShown())) showPoof();
    _catalogue.excludeApp(app);
    _view.redrawCell(at);
}

void IconContextMenu::addSelectedAppToUser()
{
    if (const TQAppPtr app = _view.selectedApp())
        _catalogue.moveApp(app, Group::User, 0, TQAppManager::kAtEnd);
}

void IconContextMenu::addSelectedAppToUserNewGroup()
{
    if (const TQAppPtr app = _view.selectedApp())
        _catalogue.moveApp(app, Group::User, TQAppManager::kAtEnd, 0);
}

void IconContextMenu::removeSelectedAppFromUser()
{
    const Coords at = _view.selectedCoords();
    if (const TQAppPtr app = _view.appAtCoords(at)) {
        _catalogue.removeAppsFromUserApps({app});
        _view.redrawCell(at);
    }
}

void IconContextMenu::showAppInFinder()
{
    if (const TQAppPtr app = _view.selectedApp()) app->revealInFinder();
}

void IconContextMenu::sendAppForDeletion()
{
    const TQAppPtr app = _view.selectedApp();
    if (!app) return;
    const QString removerId = _defaults.value(Key::AppRemoverBundleIdentifier);
    const QString removerName = _defaults.value(Key::AppRemoverName);
    QString desktopFile = removerId;
    if (!desktopFile.isEmpty() && !desktopFile.endsWith(QLatin1String(".desktop")))
        desktopFile += QLatin1String(".desktop");
    const bool installed =
        !desktopFile.isEmpty() &&
        !QStandardPaths::locate(QStandardPaths::ApplicationsLocation, desktopFile).isEmpty();
    if (!installed) {
        showAlert(tr("Cannot locate the app remover called \"%1\".").arg(removerName),
                  tr("Please open %1's preferences and choose a different app remover.")
                      .arg(QCoreApplication::applicationName()));
        return;
    }
    if (!app->sendForDeletionWithAppBundleIdentifier(removerId)) {
        showAlert(tr("Sending \"%1\" to the app remover \"%2\" was not successful.")
                      .arg(app->name(), removerName),
                  QString());
    }
}

void IconContextMenu::showSelectedApp()
{
    if (const TQAppPtr app = _view.selectedApp()) app->show();
}

void IconContextMenu::hideSelectedApp()
{
    if (const TQAppPtr app = _view.selectedApp()) app->hide();
}

void IconContextMenu::quitSelectedApp()
{
    if (const TQAppPtr app = _view.selectedApp()) _catalogue.quitApp(app);
}

void IconContextMenu::showAlert(const QString &title, const QString &message)
{
    auto *box =
        new QMessageBox(QMessageBox::Warning, title, title, QMessageBox::NoButton, _view.window());
    box->setInformativeText(message);
    box->addButton(tr("Ok"), QMessageBox::AcceptRole);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setObjectName(QStringLiteral("kelpAlert"));
    box->open();
}

void IconContextMenu::showPoof()
{
    // At the pointer when it is over the view (a click), else at the selected cell.
    QPoint at = QCursor::pos();
    if (!_view.underMouse())
        at = _view.mapToGlobal(
            _view.layout().rectOfCoords(_view.selectedCoords()).center().toPoint());
    PoofEffect::showAt(at);
}

} // namespace kelp
