#include "cli/CommandLine.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>

namespace kelp {
namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("main", text);
}

Command usageError(const QString &text)
{
    Command command;
    command.kind = Command::Kind::UsageError;
    command.text = text;
    return command;
}

} // namespace

Command parseCommandLine(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(tr("Kelp, an application launcher."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption printOption(
        QStringLiteral("print-catalogue"),
        tr("Print the catalogue of applications as JSON and exit."));
    const QCommandLineOption rescanOption(
        QStringLiteral("rescan"),
        tr("With --print-catalogue: walk the folders even when a cached list exists."));
    const QCommandLineOption iconsOption(
        QStringLiteral("icons"),
        tr("With --print-catalogue: load every icon first, so colour keys are real."));
    const QCommandLineOption analyzeOption(
        QStringLiteral("analyze-colours"),
        tr("Analyse the colours of the given images and print them as JSON."));
    const QCommandLineOption setOption(QStringLiteral("set"),
                                       tr("With --analyze-colours: override a colour setting."),
                                       tr("key=value"));
    const QCommandLineOption toggleOption(QStringLiteral("toggle"),
                                          tr("Show the panel, or hide it when it shows."));
    const QCommandLineOption showOption(QStringLiteral("show"), tr("Show the panel."));
    const QCommandLineOption hideOption(QStringLiteral("hide"), tr("Hide the panel."));
    const QCommandLineOption quitOption(QStringLiteral("quit"), tr("Quit the running Kelp."));
    const QCommandLineOption feedbackOption(QStringLiteral("feedback"),
                                            tr("Open Kelp's feedback form."));
    const QCommandLineOption aboutOption(QStringLiteral("about"),
                                         tr("Show Kelp's version and what it is."));
    const QCommandLineOption hiddenOption(
        QStringLiteral("hidden"),
        tr("Start Kelp without showing anything (as at login); nothing when it runs."));
    const QCommandLineOption preferencesOption(QStringLiteral("preferences"),
                                               tr("Open Kelp's preferences."));
    for (const QCommandLineOption *option :
         {&toggleOption, &showOption, &hideOption, &quitOption, &feedbackOption, &aboutOption,
          &hiddenOption, &preferencesOption, &printOption, &rescanOption, &iconsOption,
          &analyzeOption, &setOption})
        parser.addOption(*option);
    parser.addPositionalArgument(QStringLiteral("images"),
                                 tr("With --analyze-colours: image files."),
                                 QStringLiteral("[IMAGE...]"));

    if (!parser.parse(arguments))
        return usageError(parser.errorText() + QLatin1Char('\n') + tr("Try 'kelp --help'."));
    Command command;
    if (parser.isSet(QStringLiteral("help"))) {
        command.kind = Command::Kind::Help;
        command.text = parser.helpText();
        return command;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        command.kind = Command::Kind::Version;
        return command;
    }

    if (parser.isSet(analyzeOption)) {
        command.kind = Command::Kind::AnalyzeColours;
        command.settings = parser.values(setOption);
        command.images = parser.positionalArguments();
        return command;
    }
    if (parser.isSet(setOption)) return usageError(tr("--set goes with --analyze-colours."));
    if (parser.isSet(printOption)) {
        if (!parser.positionalArguments().isEmpty())
            return usageError(
                tr("Unexpected argument: %1").arg(parser.positionalArguments().first()));
        command.kind = Command::Kind::PrintCatalogue;
        command.rescan = parser.isSet(rescanOption);
        command.icons = parser.isSet(iconsOption);
        return command;
    }
    if (parser.isSet(iconsOption)) return usageError(tr("--icons goes with --print-catalogue."));

    // A request for the running Kelp: plain `kelp` reopens it.
    int requests = 0;
    for (const auto &[option, request] :
         {std::pair{&toggleOption, "toggle"}, std::pair{&showOption, "show"},
          std::pair{&hideOption, "hide"}, std::pair{&quitOption, "quit"},
          std::pair{&rescanOption, "rescan"}, std::pair{&feedbackOption, "feedback"},
          std::pair{&aboutOption, "about"}, std::pair{&hiddenOption, "hidden"},
          std::pair{&preferencesOption, "preferences"}}) {
        if (parser.isSet(*option)) {
            command.request.command = QLatin1String(request);
            ++requests;
        }
    }
    if (!parser.positionalArguments().isEmpty()) {
        command.request.command = QStringLiteral("open");
        for (const QString &file : parser.positionalArguments())
            command.request.files.append(QFileInfo(file).absoluteFilePath());
        ++requests;
    }
    if (requests > 1) return usageError(tr("Give Kelp one request at a time."));
    return command;
}

} // namespace kelp
