#include "control/KelpApplication.h"

#include "catalogue/TQAppManager.h"
#include "control/IconThemeFollower.h"
#include "control/TQController.h"
#include "desktop/Desktop.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"
#include "triggers/Triggers.h"
#include "window/TQWindow.h"

#include <QApplication>

namespace kelp {

int runKelp(SingleInstance &instance, const InstanceRequest &request)
{
    QApplication::setQuitOnLastWindowClosed(false);
    Defaults &defaults = Defaults::standard();
    registerAllDefaults(defaults);

    TQAppManager catalogue(defaults, desktop().appsOnDisk);
    TQWindow panel(catalogue, defaults);
    TQController controller(catalogue, panel, defaults);
    IconThemeFollower iconThemes(catalogue, defaults, desktop().iconThemes);
    Triggers triggers(controller, catalogue, panel, defaults);
    triggers.start();
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
    triggers.applicationDidFinishLaunching();
    return QCoreApplication::exec();
}

} // namespace kelp
