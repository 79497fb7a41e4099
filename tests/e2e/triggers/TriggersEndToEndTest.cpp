// The triggers end to end: the kelp binary on Xvfb with openbox, driven through XTEST with
// xdotool. The hot key (with the locks on, held down, taken by another program), the hot spot
// (resting, passing through, re-entering, a drag from another program) and the tray icon in
// trayer.
#include "support/XSession.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <X11/keysym.h>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <gtest/gtest.h>

using namespace kelp::test;

namespace {

struct WindowState
{
    bool mapped = false;
    QRect rect;
    QString parentLine;
};

class Triggers : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QString why;
        if (!XSession::instance().start(&why, QStringLiteral("1280x800x24")))
            GTEST_SKIP() << qPrintable(why);
        for (const char *tool : {"xdotool", "xwininfo"})
            if (QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty())
                GTEST_SKIP() << tool << " is not installed";
        ASSERT_TRUE(home.isValid());
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("data/applications/clock.desktop")),
                              "[Desktop Entry]\nType=Application\nName=Zebra Clock\n"
                              "Exec=xclock\n"));
        env = displayHomeEnvironment(home.path());
        env.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("kelp.triggers.debug=true"));
        xdo({QStringLiteral("mousemove"), QStringLiteral("640"), QStringLiteral("400")});
    }

    void TearDown() override
    {
        if (kelp.state() != QProcess::NotRunning) {
            run(QStringLiteral(KELP_BINARY), {QStringLiteral("--quit")});
            if (!kelp.waitForFinished(5000)) kelp.kill();
        }
        for (QProcess *p : {&tray, &source}) {
            if (p->state() == QProcess::NotRunning) continue;
            p->kill();
            p->waitForFinished(3000);
        }
        xdo({QStringLiteral("mouseup"), QStringLiteral("1")});
    }

    // Settings as a plist dictionary body, besides the scan folder.
    void startKelp(const QByteArray &settings, const QString &readyLine)
    {
        ASSERT_TRUE(writeScanSettings(home.path(),
                                      (settings.contains("showWindowAtLaunch")
                                           ? QByteArray()
                                           : QByteArray("<key>showWindowAtLaunch</key><false/>")) +
                                          settings));
        kelp.setProcessEnvironment(env);
        kelp.setProcessChannelMode(QProcess::SeparateChannels);
        kelp.start(QStringLiteral(KELP_BINARY), {});
        ASSERT_TRUE(kelp.waitForStarted());
        ASSERT_TRUE(waitUntil([&] { return log().contains(readyLine); }, 20000))
            << "Kelp never said: " << qPrintable(readyLine) << "\n"
            << qPrintable(log());
    }

    QString log()
    {
        _log += QString::fromUtf8(kelp.readAllStandardError());
        return _log;
    }

    QString run(const QString &tool, const QStringList &args)
    {
        QProcess p;
        p.setProcessEnvironment(env);
        p.start(tool, args);
        p.waitForFinished(10000);
        return QString::fromUtf8(p.readAllStandardOutput());
    }
    QString xdo(const QStringList &args) { return run(QStringLiteral("xdotool"), args); }
    // Moves the pointer on by (dx, dy) as a mouse does: relative motion.
    void nudge(int dx, int dy)
    {
        xdo({QStringLiteral("mousemove_relative"), QStringLiteral("--"), QString::number(dx),
             QString::number(dy)});
    }
    // The pointer pressed into the top-left corner, as a mouse flung there does.
    void pushIntoCorner()
    {
        xdo({QStringLiteral("mousemove"), QStringLiteral("0"), QStringLiteral("0")});
        nudge(-10, -10);
    }

    WindowState window(const QString &name)
    {
        const QString info =
            run(QStringLiteral("xwininfo"),
                {QStringLiteral("-stats"), QStringLiteral("-tree"), QStringLiteral("-name"), name});
        WindowState w;
        auto number = [&](const char *label) {
            const QRegularExpression re(QLatin1String(label) + QStringLiteral(":\\s+(-?\\d+)"));
            return re.match(info).captured(1).toInt();
        };
        w.mapped = info.contains(QLatin1String("IsViewable"));
        w.rect = QRect(number("Absolute upper-left X"), number("Absolute upper-left Y"),
                       number("Width"), number("Height"));
        const QRegularExpression parent(QStringLiteral("Parent window id: (\\S+)"));
        w.parentLine = parent.match(info).captured(1);
        return w;
    }
    bool panelShown() { return window(QStringLiteral("Kelp Main")).mapped; }

    QTemporaryDir home;
    QProcessEnvironment env;
    QProcess kelp, tray, source;
    QString _log;
};

} // namespace

