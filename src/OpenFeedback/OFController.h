#pragma once
// OFController: the "Kelp Feedback" window. Three segments (a question, a feature request with
// its importance, a bug report; a crash report takes the bug report's place when Kelp crashed),
// an e-mail box with the check box that includes it, and the send button, enabled only while the
// segment's main text (and the address, when included) is written.
//
// Sending keeps the report in the outbox first and POSTs it; a report the form's server took
// leaves the outbox, the "Feedback Sent" sheet, empty fields and, when the sheet ends, a closed
// window. One that fails (no connection, an HTTP error, no answer in 30 s) stays in the outbox for
// the next start, and the "Message failed" sheet leaves the window open with its texts.
#include "OpenFeedback/FeedbackReport.h"

#include <QPointer>
#include <QUrl>
#include <QWidget>

#include <functional>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QMessageBox;
class QNetworkAccessManager;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QTabBar;

namespace kelp {

class Defaults;

class OFController : public QWidget
{
    Q_OBJECT
public:
    // Answers false to stop a report before it is sent (the window then closes).
    using WillSend = std::function<bool(const FeedbackParameters &)>;

    OFController(Defaults &defaults, QNetworkAccessManager &network, QWidget *parent = nullptr);
    ~OFController() override;

    void setDelegate(WillSend willSend) { _willSend = std::move(willSend); }
    void setUrl(const QUrl &url) { _url = url; }

    // Shows the window on a segment (tags 0 to 2) and puts the cursor in its first field.
    void presentSegment(int tag);
    // The crash form in the third segment, its description filled with the report's text.
    void presentCrash(const QString &log);

    FeedbackFields fields() const;
    bool sendEnabled() const;
    // The send button's action.
    void sendFeedback();

    // The parts tests and the controller reach.
    QTabBar *segments() const { return _segments; }
    QPlainTextEdit *txtQuestion() const { return _txtQuestion; }
    QPlainTextEdit *txtFeature() const { return _txtFeature; }
    QComboBox *importance() const { return _importance; }
    QPlainTextEdit *txtWhatHappened() const { return _txtWhatHappened; }
    QPlainTextEdit *bugSteps() const { return _bugSteps; }
    QCheckBox *criticalBox() const { return _critical; }
    QPlainTextEdit *txtCrashDescription() const { return _txtCrashDescription; }
    QPlainTextEdit *crashSteps() const { return _crashSteps; }
    QComboBox *emailBox() const { return _email; }
    QCheckBox *emailCheckBox() const { return _includeEmail; }
    QPushButton *sendButton() const { return _send; }
    // The sheet on show ("feedbackFailed" or "feedbackSentSuccessfully"), if any.
    QMessageBox *sheet() const;

Q_SIGNALS:
    // A POST ended: delivered or not.
    void sendFinished(bool delivered);

private:
    void updateSendButton();
    void showSheet(const QString &context, const QString &message, const QString &informative);
    void clearFields();
    void finishedSending(bool delivered);
    QPlainTextEdit *firstField(int tag) const;

    Defaults &_defaults;
    QNetworkAccessManager &_network;
    WillSend _willSend;
    QUrl _url;
    bool _reportingCrash = false;
    QString _keptReport;

    QTabBar *_segments = nullptr;
    QStackedWidget *_views = nullptr;
    QPlainTextEdit *_txtQuestion = nullptr;
    QPlainTextEdit *_txtFeature = nullptr;
    QComboBox *_importance = nullptr;
    QPlainTextEdit *_txtWhatHappened = nullptr;
    QPlainTextEdit *_bugSteps = nullptr;
    QCheckBox *_critical = nullptr;
    QPlainTextEdit *_txtCrashDescription = nullptr;
    QPlainTextEdit *_crashSteps = nullptr;
    QComboBox *_email = nullptr;
    QCheckBox *_includeEmail = nullptr;
    QPushButton *_send = nullptr;
    QProgressBar *_progress = nullptr;
    QPointer<QMessageBox> _sheet;
};

// The addresses Kelp knows for the user: `git config user.email` (given), $EMAIL and the address
// used last, in that order, each once.
QStringList knownEmailAddresses(const QString &gitEmail, const Defaults &defaults);

} // namespace kelp
