#include "control/TQController.h"

#include "OpenFeedback/OpenFeedback.h"
#include "catalogue/TQAppManager.h"
#include "control/AboutPanel.h"
#include "control/KelpDocuments.h"
#include "control/LaunchAtLoginController.h"
#include "control/SingleInstance.h"
#include "control/TQWelcomeAssistant.h"
#include "control/WelcomeLogging.h"
#include "desktop/Desktop.h"
#include "desktop/LauncherProgress.h"
#include "extras/DropStack.h"
#include "extras/Logging.h"
#include "extras/Notifications.h"
#include "extras/Timing.h"
#include "settings/Defaults.h"
#include "window/TQIconView.h"
#include "window/TQWindow.h"

#include <QApplication>
#include <QDesktopServices>
#include <QMessageBox>
#include <QUrl>

namespace kelp {
namespace {
constexpr double kMovedPanelGrace = 30.0; // seconds a moved panel stays after losing the focus
constexpr qint64 kReopenGuardMs = 250;    // a reopen this soon after activation never hides
} // namespace

TQController::TQController(TQAppManager &catalogue, TQWindow &panel, Defaults &defaults,
                           QObject *parent)
    : QObject(parent), _catalogue(catalogue), _panel(panel), _defaults(defaults),
      _loginItems(std::make_unique<LaunchAtLoginController>())
{
    _windowCloseTimer.setSingleShot(true);
    connect(&_windowCloseTimer, &QTimer::timeout, this,
            &TQController::mainWindowUnusedAndShouldBeHidden);
    _focusLossTimer.setSingleShot(true);
    _focusLossTimer.setInterval(kFocusLossGraceMs);
    connect(&_focusLossTimer, &QTimer::timeout, this, [this]() {
        if (_active) return;
        // The panel asked for the keyboard and the window manager has not given it yet (a busy
        // one can take a while): a loss seen meanwhile is left over from before that show.
        if (_keyboardAsked.isValid() && _keyboardAsked.elapsed() < kKeyboardWaitMs) {
            _focusLossTimer.start();
            return;
        }
        applicationWillResignActive();
    });
    if (auto *app = qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        _active = app->applicationState() == Qt::ApplicationActive;
        connect(app, &QGuiApplication::applicationStateChanged, this,
                &TQController::applicationStateChanged);
    }
    connect(&_panel, &TQWindow::closeRequested, this, &TQController::explicitHideMainWindow);
    // A launch from the panel is the user being done with it; the launched program may not take
    // the focus (window managers keep it from programs that do not ask with a timestamp).
    connect(_panel.iconView(), &TQIconView::appLaunched, this,
            [this]() { implicitHideMainWindow(); });
    connect(&_catalogue, &TQAppManager::progressStep, this,
            [this](int step, int count, const QString &) { showProgressStep(step, count); });
    connect(this, &TQController::didFinishLaunching, &_catalogue,
            &TQAppManager::startSpotlightQuery);
    // A launch that found its program gone brings the panel back while the catalogue rescans.
    connect(
        &Notifications::instance(), &Notifications::appIsMissing, this,
        [this]() { applicationOpenUntitledFile(); }, Qt::QueuedConnection);
    connect(&_defaults, &Defaults::changed, this, [this](const QString &key) {
        if (Key::StartAtLogin.is(key)) startAtLoginChanged();
    });
    // The autostart entry changed outside Kelp (the desktop's session settings): the setting,
    // and so the preferences' check box, follow it.
    connect(_loginItems.get(), &LaunchAtLoginController::launchAtLoginChanged, this,
            [this](bool launch) { _defaults.setValue(Key::StartAtLogin, launch); });
}

TQController::~TQController()
{
    delete TQWelcomeAssistant::shared();
    delete _loginItemAlert;
}

// --- Panel visibility -----------------------------------------------------------------------

bool TQController::mainWindowIsVisible() const
{
    return _panel.isPanelVisible();
}

bool TQController::isActive() const
{
    return _active;
}

void TQController::showMainWindow()
{
    if (mainWindowIsVisible() || !_finishedLaunching) return;
    _panel.show();
}

void TQController::hideMainWindow()
{
    if (isPrefsWindowVisible()) closePrefs();
    if (_feedbackAssistant && _feedbackAssistant->isFeedbackWindowVisible())
        _feedbackAssistant->closeFeedbackWindow();
    if (isAboutPanelVisible()) _aboutPanel->close();
    _welcomeAssistantWasOpen = TQWelcomeAssistant::isWindowVisible();
    if (_welcomeAssistantWasOpen) TQWelcomeAssistant::closeWindow();
    if (mainWindowIsVisible()) _panel.hide();
}

void TQController::implicitHideMainWindow()
{
    if (_panel.hasBeenMoved())
        startWindowCloseTimerWithTimeInterval(kMovedPanelGrace);
    else
        hideMainWindow();
}

void TQController::explicitHideMainWindow()
{
    // Raised so that the application given the front does not cover the fade-out.
    _panel.raise();
    deactivate();
    hideMainWindow();
    _panel.lower();
}

void TQController::showHideMainWindow()
{
    const bool visible = mainWindowIsVisible();
    qCDebug(lcPlatform) << "Show or hide: the panel is" << (visible ? "shown," : "hidden,")
                        << (isActive() ? "Kelp active," : "Kelp inactive,")
                        << (_panel.hasBeenMoved() ? "moved" : "in place");
    if (isActive()) {
        if (!visible) {
            // Kelp still counts as active when the focus-out of the last hide has not arrived
            // yet; the panel asks for the keyboard all the same.
            askForKeyboard();
            applicationOpenUntitledFile();
        } else {
            explicitHideMainWindow();
        }
    } else {
        if (!visible) {
            activate();
            applicationOpenUntitledFile();
            if (_welcomeAssistantWasOpen) openWelcomeAssistant();
        } else if (_panel.hasBeenMoved()) {
            activate();
        } else {
            hideMainWindow();
        }
    }
}

void TQController::activate()
{
    if (isActive()) return;
    askForKeyboard();
}

void TQController::askForKeyboard()
{
    if (_panel.isNonActivating()) return;
    _panel.QWidget::raise();
    _panel.activateWindow();
    _keyboardAsked.start();
}

void TQController::deactivate()
{
    const TQAppPtr previous = _catalogue.lastActiveApp();
    if (previous) {
        if (!_panel.isNonActivating()) previous->activate();
    } else {
        hideMainWindow();
    }
}

void TQController::startWindowCloseTimerWithTimeInterval(double seconds)
{
    _windowCloseTimer.start(static_cast<int>(seconds * 1000.0));
}

void TQController::cancelWindowCloseTimer()
{
    _windowCloseTimer.stop();
}

void TQController::mainWindowUnusedAndShouldBeHidden()
{
    cancelWindowCloseTimer();
    hideMainWindow();
}

// --- Application life -----------------------------------------------------------------------

void TQController::applicationDidFinishLaunching()
{
    _finishedLaunching = true;
    // The panel shows before the catalogue is walked, with the scanning message, so that nothing
    // typed at start is lost.
    if (_defaults.value(Key::ShowWindowAtLaunch) && !_startsHidden) applicationOpenUntitledFile();
    // The autostart entry may have been changed, or removed, while Kelp was not running.
    _defaults.setValue(Key::StartAtLogin, _loginItems->launchAtLogin());
    if (_defaults.value(Key::ShowWelcomeWindow) && !_startsHidden) openWelcomeAssistant();

    const qint64 launchCount = _defaults.value(Key::ApplicationLaunchCount);
    if (launchCount == 0) {
        // The first launch moves uninstallers, updaters and the like out of the way; the user's
        // dock (or desktop favourites) is left alone.
        connect(
            &_catalogue, &TQAppManager::rescanFinished, this,
            [this]() { _catalogue.autoExcludeDockApps(false, true); }, Qt::SingleShotConnection);
    }
    rescanAllApps(false); // after the connection above: a scan may finish before it returns
    _defaults.setValue(Key::ApplicationLaunchCount, launchCount + 1);
    Q_EMIT didFinishLaunching();
}

void TQController::applicationStateChanged(Qt::ApplicationState state)
{
    const bool active = state == Qt::ApplicationActive;
    if (active == _active) return;
    qCDebug(lcPlatform) << (active ? "Kelp became active" : "Kelp resigned active")
                        << "with the panel" << (mainWindowIsVisible() ? "shown" : "hidden");
    if (active) {
        _focusLossTimer.stop();
        _keyboardAsked.invalidate();
        applicationWillBecomeActive();
        _active = true;
        applicationDidBecomeActive();
    } else {
        _active = false;
        applicationDidResignActive();
        // Window managers take the focus away for a moment when the panel is hidden and shown
        // again in quick succession; only a loss that lasts is the user leaving Kelp.
        _focusLossTimer.start();
    }
}

void TQController::applicationWillBecomeActive()
{
    cancelWindowCloseTimer();
}

void TQController::applicationDidBecomeActive()
{
    if (_defaults.value(Key::ShowOnBecomeActive) && !mainWindowIsVisible())
        applicationOpenUntitledFile();
    _didBecomeActiveDate = QDateTime::currentDateTimeUtc();
}

void TQController::applicationWillResignActive()
{
    implicitHideMainWindow();
    if (_defaults.value(Key::HideOnResignActive) && mainWindowIsVisible()) {
        QApplication::beep();
        hideMainWindow();
    }
}

void TQController::applicationDidResignActive()
{
    _didBecomeActiveDate = QDateTime();
}

bool TQController::applicationShouldHandleReopen()
{
    if (_didBecomeActiveDate.isValid() &&
        _didBecomeActiveDate.msecsTo(QDateTime::currentDateTimeUtc()) > kReopenGuardMs &&
        mainWindowIsVisible())
        explicitHideMainWindow();
    else
        applicationOpenUntitledFile();
    return false;
}

bool TQController::applicationShouldOpenUntitledFile() const
{
    return !mainWindowIsVisible() && _finishedLaunching;
}

bool TQController::applicationOpenUntitledFile()
{
    showMainWindow();
    if (TQWelcomeAssistant::isWindowVisible()) TQWelcomeAssistant::bringWindowToFront();
    return true;
}

void TQController::openFiles(const QStringList &files)
{
    DropStack::shared().push(QVariant(files));
}

void TQController::rescanAllApps(bool fromMenu)
{
    qint64 group = _defaults.value(Key::GroupToShowWhenWindowOpens);
    if (group == -1) group = _defaults.value(Key::GroupShownWhenWindowClosed);
    if (group == -1) group = storedGroup(Group::Included);
    if (fromMenu) _catalogue.clearIconsForAllApps();
    _catalogue.rescanAllAppsPrioritizingGroup(groupFromStored(group));
}

void TQController::showProgressStep(int step, int count)
{
    const auto progress = desktop().launcherProgress;
    if (!progress) return;
    if (count == 0 || _defaults.value(Key::ShowIconInDock)) progress->showProgress(step, count);
}

void TQController::applicationWillTerminate()
{
    _defaults.synchronize();
}

void TQController::handleRequest(const InstanceRequest &request)
{
    qCDebug(lcPlatform) << "Request from a later kelp:" << request.command;
    const bool shows = request.command == QLatin1String("show") ||
                       request.command == QLatin1String("open") ||
                       request.command == QLatin1String("reopen") ||
                       (request.command == QLatin1String("toggle") && !mainWindowIsVisible());
    if (shows) timing::markShowRequest();
    if (request.command == QLatin1String("reopen")) {
        applicationShouldHandleReopen();
        activate();
    } else if (request.command == QLatin1String("toggle")) {
        showHideMainWindow();
    } else if (request.command == QLatin1String("show")) {
        activate();
        applicationOpenUntitledFile();
    } else if (request.command == QLatin1String("hide")) {
        if (mainWindowIsVisible()) explicitHideMainWindow();
    } else if (request.command == QLatin1String("rescan")) {
        rescanAllApps(true);
    } else if (request.command == QLatin1String("quit")) {
        Q_EMIT quitRequested();
    } else if (request.command == QLatin1String("open")) {
        openFiles(request.files);
        activate();
        applicationOpenUntitledFile();
    } else if (request.command == QLatin1String("feedback")) {
        openFeedback();
    } else if (request.command == QLatin1String("about")) {
        openAbout();
    } else if (request.command == QLatin1String("preferences")) {
        openPrefs();
    }
    // "hidden" (a start at login) asks nothing of a Kelp that runs already.
}

void TQController::openPrefs()
{
    if (!_prefWindow) {
        _prefWindow = new PrefsWindow(_defaults, _prefsHooks, &_panel);
        // Modal to the panel, as a sheet on it would be.
        _prefWindow->setWindowModality(Qt::WindowModal);
    }
    if (isPrefsWindowVisible()) {
        _prefWindow->raise();
        _prefWindow->activateWindow();
        return;
    }
    // The desktop's session settings may have switched the login item off or on meanwhile.
    _defaults.setValue(Key::StartAtLogin, _loginItems->launchAtLogin());
    activate();
    applicationOpenUntitledFile();
    _prefWindow->show();
    _prefWindow->raise();
    _prefWindow->activateWindow();
}

void TQController::closePrefs()
{
    if (_prefWindow) _prefWindow->closePrefs();
}

bool TQController::isPrefsWindowVisible() const
{
    return _prefWindow && _prefWindow->isVisible();
}

void TQController::openFeedback()
{
    activate();
    if (_feedbackAssistant) _feedbackAssistant->presentFeedbackPanelForFeature();
}

bool TQController::isFeedbackWindowVisible() const
{
    return _feedbackAssistant && _feedbackAssistant->isFeedbackWindowVisible();
}

// --- Kelp's own windows and documents ---------------------------------------------------------

void TQController::openAbout()
{
    activate();
    if (!_aboutPanel) _aboutPanel = std::make_unique<AboutPanel>();
    _aboutPanel->orderFront();
}

bool TQController::isAboutPanelVisible() const
{
    return _aboutPanel && _aboutPanel->isVisible();
}

void TQController::openWelcome()
{
    activate();
    openWelcomeAssistant();
}

void TQController::openWelcomeAssistant()
{
    TQWelcomeAssistant::sharedAssistantWithPDFName(QString::fromLatin1(kWelcomeDocumentName),
                                                   _defaults);
}

bool TQController::isWelcomeWindowVisible() const
{
    return TQWelcomeAssistant::isWindowVisible();
}

void TQController::openUserGuide()
{
    const QString path = documentPath(QString::fromLatin1(kUserGuideDocumentName));
    if (path.isEmpty()) {
        qCWarning(lcWelcome) << "The user guide is not installed";
        QApplication::beep();
        return;
    }
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        qCWarning(lcWelcome) << "No PDF viewer opened" << path;
}

void TQController::openHomeURL()
{
    if (!QDesktopServices::openUrl(QUrl(QString::fromLatin1(kHomePageUrl))))
        qCWarning(lcWelcome) << "No web browser opened" << kHomePageUrl;
}

void TQController::startAtLoginChanged()
{
    const bool wanted = _defaults.value(Key::StartAtLogin);
    if (_loginItems->setLaunchAtLogin(wanted)) return;
    if (!wanted) return; // the entry stays; the next start brings the setting in line
    _defaults.setValue(Key::StartAtLogin, false);
    if (_loginItemAlert) return;
    _loginItemAlert = new QMessageBox(QMessageBox::Warning, tr("Kelp"),
                                      tr("Kelp cannot start at login."), QMessageBox::Ok);
    _loginItemAlert->setInformativeText(_loginItems->errorString());
    _loginItemAlert->setAttribute(Qt::WA_DeleteOnClose);
    _loginItemAlert->show();
}

} // namespace kelp
