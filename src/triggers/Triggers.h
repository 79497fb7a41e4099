#pragma once
// Triggers: every way of opening the panel besides running kelp again, and what Kelp tells the user
// about them. It registers the global hot key, places the one cursor hot spot (again on every
// setting or screen change), puts Kelp's icon in the tray (or its menu on the panel's gear button
// when there is no tray icon), builds the status-item menu, and shows the access alerts. Every
// trigger reaches the panel through TQController::showHideMainWindow.
#include "triggers/AccessChecks.h"
#include "triggers/StatusItemMenu.h"

#include <QObject>
#include <QPointer>

#include <memory>

class QMenu;
class QSystemTrayIcon;
class QWidget;

namespace kelp {

class Defaults;
class HotSpotEntryRule;
class StatusItemView;
class TQAppManager;
class TQController;
class TQWindow;

class Triggers : public QObject
{
    Q_OBJECT
public:
    Triggers(TQController &controller, TQAppManager &catalogue, TQWindow &panel, Defaults &defaults,
             QObject *parent = nullptr);
    ~Triggers() override;

    // At start: hot key, tray icon, hot spot.
    void start();
    // The end of start-up: the access alerts.
    void applicationDidFinishLaunching();

    // --- Hot key ------------------------------------------------------------------------------
    void registerHotKey();
    QString hotKeyString() const;
    // Why the hot key could not be registered (empty when it was, or when there is none).
    QString hotKeyFailure() const { return _hotKeyFailure; }

    // --- Hot spot -----------------------------------------------------------------------------
    void updateCursorHotSpot();
    void enableCursorHotSpot(qint64 location);
    void disableHotCorner();
    bool hasHotSpot() const { return _hotSpotPlaced; }

    // --- Tray icon and menus ------------------------------------------------------------------
    void updateStatusBar();
    // A new menu each time; the caller owns it.
    QMenu *statusItemMenu(QWidget *parent = nullptr);
    // Greys the items of Kelp's menu whose window is open now.
    void validateMenu(QMenu *menu) const;
    bool hasStatusItem() const;
    void quitApp();
    void autoExcludeApps();

    // --- Access -------------------------------------------------------------------------------
    AccessSettings accessSettings() const;
    void alertIfNoAccess();
    void alertIfNoMouseAccess();

Q_SIGNALS:
    // An alert was shown (its message), for whoever watches.
    void alertShown(const QString &message);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void checkAllWorkspaces();
    void settingChanged(const QString &key);
    void trigger();
    void showAlert(const AccessAlert &alert);
    void performMenuAction(MenuAction action);
    void showHighlight(bool shown);
    // The tray icon's image follows the tray's colours and the desktop's dark mode.
    bool isDarkTray() const;
    void darkModeChanged();

    TQController &_controller;
    TQAppManager &_catalogue;
    TQWindow &_panel;
    Defaults &_defaults;
    HotSpotEntryRule *_entryRule = nullptr;
    QPointer<QWidget> _highlight;
    QPointer<StatusItemView> _statusView;
    QPointer<QSystemTrayIcon> _trayIcon;
    QPointer<QMenu> _trayMenu;
    QPointer<QMenu> _gearMenu;
    QPointer<QWidget> _exclusionSheet;
    QString _hotKeyFailure;
    bool _hotSpotPlaced = false;
    bool _alertedRestart = false;
    bool _checkedWorkspaces = false;
};

} // namespace kelp
