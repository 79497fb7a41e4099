// The feedback window against a local web form: what each kind of report POSTs, byte for byte;
// the send rule; the sheets and what they leave; the outbox when the form cannot be reached.
#include "FormServer.h"
#include "support/TestSupport.h"

#include "OpenFeedback/FeedbackOutbox.h"
#include "OpenFeedback/OFController.h"
#include "OpenFeedback/OpenFeedback.h"
#include "settings/Defaults.h"

#include <QCheckBox>
#include <QComboBox>
#include <QMessageBox>
#include <QNetworkAccessManager>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QSysInfo>
#include <QTabBar>
#include <QTest>
#include <QUrl>

#include <gtest/gtest.h>

using namespace kelp;
using namespace kelp::test;

namespace {

class FeedbackForm : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(home.isValid());
        qputenv("XDG_STATE_HOME", home.filePath(QStringLiteral("state")).toUtf8());
        qunsetenv("KELP_FEEDBACK_URL");
        QCoreApplication::setApplicationName(QStringLiteral("Kelp"));
        QCoreApplication::setApplicationVersion(QStringLiteral("1.2.3"));
        ASSERT_TRUE(server.listen());
        form = std::make_unique<OFController>(defaults, network);
        form->setUrl(QUrl(server.url()));
    }

    void type(QPlainTextEdit *field, const QString &text)
    {
        field->setFocus();
        field->setPlainText(text);
    }

    // Sends and waits for the sheet that ends the POST.
    QMessageBox *send()
    {
        QSignalSpy finished(form.get(), &OFController::sendFinished);
        EXPECT_TRUE(form->sendButton()->isEnabled());
        form->sendButton()->click();
        EXPECT_TRUE(finished.wait(35000));
        return form->sheet();
    }

    static QByteArray common()
    {
        return "appname=Kelp&appversion=1.2.3&systemversion=" +
               QUrl::toPercentEncoding(QSysInfo::prettyProductName());
    }

    QTemporaryDir home;
    Defaults defaults{home.filePath(QStringLiteral("Kelp.plist"))};
    QNetworkAccessManager network;
    FormServer server;
    std::unique_ptr<OFController> form;
};

