#include "triggers/Triggers.h"

#include "catalogue/TQApp.h"
#include "catalogue/TQAppManager.h"
#include "control/TQController.h"
#include "desktop/Desktop.h"
#include "desktop/HotKeys.h"
#include "desktop/HotSpots.h"
#include "desktop/PanelSurface.h"
#include "desktop/StatusTray.h"
#include "desktop/WorkspaceCheck.h"
#include "extras/Logging.h"
#include "extras/Timing.h"
#include "settings/Defaults.h"
#include "triggers/HotSpotEntryRule.h"
#include "triggers/HotSpotPlacement.h"
#include "triggers/KeyTable.h"
#include "triggers/StatusItemView.h"
#include "triggers/VirtualKeys.h"
#include "window/TQWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QSvgRenderer>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QVBoxLayout>

namespace kelp {

namespace {

// The red square shown over the hot spot while the pointer is inside (highlightHotSpots).
QWidget *makeHighlight()
{
    auto *w =
        new QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint |
                                 Qt::WindowStaysOnTopHint | Qt::WindowTransparentForInput |
                                 Qt::WindowDoesNotAcceptFocus);
    w->setWindowTitle(QStringLiteral("Kelp Hot Spot"));
    w->setAttribute(Qt::WA_ShowWithoutActivating);
    w->setAttribute(Qt::WA_QuitOnClose, false);
    QPalette p = w->palette();
    p.setColor(QPalette::Window, Qt::red);
    w->setPalette(p);
    w->setAutoFillBackground(true);
    return w;
}

QIcon trayIconImage(bool white)
{
    QImage image(32, 32, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer svg(white ? QStringLiteral(":/triggers/kelp_status_item_white.svg")
                           : QStringLiteral(":/triggers/kelp_status_item_black.svg"));
    QPainter p(&image);
    svg.render(&p);
    return QIcon(QPixmap::fromImage(image));
}

} // namespace

Triggers::Triggers(TQController &controller, TQAppManager &catalogue, TQWindow &panel,
                   Defaults &defaults, QObject *parent)
    : QObject(parent), _controller(controller), _catalogue(catalogue), _panel(panel),
      _defaults(defaults)
{
    _entryRule = new HotSpotEntryRule([this]() { return _controller.mainWindowIsVisible(); }, this);
    connect(_entryRule, &HotSpotEntryRule::fired, this, &Triggers::trigger);
    connect(_entryRule, &HotSpotEntryRule::highlightChanged, this, &Triggers::showHighlight);

    connect(
        &_defaults, &Defaults::changed, this,
        [this](const QString &key, const QVariant &, const QVariant &) { settingChanged(key); });

    if (auto hotKeys = desktop().hotKeys) {
        connect(hotKeys.get(), &HotKeys::pressed, this, &Triggers::trigger);
        connect(hotKeys.get(), &HotKeys::failureChanged, this,
                [this, hotKeys]() { _hotKeyFailure = hotKeys->failure(); });
        if (auto *app = qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
            // The modifier keys are followed only while Kelp is in front.
            connect(app, &QGuiApplication::applicationStateChanged, this,
                    [hotKeys](Qt::ApplicationState state) {
                        hotKeys->setWatchModifiers(state == Qt::ApplicationActive);
                    });
        }
    }
    if (auto hotSpots = desktop().hotSpots) {
        connect(hotSpots.get(), &HotSpots::entered, _entryRule, &HotSpotEntryRule::entered);
        connect(hotSpots.get(), &HotSpots::left, _entryRule, &HotSpotEntryRule::left);
    }
    if (auto tray = desktop().statusTray) {
        // A tray that starts (or comes back) takes the icon in again.
        connect(tray.get(), &StatusTray::availabilityChanged, this, [this](bool available) {
            qCInfo(lcTriggers) << (available ? "A tray is running" : "The tray went away");
            updateStatusBar();
        });
        connect(tray.get(), &StatusTray::appearanceChanged, this, &Triggers::darkModeChanged);
        // What Qt drew before the tray took the window in is not always shown there.
        connect(tray.get(), &StatusTray::windowEmbedded, this, [this]() {
            qCDebug(lcTriggers) << "The tray took Kelp's icon in:"
                                << (_statusView ? "drawing it again" : "no icon to draw");
            if (_statusView) _statusView->update();
        });
    }

    // The hot spot follows the primary screen.
    if (auto *app = qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        auto follow = [this]() { updateCursorHotSpot(); };
        connect(app, &QGuiApplication::primaryScreenChanged, this, follow);
        connect(app, &QGuiApplication::screenAdded, this, [this, follow](QScreen *screen) {
            connect(screen, &QScreen::geometryChanged, this, follow);
            follow();
        });
        connect(app, &QGuiApplication::screenRemoved, this, follow);
        for (QScreen *screen : QGuiApplication::screens())
            connect(screen, &QScreen::geometryChanged, this, follow);
    }

    connect(&_panel, &TQWindow::menuRequested, this, [this](QPoint globalPos) {
        // The gear button carries the menu whenever no tray icon does.
        if (hasStatusItem()) return;
        qCDebug(lcTriggers) << "The gear button's menu at" << globalPos;
        delete _gearMenu;
        _gearMenu = statusItemMenu();
        const std::shared_ptr<PanelSurface> surface = desktop().panelSurface;
        const Qt::WindowFlags popupFlags = surface ? surface->popupFlags() : Qt::WindowFlags();
        if (popupFlags) _gearMenu->setWindowFlags(_gearMenu->windowFlags() | popupFlags);
        _gearMenu->popup(globalPos);
        // A panel the desktop places itself is no window a menu could be the child of: the
        // desktop makes the menu the panel's popup, opening below the gear.
        if (popupFlags && _gearMenu->windowHandle()) {
            const QRect anchor(_panel.mapFromGlobal(globalPos), QSize(1, 1));
            QPointer<QMenu> menu = _gearMenu;
            if (!surface->attachPopup(_gearMenu->windowHandle(), anchor, [menu] {
                    if (menu) menu->hide();
                }))
                qCInfo(lcTriggers) << "The gear button's menu opens as an ordinary window";
        }
    });
    connect(&_catalogue, &TQAppManager::progressStep, this,
            [this](int step, int count, const QString &) {
                if (_statusView) _statusView->showProgressStep(step, count);
            });
}

Triggers::~Triggers()
{
    delete _highlight;
    delete _statusView;
    delete _trayIcon;
    delete _trayMenu;
    delete _gearMenu;
    delete _exclusionSheet;
    if (auto hotSpots = desktop().hotSpots) hotSpots->setHotSpot(std::nullopt);
}

void Triggers::start()
{
    registerHotKey();
    updateStatusBar();
    updateCursorHotSpot();
}

void Triggers::trigger()
{
    if (!_controller.mainWindowIsVisible()) timing::markShowRequest();
    _controller.showHideMainWindow();
}

// --- Hot key --------------------------------------------------------------------------------

void Triggers::registerHotKey()
{
    _hotKeyFailure.clear();
    const auto hotKeys = desktop().hotKeys;
    const qint64 code = _defaults.value(Key::HotKeyCode);
    const qint64 modifiers = _defaults.value(Key::HotKeyModifiers);
    const auto chord = chordForHotKey(code, modifiers);
    if (code >= 0 && !chord)
        qCWarning(lcTriggers) << "The hot key code" << code << "is no key Kelp knows; no hot key";
    if (!hotKeys) {
        if (chord) qCInfo(lcTriggers) << "No global hot key on this desktop";
        return;
    }
    if (!hotKeys->setHotKey(chord))
        _hotKeyFailure = hotKeys->failure();
    else if (chord)
        qCDebug(lcTriggers).noquote() << "Hot key" << hotKeyString();
}

QString Triggers::hotKeyString() const
{
    return kelp::hotKeyString(builtInKeyTable(), _defaults.value(Key::HotKeyCode),
                              _defaults.value(Key::HotKeyModifiers));
}

// --- Hot spot -------------------------------------------------------------------------------

void Triggers::updateCursorHotSpot()
{
    _entryRule->setDelay(_defaults.value(Key::CursorHotSpotDelay));
    _entryRule->setIgnoreDelayOnClose(_defaults.value(Key::IgnoreCursorHotSpotDelayOnHide));
    _entryRule->setDisplayHotSpots(_defaults.value(Key::HighlightHotSpots));
    enableCursorHotSpot(_defaults.value(Key::CursorHotSpotLocation));
}

void Triggers::disableHotCorner()
{
    _entryRule->left();
    if (auto hotSpots = desktop().hotSpots) hotSpots->setHotSpot(std::nullopt);
    _hotSpotPlaced = false;
}

void Triggers::enableCursorHotSpot(qint64 location)
{
    disableHotCorner();
    if (location == 0) return;
    static qint64 reportedLocation = 0;
    if (!isKnownHotSpotLocation(location) && location != reportedLocation) {
        qCWarning(lcTriggers) << "Unknown cursorHotSpotLocation" << location
                              << "; the hot spot goes along the top edge";
        reportedLocation = location;
    }
    const QScreen *primary = QGuiApplication::primaryScreen();
    const QRect screen = primary ? primary->geometry() : QRect();
    const auto place = hotSpotPlace(location, screen);
    if (!place) {
        qCInfo(lcTriggers) << "No room for a hot spot on the screen" << screen;
        return;
    }
    auto hotSpots = desktop().hotSpots;
    if (!hotSpots) {
        qCInfo(lcTriggers) << "No cursor hot spot on this desktop";
        return;
    }
    hotSpots->setHotSpot(place);
    _hotSpotPlaced = true;
    if (_highlight) _highlight->setGeometry(place->rect);
}

void Triggers::showHighlight(bool shown)
{
    if (!shown) {
        if (_highlight) _highlight->hide();
        return;
    }
    const QScreen *primary = QGuiApplication::primaryScreen();
    const auto place = hotSpotPlace(_defaults.value(Key::CursorHotSpotLocation),
                                    primary ? primary->geometry() : QRect());
    if (!place) return;
    if (!_highlight) _highlight = makeHighlight();
    _highlight->setGeometry(place->rect);
    _highlight->show();
    _highlight->raise();
}

// --- Tray icon and menus --------------------------------------------------------------------

bool Triggers::hasStatusItem() const
{
    return (_statusView && _statusView->isVisible()) || (_trayIcon && _trayIcon->isVisible());
}

void Triggers::updateStatusBar()
{
    delete _statusView;
    delete _trayIcon;
    delete _trayMenu;
    if (!_defaults.value(Key::ShowAppInStatusBar)) return; // the gear button carries the menu
    const bool toggles = _defaults.value(Key::StatusBarTogglesWindow);

    const auto tray = desktop().statusTray;
    if (tray && tray->isAvailable()) {
        auto *view = new StatusItemView([this]() { return statusItemMenu(); });
        view->setOpensMenuOnClick(!toggles);
        connect(view, &StatusItemView::actionTriggered, this, &Triggers::trigger);
        connect(view, &StatusItemView::dragEntered, this, [this]() {
            if (!_controller.mainWindowIsVisible()) trigger();
        });
        view->setDarkTray(isDarkTray());
        view->winId(); // the native window the tray takes in
        tray->prepare(view->windowHandle());
        if (tray->dock(view->windowHandle())) {
            view->show();
            _statusView = view;
            qCInfo(lcTriggers) << "Kelp's icon is in the tray";
            return;
        }
        delete view;
    }
    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        // A tray that takes no windows (a StatusNotifierItem host): Qt's tray icon.
        _trayIcon = new QSystemTrayIcon(trayIconImage(isDarkTray()));
        _trayMenu = statusItemMenu();
        _trayIcon->setContextMenu(_trayMenu);
        connect(_trayIcon, &QSystemTrayIcon::activated, this,
                [this, toggles](QSystemTrayIcon::ActivationReason reason) {
                    if (reason != QSystemTrayIcon::Trigger) return;
                    if (toggles)
                        trigger();
                    else if (_trayMenu)
                        _trayMenu->popup(QCursor::pos());
                });
        _trayIcon->show();
        qCInfo(lcTriggers) << "Kelp's icon is in the tray (status notifier)";
        return;
    }
    qCInfo(lcTriggers) << "No tray on this desktop; the panel's gear button carries the menu";
}

