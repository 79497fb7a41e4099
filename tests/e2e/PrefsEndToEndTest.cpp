// The preferences as a user meets them: the kelp binary on Xvfb with openbox, the window opened
// by `kelp --preferences` and driven from the keyboard through XTEST (xdotool). A change made in
// the window reaches the running Kelp at once: the panel resizes, a scan folder is walked, the hot
// spot moves. With $KELP_SCREENSHOT_DIR set, each tab is also saved there as a picture.
#include "support/XSession.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

using namespace kelp::test;

namespace {

class Preferences : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (const QString why = XSession::instance().whyNotReady(QStringLiteral("1280x800x24"),
                                                                 {"xdotool", "xwininfo", "import"});
            !why.isEmpty())
            GTEST_SKIP() << qPrintable(why);
        ASSERT_TRUE(home.isValid());
        for (const char *name : {"Zebra Clock", "Yak Clock", "Xylophone Clock"}) {
            const QString file = QString::fromUtf8(name).toLower().replace(u' ', u'-');
            ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("data/applications/") + file +
                                                QStringLiteral(".desktop")),
                                  QByteArray("[Desktop Entry]\nType=Application\nName=") + name +
                                      "\nExec=xclock\n"));
        }
        env = displayHomeEnvironment(home.path());
        env.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("kelp.triggers.debug=true"));
    }

    void TearDown() override
    {
        if (kelp.state() != QProcess::NotRunning) {
            run(QStringLiteral(KELP_BINARY), {QStringLiteral("--quit")});
            if (!kelp.waitForFinished(5000)) kelp.kill();
        }
        xdo({QStringLiteral("mousemove"), QStringLiteral("640"), QStringLiteral("400")});
    }

    void startKelp(const QByteArray &settings = {})
    {
        ASSERT_TRUE(writeScanSettings(home.path(), settings));
        kelp.setProcessEnvironment(env);
        kelp.setProcessChannelMode(QProcess::SeparateChannels);
        kelp.start(QStringLiteral(KELP_BINARY), {});
        ASSERT_TRUE(kelp.waitForStarted());
        ASSERT_TRUE(waitUntil([this] { return panel().mapped; }, 20000)) << qPrintable(log());
    }

    // Opens the preferences through a second kelp and waits for the window.
    void openPreferences()
    {
        run(QStringLiteral(KELP_BINARY), {QStringLiteral("--preferences")});
        ASSERT_TRUE(waitUntil([this] { return prefs().mapped; }, 15000)) << qPrintable(log());
        // Openbox gives the new window the focus once it is mapped.
        QTest::qWait(500);
    }

    QString log()
    {
        _log += QString::fromUtf8(kelp.readAllStandardError());
        return _log;
    }

    QString run(const QString &tool, const QStringList &args)
    {
        return runTool(env, tool, args, 20000);
    }
    QString xdo(const QStringList &args) { return run(QStringLiteral("xdotool"), args); }
    // Keys typed into the window that has the focus, with a moment between them.
    void keys(const QStringList &chords)
    {
        for (const QString &chord : chords) {
            xdo({QStringLiteral("key"), chord});
            QTest::qWait(150);
        }
    }

    WindowGeometry window(const QString &name)
    {
        return windowGeometry(env, {QStringLiteral("-name"), name});
    }
    WindowGeometry panel() { return window(QStringLiteral("Kelp Main")); }
    WindowGeometry prefs() { return window(QStringLiteral("Kelp Preferences")); }

    // The panel fits itself to the catalogue as it fills: wait until it keeps one size.
    QRect settledPanel()
    {
        return settledRect([this] { return panel().rect; }, 15000);
    }

    QString settingsFile()
    {
        return QString::fromUtf8(readFile(home.filePath(QStringLiteral("config/Kelp/Kelp.plist"))));
    }
    bool stored(const char *key, const QString &valueXml)
    {
        const QString file = settingsFile();
        const QRegularExpression re(
            QStringLiteral("<key>%1</key>\\s*%2")
                .arg(QLatin1String(key), QRegularExpression::escape(valueXml)));
        return re.match(file).hasMatch();
    }

    QTemporaryDir home;
    QProcessEnvironment env;
    QProcess kelp;
    QString _log;
};

} // namespace