TEST_F(FeedbackForm, EachKindOfReportPostsItsFieldsUrlEncoded)
{
    // A question, with the address included: UTF-8 and reserved characters percent-encoded.
    form->presentSegment(0);
    EXPECT_EQ(form->window()->windowTitle(), QStringLiteral("Kelp Feedback"));
    type(form->txtQuestion(), QStringLiteral("Où est l'icône? a&b=c"));
    form->emailCheckBox()->setChecked(true);
    form->emailBox()->setEditText(QStringLiteral("x+y@example.org"));
    QMessageBox *sheet = send();
    ASSERT_EQ(server.requests.size(), 1);
    const FormRequest &support = server.requests[0];
    EXPECT_EQ(support.method, "POST");
    EXPECT_EQ(support.path, "/feedback");
    EXPECT_EQ(support.headers.value("content-type"),
              "application/x-www-form-urlencoded; charset=utf-8");
    EXPECT_EQ(support.headers.value("content-length"), QByteArray::number(support.body.size()));
    EXPECT_EQ(support.body, common() + "&email=x%2By%40example.org&type=support&message=O%C3%B9%20"
                                       "est%20l%27ic%C3%B4ne%3F%20a%26b%3Dc");
    ASSERT_TRUE(sheet);
    EXPECT_EQ(sheet->objectName(), QStringLiteral("feedbackSentSuccessfully"));
    EXPECT_EQ(sheet->text(), QStringLiteral("Feedback Sent"));
    EXPECT_EQ(sheet->informativeText(),
              QStringLiteral("Your feedback has been sent successfully. Thank you!"));
    EXPECT_TRUE(form->txtQuestion()->toPlainText().isEmpty());
    EXPECT_TRUE(outbox::reports().isEmpty());
    // The address used is offered again next time.
    EXPECT_EQ(defaults.value(Key::FeedbackEmailAddress), QStringLiteral("x+y@example.org"));
    // Ending the sheet closes the window.
    sheet->button(QMessageBox::Ok)->click();
    EXPECT_TRUE(waitUntil([&] { return !form->isVisible(); }));

    // A feature request without the address: no email field, the importance sent.
    form->emailCheckBox()->setChecked(false);
    form->presentSegment(1);
    type(form->txtFeature(), QStringLiteral("Dark panel"));
    form->importance()->setCurrentIndex(2);
    send()->button(QMessageBox::Ok)->click();
    ASSERT_EQ(server.requests.size(), 2);
    EXPECT_EQ(server.requests[1].body,
              common() + "&type=feature&message=Dark%20panel&importance=High");

    // A bug report, critical; its steps left empty still give the message's frame.
    form->presentSegment(2);
    type(form->txtWhatHappened(), QStringLiteral("It opened"));
    form->criticalBox()->setChecked(true);
    send()->button(QMessageBox::Ok)->click();
    ASSERT_EQ(server.requests.size(), 3);
    EXPECT_EQ(server.requests[2].body,
              common() + "&type=bug&message=What%20did%20you%20expect%20to%20happen%3F%0AIt%20"
                         "opened%0A%0AWhat%20steps%20will%20reproduce%20the%20problem%3F%0A"
                         "&critical=1");

    // A crash report is always critical and carries the report shown in the form.
    form->presentCrash(QStringLiteral("Signal: 11"));
    EXPECT_EQ(form->segments()->tabText(2), QStringLiteral("Crash Report"));
    type(form->crashSteps(), QStringLiteral("Click"));
    send();
    ASSERT_EQ(server.requests.size(), 4);
    const QByteArray intro = QUrl::toPercentEncoding(
        QStringLiteral("\n\n\n\nThe text below is application's crash log, please leave it "
                       "unchanged to help us determine possible cause!\n\nSignal: 11"));
    EXPECT_EQ(server.requests[3].body,
              common() + "&type=bug&message=Crash%20description%3A%0A" + intro +
                  "%0A%0AWhat%20steps%20will%20reproduce%20the%20problem%3F%0AClick&critical=1");

    // Ending the last sheet closes the window.
    ASSERT_TRUE(form->isVisible());
    form->sheet()->button(QMessageBox::Ok)->click();
    EXPECT_TRUE(waitUntil([&] { return !form->isVisible(); }));
}

TEST_F(FeedbackForm, SendButtonFollowsEveryEdit)
{
    form->presentSegment(0);
    EXPECT_FALSE(form->sendEnabled());
    form->txtQuestion()->setFocus();
    QTest::keyClicks(form->txtQuestion(), QStringLiteral("Hi"));
    EXPECT_TRUE(form->sendEnabled());
    // Including an address that is not written stops the report; the box follows the check box.
    form->emailBox()->setEditText(QString());
    form->emailCheckBox()->setChecked(true);
    EXPECT_TRUE(form->emailBox()->isEnabled());
    EXPECT_FALSE(form->sendEnabled());
    form->emailBox()->setEditText(QStringLiteral("me@example.org"));
    EXPECT_TRUE(form->sendEnabled());
    // Another segment has its own main text.
    form->segments()->setCurrentIndex(1);
    EXPECT_FALSE(form->sendEnabled());
    EXPECT_TRUE(form->txtFeature()->hasFocus() || !QApplication::focusWidget());
    form->emailCheckBox()->setChecked(false);
    EXPECT_FALSE(form->emailBox()->isEnabled());
}