bool Triggers::isDarkTray() const
{
    // What the tray says of its icons' colour first (a light foreground means a dark tray), then
    // the desktop's dark mode, then Kelp's own palette.
    if (const auto tray = desktop().statusTray) {
        if (const auto foreground = tray->foreground()) return foreground->lightness() > 128;
        if (const auto dark = tray->darkDesktop()) return *dark;
    }
    return QApplication::palette().color(QPalette::Window).lightness() < 128;
}

void Triggers::darkModeChanged()
{
    const bool dark = isDarkTray();
    if (_statusView) _statusView->setDarkTray(dark);
    if (_trayIcon) _trayIcon->setIcon(trayIconImage(dark));
    if (_statusView || _trayIcon)
        qCInfo(lcTriggers) << "The tray icon is drawn" << (dark ? "white" : "black");
}

QMenu *Triggers::statusItemMenu(QWidget *parent)
{
    auto *menu = new QMenu(parent);
    menu->setTitle(QStringLiteral("StatusItemMenu"));
    menu->setWindowTitle(tr("Kelp Menu"));
    for (const MenuEntry &entry : kelp::statusItemMenu(mainMenuItems())) {
        if (entry.separator) {
            menu->addSeparator();
            continue;
        }
        QAction *action = menu->addAction(entry.title);
        action->setData(int(entry.action));
        const MenuAction which = entry.action;
        // Queued: the menu closes before the action opens a window or quits.
        connect(
            action, &QAction::triggered, this, [this, which]() { performMenuAction(which); },
            Qt::QueuedConnection);
    }
    // A menu kept for a while (the status notifier's) says what is open as it shows.
    validateMenu(menu);
    connect(menu, &QMenu::aboutToShow, this, [this, menu] { validateMenu(menu); });
    return menu;
}

