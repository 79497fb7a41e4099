#pragma once
// OpenFeedback: Kelp's feedback reporter, the object the controller holds. It opens the feedback
// window on a segment, and at start looks for crash and hang reports newer than the last look
// (offering the newest on the crash form, each report once) and sends the reports left in the
// outbox by an earlier run. Disk work runs on a worker thread; the window only ever waits on the
// network through signals.
#include "OpenFeedback/OFController.h"

#include <QObject>
#include <QPointer>
#include <QStringList>

class QNetworkAccessManager;

namespace kelp {

class Defaults;

class OpenFeedback : public QObject
{
    Q_OBJECT
public:
    explicit OpenFeedback(Defaults &defaults, QObject *parent = nullptr);
    ~OpenFeedback() override;

    void presentFeedbackPanelForSupport();
    void presentFeedbackPanelForFeature();
    void presentFeedbackPanelForBug();
    // The crash form, with the report's text in its description.
    void presentFeedbackPanelForCrash(const QString &log);

    // A delegate that may stop a report before it is sent.
    void setDelegate(OFController::WillSend willSend);
    bool isFeedbackWindowVisible() const;
    void closeFeedbackWindow();
    // The window (made on first use).
    OFController *controller();

    // Start-up: the report check and the outbox, both off the GUI thread.
    void start();
    // Looks for reports newer than the last look and offers the newest; the look's time is kept.
    void checkForCrashReports();
    // POSTs every report kept in the outbox; each one delivered leaves it.
    void sendOutbox();

    // Where reports are looked for (the defaults are Kelp's crash and hang folders).
    void setReportFolders(const QStringList &crashFolders, const QStringList &hangFolders);

Q_SIGNALS:
    // The report check ended; `path` is the report offered, empty when there was none.
    void crashCheckFinished(const QString &path);
    // The outbox was gone through: how many reports left it and how many stay.
    void outboxSent(int delivered, int kept);

private:
    void sendKept(const QList<QPair<QString, QPair<QUrl, QByteArray>>> &reports);

    Defaults &_defaults;
    QNetworkAccessManager *_network;
    QPointer<OFController> _controller;
    OFController::WillSend _willSend;
    QStringList _crashFolders;
    QStringList _hangFolders;
};

} // namespace kelp
