#pragma once
// What the feedback window sends: the form's fields, turned into the ordered parameters of one
// report and into the url-encoded body of its POST. No widgets here, so that the exact bytes a
// report becomes can be checked on their own.
#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

namespace kelp {

// The form's segments; the crash form takes the third segment's place when a crash is reported.
enum class FeedbackKind { Support = 0, Feature = 1, Bug = 2, Crash = 3 };

struct FeedbackFields
{
    FeedbackKind kind = FeedbackKind::Support;
    QString question;
    QString feature;
    QString importance;
    QString whatHappened;
    QString bugSteps;
    bool critical = false;
    QString crashDescription;
    QString crashSteps;
    bool includeEmail = false;
    QString email;
};

// The application facts every report carries.
struct FeedbackApp
{
    QString name;
    QString version;
    QString systemVersion;
    // Kelp's own: its display name, its version and the system's name and version.
    static FeedbackApp current();
};

using FeedbackParameters = QList<QPair<QString, QString>>;

// The report's parameters in the order they are sent (empty values included; the body leaves
// them out).
FeedbackParameters feedbackParameters(const FeedbackFields &fields, const FeedbackApp &app);
// "name=value&..." of the non-empty parameters, each value percent-encoded as UTF-8.
QByteArray feedbackBody(const FeedbackParameters &parameters);
// The send button's rule: the segment's main text is written, and the address too when the
// report includes it.
bool feedbackCanBeSent(const FeedbackFields &fields);
// The addresses offered in the e-mail box: each non-empty candidate once, in the order given.
QStringList feedbackAddresses(const QStringList &candidates);

} // namespace kelp
