#include "OpenFeedback/FeedbackReport.h"

#include <QCoreApplication>
#include <QSysInfo>
#include <QUrl>

namespace kelp {

FeedbackApp FeedbackApp::current()
{
    return {QCoreApplication::applicationName(), QCoreApplication::applicationVersion(),
            QSysInfo::prettyProductName()};
}

FeedbackParameters feedbackParameters(const FeedbackFields &fields, const FeedbackApp &app)
{
    QString type;
    QString message;
    switch (fields.kind) {
    case FeedbackKind::Support:
        type = QStringLiteral("support");
        message = fields.question;
        break;
    case FeedbackKind::Feature:
        type = QStringLiteral("feature");
        message = fields.feature;
        break;
    case FeedbackKind::Bug:
        type = QStringLiteral("bug");
        message = QStringLiteral("What did you expect to happen?\n%1\n\n"
                                 "What steps will reproduce the problem?\n%2")
                      .arg(fields.whatHappened, fields.bugSteps);
        break;
    case FeedbackKind::Crash:
        // The crash form takes the bug form's segment, and its type.
        type = QStringLiteral("bug");
        message = QStringLiteral("Crash description:\n%1\n\n"
                                 "What steps will reproduce the problem?\n%2")
                      .arg(fields.crashDescription, fields.crashSteps);
        break;
    }
    const bool critical =
        fields.kind == FeedbackKind::Crash || (fields.kind == FeedbackKind::Bug && fields.critical);
    return {
        {QStringLiteral("appname"), app.name},
        {QStringLiteral("appversion"), app.version},
        {QStringLiteral("systemversion"), app.systemVersion},
        {QStringLiteral("email"), fields.includeEmail ? fields.email : QString()},
        {QStringLiteral("type"), type},
        {QStringLiteral("message"), message},
        {QStringLiteral("importance"),
         fields.kind == FeedbackKind::Feature ? fields.importance : QString()},
        {QStringLiteral("critical"), critical ? QStringLiteral("1") : QString()},
    };
}

QByteArray feedbackBody(const FeedbackParameters &parameters)
{
    QByteArrayList pairs;
    for (const auto &[name, value] : parameters)
        if (!value.isEmpty()) pairs.append(name.toUtf8() + '=' + QUrl::toPercentEncoding(value));
    return pairs.join('&');
}

bool feedbackCanBeSent(const FeedbackFields &fields)
{
    if (fields.includeEmail && fields.email.trimmed().isEmpty()) return false;
    switch (fields.kind) {
    case FeedbackKind::Support:
        return !fields.question.isEmpty();
    case FeedbackKind::Feature:
        return !fields.feature.isEmpty();
    case FeedbackKind::Bug:
        return !fields.whatHappened.isEmpty();
    case FeedbackKind::Crash:
        return !fields.crashDescription.isEmpty();
    }
    return false;
}

QStringList feedbackAddresses(const QStringList &candidates)
{
    QStringList addresses;
    for (const QString &candidate : candidates) {
        const QString address = candidate.trimmed();
        if (!address.isEmpty() && !addresses.contains(address)) addresses.append(address);
    }
    return addresses;
}

} // namespace kelp
