#pragma once
// TQController: the one object through which every trigger reaches the panel.
//
// It decides when the panel shows and hides (a toggle from `kelp --toggle`, the tray or the hot
// key; losing the focus; the close timer of a panel the user moved away), runs the start-up
// sequence, and answers the requests later `kelp` starts hand to the running one. It is given the
// catalogue and the panel; they never call it.
#include "prefs/PrefsWindow.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>

#include <memory>

class QMessageBox;

namespace kelp {

class AboutPanel;
class Defaults;
class LaunchAtLoginController;
class OpenFeedback;
class TQAppManager;
class TQWindow;
struct InstanceRequest;

class TQController : public QObject
{
    Q_OBJECT
public:
    TQController(TQAppManager &catalogue, TQWindow &panel, Defaults &defaults,
                 QObject *parent = nullptr);
    ~TQController() override;

    // --- Panel visibility ---------------------------------------------------------------------
    void showMainWindow();
    void hideMainWindow();
    // Losing the focus: a moved panel waits 30 seconds, any other hides at once.
    void implicitHideMainWindow();
    // The user asked for the panel to go.
    void explicitHideMainWindow();
    // The toggle of every trigger.
    void showHideMainWindow();
    bool mainWindowIsVisible() const;
    // Brings Kelp to the front (not for a non-activating panel).
    void activate();
    // Raises the panel and asks the window manager to give it the keyboard.
    void askForKeyboard();
    // Gives the front back to the application that had it before Kelp.
    void deactivate();
    bool isActive() const;

    void startWindowCloseTimerWithTimeInterval(double seconds);
    void cancelWindowCloseTimer();
    bool isWindowCloseTimerPending() const { return _windowCloseTimer.isActive(); }
    // How long Kelp must stay inactive before that counts as the user leaving it.
    static constexpr int kFocusLossGraceMs = 100;
    // How long a panel that asked for the keyboard waits for it before a focus loss counts.
    static constexpr int kKeyboardWaitMs = 1000;
    void mainWindowUnusedAndShouldBeHidden();

    // --- Application life ---------------------------------------------------------------------
    void applicationDidFinishLaunching();
    void applicationWillBecomeActive();
    void applicationDidBecomeActive();
    void applicationWillResignActive();
    void applicationDidResignActive();
    // `kelp` started again while this one runs (a click on a launcher icon).
    bool applicationShouldHandleReopen();
    bool applicationShouldOpenUntitledFile() const;
    bool applicationOpenUntitledFile();
    // Files handed to Kelp wait on the drop stack for the panel.
    void openFiles(const QStringList &files);
    // Rescans the catalogue, the group about to be shown first; from the menu, icons reload too.
    void rescanAllApps(bool fromMenu);
    void applicationWillTerminate();
    // The catalogue's scan progress, shown on Kelp's dock icon (unless Kelp keeps out of the dock).
    void showProgressStep(int step, int count);

    // The feedback reporter that `kelp --feedback` opens and hiding closes (none in tests).
    void setFeedbackAssistant(OpenFeedback *assistant) { _feedbackAssistant = assistant; }
    // The feedback window, on its feature form (the menus, `kelp --feedback`).
    void openFeedback();
    bool isFeedbackWindowVisible() const;

    // --- Kelp's own windows and documents --------------------------------------------------------
    // The About window: made the first time, then only brought forward.
    void openAbout();
    bool isAboutPanelVisible() const;
    // The welcome tour, where it was left.
    void openWelcome();
    bool isWelcomeWindowVisible() const;
    // The user guide in the desktop's PDF viewer; Kelp's home page in the web browser.
    void openUserGuide();
    void openHomeURL();
    // Started at login (`kelp --hidden`): the panel and the welcome tour wait until asked for.
    void setStartsHidden(bool hidden) { _startsHidden = hidden; }
    LaunchAtLoginController &loginItems() { return *_loginItems; }
    // What the preferences window asks of the triggers (set once they exist).
    void setPrefsHooks(PrefsHooks hooks) { _prefsHooks = std::move(hooks); }
    // The preferences window, transient for the panel: shown (with the panel) or raised.
    void openPrefs();
    // Ends the colour-sorting sheet and the preferences window, and writes the settings.
    void closePrefs();
    bool isPrefsWindowVisible() const;
    // The window once it was first opened (nullptr before).
    PrefsWindow *prefsWindow() const { return _prefWindow; }

    // A request from a later `kelp`.
    void handleRequest(const kelp::InstanceRequest &request);

    bool finishedLaunching() const { return _finishedLaunching; }
    // Kelp became, or stopped being, the active application (wired to QGuiApplication).
    void applicationStateChanged(Qt::ApplicationState state);

Q_SIGNALS:
    // The end of start-up; the catalogue starts watching the scan folders on it.
    void didFinishLaunching();
    // Kelp should end (the quit request).
    void quitRequested();

private:
    // The setting `startAtLogin` drives the autostart entry; one that cannot be written turns
    // the setting back off, with one message.
    void startAtLoginChanged();
    void openWelcomeAssistant();

    TQAppManager &_catalogue;
    TQWindow &_panel;
    Defaults &_defaults;
    OpenFeedback *_feedbackAssistant = nullptr;
    PrefsHooks _prefsHooks;
    QPointer<PrefsWindow> _prefWindow;
    QTimer _windowCloseTimer;
    QTimer _focusLossTimer;       // a focus loss counts once it has lasted this long
    QElapsedTimer _keyboardAsked; // since the panel last asked for the keyboard, until it has it
    QDateTime _didBecomeActiveDate;
    bool _finishedLaunching = false;
    bool _active = false;
    std::unique_ptr<AboutPanel> _aboutPanel;
    std::unique_ptr<LaunchAtLoginController> _loginItems;
    QPointer<QMessageBox> _loginItemAlert;
    // The welcome tour was open when the panel was last hidden: it comes back with the panel.
    bool _welcomeAssistantWasOpen = false;
    bool _startsHidden = false;
};

} // namespace kelp
