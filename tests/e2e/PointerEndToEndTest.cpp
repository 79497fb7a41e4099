// Kelp under the real pointer: Xvfb, openbox with its normal theme and settings, and the pointer
// moved, clicked and scrolled through XTEST (xdotool). Each check runs without a compositor, where
// the panel must be opaque with its corners cut by a shape, and under picom, where it is
// translucent; screenshots of the whole screen show what a user would see.
#include "support/XSession.h"

#include <QDir>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <xcb/xcb.h>

#include <cstdlib>

using namespace kelp::test;

namespace {

// The desktop's colour, set on the root window so the panel's corners can be told from it.
const QColor kDesktop(0x33, 0x66, 0xcc);

// Whether a compositing manager owns the screen (the selection _NET_WM_CM_S0 has an owner).
bool compositorRuns(const QString &display)
{
    xcb_connection_t *c = xcb_connect(display.toLatin1().constData(), nullptr);
    bool owned = false;
    if (!xcb_connection_has_error(c)) {
        const char name[] = "_NET_WM_CM_S0";
        auto *atom =
            xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, sizeof(name) - 1, name), nullptr);
        if (atom) {
            auto *owner =
                xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, atom->atom), nullptr);
            owned = owner && owner->owner != XCB_NONE;
            std::free(owner);
        }
        std::free(atom);
    }
    xcb_disconnect(c);
    return owned;
}

// How many pixels differ between two pictures of the same size.
int differingPixels(const QImage &a, const QImage &b)
{
    if (a.size() != b.size()) return a.width() * a.height();
    int n = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            n += a.pixel(x, y) != b.pixel(x, y);
    return n;
}

class Pointer : public ::testing::TestWithParam<bool>
{
protected:
    bool withCompositor() const { return GetParam(); }