void Triggers::validateMenu(QMenu *menu) const
{
    OpenWindows open;
    open.preferences = _controller.isPrefsWindowVisible();
    open.feedback = _controller.isFeedbackWindowVisible();
    open.welcome = _controller.isWelcomeWindowVisible();
    for (QAction *action : menu->actions()) {
        if (!action->data().isValid()) continue;
        action->setEnabled(validateMenuItem(MenuAction(action->data().toInt()), open));
    }
}

void Triggers::performMenuAction(MenuAction action)
{
    switch (action) {
    case MenuAction::ShowHide:
        trigger();
        break;
    case MenuAction::Preferences:
        _controller.openPrefs();
        break;
    case MenuAction::Rescan:
        _controller.rescanAllApps(true);
        break;
    case MenuAction::AutoExclude:
        autoExcludeApps();
        break;
    case MenuAction::Feedback:
        _controller.openFeedback();
        break;
    case MenuAction::About:
        _controller.openAbout();
        break;
    case MenuAction::Welcome:
        _controller.openWelcome();
        break;
    case MenuAction::UserGuide:
        _controller.openUserGuide();
        break;
    case MenuAction::HomePage:
        _controller.openHomeURL();
        break;
    case MenuAction::Quit:
        quitApp();
        break;
    default:
        break;
    }
}

