#pragma once
// `kelp --analyze-colours [--set key=value ...] IMAGE...`: the colour analysis of image files, as
// JSON on standard output, for users and scripts.
#include <QJsonArray>
#include <QStringList>

namespace kelp {

class Defaults;

struct AnalyzeColoursResult
{
    QJsonArray report;  // one object per image, in argument order
    bool allOk = true;  // false when any image could not be read
    QString usageError; // set when the arguments themselves are wrong
};

// Analyses each image with the colour settings of `defaults` overridden by `settings` ("key=value";
// the keys are maximumIconSize and the five colour-sort keys).
AnalyzeColoursResult analyzeColours(const Defaults &defaults, const QStringList &settings,
                                    const QStringList &images);

// The command itself, with the user's settings: the report on standard output, a usage error on
// standard error. Returns the exit status: 0, 1 when an image could not be read, 2 for a usage
// error.
int runAnalyzeColours(const QStringList &settings, const QStringList &images);

} // namespace kelp