    void SetUp() override
    {
        XSession::instance().openboxOwnSettings = true;
        if (const QString why = XSession::instance().whyNotReady(
                QStringLiteral("1280x800x24"),
                {"xdotool", "xwininfo", "import", "xclock", "xsetroot"});
            !why.isEmpty())
            GTEST_SKIP() << qPrintable(why);
        ASSERT_TRUE(home.isValid());
        // Two applications: a terminal (sorted first) and a clock, each a real program.
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("data/applications/terminal.desktop")),
                              "[Desktop Entry]\nType=Application\nName=Terminal\nExec=xterm\n"
                              "Icon=utilities-terminal\n"));
        ASSERT_TRUE(
            writeFile(home.filePath(QStringLiteral("data/applications/zebra-clock.desktop")),
                      "[Desktop Entry]\nType=Application\nName=Zebra Clock\n"
                      "Exec=xclock -name zebraclock\nIcon=applications-system\n"));
        env = displayHomeEnvironment(home.path());
        env.insert(QStringLiteral("XDG_DATA_DIRS"),
                   home.filePath(QStringLiteral("machine")) + QStringLiteral(":/usr/share"));
        ASSERT_TRUE(writeScanSettings(home.path()));
        x(QStringLiteral("xsetroot"), {QStringLiteral("-solid"), kDesktop.name()});
        // The pointer starts away from where the panel opens.
        x(QStringLiteral("xdotool"),
          {QStringLiteral("mousemove"), QStringLiteral("5"), QStringLiteral("5")});
        if (withCompositor()) startCompositor();
    }

    void TearDown() override
    {
        if (kelp.state() != QProcess::NotRunning) {
            runKelp({QStringLiteral("--quit")});
            if (!kelp.waitForFinished(5000)) kelp.kill();
            kelp.waitForFinished(3000);
        }
        // The clock a test launched: its X connection is closed, which ends it.
        x(QStringLiteral("xdotool"),
          {QStringLiteral("search"), QStringLiteral("--name"), QStringLiteral("^zebraclock$"),
           QStringLiteral("windowkill")});
        stopCompositor();
    }

    void startCompositor()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("picom")).isEmpty())
            GTEST_SKIP() << "picom is not installed";
        picom.setProcessEnvironment(env);
        picom.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        // The xrender backend works on Xvfb, which has no OpenGL; no settings file: no shadows.
        picom.start(QStringLiteral("picom"),
                    {QStringLiteral("--backend"), QStringLiteral("xrender"),
                     QStringLiteral("--config"), QStringLiteral("/dev/null")});
        ASSERT_TRUE(picom.waitForStarted());
        ASSERT_TRUE(waitUntil([] { return compositorRuns(XSession::instance().display); }, 15000))
            << "picom never took the screen";
    }
    void stopCompositor()
    {
        if (picom.state() == QProcess::NotRunning) return;
        picom.terminate();
        if (!picom.waitForFinished(5000)) picom.kill();
        picom.waitForFinished(3000);
        waitUntil([] { return !compositorRuns(XSession::instance().display); }, 5000);
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
        ASSERT_TRUE(waitUntil([this] { return panelMapped(); }, 15000)) << "the panel never showed";
        panelRect = settledPanel();
        ASSERT_GT(panelRect.width(), 100);
    }

    QString x(const QString &tool, const QStringList &args) { return runTool(env, tool, args); }
    void pointer(const QStringList &args) { x(QStringLiteral("xdotool"), args); }
    void moveTo(QPoint p)
    {
        pointer({QStringLiteral("mousemove"), QString::number(p.x()), QString::number(p.y())});
    }

    QString windowInfo(const QString &name)
    {
        return x(QStringLiteral("xwininfo"), {QStringLiteral("-name"), name});
    }
    bool mapped(const QString &name)
    {
        return windowInfo(name).contains(QLatin1String("IsViewable"));
    }
    bool panelMapped() { return mapped(QStringLiteral("Kelp Main")); }
    QRect panel() { return parseWindowInfo(windowInfo(QStringLiteral("Kelp Main"))).rect; }
    QRect settledPanel()
    {
        return settledRect([this] { return panel(); }, 10000);
    }
    // Kelp's windows on screen: the panel, and a menu when one is open.
    int kelpWindowsShown()
    {
        const QString ids = x(QStringLiteral("xdotool"),
                              {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                               QStringLiteral("--pid"), QString::number(kelp.processId())});
        return int(ids.split(QLatin1Char('\n'), Qt::SkipEmptyParts).size());
    }

    // The whole screen as the user sees it (through the compositor when one runs).
    QImage screen()
    {
        const QString file = home.filePath(QStringLiteral("screen.png"));
        QFile::remove(file);
        x(QStringLiteral("import"), {QStringLiteral("-window"), QStringLiteral("root"), file});
        return QImage(file).convertToFormat(QImage::Format_RGB32);
    }
    QImage panelImage() { return screen().copy(panelRect); }

    // The centres of the two icons: the icon view lies below the bar, and two icons stand one
    // above the other in a tall view and side by side in a wide one.
    QPoint iconCentre(int i) const
    {
        const QRect view = panelRect.adjusted(8, 38, -8, -8);
        if (view.width() > view.height() * 3 / 2)
            return QPoint(view.center().x() + (i == 0 ? -1 : 1) * view.height() / 2,
                          view.center().y());
        return QPoint(view.center().x(), view.top() + view.height() * (1 + 2 * i) / 4);
    }

    // The panel as drawn: content (bar and icons) on a background that is opaque without a
    // compositor and translucent with one, and corners that show the desktop.
    void expectPanelDrawnRight(const QImage &shot, const QRect &r)
    {
        const QColor desktop = shot.pixelColor(r.left() - 6, r.center().y());
        for (const QPoint corner : {r.topLeft() + QPoint(1, 1), r.topRight() + QPoint(-1, 1),
                                    r.bottomLeft() + QPoint(1, -1), r.bottomRight() - QPoint(1, 1)})
            EXPECT_EQ(shot.pixelColor(corner), desktop)
                << "the corner at " << corner.x() << "," << corner.y() << " shows the desktop";
        QSet<QRgb> colours;
        for (int y = r.top(); y <= r.bottom(); y += 2)
            for (int x = r.left(); x <= r.right(); x += 2)
                colours.insert(shot.pixel(x, y));
        EXPECT_GT(colours.size(), 16) << "the bar and the icons are drawn";
        // The bottom margin holds nothing but the background.
        const QColor background = shot.pixelColor(r.center().x(), r.bottom() - 3);
        if (withCompositor()) {
            EXPECT_NE(background, QColor(Qt::black)) << "the desktop shows through";
            EXPECT_NE(background, desktop);
        } else {
            EXPECT_EQ(background, QColor(Qt::black)) << "the window colour, opaque";
        }
    }

    QTemporaryDir home;
    QProcessEnvironment env;
    QProcess kelp;
    QProcess picom;
    QRect panelRect;
};

} // namespace

TEST_P(Pointer, PanelIsDrawnAndHoverShowsTheLabel)
{
    startKelp();
    const QImage before = screen();
    expectPanelDrawnRight(before, panelRect);

    // Over the first icon: its label appears beside it.
    moveTo(iconCentre(0));
    QImage hovered;
    ASSERT_TRUE(waitUntil(
        [&] {
            hovered = panelImage();
            return differingPixels(hovered, before.copy(panelRect)) > 100;
        },
        5000))
        << "the hovered icon's label never showed";
    // Off the panel: the label goes again.
    moveTo(panelRect.topLeft() - QPoint(40, 40));
    EXPECT_TRUE(
        waitUntil([&] { return differingPixels(panelImage(), before.copy(panelRect)) < 20; }, 5000))
        << "the label stayed after the pointer left";
}

