// Kelp end to end: start it, toggle it from a second kelp, look at the panel, type, launch, and
// move the screen under it. Real Xvfb, real openbox, real xclock.
#include "support/XSession.h"

#include <QDir>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

using namespace kelp::test;

namespace {

class Launcher : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (const QString why = XSession::instance().whyNotReady(
                QStringLiteral("1280x800x24"), {"xdotool", "xwininfo", "import", "xclock"});
            !why.isEmpty())
            GTEST_SKIP() << qPrintable(why);
        ASSERT_TRUE(home.isValid());
        // The only application Kelp finds: a real clock, under a name whose letters are known.
        ASSERT_TRUE(
            writeFile(home.filePath(QStringLiteral("data/applications/zebra-clock.desktop")),
                      "[Desktop Entry]\nType=Application\nName=Zebra Clock\n"
                      "Exec=xclock -name zebraclock\nIcon=utilities-system-monitor\n"));
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("data/applications/terminal.desktop")),
                              "[Desktop Entry]\nType=Application\nName=Terminal\nExec=xterm\n"
                              "Icon=utilities-terminal\n"));
        env = displayHomeEnvironment(home.path());
        env.insert(QStringLiteral("XDG_DATA_DIRS"),
                   home.filePath(QStringLiteral("machine")) + QStringLiteral(":/usr/share"));
        // Only the entries above: the machine's own applications stay out of the scan.
        ASSERT_TRUE(writeScanSettings(home.path()));
    }

    void TearDown() override
    {
        if (kelp.state() != QProcess::NotRunning) {
            runKelp({QStringLiteral("--quit")});
            if (!kelp.waitForFinished(5000)) kelp.kill();
        }
        QProcess::execute(QStringLiteral("pkill"),
                          {QStringLiteral("-f"), QStringLiteral("xclock -name zebraclock")});
    }

    int runKelp(const QStringList &args)
    {
        QProcess p;
        p.setProcessEnvironment(env);
        p.start(QStringLiteral(KELP_BINARY), args);
        return p.waitForFinished(20000) ? p.exitCode() : -1;
    }

    void startKelp()
    {
        kelp.setProcessEnvironment(env);
        kelp.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        kelp.start(QStringLiteral(KELP_BINARY), {});
        ASSERT_TRUE(kelp.waitForStarted());
        ASSERT_TRUE(waitUntil([this] { return panel().mapped; }, 15000))
            << "the panel never showed";
    }

    QString x(const QString &tool, const QStringList &args) { return runTool(env, tool, args); }

    WindowGeometry window(const QString &name)
    {
        return windowGeometry(env, {QStringLiteral("-name"), name});
    }
    WindowGeometry panel() { return window(QStringLiteral("Kelp Main")); }
    // The panel fits itself to the catalogue as it fills: wait until it keeps one size.
    QRect settledPanel()
    {
        return settledRect([this] { return panel().rect; }, 10000);
    }

    QImage screenshot()
    {
        const QString file = home.filePath(QStringLiteral("shot.png"));
        x(QStringLiteral("import"), {QStringLiteral("-window"), QStringLiteral("Kelp Main"), file});
        return QImage(file);
    }

    QTemporaryDir home;
    QProcessEnvironment env;
    QProcess kelp;
};

} // namespace

TEST_F(Launcher, ShowsCentredAndTogglesFromASecondKelp)
{
    startKelp();
    const QRect r = settledPanel();
    EXPECT_NEAR(r.center().x(), 640, 2) << "centred on the screen";
    EXPECT_NEAR(r.center().y(), 400, 2);
    EXPECT_GE(r.width(), 100);

    // A picture of the panel: not empty, not one flat colour.
    const QImage shot = screenshot();
    ASSERT_FALSE(shot.isNull());
    EXPECT_EQ(shot.size(), r.size());
    QSet<QRgb> colours;
    for (int y = 0; y < shot.height(); y += 4)
        for (int x = 0; x < shot.width(); x += 4)
            colours.insert(shot.pixel(x, y));
    EXPECT_GT(colours.size(), 8) << "the panel shows its bar and icons";

    EXPECT_EQ(runKelp({QStringLiteral("--toggle")}), 0);
    EXPECT_TRUE(waitUntil([this] { return !panel().mapped; }, 15000)) << "the second kelp hid it";
    EXPECT_EQ(runKelp({QStringLiteral("--toggle")}), 0);
    EXPECT_TRUE(waitUntil([this] { return panel().mapped; }, 15000)) << "and showed it again";
    EXPECT_EQ(kelp.state(), QProcess::Running) << "the second kelp never became a second Kelp";
}