void Triggers::quitApp()
{
    if (_controller.isPrefsWindowVisible()) _controller.closePrefs();
    // Without a tray icon and a taskbar entry there is no way back but running kelp again: ask.
    if (!hasStatusItem() && !_defaults.value(Key::ShowIconInDock)) {
        _controller.activate();
        QMessageBox box(QMessageBox::Question, tr("Kelp"),
                        tr("Are you sure you want to quit Kelp?"));
        QPushButton *quit = box.addButton(tr("Quit"), QMessageBox::AcceptRole);
        box.addButton(tr("Don't Quit"), QMessageBox::RejectRole);
        box.setDefaultButton(quit);
        box.exec();
        if (box.clickedButton() != quit) return;
    }
    Q_EMIT _controller.quitRequested();
}

void Triggers::autoExcludeApps()
{
    if (_exclusionSheet && _exclusionSheet->isVisible()) return;
    _controller.activate();
    _controller.applicationOpenUntitledFile();
    auto *sheet = new QDialog(&_panel, Qt::Sheet);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->setWindowTitle(tr("Exclude Applications Automatically"));
    auto *layout = new QVBoxLayout(sheet);
    auto *dock = new QCheckBox(tr("Exclude the applications in the desktop's favourites"), sheet);
    auto *named = new QCheckBox(tr("Exclude applications whose names contain:"), sheet);
    named->setChecked(true);
    auto *names = new QPlainTextEdit(sheet);
    names->setReadOnly(true);
    const QStringList substrings = TQApp::excludedNameSubstrings();
    if (!substrings.isEmpty()) names->setPlainText(substrings.join(QLatin1Char('\n')));
    auto *buttons = new QDialogButtonBox(sheet);
    QPushButton *exclude = buttons->addButton(tr("Exclude"), QDialogButtonBox::AcceptRole);
    buttons->addButton(QDialogButtonBox::Cancel);
    layout->addWidget(dock);
    layout->addWidget(named);
    layout->addWidget(names);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, sheet, &QDialog::reject);
    connect(exclude, &QPushButton::clicked, sheet, [this, sheet, dock, named]() {
        _catalogue.autoExcludeDockApps(dock->isChecked(), named->isChecked());
        sheet->accept();
    });
    _exclusionSheet = sheet;
    sheet->open();
}

