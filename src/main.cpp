// kelp: the launcher's entry point and its command-line tools.
#include "catalogue/CatalogueReport.h"
#include "catalogue/IconLoader.h"
#include "catalogue/TQAppManager.h"
#include "control/AnalyzeColoursCommand.h"
#include "control/KelpApplication.h"
#include "desktop/Desktop.h"
#include "desktop/RunningApplications.h"
#include "platform/DesktopFactory.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QEventLoop>
#include <QFileInfo>
#include <QJsonDocument>
#include <QTextStream>

#include <cstdio>
#include <memory>

namespace {

// Runs the event loop until every queued icon load has been applied to its entry.
void waitForIcons()
{
    kelp::IconLoader &loader = kelp::IconLoader::shared();
    if (loader.pendingLoads() == 0) return;
    QEventLoop loop;
    QObject::connect(&loader, &kelp::IconLoader::allLoadsDelivered, &loop, &QEventLoop::quit);
    loop.exec();
}

int printCatalogue(bool rescan, bool icons)
{
    using namespace kelp;
    Defaults &defaults = Defaults::standard();
    registerAllDefaults(defaults);

    // Running applications when there is a display. Icons only when asked for: then each entry's
    // colour key comes from its real icon.
    DesktopOptions options;
    if (icons) options.iconTheme = defaults.value(Key::IconThemeName);
    setDesktop(makeDesktop(QGuiApplication::platformName(), options));
    TQAppManager catalogue(defaults, desktop().appsOnDisk);
    const auto print = [&catalogue, icons]() {
        if (icons) waitForIcons();
        const QByteArray json =
            QJsonDocument(catalogueReport(catalogue)).toJson(QJsonDocument::Indented);
        std::fwrite(json.constData(), 1, static_cast<size_t>(json.size()), stdout);
        std::fflush(stdout);
        QCoreApplication::quit();
    };
    QObject::connect(&catalogue, &TQAppManager::rescanFinished, &catalogue, [&catalogue, print]() {
        // Running programs are matched to the catalogue's entries once those have been read.
        const auto running = desktop().running;
        if (running && running->isMatchingPending())
            QObject::connect(running.get(), &RunningApplications::matchingChanged, &catalogue,
                             print, Qt::SingleShotConnection);
        else
            print();
    });
    catalogue.rescanAllAppsPrioritizingGroup(TQAppManager::All, rescan);
    const int status = QCoreApplication::exec();
    defaults.synchronize();
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    // Kelp's command-line tools need no display; run them on the offscreen platform when there is
    // none (or it cannot be reached), so that images can still be drawn.
    kelp::chooseQtPlatform();
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Kelp"));
    QCoreApplication::setOrganizationName(QStringLiteral("Kelp"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KELP_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QCoreApplication::translate("main", "Kelp, an application launcher."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption printOption(
        QStringLiteral("print-catalogue"),
        QCoreApplication::translate("main",
                                    "Print the catalogue of applications as JSON and exit."));
    const QCommandLineOption rescanOption(
        QStringLiteral("rescan"),
        QCoreApplication::translate(
            "main", "With --print-catalogue: walk the folders even when a cached list exists."));
    const QCommandLineOption iconsOption(
        QStringLiteral("icons"),
        QCoreApplication::translate(
            "main", "With --print-catalogue: load every icon first, so colour keys are real."));
    const QCommandLineOption analyzeOption(
        QStringLiteral("analyze-colours"),
        QCoreApplication::translate(
            "main", "Analyse the colours of the given images and print them as JSON."));
    const QCommandLineOption setOption(
        QStringLiteral("set"),
        QCoreApplication::translate("main", "With --analyze-colours: override a colour setting."),
        QCoreApplication::translate("main", "key=value"));
    const QCommandLineOption toggleOption(
        QStringLiteral("toggle"),
        QCoreApplication::translate("main", "Show the panel, or hide it when it shows."));
    const QCommandLineOption showOption(QStringLiteral("show"),
                                        QCoreApplication::translate("main", "Show the panel."));
    const QCommandLineOption hideOption(QStringLiteral("hide"),
                                        QCoreApplication::translate("main", "Hide the panel."));
    const QCommandLineOption quitOption(
        QStringLiteral("quit"), QCoreApplication::translate("main", "Quit the running Kelp."));
    parser.addOption(toggleOption);
    parser.addOption(showOption);
    parser.addOption(hideOption);
    parser.addOption(quitOption);
    parser.addOption(printOption);
    parser.addOption(rescanOption);
    parser.addOption(iconsOption);
    parser.addOption(analyzeOption);
    parser.addOption(setOption);
    parser.addPositionalArgument(
        QStringLiteral("images"),
        QCoreApplication::translate("main", "With --analyze-colours: image files."),
        QStringLiteral("[IMAGE...]"));

    if (!parser.parse(QCoreApplication::arguments())) {
        QTextStream(stderr) << parser.errorText() << '\n'
                            << QCoreApplication::translate("main", "Try 'kelp --help'.") << '\n';
        return 2;
    }
    if (parser.isSet(QStringLiteral("help"))) parser.showHelp(0);
    if (parser.isSet(QStringLiteral("version"))) parser.showVersion();

    if (parser.isSet(analyzeOption)) {
        kelp::Defaults &defaults = kelp::Defaults::standard();
        kelp::registerAllDefaults(defaults);
        const kelp::AnalyzeColoursResult result =
            kelp::analyzeColours(defaults, parser.values(setOption), parser.positionalArguments());
        if (!result.usageError.isEmpty()) {
            QTextStream(stderr) << result.usageError << '\n';
            return 2;
        }
        const QByteArray json = QJsonDocument(result.report).toJson(QJsonDocument::Indented);
        std::fwrite(json.constData(), 1, static_cast<size_t>(json.size()), stdout);
        return result.allOk ? 0 : 1;
    }
    if (parser.isSet(setOption)) {
        QTextStream(stderr) << QCoreApplication::translate("main",
                                                           "--set goes with --analyze-colours.")
                            << '\n';
        return 2;
    }
    if (parser.isSet(printOption)) {
        if (!parser.positionalArguments().isEmpty()) {
            QTextStream(stderr) << QCoreApplication::translate("main", "Unexpected argument: %1")
                                       .arg(parser.positionalArguments().first())
                                << '\n';
            return 2;
        }
        return printCatalogue(parser.isSet(rescanOption), parser.isSet(iconsOption));
    }
    if (parser.isSet(iconsOption)) {
        QTextStream(stderr) << QCoreApplication::translate("main",
                                                           "--icons goes with --print-catalogue.")
                            << '\n';
        return 2;
    }

    // The launcher: a request for the running Kelp, which this process becomes when there is none.
    kelp::InstanceRequest request{QStringLiteral("reopen"), {}};
    int commands = 0;
    for (const auto &[option, command] :
         {std::pair{&toggleOption, "toggle"}, std::pair{&showOption, "show"},
          std::pair{&hideOption, "hide"}, std::pair{&quitOption, "quit"},
          std::pair{&rescanOption, "rescan"}}) {
        if (parser.isSet(*option)) {
            request.command = QLatin1String(command);
            ++commands;
        }
    }
    if (!parser.positionalArguments().isEmpty()) {
        request.command = QStringLiteral("open");
        for (const QString &file : parser.positionalArguments())
            request.files.append(QFileInfo(file).absoluteFilePath());
        ++commands;
    }
    if (commands > 1) {
        QTextStream(stderr) << QCoreApplication::translate("main",
                                                           "Give Kelp one request at a time.")
                            << '\n';
        return 2;
    }
    if (QGuiApplication::platformName() == QLatin1String("offscreen") &&
        qEnvironmentVariable("QT_QPA_PLATFORM") != QLatin1String("offscreen")) {
        QTextStream(stderr) << QCoreApplication::translate(
                                   "main", "Kelp's panel needs a display (is DISPLAY set?).")
                            << '\n';
        return 1;
    }
    kelp::setDesktop(
        kelp::makeDesktop(QGuiApplication::platformName(),
                          {.iconTheme = kelp::Defaults::standard().value(kelp::Key::IconThemeName),
                           .launcherProgress = true}));
    return kelp::runKelp(request);
}
