#include "control/KelpApplication.h"

#include "OpenFeedback/CrashHandler.h"
#include "OpenFeedback/CrashReports.h"
#include "OpenFeedback/HangWatchdog.h"
#include "OpenFeedback/OpenFeedback.h"
#include "catalogue/TQAppManager.h"
#include "control/ApplicationKeys.h"
#include "control/IconThemeFollower.h"
#include "control/TQController.h"
#include "desktop/Desktop.h"
#include "extras/Logging.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"
#include "triggers/Triggers.h"
#include "window/TQWindow.h"

#include <QApplication>
#include <QTimer>

#include <thread>

namespace kelp {

int runKelp(SingleInstance &instance, const InstanceRequest &request)
{
    QApplication::setQuitOnLastWindowClosed(false);
    CrashHandler::install(crashReportFolder(), QCoreApplication::applicationVersion());
    HangWatchdog watchdog(hangReportFolder());
    Defaults &defaults = Defaults::standard();
    registerAllDefaults(defaults);

    TQAppManager catalogue(defaults, desktop().appsOnDisk);
    TQWindow panel(catalogue, defaults);
    TQController controller(catalogue, panel, defaults);
    ApplicationKeys applicationKeys(&panel);
    qApp->installEventFilter(&applicationKeys);
    IconThemeFollower iconThemes(catalogue, defaults, desktop().iconThemes);
    Triggers triggers(controller, catalogue, panel, defaults);
    triggers.start();
    OpenFeedback feedbackAssistant(defaults);
    controller.setFeedbackAssistant(&feedbackAssistant);
    PrefsHooks prefsHooks;
    prefsHooks.hotKeyFailure = [&triggers]() { return triggers.hotKeyFailure(); };
    prefsHooks.hasMenuAccess = [&triggers]() { return hasMenuAccess(triggers.accessSettings()); };
    prefsHooks.quit = [&triggers]() { triggers.quitApp(); };
    prefsHooks.autoExcludeApps = [&triggers]() { triggers.autoExcludeApps(); };
    controller.setPrefsHooks(std::move(prefsHooks));
    QObject::connect(&instance, &SingleInstance::requestReceived, &controller,
                     &TQController::handleRequest);
    // exit(), not quit(): the panel hides instead of closing, and must not be able to refuse.
    QObject::connect(
        &controller, &TQController::quitRequested, qApp, []() { QCoreApplication::exit(0); },
        Qt::QueuedConnection);
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &controller,
                     &TQController::applicationWillTerminate);

    if (request.command == QLatin1String("open")) controller.openFiles(request.files);
    // Started at login: nothing shows until the user calls for Kelp.
    controller.setStartsHidden(request.command == QLatin1String("hidden"));
    controller.applicationDidFinishLaunching();
    triggers.applicationDidFinishLaunching();
    feedbackAssistant.start();
#ifdef KELP_TEST_HOOKS
    // Test builds only: $KELP_TEST_BLOCK_GUI_MS blocks the GUI thread that long, once, a second
    // after start.
    if (const int blockMs = qEnvironmentVariableIntValue("KELP_TEST_BLOCK_GUI_MS"); blockMs > 0)
        QTimer::singleShot(1000, qApp, [blockMs] {
            std::this_thread::sleep_for(std::chrono::milliseconds(blockMs));
        });
#endif
    if (request.command == QLatin1String("feedback") || request.command == QLatin1String("about") ||
        request.command == QLatin1String("preferences"))
        controller.handleRequest(request);
    const int status = QCoreApplication::exec();
    qCDebug(lcPlatform) << "The event loop has ended; Kelp closes down";
    CrashHandler::uninstall();
    return status;
}

} // namespace kelp
