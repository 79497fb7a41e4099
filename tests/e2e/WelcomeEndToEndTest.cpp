// Kelp's own windows as a user meets them, on Xvfb under openbox with its normal theme: the About
// window from `kelp --about`, the welcome tour paged with the real pointer and closed with Ctrl-W,
// and starting at login switched on and off through the settings file.
#include "support/XSession.h"

#include <QImage>
#include <QRegularExpression>
#include <QStandardPaths>

#include <gtest/gtest.h>

using namespace kelp::test;

namespace {

class KelpWindows : public ::testing::Test
{
protected:
    void SetUp() override
    {
        XSession::instance().openboxOwnSettings = true;
        if (const QString why = XSession::instance().whyNotReady(QStringLiteral("1024x768x24"),
                                                                 {"xdotool", "xwininfo", "import"});
            !why.isEmpty())
            GTEST_SKIP() << qPrintable(why);
        ASSERT_TRUE(home.isValid());
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("data/applications/term.desktop")),
                              "[Desktop Entry]\nType=Application\nName=Terminal\nExec=xterm\n"));
        env = displayHomeEnvironment(home.path());
    }

    void TearDown() override
    {
        if (kelp.state() != QProcess::NotRunning) {
            run({QStringLiteral("--quit")});
            if (!kelp.waitForFinished(5000)) kelp.kill();
        }
    }

    void startKelp(const QByteArray &settings)
    {
        ASSERT_TRUE(writeScanSettings(home.path(), settings));
        kelp.setProcessEnvironment(env);
        kelp.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        kelp.start(QStringLiteral(KELP_BINARY), {});
        ASSERT_TRUE(kelp.waitForStarted());
        ASSERT_TRUE(
            waitUntil([this] { return window(QStringLiteral("^Kelp Main$")).mapped; }, 20000));
    }

    int run(const QStringList &args)
    {
        QProcess p;
        p.setProcessEnvironment(env);
        p.start(QStringLiteral(KELP_BINARY), args);
        return p.waitForFinished(20000) ? p.exitCode() : -1;
    }

    QString x(const QString &tool, const QStringList &args) { return runTool(env, tool, args); }

    QStringList windowsNamed(const QString &pattern)
    {
        return x(QStringLiteral("xdotool"),
                 {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                  QStringLiteral("--name"), pattern})
            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    WindowGeometry window(const QString &pattern)
    {
        const QStringList ids = windowsNamed(pattern);
        if (ids.isEmpty()) return {};
        return windowGeometry(env, {QStringLiteral("-id"), ids.first()});
    }

    QImage shot(const QRect &r)
    {
        const QString file = home.filePath(QStringLiteral("shot.png"));
        x(QStringLiteral("import"),
          {QStringLiteral("-window"), QStringLiteral("root"), QStringLiteral("-crop"),
           QStringLiteral("%1x%2+%3+%4").arg(r.width()).arg(r.height()).arg(r.x()).arg(r.y()),
           file});
        return QImage(file);
    }

    QByteArray settingsFile()
    {
        return readFile(home.filePath(QStringLiteral("config/Kelp/Kelp.plist")));
    }

    QTemporaryDir home;
    QProcessEnvironment env;
    QProcess kelp;
};

} // namespace

TEST_F(KelpWindows, AboutShowsOneWindowThatLaterCallsRaise)
{
    startKelp({});
    EXPECT_EQ(run({QStringLiteral("--about")}), 0);
    ASSERT_TRUE(waitUntil([this] { return window(QStringLiteral("^About Kelp$")).mapped; }, 15000));
    const QRect first = window(QStringLiteral("^About Kelp$")).rect;
    EXPECT_EQ(run({QStringLiteral("--about")}), 0);
    QTest::qWait(1000);
    EXPECT_EQ(windowsNamed(QStringLiteral("^About Kelp$")).size(), 1) << "raised, not made again";
    EXPECT_EQ(window(QStringLiteral("^About Kelp$")).rect, first);
    // Kelp's keys: Ctrl-W closes it.
    const QString id = windowsNamed(QStringLiteral("^About Kelp$")).first();
    x(QStringLiteral("xdotool"), {QStringLiteral("windowactivate"), QStringLiteral("--sync"), id});
    x(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("ctrl+w")});
    EXPECT_TRUE(waitUntil([this] { return windowsNamed(QStringLiteral("^About Kelp$")).isEmpty(); },
                          10000));
}

