#include "control/KelpApplication.h"

#include "catalogue/TQAppManager.h"
#include "control/TQController.h"
#include "desktop/Desktop.h"
#include "extras/Logging.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"
#include "window/TQWindow.h"

#include <QApplication>
#include <QTextStream>

namespace kelp {

int runKelp(const InstanceRequest &request)
{
    if (SingleInstance::sendToRunning(request)) return 0;
    if (request.command == QLatin1String("hide") || request.command == QLatin1String("quit") ||
        request.command == QLatin1String("rescan")) {
        QTextStream(stderr) << QCoreApplication::translate("main", "Kelp is not running.") << '\n';
        return 1;
    }
    SingleInstance instance;
    if (!instance.listen()) {
        // Another Kelp started at the same moment and won: hand it the request after all.
        if (SingleInstance::sendToRunning(request)) return 0;
        QTextStream(stderr) << QCoreApplication::translate("main",
                                                           "Kelp cannot start: %1 is not usable.")
                                   .arg(SingleInstance::socketPath())
                            << '\n';
        return 1;
    }
    if (!desktop().appsOnDisk) {
        qCCritical(lcPlatform) << "No desktop services were installed";
        return 1;
    }

    QApplication::setQuitOnLastWindowClosed(false);
    Defaults &defaults = Defaults::standard();
    registerAllDefaults(defaults);

    TQAppManager catalogue(defaults, desktop().appsOnDisk);
    TQWindow panel(catalogue, defaults);
    TQController controller(catalogue, panel, defaults);
    QObject::connect(&instance, &SingleInstance::requestReceived, &controller,
                     &TQController::handleRequest);
    // exit(), not quit(): the panel hides instead of closing, and must not be able to refuse.
    QObject::connect(
        &controller, &TQController::quitRequested, qApp, []() { QCoreApplication::exit(0); },
        Qt::QueuedConnection);
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &controller,
                     &TQController::applicationWillTerminate);

    if (request.command == QLatin1String("open")) controller.openFiles(request.files);
    controller.applicationDidFinishLaunching();
    return QCoreApplication::exec();
}

} // namespace kelp
