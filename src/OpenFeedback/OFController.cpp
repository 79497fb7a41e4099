#include "OpenFeedback/OFController.h"

#include "OpenFeedback/FeedbackOutbox.h"
#include "extras/Logging.h"
#include "settings/Defaults.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPlainTextEdit>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QTabBar>
#include <QVBoxLayout>

namespace kelp {
namespace {

enum Page { SupportPage = 0, FeaturePage = 1, BugPage = 2, CrashPage = 3 };

QPlainTextEdit *textField(QWidget *parent, const char *name)
{
    auto *field = new QPlainTextEdit(parent);
    field->setObjectName(QLatin1String(name));
    field->setTabChangesFocus(true);
    return field;
}

} // namespace

QStringList knownEmailAddresses(const QString &gitEmail, const Defaults &defaults)
{
    return feedbackAddresses(
        {gitEmail, qEnvironmentVariable("EMAIL"), defaults.value(Key::FeedbackEmailAddress)});
}

OFController::OFController(Defaults &defaults, QNetworkAccessManager &network, QWidget *parent)
    : QWidget(parent, Qt::Window), _defaults(defaults), _network(network), _url(feedbackUrl())
{
    setObjectName(QStringLiteral("OpenFeedback"));
    setWindowTitle(tr("%1 Feedback").arg(QCoreApplication::applicationName()));

    _segments = new QTabBar(this);
    _segments->addTab(tr("Support"));
    _segments->addTab(tr("Feature Request"));
    _segments->addTab(tr("Bug Report"));
    _segments->setExpanding(false);

    _views = new QStackedWidget(this);
    auto *viewSupport = new QWidget(_views);
    viewSupport->setObjectName(QStringLiteral("viewSupport"));
    _txtQuestion = textField(viewSupport, "txtQuestion");
    auto *supportLayout = new QVBoxLayout(viewSupport);
    supportLayout->addWidget(new QLabel(tr("What is your question?"), viewSupport));
    supportLayout->addWidget(_txtQuestion);

    auto *viewFeature = new QWidget(_views);
    viewFeature->setObjectName(QStringLiteral("viewFeature"));
    _txtFeature = textField(viewFeature, "txtFeature");
    _importance = new QComboBox(viewFeature);
    _importance->addItems({tr("Low"), tr("Medium"), tr("High"), tr("Essential")});
    _importance->setCurrentIndex(1);
    auto *featureLayout = new QVBoxLayout(viewFeature);
    featureLayout->addWidget(new QLabel(tr("Which feature would you like?"), viewFeature));
    featureLayout->addWidget(_txtFeature);
    auto *importanceRow = new QFormLayout;
    importanceRow->addRow(tr("Importance:"), _importance);
    featureLayout->addLayout(importanceRow);

    auto *viewBug = new QWidget(_views);
    viewBug->setObjectName(QStringLiteral("viewBug"));
    _txtWhatHappened = textField(viewBug, "txtWhatHappened");
    _bugSteps = textField(viewBug, "txtBugSteps");
    _critical = new QCheckBox(tr("This bug is critical"), viewBug);
    auto *bugLayout = new QVBoxLayout(viewBug);
    bugLayout->addWidget(new QLabel(tr("What did you expect to happen?"), viewBug));
    bugLayout->addWidget(_txtWhatHappened);
    bugLayout->addWidget(new QLabel(tr("What steps will reproduce the problem?"), viewBug));
    bugLayout->addWidget(_bugSteps);
    bugLayout->addWidget(_critical);

    auto *viewCrash = new QWidget(_views);
    viewCrash->setObjectName(QStringLiteral("viewCrash"));
    _txtCrashDescription = textField(viewCrash, "txtCrashDescription");
    _crashSteps = textField(viewCrash, "txtCrashSteps");
    auto *crashLayout = new QVBoxLayout(viewCrash);
    crashLayout->addWidget(new QLabel(
        tr("What were you doing when Kelp crashed? The report below is sent with it."), viewCrash));
    crashLayout->addWidget(_txtCrashDescription, 3);
    crashLayout->addWidget(new QLabel(tr("What steps will reproduce the problem?"), viewCrash));
    crashLayout->addWidget(_crashSteps, 1);

    for (QWidget *view : {viewSupport, viewFeature, viewBug, viewCrash})
        _views->addWidget(view);

    _email = new QComboBox(this);
    _email->setEditable(true);
    _email->setEnabled(false);
    _email->setMinimumContentsLength(24);
    _email->addItems(knownEmailAddresses(QString(), _defaults));
    _includeEmail = new QCheckBox(tr("Include my e-mail address:"), this);
    _send = new QPushButton(tr("Send"), this);
    _send->setDefault(true);
    _progress = new QProgressBar(this);
    _progress->setRange(0, 0);
    _progress->setMaximumWidth(80);
    _progress->hide();

    auto *bottom = new QHBoxLayout;
    bottom->addWidget(_includeEmail);
    bottom->addWidget(_email, 1);
    bottom->addWidget(_progress);
    bottom->addWidget(_send);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(_segments);
    layout->addWidget(_views, 1);
    layout->addLayout(bottom);
    resize(560, 420);

    // `git config user.email` heads the list; asked without waiting for it.
    auto *git = new QProcess(this);
    connect(git, &QProcess::finished, this, [this, git] {
        // An address being written for this report stays; otherwise the first is chosen.
        const QString current = _email->currentText();
        _email->clear();
        _email->addItems(
            knownEmailAddresses(QString::fromUtf8(git->readAllStandardOutput()), _defaults));
        if (_includeEmail->isChecked()) _email->setEditText(current);
        git->deleteLater();
        updateSendButton();
    });
    connect(git, &QProcess::errorOccurred, git, &QObject::deleteLater);
    git->start(QStringLiteral("git"), {QStringLiteral("config"), QStringLiteral("user.email")});

    connect(_segments, &QTabBar::currentChanged, this, [this](int tag) { presentSegment(tag); });
    for (QPlainTextEdit *field : {_txtQuestion, _txtFeature, _txtWhatHappened, _bugSteps,
                                  _txtCrashDescription, _crashSteps})
        connect(field, &QPlainTextEdit::textChanged, this, &OFController::updateSendButton);
    connect(_email, &QComboBox::editTextChanged, this, &OFController::updateSendButton);
    connect(_includeEmail, &QCheckBox::toggled, this, [this](bool on) {
        _email->setEnabled(on);
        updateSendButton();
    });
    connect(_send, &QPushButton::clicked, this, &OFController::sendFeedback);
    updateSendButton();
}

OFController::~OFController()
{
    // A `git` still running must not report into a window being taken apart.
    for (QProcess *git : findChildren<QProcess *>()) {
        git->disconnect(this);
        delete git;
    }
}

QPlainTextEdit *OFController::firstField(int tag) const
{
    switch (tag) {
    case 0:
        return _txtQuestion;
    case 1:
        return _txtFeature;
    default:
        return _reportingCrash ? _txtCrashDescription : _txtWhatHappened;
    }
}

void OFController::presentSegment(int tag)
{
    tag = qBound(0, tag, 2);
    {
        const QSignalBlocker quiet(_segments);
        _segments->setCurrentIndex(tag);
    }
    _views->setCurrentIndex(tag == 2 && _reportingCrash ? CrashPage : tag);
    updateSendButton();
    show();
    raise();
    activateWindow();
    QPlainTextEdit *field = firstField(tag);
    field->setFocus();
    if (tag == 2 && _reportingCrash) field->moveCursor(QTextCursor::Start);
}

void OFController::presentCrash(const QString &log)
{
    _reportingCrash = true;
    _segments->setTabText(2, tr("Crash Report"));
    _txtCrashDescription->setPlainText(
        tr("\n\n\n\nThe text below is application's crash log, please leave it unchanged to help "
           "us determine possible cause!\n\n%1")
            .arg(log));
    presentSegment(2);
}

FeedbackFields OFController::fields() const
{
    FeedbackFields f;
    const int tag = _segments->currentIndex();
    f.kind = tag == 0          ? FeedbackKind::Support
             : tag == 1        ? FeedbackKind::Feature
             : _reportingCrash ? FeedbackKind::Crash
                               : FeedbackKind::Bug;
    f.question = _txtQuestion->toPlainText();
    f.feature = _txtFeature->toPlainText();
    f.importance = _importance->currentText();
    f.whatHappened = _txtWhatHappened->toPlainText();
    f.bugSteps = _bugSteps->toPlainText();
    f.critical = _critical->isChecked();
    f.crashDescription = _txtCrashDescription->toPlainText();
    f.crashSteps = _crashSteps->toPlainText();
    f.includeEmail = _includeEmail->isChecked();
    f.email = _email->currentText().trimmed();
    return f;
}

QMessageBox *OFController::sheet() const
{
    return _sheet.data();
}

bool OFController::sendEnabled() const
{
    return _send->isEnabled();
}

void OFController::updateSendButton()
{
    _send->setEnabled(!_progress->isVisible() && feedbackCanBeSent(fields()));
}

void OFController::sendFeedback()
{
    if (!feedbackCanBeSent(fields())) return;
    if (!_url.isValid() || _url.isEmpty()) {
        if (!_willSend) {
            qCWarning(lcFeedback, "OpenFeedback Error: You must set OFSubmitFeedbackURL in "
                                  "Info.plist");
            return;
        }
    }
    _progress->show();
    updateSendButton();
    const FeedbackFields f = fields();
    const FeedbackParameters parameters = feedbackParameters(f, FeedbackApp::current());
    if (_willSend && !_willSend(parameters)) {
        _progress->hide();
        updateSendButton();
        close();
        return;
    }
    if (_url.isEmpty()) {
        // The delegate took the report and there is nowhere to send it.
        _progress->hide();
        updateSendButton();
        return;
    }
    if (f.includeEmail) _defaults.setValue(Key::FeedbackEmailAddress, f.email);
    const QByteArray body = feedbackBody(parameters);
    // Kept before it leaves, so that nothing written is lost if Kelp ends before the answer.
    _keptReport = outbox::keep(_url, body, _keptReport);
    QNetworkReply *reply = postFeedback(_network, _url, body);
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        reply->deleteLater();
        const bool delivered = feedbackWasDelivered(*reply);
        if (!delivered)
            qCWarning(lcFeedback) << "Feedback was not delivered:" << reply->errorString();
        finishedSending(delivered);
    });
}