TEST_F(Triggers, HotKeyShowsAndHidesThePanelAlsoWithTheLocksOn)
{
    startKelp({}, QStringLiteral("Hot key \u2303 control + Tab"));
    ASSERT_FALSE(panelShown());
    auto press = [&] { xdo({QStringLiteral("key"), QStringLiteral("ctrl+Tab")}); };
    press();
    EXPECT_TRUE(waitUntil([&] { return panelShown(); }, 10000)) << "Control-Tab showed the panel";
    press();
    EXPECT_TRUE(waitUntil([&] { return !panelShown(); }, 10000)) << "and hid it";

    for (const char *lock : {"Num_Lock", "Caps_Lock"}) {
        xdo({QStringLiteral("key"), QLatin1String(lock)});
        press();
        EXPECT_TRUE(waitUntil([&] { return panelShown(); }, 10000)) << "shown with " << lock;
        press();
        EXPECT_TRUE(waitUntil([&] { return !panelShown(); }, 10000)) << "hidden with " << lock;
    }
    xdo({QStringLiteral("key"), QStringLiteral("Num_Lock"), QStringLiteral("Caps_Lock")});

    // Held down long enough to repeat, the key still toggles once.
    xdo({QStringLiteral("keydown"), QStringLiteral("ctrl+Tab")});
    QTest::qWait(1500);
    xdo({QStringLiteral("keyup"), QStringLiteral("ctrl+Tab")});
    EXPECT_TRUE(waitUntil([&] { return panelShown(); }, 10000));
    QTest::qWait(1000);
    EXPECT_TRUE(panelShown()) << "the key's auto-repeat did not toggle it back";
}

