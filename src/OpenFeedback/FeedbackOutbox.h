#pragma once
// Where reports go: the form's address, the POST that carries a report, and the outbox that
// keeps every report until its POST succeeds, so that a report written offline is sent at the
// next start instead of being lost.
#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;

namespace kelp {

// Kelp's state folder: $XDG_STATE_HOME/Kelp (~/.local/state/Kelp when the variable is unset).
QString kelpStateDirectory();

// The form's address: $KELP_FEEDBACK_URL, else the address Kelp was built with; empty when
// neither is set.
QUrl feedbackUrl();

// Starts the POST of one report: url-encoded form data, its length, no certificate error
// ignored, given up after 30 seconds.
QNetworkReply *postFeedback(QNetworkAccessManager &network, const QUrl &url,
                            const QByteArray &body);

// A reply that ended well: no transport error and no HTTP error status.
bool feedbackWasDelivered(const QNetworkReply &reply);

namespace outbox {

// $XDG_STATE_HOME/Kelp/outbox
QString directory();
// Keeps a report; `path` replaces a report kept before (a second try of the same form). Returns
// the report's file, empty when it could not be written.
QString keep(const QUrl &url, const QByteArray &body, const QString &path = QString());
// The kept reports, oldest first.
QStringList reports();
// Reads a kept report; false for a file that is not one.
bool read(const QString &path, QUrl *url, QByteArray *body);

} // namespace outbox
} // namespace kelp