// --- Access ---------------------------------------------------------------------------------

AccessSettings Triggers::accessSettings() const
{
    AccessSettings s;
    s.showAppInStatusBar = _defaults.value(Key::ShowAppInStatusBar);
    s.showIconInDock = _defaults.value(Key::ShowIconInDock);
    s.cursorHotSpotLocation = _defaults.value(Key::CursorHotSpotLocation);
    s.hotKeyCode = _defaults.value(Key::HotKeyCode);
    s.trayAvailable = hasStatusItem() || !_defaults.value(Key::ShowAppInStatusBar);
    return s;
}

void Triggers::showAlert(const AccessAlert &alert)
{
    qCInfo(lcTriggers).noquote() << "Alert:" << alert.message;
    auto *box =
        new QMessageBox(QMessageBox::Information, tr("Kelp"), alert.message, QMessageBox::Ok);
    box->setInformativeText(alert.informativeText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->button(QMessageBox::Ok)->setText(tr("Ok"));
    box->open();
    Q_EMIT alertShown(alert.message);
}

void Triggers::alertIfNoAccess()
{
    if (const auto alert = noAccessAlert(accessSettings())) showAlert(*alert);
}

void Triggers::alertIfNoMouseAccess()
{
    if (const auto alert = noMouseAccessAlert(accessSettings(), hotKeyString())) showAlert(*alert);
}

void Triggers::applicationDidFinishLaunching()
{
    const AccessSettings s = accessSettings();
    if (!hasMouseAccess(s) && !hasKeyboardAccess(s) && _defaults.value(Key::ShowNoUIAccessWarning))
        alertIfNoAccess();
    else if (!hasMouseAccess(s) && _defaults.value(Key::ShowNoMouseAccessWarning))
        alertIfNoMouseAccess();
    _panel.installEventFilter(this);
    if (_panel.isVisible()) {
        _checkedWorkspaces = true;
        QTimer::singleShot(1000, this, &Triggers::checkAllWorkspaces);
    }
}

bool Triggers::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == &_panel && event->type() == QEvent::Show && !_checkedWorkspaces) {
        _checkedWorkspaces = true;
        // Once, a moment after the first show, when the window manager has placed the panel.
        QTimer::singleShot(1000, this, &Triggers::checkAllWorkspaces);
    }
    return QObject::eventFilter(watched, event);
}

void Triggers::checkAllWorkspaces()
{
    const auto check = desktop().workspaceCheck;
    if (!check || !_panel.isVisible()) return;
    if (check->isOnAllWorkspaces(_panel.windowHandle()) == false) {
        qCWarning(lcTriggers) << "The window manager keeps the panel on one workspace";
        showAlert(notOnAllDesktopsAlert());
    }
}

void Triggers::settingChanged(const QString &key)
{
    if (Key::HotKeyCode.is(key) || Key::HotKeyModifiers.is(key)) {
        if (Key::HotKeyCode.is(key)) alertIfNoAccess();
        registerHotKey();
    } else if (Key::ShowAppInStatusBar.is(key)) {
        updateStatusBar();
        alertIfNoMouseAccess();
    } else if (Key::StatusBarTogglesWindow.is(key)) {
        updateStatusBar();
    } else if (Key::ShowIconInDock.is(key)) {
        if (_controller.finishedLaunching()) {
            if (!_alertedRestart) {
                _alertedRestart = true;
                showAlert({tr("You must restart Kelp for this option to take effect."), {}});
            }
            alertIfNoMouseAccess();
        }
    } else if (Key::CursorHotSpotLocation.is(key) || Key::CursorHotSpotDelay.is(key) ||
               Key::IgnoreCursorHotSpotDelayOnHide.is(key) || Key::HighlightHotSpots.is(key)) {
        updateCursorHotSpot();
    }
}

} // namespace kelp