TEST_F(FeedbackForm, UnreachableFormKeepsTheTextsAndTheOutboxSendsThemAtTheNextStart)
{
    const quint16 port = server.port();
    server.close();
    form->presentSegment(0);
    type(form->txtQuestion(), QStringLiteral("Offline question"));
    QMessageBox *sheet = send();
    ASSERT_TRUE(sheet);
    EXPECT_EQ(sheet->objectName(), QStringLiteral("feedbackFailed"));
    EXPECT_EQ(sheet->text(), QStringLiteral("Message failed"));
    EXPECT_EQ(sheet->informativeText(),
              QStringLiteral("Your feedback could not be sent. Please try again."));
    sheet->button(QMessageBox::Ok)->click();
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(form->txtQuestion()->toPlainText(), QStringLiteral("Offline question"));
    // A second try of the same form replaces its kept copy.
    send();
    ASSERT_EQ(outbox::reports().size(), 1);
    form.reset();

    // The next start: the form is back and gets the report; the outbox empties.
    ASSERT_TRUE(server.listen(port));
    OpenFeedback reporter(defaults);
    QSignalSpy sent(&reporter, &OpenFeedback::outboxSent);
    reporter.sendOutbox();
    ASSERT_TRUE(sent.wait(35000));
    EXPECT_EQ(sent.at(0).at(0).toInt(), 1);
    ASSERT_EQ(server.requests.size(), 1);
    EXPECT_EQ(server.requests[0].body, common() + "&type=support&message=Offline%20question");
    EXPECT_TRUE(waitUntil([] { return outbox::reports().isEmpty(); }));
}

TEST_F(FeedbackForm, ServerErrorLeavesTheReportInTheOutbox)
{
    server.status = 500;
    form->presentSegment(1);
    type(form->txtFeature(), QStringLiteral("More"));
    QMessageBox *sheet = send();
    ASSERT_EQ(server.requests.size(), 1);
    ASSERT_TRUE(sheet);
    EXPECT_EQ(sheet->objectName(), QStringLiteral("feedbackFailed"));
    EXPECT_EQ(outbox::reports().size(), 1);

    // Still failing at the next start: it stays.
    OpenFeedback reporter(defaults);
    QSignalSpy sent(&reporter, &OpenFeedback::outboxSent);
    reporter.sendOutbox();
    ASSERT_TRUE(sent.wait(35000));
    EXPECT_EQ(sent.at(0).at(1).toInt(), 1);
    EXPECT_EQ(outbox::reports().size(), 1);
}

TEST_F(FeedbackForm, DelegateMayStopAReportAndNoAddressSendsNothing)
{
    FeedbackParameters seen;
    form->setDelegate([&](const FeedbackParameters &parameters) {
        seen = parameters;
        return false;
    });
    form->presentSegment(0);
    type(form->txtQuestion(), QStringLiteral("Stop me"));
    form->sendButton()->click();
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(seen.contains({QStringLiteral("message"), QStringLiteral("Stop me")}));

    // Without an address or a delegate: one log line and nothing else.
    form->setDelegate({});
    form->setUrl(QUrl());
    form->presentSegment(0);
    static QStringList logged;
    logged.clear();
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &text) { logged.append(text); });
    form->sendButton()->click();
    qInstallMessageHandler(previous);
    EXPECT_EQ(logged, QStringList{QStringLiteral(
                          "OpenFeedback Error: You must set OFSubmitFeedbackURL in Info.plist")});
    QTest::qWait(200);
    EXPECT_TRUE(server.requests.isEmpty());
    EXPECT_TRUE(outbox::reports().isEmpty());
    EXPECT_FALSE(form->sheet());
}

TEST(FeedbackAddresses, GitThenEnvironmentThenLastUsedEachOnce)
{
    QTemporaryDir dir;
    Defaults defaults(dir.filePath(QStringLiteral("Kelp.plist")));
    defaults.setValue(Key::FeedbackEmailAddress, QStringLiteral("git@example.org"));
    qputenv("EMAIL", "env@example.org");
    EXPECT_EQ(knownEmailAddresses(QStringLiteral("git@example.org\n"), defaults),
              (QStringList{QStringLiteral("git@example.org"), QStringLiteral("env@example.org")}));
    qunsetenv("EMAIL");
    EXPECT_EQ(knownEmailAddresses(QString(), defaults),
              QStringList{QStringLiteral("git@example.org")});
}

} // namespace
