// The kelp command line read into a command: which command each combination of arguments picks,
// and which it refuses.
#include "cli/CommandLine.h"

#include "support/TestSupport.h"

#include <QDir>

#include <gtest/gtest.h>

namespace kelp {
namespace {

// The command in one line: its kind and what it carries.
QString summary(const Command &c)
{
    using Kind = Command::Kind;
    switch (c.kind) {
    case Kind::Launcher:
        return (QStringList{QStringLiteral("request"), c.request.command} + c.request.files)
            .join(QLatin1Char(' '));
    case Kind::PrintCatalogue:
        return QStringLiteral("print-catalogue rescan=%1 icons=%2")
            .arg(c.rescan ? 1 : 0)
            .arg(c.icons ? 1 : 0);
    case Kind::AnalyzeColours:
        return QStringLiteral("analyze-colours [%1] %2")
            .arg(c.settings.join(QLatin1Char(',')), c.images.join(QLatin1Char(' ')));
    case Kind::Help:
        return QStringLiteral("help");
    case Kind::Version:
        return QStringLiteral("version");
    case Kind::UsageError:
        return QStringLiteral("error: ") + c.text;
    }
    return {};
}

struct Row
{
    const char *name;
    QStringList arguments;
    QString expected;
};

TEST(CommandLine, EachCombinationPicksOneCommandOrIsRefused)
{
    const QString here = QDir::currentPath();
    const QString tryHelp = QStringLiteral("\nTry 'kelp --help'.");
    const Row rows[] = {
        {"nothing reopens the running Kelp", {}, "request reopen"},
        {"toggle", {"--toggle"}, "request toggle"},
        {"rescan alone is a request", {"--rescan"}, "request rescan"},
        {"a start at login", {"--hidden"}, "request hidden"},
        {"about and hidden", {"--about", "--hidden"}, "error: Give Kelp one request at a time."},
        {"files become absolute paths",
         {"notes.txt", "/tmp/a b.png"},
         "request open " + here + "/notes.txt /tmp/a b.png"},
        {"two requests", {"--show", "--quit"}, "error: Give Kelp one request at a time."},
        {"a request and a file",
         {"--hide", "notes.txt"},
         "error: Give Kelp one request at a time."},
        {"print-catalogue", {"--print-catalogue"}, "print-catalogue rescan=0 icons=0"},
        {"print-catalogue with both flags",
         {"--icons", "--print-catalogue", "--rescan"},
         "print-catalogue rescan=1 icons=1"},
        {"print-catalogue takes no file",
         {"--print-catalogue", "x.png"},
         "error: Unexpected argument: x.png"},
        {"icons without print-catalogue",
         {"--icons"},
         "error: --icons goes with --print-catalogue."},
        {"analyze-colours with settings",
         {"--analyze-colours", "--set", "maximumIconSize=16", "a.png", "--set=colorSortWrapHue=3",
          "b.png"},
         "analyze-colours [maximumIconSize=16,colorSortWrapHue=3] a.png b.png"},
        {"analyze-colours comes before print-catalogue",
         {"--print-catalogue", "--analyze-colours", "a.png"},
         "analyze-colours [] a.png"},
        {"set without analyze-colours",
         {"--set", "a=1"},
         "error: --set goes with --analyze-colours."},
        {"set without its value",
         {"--analyze-colours", "--set"},
         "error: Missing value after '--set'." + tryHelp},
        {"unknown option",
         {"--no-such-option"},
         "error: Unknown option 'no-such-option'." + tryHelp},
        {"help", {"--toggle", "--help"}, "help"},
        {"version", {"--version"}, "version"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(summary(parseCommandLine(QStringList{QStringLiteral("kelp")} + row.arguments)),
                  row.expected);
    }
}

} // namespace
} // namespace kelp
