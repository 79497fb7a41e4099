// A crash as a user meets it: a real Kelp on Xvfb with openbox, killed with SIGSEGV, leaves a
// readable report; the next start opens "Kelp Feedback" on the crash form; the start after that
// opens nothing.
#include "support/TestSupport.h"
#include "support/XSession.h"

#include <QDir>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <gtest/gtest.h>

#include <csignal>

using namespace kelp::test;

namespace {

class CrashEndToEnd : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (const QString why = XSession::instance().whyNotReady(QStringLiteral("1280x800x24"),
                                                                 {"xdotool", "xwininfo"});
            !why.isEmpty())
            GTEST_SKIP() << qPrintable(why);
        ASSERT_TRUE(home.isValid());
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("data/applications/terminal.desktop")),
                              "[Desktop Entry]\nType=Application\nName=Terminal\nExec=xterm\n"));
        env = displayHomeEnvironment(home.path());
        env.insert(QStringLiteral("XDG_STATE_HOME"), home.filePath(QStringLiteral("state")));
        env.remove(QStringLiteral("KELP_FEEDBACK_URL"));
        ASSERT_TRUE(writeScanSettings(home.path()));
    }

    void TearDown() override
    {
        if (kelp.state() != QProcess::NotRunning) {
            QProcess quit;
            quit.setProcessEnvironment(env);
            quit.start(QStringLiteral(KELP_BINARY), {QStringLiteral("--quit")});
            quit.waitForFinished(20000);
            if (!kelp.waitForFinished(5000)) kelp.kill();
        }
    }

    QString tool(const QString &program, const QStringList &args)
    {
        QProcess p;
        p.setProcessEnvironment(env);
        p.start(program, args);
        p.waitForFinished(10000);
        return QString::fromUtf8(p.readAllStandardOutput()).trimmed();
    }
    bool visible(const QString &name)
    {
        return !tool(QStringLiteral("xdotool"),
                     {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                      QStringLiteral("--name"), QLatin1Char('^') + name + QLatin1Char('$')})
                    .isEmpty();
    }

    void start()
    {
        kelp.setProcessEnvironment(env);
        kelp.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        kelp.start(QStringLiteral(KELP_BINARY), {});
        ASSERT_TRUE(kelp.waitForStarted());
        ASSERT_TRUE(waitUntil([this] { return visible(QStringLiteral("Kelp Main")); }, 20000))
            << "the panel never showed";
    }

    QStringList reports() const
    {
        return QDir(home.filePath(QStringLiteral("state/Kelp/crashes")))
            .entryList({QStringLiteral("*.crash")}, QDir::Files);
    }

    QTemporaryDir home;
    QProcessEnvironment env;
    QProcess kelp;
};

TEST_F(CrashEndToEnd, CrashLeavesAReportThatTheNextStartOffersOnce)
{
    start();
    // Nothing to offer at a first start.
    QTest::qWait(1500);
    EXPECT_FALSE(visible(QStringLiteral("Kelp Feedback")));

    ::kill(static_cast<pid_t>(kelp.processId()), SIGSEGV);
    ASSERT_TRUE(kelp.waitForFinished(10000));
    // The signal's default action still ran: Kelp ended by SIGSEGV.
    EXPECT_EQ(kelp.exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(kelp.exitCode(), SIGSEGV);
    const QStringList crashes = reports();
    ASSERT_EQ(crashes.size(), 1) << qPrintable(crashes.join(QLatin1Char(' ')));
    EXPECT_TRUE(crashes[0].startsWith(QStringLiteral("Kelp_")));
    const QByteArray report =
        readFile(home.filePath(QStringLiteral("state/Kelp/crashes/")) + crashes[0]);
    EXPECT_TRUE(report.startsWith("Kelp crash report\nSignal: 11 (SIGSEGV)\n"))
        << report.left(200).constData();
    EXPECT_TRUE(report.contains("\nStack:\n0x"));
    EXPECT_TRUE(report.contains("\nModules:\n"));
    EXPECT_TRUE(report.contains("/kelp\n")) << "the module map names Kelp's own program";
    // Nothing of the environment: the private home's variables are not in it.
    EXPECT_FALSE(report.contains("XDG_STATE_HOME"));

    start();
    EXPECT_TRUE(waitUntil([this] { return visible(QStringLiteral("Kelp Feedback")); }, 20000))
        << "the crash form never opened";
    TearDown();

    start();
    QTest::qWait(3000);
    EXPECT_FALSE(visible(QStringLiteral("Kelp Feedback")));
    // A later `kelp --feedback` opens the form in the running Kelp.
    EXPECT_EQ(runKelp(QStringLiteral(KELP_BINARY), {QStringLiteral("--feedback")}, env).status, 0);
    EXPECT_TRUE(waitUntil([this] { return visible(QStringLiteral("Kelp Feedback")); }, 10000));
    // The running Kelp's own report file exists only while it runs, and stays empty.
    TearDown();
    EXPECT_EQ(reports().size(), 1);
}

TEST_F(CrashEndToEnd, BlockedKelpLeavesAHangReportThatTheNextStartOffers)
{
    env.insert(QStringLiteral("KELP_TEST_BLOCK_GUI_MS"), QStringLiteral("12000"));
    start();
    const QDir hangs(home.filePath(QStringLiteral("state/Kelp/hangs")));
    ASSERT_TRUE(waitUntil(
        [&] { return !hangs.entryList({QStringLiteral("*.hang")}, QDir::Files).isEmpty(); }, 30000))
        << "no hang report";
    const QString name = hangs.entryList({QStringLiteral("*.hang")}, QDir::Files).value(0);
    const QByteArray report = readFile(hangs.filePath(name));
    EXPECT_TRUE(report.startsWith("Kelp hang report\n")) << report.left(200).constData();
    EXPECT_TRUE(report.contains("\nStack:\n0x")) << "the GUI thread's stack was taken";
    TearDown();

    env.remove(QStringLiteral("KELP_TEST_BLOCK_GUI_MS"));
    start();
    EXPECT_TRUE(waitUntil([this] { return visible(QStringLiteral("Kelp Feedback")); }, 20000))
        << "the hang report was not offered";
}

} // namespace