TEST_F(Launcher, TypingANameAndReturnLaunchesIt)
{
    startKelp();
    const QString wid =
        x(QStringLiteral("xdotool"),
          {QStringLiteral("search"), QStringLiteral("--name"), QStringLiteral("^Kelp Main$")})
            .split(QLatin1Char('\n'))
            .first();
    ASSERT_FALSE(wid.isEmpty());
    x(QStringLiteral("xdotool"), {QStringLiteral("windowactivate"), QStringLiteral("--sync"), wid});
    x(QStringLiteral("xdotool"), {QStringLiteral("type"), QStringLiteral("--delay"),
                                  QStringLiteral("50"), QStringLiteral("zeb")});
    x(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Return")});
    EXPECT_TRUE(waitUntil([this] { return window(QStringLiteral("zebraclock")).mapped; }, 15000))
        << "the clock started";
    EXPECT_TRUE(waitUntil([this] { return !panel().mapped; }, 10000)) << "and the panel went away";
}

TEST_F(Launcher, EscapeClearsTheFilterFirst)
{
    startKelp();
    const QString wid =
        x(QStringLiteral("xdotool"),
          {QStringLiteral("search"), QStringLiteral("--name"), QStringLiteral("^Kelp Main$")})
            .split(QLatin1Char('\n'))
            .first();
    x(QStringLiteral("xdotool"), {QStringLiteral("windowactivate"), QStringLiteral("--sync"), wid});
    x(QStringLiteral("xdotool"), {QStringLiteral("type"), QStringLiteral("--delay"),
                                  QStringLiteral("50"), QStringLiteral("zeb")});
    x(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Escape")});
    QTest::qWait(300);
    EXPECT_TRUE(panel().mapped) << "the first Escape only clears the filter";
    // With no filter, Return has two applications to choose from and launches neither.
    x(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Return")});
    QTest::qWait(1500);
    EXPECT_FALSE(window(QStringLiteral("zebraclock")).mapped);
    EXPECT_TRUE(panel().mapped);
    x(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Escape")});
    EXPECT_TRUE(waitUntil([this] { return !panel().mapped; }, 15000))
        << "the second one hides the panel";
}

TEST_F(Launcher, ComesBackOnScreenWhenTheScreenShrinks)
{
    startKelp();
    settledPanel();
    const QString wid =
        x(QStringLiteral("xdotool"),
          {QStringLiteral("search"), QStringLiteral("--name"), QStringLiteral("^Kelp Main$")})
            .split(QLatin1Char('\n'))
            .first();
    // Wholly on the screen as it is now, wholly off the one it is about to become.
    x(QStringLiteral("xdotool"),
      {QStringLiteral("windowmove"), wid, QStringLiteral("1050"), QStringLiteral("580")});
    ASSERT_TRUE(waitUntil([this] { return panel().rect.x() >= 1040; }, 15000));
    // Xvfb keeps one output; shrinking its frame buffer is how a screen goes away here.
    x(QStringLiteral("xrandr"), {QStringLiteral("--fb"), QStringLiteral("1024x600")});
    EXPECT_TRUE(waitUntil(
        [this] {
            const QRect r = panel().rect;
            return r.right() < 1024 && r.bottom() < 600 && r.x() >= 0 && r.y() >= 0;
        },
        10000))
        << "the panel slid back onto the screen";
    x(QStringLiteral("xrandr"), {QStringLiteral("--fb"), QStringLiteral("1280x800")});
}