TEST_P(Pointer, AClickLaunchesTheProgramUnderThePointer)
{
    startKelp();
    moveTo(iconCentre(1));
    QTest::qWait(200);
    pointer({QStringLiteral("click"), QStringLiteral("1")});
    EXPECT_TRUE(waitUntil([this] { return mapped(QStringLiteral("zebraclock")); }, 15000))
        << "the clock started";
    EXPECT_TRUE(waitUntil([this] { return !panelMapped(); }, 10000)) << "and the panel went away";
}

TEST_P(Pointer, RightClickAndMetaClickOpenTheMenuAndTheCloseButtonHides)
{
    startKelp();
    ASSERT_EQ(kelpWindowsShown(), 1);
    moveTo(iconCentre(0));
    QTest::qWait(200);
    pointer({QStringLiteral("click"), QStringLiteral("3")});
    EXPECT_TRUE(waitUntil([this] { return kelpWindowsShown() == 2; }, 5000))
        << "a right click opened the menu";
    pointer({QStringLiteral("key"), QStringLiteral("Escape")});
    ASSERT_TRUE(waitUntil([this] { return kelpWindowsShown() == 1; }, 5000));

    moveTo(iconCentre(0) + QPoint(1, 1));
    QTest::qWait(200);
    pointer({QStringLiteral("keydown"), QStringLiteral("super"), QStringLiteral("click"),
             QStringLiteral("1"), QStringLiteral("keyup"), QStringLiteral("super")});
    EXPECT_TRUE(waitUntil([this] { return kelpWindowsShown() == 2; }, 5000))
        << "a Meta-click opened the menu";
    pointer({QStringLiteral("key"), QStringLiteral("Escape")});
    EXPECT_TRUE(waitUntil([this] { return kelpWindowsShown() == 1; }, 5000));
    EXPECT_FALSE(mapped(QStringLiteral("zebraclock"))) << "nothing was launched";

    // The close button, in the rounded top-left corner, hides the panel.
    moveTo(panelRect.topLeft() + QPoint(20, 20));
    QTest::qWait(200);
    pointer({QStringLiteral("click"), QStringLiteral("1")});
    EXPECT_TRUE(waitUntil([this] { return !panelMapped(); }, 10000)) << "the close button";
}

TEST_P(Pointer, SwipeAndBarSwitchGroupsAndTheWheelTypesLetters)
{
    startKelp();
    const int included = panelRect.height();

    // A sideways swipe over the icons: another group, with another size.
    moveTo(iconCentre(0));
    QTest::qWait(200);
    pointer({QStringLiteral("click"), QStringLiteral("--repeat"), QStringLiteral("15"),
             QStringLiteral("--delay"), QStringLiteral("20"), QStringLiteral("7")});
    EXPECT_TRUE(waitUntil([&] { return panel().height() != included; }, 5000))
        << "the swipe switched groups";

    // The bar: its second button (the included applications) brings the first group back, its
    // middle one (the excluded applications: none) switches to a smaller panel.
    const auto clickBar = [&](int fromCentre) {
        panelRect = settledPanel();
        moveTo(QPoint(panelRect.center().x() + fromCentre, panelRect.top() + 20));
        QTest::qWait(200);
        pointer({QStringLiteral("click"), QStringLiteral("1")});
    };
    clickBar(-25);
    EXPECT_TRUE(waitUntil([&] { return panel().height() == included; }, 5000))
        << "the bar's included button";
    clickBar(0);
    EXPECT_TRUE(waitUntil([&] { return panel().height() < included; }, 5000))
        << "the bar's excluded button";
    clickBar(-25);
    ASSERT_TRUE(waitUntil([&] { return panel().height() == included; }, 5000));
    panelRect = settledPanel();

    // A notch of the wheel over the icons types a letter, shown big in the middle.
    moveTo(iconCentre(0));
    QTest::qWait(300);
    const QImage before = panelImage();
    pointer({QStringLiteral("click"), QStringLiteral("5")});
    EXPECT_TRUE(waitUntil([&] { return differingPixels(panelImage(), before) > 200; }, 5000))
        << "the wheel's letter never showed";
    expectPanelDrawnRight(screen(), panelRect);
}

