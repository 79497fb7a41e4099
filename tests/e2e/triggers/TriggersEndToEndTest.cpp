// The triggers end to end: the kelp binary on Xvfb with openbox, driven through XTEST with
// xdotool. The hot key (with the locks on, held down, taken by another program), the hot spot
// (resting, passing through, re-entering, a drag from another program) and the tray icon in
// trayer.
#include "support/XSession.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <X11/keysym.h>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <utility>

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
        if (const QString why = XSession::instance().whyNotReady(QStringLiteral("1280x800x24"),
                                                                 {"xdotool", "xwininfo"});
            !why.isEmpty())
            GTEST_SKIP() << qPrintable(why);
        ASSERT_TRUE(home.isValid());
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("data/applications/clock.desktop")),
                              "[Desktop Entry]\nType=Application\nName=Zebra Clock\n"
                              "Exec=xclock\n"));
        env = displayHomeEnvironment(home.path());
        // Kelp's log names each show or hide and why: a failure prints it.
        env.insert(QStringLiteral("QT_LOGGING_RULES"),
                   QStringLiteral("kelp.triggers.debug=true;kelp.platform.debug=true"));
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

    QString run(const QString &tool, const QStringList &args) { return runTool(env, tool, args); }
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
        const WindowGeometry g = parseWindowInfo(info);
        w.mapped = g.mapped;
        w.rect = g.rect;
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
    EXPECT_TRUE(waitUntil([&] { return panelShown(); }, 10000)) << "Control-Tab showed the panel\n"
                                                                << qPrintable(log());
    press();
    EXPECT_TRUE(waitUntil([&] { return !panelShown(); }, 10000)) << "and hid it\n"
                                                                 << qPrintable(log());

    for (const char *lock : {"Num_Lock", "Caps_Lock"}) {
        xdo({QStringLiteral("key"), QLatin1String(lock)});
        press();
        EXPECT_TRUE(waitUntil([&] { return panelShown(); }, 10000)) << "shown with " << lock << "\n"
                                                                    << qPrintable(log());
        press();
        EXPECT_TRUE(waitUntil([&] { return !panelShown(); }, 10000))
            << "hidden with " << lock << "\n"
            << qPrintable(log());
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

namespace {

// The same, under openbox as installed: its own theme, key and mouse bindings.
class TriggersUnderOpenbox : public Triggers
{
protected:
    void SetUp() override
    {
        XSession::instance().openboxOwnSettings = true;
        Triggers::SetUp();
    }

    QRect settledPanel()
    {
        QRect last;
        int same = 0;
        waitUntil(
            [&] {
                const WindowState now = window(QStringLiteral("Kelp Main"));
                same = now.mapped && now.rect == last ? same + 1 : 0;
                last = now.rect;
                QTest::qWait(150);
                return same >= 3;
            },
            10000);
        return last;
    }
    void clickAt(QPoint p)
    {
        xdo({QStringLiteral("mousemove"), QString::number(p.x()), QString::number(p.y())});
        QTest::qWait(150);
        xdo({QStringLiteral("click"), QStringLiteral("1")});
    }
    // The gear button, in the panel's top-right corner.
    void clickGear()
    {
        const QRect panel = settledPanel();
        clickAt(QPoint(panel.right() - 19, panel.top() + 20));
    }
};

// A window of this test's own in the top-left corner that records the clicks it receives.
class ClickCatcher
{
public:
    explicit ClickCatcher(const QRect &r)
    {
        _c = xcb_connect(XSession::instance().display.toLatin1().constData(), nullptr);
        if (xcb_connection_has_error(_c)) return;
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(_c)).data;
        _w = xcb_generate_id(_c);
        const uint32_t values[] = {screen->white_pixel, 1, XCB_EVENT_MASK_BUTTON_PRESS};
        xcb_create_window(_c, XCB_COPY_FROM_PARENT, _w, screen->root, int16_t(r.x()),
                          int16_t(r.y()), uint16_t(r.width()), uint16_t(r.height()), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_map_window(_c, _w);
        std::free(xcb_get_input_focus_reply(_c, xcb_get_input_focus(_c), nullptr));
    }
    ~ClickCatcher() { xcb_disconnect(_c); }
    // The positions (in the window) of the presses received since the last call.
    QList<QPoint> presses()
    {
        while (xcb_generic_event_t *e = xcb_poll_for_event(_c)) {
            if ((e->response_type & 0x7f) == XCB_BUTTON_PRESS) {
                auto *press = reinterpret_cast<xcb_button_press_event_t *>(e);
                _presses << QPoint(press->event_x, press->event_y);
            }
            std::free(e);
        }
        return std::exchange(_presses, {});
    }
    bool receives(QPoint p)
    {
        QList<QPoint> got;
        waitUntil(
            [&] {
                got += presses();
                return got.contains(p);
            },
            3000);
        return got.contains(p);
    }

private:
    xcb_connection_t *_c = nullptr;
    xcb_window_t _w = 0;
    QList<QPoint> _presses;
};

} // namespace

TEST_F(TriggersUnderOpenbox, WithoutATrayTheGearButtonCarriesTheMenu)
{
    startKelp("<key>showAppInStatusBar</key><false/><key>showWindowAtLaunch</key><true/>",
              QStringLiteral("Hot key"));
    ASSERT_TRUE(waitUntil([&] { return panelShown(); }, 15000));
    auto menuShown = [&] { return window(QStringLiteral("Kelp Menu")).mapped; };

    clickGear();
    ASSERT_TRUE(waitUntil(menuShown, 5000)) << "a click on the gear opened the menu\n"
                                            << qPrintable(log());
    // Its first item: Show/Hide Kelp.
    const QRect menu = window(QStringLiteral("Kelp Menu")).rect;
    clickAt(QPoint(menu.center().x(), menu.top() + 12));
    EXPECT_TRUE(waitUntil([&] { return !panelShown() && !menuShown(); }, 10000))
        << "Show/Hide Kelp hid the panel";

    // Back again, and its last item: Quit Kelp (no question: the taskbar entry is a way back).
    run(QStringLiteral(KELP_BINARY), {QStringLiteral("--toggle")});
    ASSERT_TRUE(waitUntil([&] { return panelShown(); }, 10000));
    clickGear();
    ASSERT_TRUE(waitUntil(menuShown, 5000)) << "the gear's menu opened again\n"
                                            << qPrintable(log());
    const QRect again = window(QStringLiteral("Kelp Menu")).rect;
    clickAt(QPoint(again.center().x(), again.bottom() - 10));
    EXPECT_TRUE(kelp.waitForFinished(10000)) << "Quit Kelp ended Kelp\n" << qPrintable(log());
    EXPECT_EQ(kelp.exitCode(), 0);
}

TEST_F(TriggersUnderOpenbox, HotSpotOpensForAnAbsolutePointerAndTakesNoClick)
{
    // The window beneath the hot spot, there before Kelp.
    ClickCatcher beneath(QRect(0, 0, 200, 200));
    startKelp("<key>cursorHotSpotLocation</key><integer>1</integer>"
              "<key>cursorHotSpotDelay</key><real>0.5</real>",
              QStringLiteral("Hot spot window at QRect(0,0 4x4)"));

    // A jump into the corner (a warp, a tablet) and rest: the panel opens.
    xdo({QStringLiteral("mousemove"), QStringLiteral("1"), QStringLiteral("1")});
    EXPECT_TRUE(waitUntil([&] { return panelShown(); }, 10000))
        << "resting after a jump into the corner opened the panel\n"
        << qPrintable(log());

    // Away and back by jumps alone: the hot spot saw the pointer leave, and closes the panel.
    xdo({QStringLiteral("mousemove"), QStringLiteral("640"), QStringLiteral("400")});
    QTest::qWait(500);
    xdo({QStringLiteral("mousemove"), QStringLiteral("0"), QStringLiteral("0")});
    EXPECT_TRUE(waitUntil([&] { return !panelShown(); }, 10000))
        << "the second jump into the corner closed the panel";

    // Just outside the hot spot a click reaches the window beneath.
    clickAt(QPoint(6, 6));
    EXPECT_TRUE(beneath.receives(QPoint(6, 6))) << "the click beside the hot spot";

    // In the hot spot, once the pointer is there, clicks reach the window beneath as well.
    xdo({QStringLiteral("mousemove"), QStringLiteral("2"), QStringLiteral("2")});
    QTest::qWait(1500);
    xdo({QStringLiteral("click"), QStringLiteral("1")});
    EXPECT_TRUE(beneath.receives(QPoint(2, 2))) << "the click in the hot spot";
}

TEST_F(Triggers, TrayIconFollowsTheDesktopsDarkModeLive)
{
    for (const char *tool : {"trayer", "xsettingsd", "import"})
        if (QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty())
            GTEST_SKIP() << tool << " is not installed";
    const QString config = home.filePath(QStringLiteral("xsettingsd.conf"));
    ASSERT_TRUE(writeFile(config, "Net/ThemeName \"Adwaita\"\nGtk/ApplicationPreferDarkTheme 0\n"));
    QProcess settings;
    settings.setProcessEnvironment(env);
    settings.start(QStringLiteral("xsettingsd"), {QStringLiteral("-c"), config});
    ASSERT_TRUE(settings.waitForStarted());
    tray.setProcessEnvironment(env);
    tray.start(QStringLiteral("trayer"), {QStringLiteral("--edge"), QStringLiteral("top"),
                                          QStringLiteral("--height"), QStringLiteral("24")});
    ASSERT_TRUE(tray.waitForStarted());
    QTest::qWait(1000);
    startKelp({}, QStringLiteral("Kelp's icon is in the tray"));
    ASSERT_TRUE(waitUntil([&] { return window(QStringLiteral("Kelp Tray Icon")).mapped; }, 10000));

    // The icon's pixels as shown: how many are near black, how many near white.
    const QString shot = home.filePath(QStringLiteral("tray.png"));
    auto inks = [&] {
        const QRect r = window(QStringLiteral("Kelp Tray Icon")).rect;
        QFile::remove(shot);
        run(QStringLiteral("import"), {QStringLiteral("-window"), QStringLiteral("root"), shot});
        const QImage image = QImage(shot).copy(r);
        int black = 0, white = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const int v = qGray(image.pixel(x, y));
                black += v < 60;
                white += v > 250;
            }
        return std::pair(black, white);
    };
    auto drawnBlack = [&] { return inks().first > 10; };
    EXPECT_TRUE(waitUntil(drawnBlack, 10000))
        << "a light desktop: the black image; near black, near white: " << inks().first << ", "
        << inks().second << " in "
        << qPrintable(QDebug::toString(window(QStringLiteral("Kelp Tray Icon")).rect))
        << ", the centre pixel "
        << qPrintable(
               QColor(QImage(shot).pixel(window(QStringLiteral("Kelp Tray Icon")).rect.center()))
                   .name())
        << "\n"
        << qPrintable(log());

    auto reconfigure = [&](const QByteArray &text) {
        ASSERT_TRUE(writeFile(config, text));
        ::kill(static_cast<pid_t>(settings.processId()), SIGHUP);
    };
    reconfigure("Net/ThemeName \"Adwaita\"\nGtk/ApplicationPreferDarkTheme 1\n");
    EXPECT_TRUE(waitUntil([&] { return log().contains(QLatin1String("drawn white")); }, 10000))
        << qPrintable(log());
    EXPECT_TRUE(waitUntil(
        [&] {
            const auto [black, white] = inks();
            return black == 0 && white > 10;
        },
        5000))
        << "the desktop turned dark: the white image";

    // A dark GTK theme says as much without the preference.
    reconfigure("Net/ThemeName \"Adwaita\"\nGtk/ApplicationPreferDarkTheme 0\n");
    EXPECT_TRUE(waitUntil(drawnBlack, 10000)) << "light again: black";
    reconfigure("Net/ThemeName \"Adwaita-dark\"\nGtk/ApplicationPreferDarkTheme 0\n");
    EXPECT_TRUE(waitUntil([&] { return !drawnBlack(); }, 10000)) << "a dark theme: white";
    settings.terminate();
    settings.waitForFinished(3000);
}
