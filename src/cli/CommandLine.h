#pragma once
// The kelp command line, read into one Command: which of Kelp's commands to run, and with what.
//
// A request for the running Kelp:
//   kelp [--toggle | --show | --hide | --hidden | --rescan | --quit | --feedback | --about |
//         --preferences | FILE...]
// The tools:
//   kelp --print-catalogue [--rescan] [--icons]            the catalogue as JSON
//   kelp --analyze-colours [--set key=value ...] IMAGE...  image colours as JSON
//   kelp --help | --version
#include "control/SingleInstance.h"

#include <QString>
#include <QStringList>

namespace kelp {

struct Command
{
    enum class Kind {
        Launcher,       // `request` for the running Kelp, which this process becomes if none runs
        PrintCatalogue, // `rescan`, `icons`
        AnalyzeColours, // `settings` ("key=value"), `images`
        Help,           // `text` is the help
        Version,
        UsageError, // `text` says what is wrong
    };
    Kind kind = Kind::Launcher;
    InstanceRequest request{QStringLiteral("reopen"), {}};
    bool rescan = false;
    bool icons = false;
    QStringList settings;
    QStringList images;
    QString text;
};

// Reads the arguments (the program's name first, as QCoreApplication::arguments() gives them).
// Files handed to the running Kelp become absolute paths against the current folder.
Command parseCommandLine(const QStringList &arguments);

} // namespace kelp
