#include "OpenFeedback/FeedbackOutbox.h"

#include "extras/Logging.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSaveFile>

#ifndef KELP_FEEDBACK_URL
#define KELP_FEEDBACK_URL ""
#endif

namespace kelp {
namespace {

constexpr int kTransferTimeoutMs = 30000;
// A kept report: the address on the first line, the body after it.
constexpr qint64 kMaxKeptReport = 64 * 1024 * 1024;

} // namespace

QString kelpStateDirectory()
{
    QString state = qEnvironmentVariable("XDG_STATE_HOME");
    if (state.isEmpty() || !QDir::isAbsolutePath(state))
        state = QDir::homePath() + QStringLiteral("/.local/state");
    return state + QStringLiteral("/Kelp");
}

QUrl feedbackUrl()
{
    const QString fromEnvironment = qEnvironmentVariable("KELP_FEEDBACK_URL");
    return QUrl(fromEnvironment.isEmpty() ? QStringLiteral(KELP_FEEDBACK_URL) : fromEnvironment);
}

QNetworkReply *postFeedback(QNetworkAccessManager &network, const QUrl &url, const QByteArray &body)
{
    QNetworkRequest request(url);
    request.setRawHeader("Content-Type", "application/x-www-form-urlencoded; charset=utf-8");
    request.setRawHeader("Content-Length", QByteArray::number(body.size()));
    request.setTransferTimeout(kTransferTimeoutMs);
    return network.post(request, body);
}

bool feedbackWasDelivered(const QNetworkReply &reply)
{
    if (reply.error() != QNetworkReply::NoError) return false;
    const QVariant status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    return !status.isValid() || status.toInt() < 400;
}

namespace outbox {

QString directory()
{
    return kelpStateDirectory() + QStringLiteral("/outbox");
}

QString keep(const QUrl &url, const QByteArray &body, const QString &path)
{
    QString file = path;
    if (file.isEmpty()) {
        if (!QDir().mkpath(directory())) {
            qCWarning(lcFeedback) << "The feedback outbox cannot be made:" << directory();
            return QString();
        }
        const QString stem =
            directory() + QStringLiteral("/report-") +
            QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
        file = stem + QStringLiteral(".form");
        for (int n = 1; QFile::exists(file); ++n)
            file = stem + QLatin1Char('-') + QString::number(n) + QStringLiteral(".form");
    }
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly) || out.write(url.toEncoded() + '\n' + body) < 0 ||
        !out.commit()) {
        qCWarning(lcFeedback) << "A feedback report cannot be kept in" << file << out.errorString();
        return QString();
    }
    return file;
}

QStringList reports()
{
    QStringList files;
    const QDir dir(directory());
    for (const QString &name : dir.entryList({QStringLiteral("*.form")}, QDir::Files, QDir::Name))
        files.append(dir.filePath(name));
    return files;
}

bool read(const QString &path, QUrl *url, QByteArray *body)
{
    QFile in(path);
    if (!in.open(QIODevice::ReadOnly) || in.size() > kMaxKeptReport) return false;
    const QByteArray data = in.readAll();
    const qsizetype newline = data.indexOf('\n');
    if (newline <= 0) return false;
    const QUrl address = QUrl::fromEncoded(data.left(newline), QUrl::StrictMode);
    if (!address.isValid() || address.scheme().isEmpty()) return false;
    *url = address;
    *body = data.mid(newline + 1);
    return true;
}

} // namespace outbox
} // namespace kelp