void OFController::finishedSending(bool delivered)
{
    _progress->hide();
    if (delivered) {
        if (!_keptReport.isEmpty()) QFile::remove(_keptReport);
        _keptReport.clear();
        clearFields();
        showSheet(QStringLiteral("feedbackSentSuccessfully"), tr("Feedback Sent"),
                  tr("Your feedback has been sent successfully. Thank you!"));
        connect(_sheet, &QMessageBox::finished, this, &QWidget::close);
    } else {
        showSheet(QStringLiteral("feedbackFailed"), tr("Message failed"),
                  tr("Your feedback could not be sent. Please try again."));
    }
    updateSendButton();
    Q_EMIT sendFinished(delivered);
}

void OFController::showSheet(const QString &context, const QString &message,
                             const QString &informative)
{
    if (_sheet) {
        _sheet->disconnect(this);
        _sheet->close();
    }
    auto *box = new QMessageBox(QMessageBox::NoIcon, message, message, QMessageBox::Ok, this);
    box->setObjectName(context);
    box->setInformativeText(informative);
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->button(QMessageBox::Ok)->setText(tr("OK"));
    _sheet = box;
    box->open();
}

void OFController::clearFields()
{
    for (QPlainTextEdit *field :
         {_txtQuestion, _txtFeature, _txtWhatHappened, _txtCrashDescription})
        field->clear();
}

} // namespace kelp
