#include "cli/LauncherCommand.h"

#include "control/KelpApplication.h"
#include "desktop/Desktop.h"
#include "platform/DesktopFactory.h"
#include "settings/Defaults.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QTextStream>

namespace kelp {
namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("main", text);
}

} // namespace

std::optional<int> sendToRunningKelp(const InstanceRequest &request)
{
    if (SingleInstance::sendToRunning(request)) return 0;
    if (request.command == QLatin1String("hide") || request.command == QLatin1String("quit") ||
        request.command == QLatin1String("rescan")) {
        QTextStream(stderr) << tr("Kelp is not running.") << '\n';
        return 1;
    }
    return std::nullopt;
}

int startKelp(const InstanceRequest &request)
{
    if (QGuiApplication::platformName() == QLatin1String("offscreen") &&
        qEnvironmentVariable("QT_QPA_PLATFORM") != QLatin1String("offscreen")) {
        QTextStream(stderr) << tr("Kelp's panel needs a display (is DISPLAY set?).") << '\n';
        return 1;
    }
    // A later kelp only hands its request over: it needs no desktop, no icons, no X connection.
    if (const std::optional<int> status = sendToRunningKelp(request)) return *status;

    DesktopOptions options;
    options.iconTheme = Defaults::standard().value(Key::IconThemeName);
    options.launcherProgress = true;
    options.triggers = true;
    setDesktop(makeDesktop(QGuiApplication::platformName(), options));
    SingleInstance instance;
    if (!instance.listen()) {
        // Another Kelp started at the same moment and won: hand it the request after all.
        if (SingleInstance::sendToRunning(request)) return 0;
        QTextStream(stderr)
            << tr("Kelp cannot start: %1 is not usable.").arg(SingleInstance::socketPath()) << '\n';
        return 1;
    }
    return runKelp(instance, request);
}

} // namespace kelp