TEST_F(Triggers, HotKeyTakenByAnotherProgramIsLoggedOnceAndKelpRunsOn)
{
    // This test program holds Control-Tab on the root window before Kelp starts.
    xcb_connection_t *c = xcb_connect(XSession::instance().display.toLatin1().constData(), nullptr);
    ASSERT_FALSE(xcb_connection_has_error(c));
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    xcb_key_symbols_t *symbols = xcb_key_symbols_alloc(c);
    xcb_keycode_t *codes = xcb_key_symbols_get_keycode(symbols, XK_Tab);
    ASSERT_TRUE(codes && codes[0] != XCB_NO_SYMBOL);
    xcb_generic_error_t *error =
        xcb_request_check(c, xcb_grab_key_checked(c, 1, root, XCB_MOD_MASK_CONTROL, codes[0],
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    EXPECT_EQ(error, nullptr);
    std::free(error);
    std::free(codes);
    xcb_key_symbols_free(symbols);

    startKelp({}, QStringLiteral("already taken"));
    EXPECT_TRUE(waitUntil([&] { return log().contains(QLatin1String("already taken")); }, 10000))
        << qPrintable(log());
    EXPECT_EQ(log().count(QStringLiteral("Ctrl+Tab is already taken by another program")), 1)
        << qPrintable(log());
    // Kelp runs on and opens by the other ways.
    run(QStringLiteral(KELP_BINARY), {QStringLiteral("--toggle")});
    EXPECT_TRUE(waitUntil([&] { return panelShown(); }, 10000));
    EXPECT_EQ(kelp.state(), QProcess::Running);
    xcb_disconnect(c);
}

TEST_F(Triggers, HotSpotOpensAfterRestingNotInPassingAndClosesAtOnce)
{
    // A long delay, so that "at once" and "after resting" can be told apart.
    startKelp("<key>cursorHotSpotLocation</key><integer>1</integer>"
              "<key>cursorHotSpotDelay</key><real>2.5</real>"
              "<key>highlightHotSpots</key><true/>",
              QStringLiteral("Hot spot barriers along QRect(0,0 4x4)"));

    // Passing through the corner does nothing.
    pushIntoCorner();
    nudge(300, 300);
    QTest::qWait(3500);
    EXPECT_FALSE(panelShown()) << "a pointer passing through opened the panel";
    EXPECT_FALSE(window(QStringLiteral("Kelp Hot Spot")).mapped) << "no highlight once it left";

    // Resting opens it after the delay, the red square showing meanwhile.
    pushIntoCorner();
    EXPECT_TRUE(waitUntil([&] { return window(QStringLiteral("Kelp Hot Spot")).mapped; }, 2000))
        << "the red square shows while the pointer is inside";
    QTest::qWait(1200);
    EXPECT_FALSE(panelShown()) << "opened before the delay";
    EXPECT_TRUE(waitUntil([&] { return panelShown(); }, 10000)) << "resting opened the panel";
    nudge(300, 300);
    EXPECT_TRUE(waitUntil([&] { return !window(QStringLiteral("Kelp Hot Spot")).mapped; }, 3000))
        << "the red square goes with the pointer";

    // Entering again closes it without waiting for the delay.
    pushIntoCorner();
    EXPECT_TRUE(waitUntil([&] { return !panelShown(); }, 2000)) << "re-entering closed it";
    nudge(300, 300);
}

TEST_F(Triggers, DragFromAnotherProgramIntoTheCornerOpensThePanel)
{
    startKelp("<key>cursorHotSpotLocation</key><integer>1</integer>",
              QStringLiteral("Hot spot barriers"));
    source.setProcessEnvironment(env);
    source.start(QStringLiteral(DRAG_SOURCE), {home.filePath(QStringLiteral("data"))});
    ASSERT_TRUE(
        waitUntil([&] { return window(QStringLiteral("Kelp Test Drag Source")).mapped; }, 10000));
    const QRect r = window(QStringLiteral("Kelp Test Drag Source")).rect;
    xdo({QStringLiteral("mousemove"), QString::number(r.center().x()),
         QString::number(r.center().y())});
    xdo({QStringLiteral("mousedown"), QStringLiteral("1")});
    for (int i = 0; i < 4; ++i) {
        nudge(5, 5);
        QTest::qWait(50);
    }
    ASSERT_TRUE(waitUntil(
        [&] { return QString::fromUtf8(source.peek(1000)).contains(QLatin1String("started")); },
        5000))
        << "the other program began its drag";
    pushIntoCorner();
    EXPECT_TRUE(waitUntil([&] { return panelShown(); }, 10000))
        << "the drag held by another program opened the panel";
    xdo({QStringLiteral("mouseup"), QStringLiteral("1")});
}

TEST_F(Triggers, TrayIconDocksTogglesOnClickAndOpensTheMenuWhenHeld)
{
    if (QStandardPaths::findExecutable(QStringLiteral("trayer")).isEmpty())
        GTEST_SKIP() << "trayer is not installed";
    auto startTray = [&] {
        tray.setProcessEnvironment(env);
        tray.start(QStringLiteral("trayer"),
                   {QStringLiteral("--edge"), QStringLiteral("top"), QStringLiteral("--align"),
                    QStringLiteral("right"), QStringLiteral("--height"), QStringLiteral("24")});
        ASSERT_TRUE(tray.waitForStarted());
    };
    startTray();
    QTest::qWait(1000);
    startKelp({}, QStringLiteral("Kelp's icon is in the tray"));
    auto icon = [&] { return window(QStringLiteral("Kelp Tray Icon")); };
    ASSERT_TRUE(waitUntil([&] { return icon().mapped; }, 10000)) << "the tray took the icon in";
    const QPoint centre = icon().rect.center();
    auto moveToIcon = [&] {
        xdo({QStringLiteral("mousemove"), QString::number(centre.x()),
             QString::number(centre.y())});
    };

    moveToIcon();
    xdo({QStringLiteral("click"), QStringLiteral("1")});
    EXPECT_TRUE(waitUntil([&] { return panelShown(); }, 10000)) << "a click showed the panel";
    moveToIcon();
    xdo({QStringLiteral("click"), QStringLiteral("1")});
    EXPECT_TRUE(waitUntil([&] { return !panelShown(); }, 10000)) << "a second click hid it";

    // Held half a second: the menu, and the release does nothing more.
    moveToIcon();
    xdo({QStringLiteral("mousedown"), QStringLiteral("1")});
    QTest::qWait(900);
    xdo({QStringLiteral("mouseup"), QStringLiteral("1")});
    EXPECT_TRUE(waitUntil([&] { return window(QStringLiteral("Kelp Menu")).mapped; }, 5000))
        << "holding opened the menu";
    QTest::qWait(500);
    EXPECT_FALSE(panelShown()) << "the release after the hold toggled the panel";
    xdo({QStringLiteral("key"), QStringLiteral("Escape")});
    EXPECT_TRUE(waitUntil([&] { return !window(QStringLiteral("Kelp Menu")).mapped; }, 5000));

    // The tray goes and comes back: the icon docks again.
    tray.kill();
    tray.waitForFinished(3000);
    startTray();
    EXPECT_TRUE(waitUntil(
        [&] { return log().count(QStringLiteral("Kelp's icon is in the tray")) >= 2; }, 10000))
        << qPrintable(log());
    EXPECT_TRUE(waitUntil([&] { return icon().mapped; }, 10000)) << "the icon is back in the tray";
}