TEST_F(Preferences, OpenOnceAndTheIconSizeTypedResizesThePanel)
{
    startKelp();
    const QRect before = settledPanel();
    openPreferences();
    run(QStringLiteral(KELP_BINARY), {QStringLiteral("--preferences")});
    QTest::qWait(1000);
    const QStringList ids = xdo({QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                 QStringLiteral("--name"), QStringLiteral("^Kelp Preferences$")})
                                .split(u'\n', Qt::SkipEmptyParts);
    EXPECT_EQ(ids.size(), 1) << "a second request raises the one window";
    EXPECT_TRUE(panel().mapped) << "the preferences open over the panel";

    const QString shots = qEnvironmentVariable("KELP_SCREENSHOT_DIR");
    if (!shots.isEmpty()) {
        const std::pair<const char *, const char *> tabs[] = {{"alt+t", "prefs-triggers.png"},
                                                              {"alt+p", "prefs-panel.png"},
                                                              {"alt+c", "prefs-catalogue.png"},
                                                              {"alt+a", "prefs-alerts.png"}};
        for (const auto &[chord, file] : tabs) {
            keys({QLatin1String(chord)});
            QTest::qWait(600);
            run(QStringLiteral("import"),
                {QStringLiteral("-window"), QStringLiteral("Kelp Preferences"),
                 QDir(shots).filePath(QLatin1String(file))});
        }
    }

    // The Panel tab, the icon size's field (Alt-S), 128 typed over the value.
    keys({QStringLiteral("alt+p"), QStringLiteral("alt+s"), QStringLiteral("ctrl+a"),
          QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("8"), QStringLiteral("Return")});
    EXPECT_TRUE(waitUntil(
        [&] { return stored("maximumIconSize", QStringLiteral("<integer>128</integer>")); }, 10000))
        << qPrintable(settingsFile());
    EXPECT_TRUE(waitUntil([&] { return panel().rect.width() > before.width(); }, 10000))
        << "the panel grew with its icons: " << before.width() << " then " << panel().rect.width();

    // Up arrow steps are stored one by one; a value past the limit stays at the limit.
    keys({QStringLiteral("Up"), QStringLiteral("Up")});
    QTest::qWait(1500);
    EXPECT_TRUE(stored("maximumIconSize", QStringLiteral("<integer>128</integer>")));

    // Escape closes the window and leaves the panel.
    keys({QStringLiteral("Escape")});
    EXPECT_TRUE(waitUntil([&] { return !prefs().mapped; }, 10000));
    EXPECT_TRUE(panel().mapped);
    EXPECT_EQ(kelp.state(), QProcess::Running);
}

TEST_F(Preferences, AFolderChosenIsWalkedAndTheHotSpotMovesWithoutARestart)
{
    const QString more = home.filePath(QStringLiteral("more apps"));
    ASSERT_TRUE(writeFile(more + QStringLiteral("/abacus.desktop"),
                          "[Desktop Entry]\nType=Application\nName=Abacus Tool\nExec=xclock\n"));
    startKelp();
    settledPanel();
    openPreferences();

    // The Catalogue tab, "Add Folders…" (Alt-D), the folder's path typed into the chooser.
    keys({QStringLiteral("alt+c"), QStringLiteral("alt+d")});
    ASSERT_TRUE(
        waitUntil([&] { return window(QStringLiteral("Choose Folders to Scan")).mapped; }, 10000));
    QTest::qWait(500);
    xdo({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("30"), more});
    keys({QStringLiteral("Return")});
    EXPECT_TRUE(
        waitUntil([&] { return settingsFile().contains(QStringLiteral("more apps")); }, 10000))
        << qPrintable(settingsFile());
    // The running Kelp walks it and writes the catalogue the tools read.
    EXPECT_TRUE(waitUntil(
        [&] {
            return run(QStringLiteral(KELP_BINARY), {QStringLiteral("--print-catalogue")})
                .contains(QStringLiteral("Abacus Tool"));
        },
        20000));

    // The Triggers tab, the hot spot's pop-up (Alt-L), its last place: the top edge.
    keys({QStringLiteral("alt+t"), QStringLiteral("alt+l"), QStringLiteral("End")});
    EXPECT_TRUE(waitUntil(
        [&] { return stored("cursorHotSpotLocation", QStringLiteral("<integer>8</integer>")); },
        10000))
        << qPrintable(settingsFile());
    const QRegularExpression placed(
        QStringLiteral("Hot spot barriers along QRect\\((\\d+),(\\d+) (\\d+)x(\\d+)\\)"));
    QRegularExpressionMatch where;
    ASSERT_TRUE(waitUntil(
        [&] {
            where = placed.match(log());
            return where.hasMatch();
        },
        10000))
        << qPrintable(log());
    const QRect spot(where.captured(1).toInt(), where.captured(2).toInt(),
                     where.captured(3).toInt(), where.captured(4).toInt());
    EXPECT_EQ(spot.top(), 0) << "along the top edge";
    EXPECT_GT(spot.width(), spot.height());

    keys({QStringLiteral("Escape")});
    ASSERT_TRUE(waitUntil([&] { return !prefs().mapped; }, 10000));
    run(QStringLiteral(KELP_BINARY), {QStringLiteral("--hide")});
    ASSERT_TRUE(waitUntil([&] { return !panel().mapped; }, 10000));

    // Resting in the new place opens the panel.
    xdo({QStringLiteral("mousemove"), QString::number(spot.center().x()), QStringLiteral("40")});
    QTest::qWait(300);
    xdo({QStringLiteral("mousemove"), QString::number(spot.center().x()), QStringLiteral("0")});
    xdo({QStringLiteral("mousemove_relative"), QStringLiteral("--"), QStringLiteral("0"),
         QStringLiteral("-10")});
    EXPECT_TRUE(waitUntil([&] { return panel().mapped; }, 10000))
        << "the hot spot on the top edge opened the panel\n"
        << qPrintable(log());
}
