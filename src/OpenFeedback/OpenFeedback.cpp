#include "OpenFeedback/OpenFeedback.h"

#include "OpenFeedback/CrashHandler.h"
#include "OpenFeedback/CrashReports.h"
#include "OpenFeedback/FeedbackOutbox.h"
#include "extras/Logging.h"
#include "settings/Defaults.h"

#include <QFile>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QThreadPool>

#include <memory>

namespace kelp {

using KeptReports = QList<QPair<QString, QPair<QUrl, QByteArray>>>;

OpenFeedback::OpenFeedback(Defaults &defaults, QObject *parent)
    : QObject(parent), _defaults(defaults), _network(new QNetworkAccessManager(this)),
      _crashFolders{crashReportFolder()}, _hangFolders{hangReportFolder()}
{}

OpenFeedback::~OpenFeedback()
{
    delete _controller;
}

OFController *OpenFeedback::controller()
{
    if (!_controller) {
        _controller = new OFController(_defaults, *_network);
        _controller->setAttribute(Qt::WA_DeleteOnClose);
    }
    _controller->setDelegate(_willSend);
    return _controller;
}

void OpenFeedback::setDelegate(OFController::WillSend willSend)
{
    _willSend = std::move(willSend);
    if (_controller) _controller->setDelegate(_willSend);
}

void OpenFeedback::presentFeedbackPanelForSupport()
{
    controller()->presentSegment(0);
}

void OpenFeedback::presentFeedbackPanelForFeature()
{
    controller()->presentSegment(1);
}

void OpenFeedback::presentFeedbackPanelForBug()
{
    controller()->presentSegment(2);
}

void OpenFeedback::presentFeedbackPanelForCrash(const QString &log)
{
    controller()->presentCrash(log);
}

bool OpenFeedback::isFeedbackWindowVisible() const
{
    return _controller && _controller->isVisible();
}

void OpenFeedback::closeFeedbackWindow()
{
    if (_controller) _controller->close();
}

void OpenFeedback::setReportFolders(const QStringList &crashFolders, const QStringList &hangFolders)
{
    _crashFolders = crashFolders;
    _hangFolders = hangFolders;
}

void OpenFeedback::start()
{
    checkForCrashReports();
    sendOutbox();
}

void OpenFeedback::checkForCrashReports()
{
    const QDateTime since = _defaults.value(Key::LastCrashCheckTime);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    // Each report is offered once: the next look starts from now, whatever this one finds.
    _defaults.setValue(Key::LastCrashCheckTime, now);
    QPointer<OpenFeedback> self(this);
    QThreadPool::globalInstance()->start([self, since, now, crash = _crashFolders,
                                          hang = _hangFolders] {
        const QStringList found = newReports(crash, hang, since);
        const QString path = found.value(0);
        const QString text = path.isEmpty() ? QString() : readReport(path);
        // The settings keep the look's time to the second, and a report dated in the future
        // would count at every start: every report seen now is dated a second before this
        // look, so that none counts again.
        for (const QString &seen : found) {
            QFile file(seen);
            if (QFileInfo(seen).lastModified() > now.addSecs(-1) && file.open(QIODevice::ReadWrite))
                file.setFileTime(now.addSecs(-1), QFileDevice::FileModificationTime);
        }
        QMetaObject::invokeMethod(
            self.get(),
            [self, path, text] {
                if (!self) return;
                if (!path.isEmpty()) {
                    qCInfo(lcFeedback) << "Offering the report" << path;
                    self->presentFeedbackPanelForCrash(text);
                }
                Q_EMIT self->crashCheckFinished(path);
            },
            Qt::QueuedConnection);
    });
}

void OpenFeedback::sendOutbox()
{
    QPointer<OpenFeedback> self(this);
    QThreadPool::globalInstance()->start([self] {
        KeptReports reports;
        for (const QString &path : outbox::reports()) {
            QUrl url;
            QByteArray body;
            if (outbox::read(path, &url, &body))
                reports.append({path, {url, body}});
            else
                qCWarning(lcFeedback) << "Not a kept feedback report, left alone:" << path;
        }
        QMetaObject::invokeMethod(
            self.get(),
            [self, reports] {
                if (self) self->sendKept(reports);
            },
            Qt::QueuedConnection);
    });
}

void OpenFeedback::sendKept(const KeptReports &reports)
{
    if (reports.isEmpty()) {
        Q_EMIT outboxSent(0, 0);
        return;
    }
    struct Tally
    {
        int left = 0;
        int delivered = 0;
        int kept = 0;
    };
    auto tally = std::make_shared<Tally>();
    tally->left = int(reports.size());
    for (const auto &[path, report] : reports) {
        QNetworkReply *reply = postFeedback(*_network, report.first, report.second);
        connect(reply, &QNetworkReply::finished, this, [this, reply, tally, path = path] {
            reply->deleteLater();
            if (feedbackWasDelivered(*reply)) {
                ++tally->delivered;
                QThreadPool::globalInstance()->start([path] { QFile::remove(path); });
            } else {
                ++tally->kept;
                qCInfo(lcFeedback) << "A kept report stays in the outbox:" << reply->errorString();
            }
            if (--tally->left == 0) Q_EMIT outboxSent(tally->delivered, tally->kept);
        });
    }
}

} // namespace kelp