TEST_F(KelpWindows, TheWelcomeTourPagesWithThePointerAndCtrlWClosesIt)
{
    startKelp("<key>showWelcomeWindow</key><true/>");
    const QString title = QStringLiteral("^Welcome to Kelp$");
    ASSERT_TRUE(waitUntil([&] { return window(title).mapped; }, 15000))
        << "the tour opens at the first start";
    const QRect r = window(title).rect;
    ASSERT_GT(r.height(), 200);
    const QImage page1 = shot(r);
    ASSERT_FALSE(page1.isNull());

    // Next is the button at the bottom right of the window.
    const QPoint next(r.right() - 55, r.bottom() - 26);
    x(QStringLiteral("xdotool"),
      {QStringLiteral("mousemove"), QString::number(next.x()), QString::number(next.y()),
       QStringLiteral("click"), QStringLiteral("1")});
    EXPECT_TRUE(waitUntil(
        [this] {
            static const QRegularExpression step(
                QStringLiteral("lastShownWelcomeStep</key>\\s*<integer>2<"));
            return step.match(QString::fromUtf8(settingsFile())).hasMatch();
        },
        10000))
        << settingsFile().toStdString();
    const QImage page2 = shot(r);
    EXPECT_NE(page1, page2) << "the second page shows";

    const QString id = windowsNamed(title).first();
    x(QStringLiteral("xdotool"), {QStringLiteral("windowactivate"), QStringLiteral("--sync"), id});
    x(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("ctrl+w")});
    EXPECT_TRUE(waitUntil([&] { return windowsNamed(title).isEmpty(); }, 10000));
    EXPECT_EQ(kelp.state(), QProcess::Running);
}

TEST_F(KelpWindows, StartAtLoginMakesAndRemovesTheAutostartEntry)
{
    // The tour not seen yet: a start at login shows it no more than the panel.
    startKelp("<key>showWelcomeWindow</key><true/>");
    const QString entry = home.filePath(QStringLiteral("config/autostart/kelp.desktop"));
    EXPECT_FALSE(QFile::exists(entry));
    QTest::qWait(2000); // Kelp's own first write of its settings is done
    // Another program (the preferences) changes the setting in the settings file.
    ASSERT_TRUE(writeScanSettings(home.path(), "<key>startAtLogin</key><true/>"
                                               "<key>showWelcomeWindow</key><true/>"));
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(entry); }, 15000));
    if (const QString validate =
            QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
        !validate.isEmpty()) {
        QProcess check;
        check.start(validate, {entry});
        ASSERT_TRUE(check.waitForFinished(10000));
        EXPECT_EQ(check.exitCode(), 0) << check.readAllStandardOutput().toStdString();
    }

    // The next login: the entry's command starts Kelp with nothing shown.
    EXPECT_EQ(run({QStringLiteral("--quit")}), 0);
    ASSERT_TRUE(kelp.waitForFinished(10000));
    const QRegularExpression execLine(QStringLiteral("\\nExec=(\\S+) (\\S+)\\n"));
    const QRegularExpressionMatch exec = execLine.match(QString::fromUtf8(readFile(entry)));
    ASSERT_TRUE(exec.hasMatch());
    EXPECT_EQ(exec.captured(1), QStringLiteral(KELP_BINARY)) << "the build's kelp is not on PATH";
    kelp.start(exec.captured(1), {exec.captured(2)});
    ASSERT_TRUE(kelp.waitForStarted());
    ASSERT_TRUE(waitUntil([this] { return run({QStringLiteral("--rescan")}) == 0; }, 15000))
        << "Kelp runs and answers";
    QTest::qWait(1000);
    EXPECT_TRUE(windowsNamed(QStringLiteral("^Kelp Main$")).isEmpty()) << "nothing shows";
    EXPECT_TRUE(windowsNamed(QStringLiteral("^Welcome to Kelp$")).isEmpty());

    ASSERT_TRUE(writeScanSettings(home.path(), "<key>startAtLogin</key><false/>"
                                               "<key>showWelcomeWindow</key><true/>"));
    EXPECT_TRUE(waitUntil([&] { return !QFile::exists(entry); }, 15000));
}
