// kelp: the launcher's entry point. The command line becomes one command (cli/CommandLine.h): the
// tools print and exit, anything else is a request for the running Kelp, which this process
// becomes when none runs.
#include "cli/AnalyzeColoursCommand.h"
#include "cli/CommandLine.h"
#include "cli/LauncherCommand.h"
#include "cli/PrintCatalogueCommand.h"
#include "platform/DesktopFactory.h"

#include <QApplication>
#include <QTextStream>

#include <cstdio>
#include <optional>

namespace {

// The arguments as QCoreApplication would give them, for use before it exists.
QStringList argumentsOf(int argc, char **argv)
{
    QStringList arguments;
    arguments.reserve(argc);
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

} // namespace

int main(int argc, char **argv)
{
    // A later kelp only hands its request to the running one and exits: it does that before any
    // display connection or GUI object exists, so that `kelp --toggle` bound to a key is quick.
    // Anything else (including Qt's own options such as -platform, which only QApplication
    // understands) goes the long way below.
    {
        const kelp::Command early = kelp::parseCommandLine(argumentsOf(argc, argv));
        if (early.kind == kelp::Command::Kind::Launcher)
            if (const std::optional<int> status = kelp::sendToRunningKelp(early.request))
                return *status;
    }

    // Kelp's command-line tools need no display; run them on the offscreen platform when there is
    // none (or it cannot be reached), so that images can still be drawn.
    kelp::chooseQtPlatform();
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Kelp"));
    QCoreApplication::setOrganizationName(QStringLiteral("Kelp"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KELP_VERSION));

    using Kind = kelp::Command::Kind;
    const kelp::Command command = kelp::parseCommandLine(QCoreApplication::arguments());
    switch (command.kind) {
    case Kind::Help:
        std::fputs(qPrintable(command.text), stdout);
        return 0;
    case Kind::Version:
        std::fputs(qPrintable(QCoreApplication::applicationName() + QLatin1Char(' ') +
                              QCoreApplication::applicationVersion() + QLatin1Char('\n')),
                   stdout);
        return 0;
    case Kind::UsageError:
        QTextStream(stderr) << command.text << '\n';
        return 2;
    case Kind::PrintCatalogue:
        return kelp::runPrintCatalogue(command.rescan, command.icons);
    case Kind::AnalyzeColours:
        return kelp::runAnalyzeColours(command.settings, command.images);
    case Kind::Launcher:
        return kelp::startKelp(command.request);
    }
    return 2;
}