INSTANTIATE_TEST_SUITE_P(Compositing, Pointer, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool> &param) {
                             return param.param ? std::string("UnderPicom")
                                                : std::string("WithoutCompositor");
                         });

// The compositor starts and quits while the panel shows, and the panel is hidden and shown many
// times: it follows each change and the pointer still works.
class PointerRobustness : public Pointer
{
};

TEST_P(PointerRobustness, CompositorComingAndGoingAndManyShows)
{
    startKelp();
    expectPanelDrawnRight(screen(), panelRect);
    const auto background = [&] {
        return screen().pixelColor(panelRect.center().x(), panelRect.bottom() - 3);
    };
    for (int round = 0; round < 2; ++round) {
        startCompositor();
        EXPECT_TRUE(waitUntil([&] { return background() != QColor(Qt::black); }, 5000))
            << "translucent once picom runs";
        stopCompositor();
        EXPECT_TRUE(waitUntil([&] { return background() == QColor(Qt::black); }, 5000))
            << "opaque again once it quit";
    }
    expectPanelDrawnRight(screen(), panelRect);

    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(runKelp({QStringLiteral("--toggle")}), 0);
    ASSERT_TRUE(waitUntil([this] { return panelMapped(); }, 10000));
    panelRect = settledPanel();
    expectPanelDrawnRight(screen(), panelRect);
    moveTo(iconCentre(1));
    QTest::qWait(200);
    pointer({QStringLiteral("click"), QStringLiteral("1")});
    EXPECT_TRUE(waitUntil([this] { return mapped(QStringLiteral("zebraclock")); }, 15000))
        << "a click still launches";
}

INSTANTIATE_TEST_SUITE_P(Compositing, PointerRobustness, ::testing::Values(false),
                         [](const ::testing::TestParamInfo<bool> &) {
                             return std::string("StartingWithout");
                         });

// No window manager at all: an X server of its own with nothing but Kelp on it.
class PointerWithoutWindowManager : public Pointer
{
protected:
    void SetUp() override
    {
        Pointer::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        const int base = 700 + static_cast<int>(QCoreApplication::applicationPid() % 200) * 2;
        for (int n = base; n < base + 20 && bareDisplay.isEmpty(); ++n) {
            const QString candidate = QStringLiteral(":%1").arg(n);
            bare.start(QStringLiteral("Xvfb"),
                       {candidate, QStringLiteral("-screen"), QStringLiteral("0"),
                        QStringLiteral("1280x800x24"), QStringLiteral("-nolisten"),
                        QStringLiteral("tcp"), QStringLiteral("-noreset")});
            bare.waitForStarted();
            const bool up = waitUntil(
                [&] {
                    QTest::qWait(200);
                    return bare.state() != QProcess::Running ||
                           (QFile::exists(QStringLiteral("/tmp/.X11-unix/X%1").arg(n)) &&
                            XSession::reachable(candidate));
                },
                30000);
            if (up && bare.state() == QProcess::Running &&
                XSession::holdsLock(n, bare.processId())) {
                bareDisplay = candidate;
            } else {
                bare.kill();
                bare.waitForFinished(3000);
            }
        }
        ASSERT_FALSE(bareDisplay.isEmpty()) << "no second X server";
        env.insert(QStringLiteral("DISPLAY"), bareDisplay);
        x(QStringLiteral("xsetroot"), {QStringLiteral("-solid"), kDesktop.name()});
    }
    void TearDown() override
    {
        Pointer::TearDown();
        if (bare.state() == QProcess::NotRunning) return;
        bare.terminate();
        if (!bare.waitForFinished(3000)) bare.kill();
        bare.waitForFinished(3000);
    }

    QProcess bare;
    QString bareDisplay;
};

TEST_P(PointerWithoutWindowManager, PanelShowsAndTakesThePointer)
{
    startKelp();
    const QImage before = screen();
    expectPanelDrawnRight(before, panelRect);
    moveTo(iconCentre(0));
    EXPECT_TRUE(waitUntil(
        [&] { return differingPixels(panelImage(), before.copy(panelRect)) > 100; }, 5000))
        << "hover shows the label";
    moveTo(iconCentre(1));
    QTest::qWait(200);
    pointer({QStringLiteral("click"), QStringLiteral("1")});
    EXPECT_TRUE(waitUntil([this] { return mapped(QStringLiteral("zebraclock")); }, 15000))
        << "a click launches";
}

INSTANTIATE_TEST_SUITE_P(Compositing, PointerWithoutWindowManager, ::testing::Values(false),
                         [](const ::testing::TestParamInfo<bool> &) {
                             return std::string("NoCompositorEither");
                         });
