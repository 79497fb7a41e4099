// Kelp under a headless sway, as a user of a wlroots desktop meets it: the panel is a layer
// surface centred on the output and drawn above a fullscreen window (under it when chosen);
// letters typed right after `kelp --show` reach the filter with no click; Return launches with an
// activation token and without Kelp's own Qt settings; the pointer (a virtual pointer on sway's
// seat) launches with a click, drops a file from another program onto an icon and opens the
// panel from the hot corner; a compositor binding of `kelp --toggle` toggles every time; and the
// compositor going away ends Kelp with its files intact.
#include "support/SwaySession.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <gtest/gtest.h>

#include <optional>

namespace kelp::test {
namespace {

const QColor kFullscreen(0, 255, 0);

class Wayland : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(home.isValid());
        QFile::setPermissions(home.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                               QFileDevice::ExeOwner);
        const QString launched = home.filePath(QStringLiteral("launched"));
        // An application that writes down the environment it was started with.
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("zebra.sh")),
                              "#!/bin/sh\nenv > " + launched.toUtf8() + ".tmp && mv " +
                                  launched.toUtf8() + ".tmp " + launched.toUtf8() + "\n"));
        QFile::setPermissions(home.filePath(QStringLiteral("zebra.sh")),
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                  QFileDevice::ExeOwner);
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("data/applications/zebra.desktop")),
                              "[Desktop Entry]\nType=Application\nName=Zebra Notes\nExec=" +
                                  home.filePath(QStringLiteral("zebra.sh")).toUtf8() + "\n"));
        ASSERT_TRUE(writeSettings());
        // The compositor's binding runs kelp --toggle in the test home's environment.
        const QString toggle = home.filePath(QStringLiteral("toggle.sh"));
        ASSERT_TRUE(writeFile(
            toggle, "#!/bin/sh\nexport HOME=" + home.path().toUtf8() + " XDG_DATA_HOME=" +
                        home.path().toUtf8() + "/data XDG_CONFIG_HOME=" + home.path().toUtf8() +
                        "/config XDG_CACHE_HOME=" + home.path().toUtf8() +
                        "/cache XDG_DATA_DIRS=" + home.path().toUtf8() +
                        "/machine\nunset QT_QPA_PLATFORM\nexec " KELP_BINARY " --toggle\n"));
        QFile::setPermissions(toggle, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                          QFileDevice::ExeOwner);
        SwaySession &sway = SwaySession::instance();
        sway.extraConfig = QStringLiteral("bindsym Ctrl+Alt+k exec ") + toggle;
        QString why;
        if (!sway.start(&why)) GTEST_SKIP() << why.toStdString();
        ASSERT_TRUE(sway.giveToUser(home.path()));
        env = sway.clientEnvironment(privateHomeEnvironment(home.path()));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), sway.runtimeDir());
        env.remove(QStringLiteral("QT_QPA_PLATFORM")); // Kelp picks wayland itself
    }

    // The home's applications folder is the only scan folder and the welcome tour has been seen
    // (its window would tile beside the test's windows); `extra` adds settings (plist keys and
    // values).
    bool writeSettings(const QByteArray &extra = {})
    {
        return writeFile(home.filePath(QStringLiteral("config/Kelp/Kelp.plist")),
                         "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                         "<key>showWelcomeWindow</key><false/>"
                         "<key>searchDirectories</key><array><dict><key>path</key><string>" +
                             home.filePath(QStringLiteral("data/applications")).toUtf8() +
                             "</string></dict></array>" + extra + "</dict></plist>");
    }

    void TearDown() override
    {
        for (QProcess *p : {&kelp, &colour})
            endProcess(*p);
        SwaySession::instance().stop();
    }

    void startKelp(const QStringList &arguments = {})
    {
        kelp.setProcessChannelMode(QProcess::MergedChannels);
        SwaySession::instance().startAsUser(kelp, QStringLiteral(KELP_BINARY), arguments, env);
        ASSERT_TRUE(kelp.waitForStarted());
    }

    // Kelp with the hot spot in the top-left corner (a 0.6 s rest opens the panel) and `extra`
    // settings, once the hot spot is placed; `log` holds what Kelp said so far.
    void startKelpWithHotCorner(QByteArray &log, const QByteArray &extra = {})
    {
        ASSERT_TRUE(writeSettings("<key>cursorHotSpotLocation</key><integer>1</integer>"
                                  "<key>cursorHotSpotDelay</key><real>0.6</real>" +
                                  extra));
        startKelp();
        ASSERT_TRUE(waitUntil(
            [&] {
                log += kelp.readAll();
                return log.contains("hot spot as layer surfaces");
            },
            20000))
            << log.toStdString();
        QTest::qWait(1500); // the catalogue in, the hot spot placed
    }

    int runKelp(const QStringList &arguments)
    {
        QProcess p;
        SwaySession::instance().startAsUser(p, QStringLiteral(KELP_BINARY), arguments, env);
        return p.waitForFinished(20000) ? p.exitCode() : -1;
    }

    // A fullscreen window of one colour, fullscreen once sway says so.
    void startFullscreenWindow()
    {
        QProcessEnvironment wayland = env;
        wayland.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
        SwaySession::instance().startAsUser(colour, QStringLiteral(COLOUR_WINDOW),
                                            {kFullscreen.name()}, wayland);
        ASSERT_TRUE(waitUntil([this] { return centrePixel() == kFullscreen.rgb(); }, 20000))
            << "the fullscreen window never covered the output";
    }

    QRgb centrePixel()
    {
        const QImage shot = SwaySession::instance().screenshot();
        if (shot.isNull()) return 0;
        return shot.pixel(shot.width() / 2, shot.height() / 2) | 0xff000000u;
    }

    // The rectangle of the screenshot's pixels that are not `background`.
    static QRect differingRect(const QImage &shot, QRgb background)
    {
        QRect r;
        for (int y = 0; y < shot.height(); y += 2)
            for (int x = 0; x < shot.width(); x += 2)
                if ((shot.pixel(x, y) | 0xff000000u) != background) r |= QRect(x, y, 1, 1);
        return r;
    }

    bool panelShowing() { return centrePixel() != kFullscreen.rgb(); }

    QTemporaryDir home;
    QProcessEnvironment env;
    QProcess kelp;
    QProcess colour;
};

TEST_F(Wayland, PanelIsCentredAboveAFullscreenWindowAndTakesKeysWithNoClick)
{
    startFullscreenWindow();
    startKelp({QStringLiteral("--show")});
    ASSERT_TRUE(waitUntil([this] { return panelShowing(); }, 20000))
        << "the panel never showed above the fullscreen window: " << kelp.readAll().toStdString();
    // Settled (the fade done, the catalogue in): the panel's pixels are centred on the output.
    QTest::qWait(1500);
    const QImage shot = SwaySession::instance().screenshot();
    ASSERT_FALSE(shot.isNull());
    const QRect panel = differingRect(shot, kFullscreen.rgb());
    EXPECT_GE(panel.width(), 150);
    EXPECT_LT(panel.width(), shot.width()) << "a panel, not a window over the whole output";
    EXPECT_NEAR(panel.center().x(), shot.width() / 2, 4);
    EXPECT_NEAR(panel.center().y(), shot.height() / 2, 4);

    // Letters and Return right away, no click: the one matching application starts, with an
    // activation token and without the settings only Kelp's own Qt should see.
    SwaySession &sway = SwaySession::instance();
    ASSERT_TRUE(sway.type({QStringLiteral("zeb")}));
    QTest::qWait(300);
    ASSERT_TRUE(sway.type({QStringLiteral("-k"), QStringLiteral("Return")}));
    const QString launched = home.filePath(QStringLiteral("launched"));
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(launched); }, 15000))
        << "typing a filter and Return did not launch the application: "
        << kelp.readAll().toStdString();
    const QString environment = QString::fromUtf8(readFile(launched));
    EXPECT_TRUE(environment.contains(QLatin1String("\nXDG_ACTIVATION_TOKEN=")) ||
                environment.startsWith(QLatin1String("XDG_ACTIVATION_TOKEN=")));
    EXPECT_TRUE(environment.contains(QLatin1String("DESKTOP_STARTUP_ID=")));
    EXPECT_FALSE(environment.contains(QLatin1String("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT")));
    EXPECT_FALSE(environment.contains(QLatin1String("QT_QPA_PLATFORM=")));
    EXPECT_EQ(runKelp({QStringLiteral("--quit")}), 0);
    EXPECT_TRUE(kelp.waitForFinished(15000));
    EXPECT_EQ(kelp.exitCode(), 0) << "Kelp did not end cleanly on request";
    const QByteArray log = kelp.readAll();
    EXPECT_FALSE(log.contains("does not support setting window opacity")) << log.toStdString();
    EXPECT_TRUE(log.contains("zwlr_layer_shell_v1")) << "the session line names what is offered";
}

// The pointer reaches the layer-surface panel as it reaches a window: a click on the one icon
// starts its application.
TEST_F(Wayland, AClickOnAnIconLaunchesIt)
{
    startFullscreenWindow();
    startKelp({QStringLiteral("--show")});
    ASSERT_TRUE(waitUntil([this] { return panelShowing(); }, 20000));
    QTest::qWait(1500);
    const QRect panel = differingRect(SwaySession::instance().screenshot(), kFullscreen.rgb());
    ASSERT_GE(panel.width(), 150);
    // Below the bar, inside the margins: the one icon sits at the centre of what is left.
    const QPoint icon = panel.adjusted(8, 38, -8, -8).center();
    SwaySession &sway = SwaySession::instance();
    ASSERT_TRUE(sway.pointerMoveTo(icon.x() - 20, icon.y()));
    QTest::qWait(200);
    ASSERT_TRUE(sway.click(icon.x(), icon.y()));
    EXPECT_TRUE(
        waitUntil([&] { return QFile::exists(home.filePath(QStringLiteral("launched"))); }, 15000))
        << "a click on the icon did not launch the application: " << kelp.readAll().toStdString();
}

// Sway has no tray: the panel's gear button carries Kelp's menu. The menu opens as the panel's
// popup, beside it and above the fullscreen window; a click elsewhere closes it, and its items act.
TEST_F(Wayland, TheGearButtonsMenuOpensFromThePanelClosesOnAClickElsewhereAndActs)
{
    startFullscreenWindow();
    startKelp({QStringLiteral("--show")});
    ASSERT_TRUE(waitUntil([this] { return panelShowing(); }, 20000));
    QTest::qWait(1500);
    SwaySession &sway = SwaySession::instance();
    const QRect panel = differingRect(sway.screenshot(), kFullscreen.rgb());
    ASSERT_GE(panel.width(), 150);

    // The gear sits in the panel's top-right corner; its menu opens below it, reaching past the
    // panel's edge.
    const QPoint gear(panel.right() - 19, panel.top() + 20);
    QRect both;
    auto openMenu = [&] {
        if (!sway.pointerMoveTo(gear.x() - 20, gear.y())) return false;
        QTest::qWait(200);
        if (!sway.click(gear.x(), gear.y())) return false;
        return waitUntil(
            [&] {
                both = differingRect(sway.screenshot(), kFullscreen.rgb());
                return !panel.contains(both);
            },
            5000);
    };
    // Gone: nothing drawn outside the panel's place (the panel may have hidden too) but the
    // pointer, resting where it clicked.
    const QPoint elsewhere(40, 40);
    auto menuGone = [&] {
        return waitUntil(
            [&] {
                QImage shot = sway.screenshot();
                QPainter(&shot).fillRect(QRect(elsewhere - QPoint(8, 8), QSize(48, 48)),
                                         kFullscreen);
                const QRect drawn = differingRect(shot, kFullscreen.rgb());
                return drawn.isEmpty() || panel.contains(drawn);
            },
            5000);
    };
    ASSERT_TRUE(openMenu()) << "no menu came out of the gear button: "
                            << kelp.readAll().toStdString();
    EXPECT_LE(both.top(), gear.y() + 20) << "the menu opens at the gear, not elsewhere";

    QTest::qWait(300);
    ASSERT_TRUE(sway.click(elsewhere.x(), elsewhere.y()));
    EXPECT_TRUE(menuGone()) << "a click elsewhere left the menu open";

    // The first item shows or hides the panel.
    ASSERT_EQ(runKelp({QStringLiteral("--show")}), 0);
    ASSERT_TRUE(waitUntil([this] { return panelShowing(); }, 10000));
    QTest::qWait(1000);
    ASSERT_TRUE(openMenu()) << "the menu did not open again: " << kelp.readAll().toStdString();
    // The menu's top edge, in a column beside the panel where only the menu is drawn.
    QTest::qWait(300);
    const int menuX =
        both.right() > panel.right() ? (panel.right() + both.right()) / 2 : gear.x() + 20;
    const QImage shot = sway.screenshot();
    int menuTop = panel.bottom();
    for (int y = 0; y < shot.height(); ++y) {
        if ((shot.pixel(menuX, y) | 0xff000000u) != kFullscreen.rgb()) {
            menuTop = y;
            break;
        }
    }
    ASSERT_TRUE(sway.click(menuX, menuTop + 12));
    EXPECT_TRUE(waitUntil([&] { return centrePixel() == kFullscreen.rgb(); }, 10000))
        << "the menu's first item did not hide the panel: " << kelp.readAll().toStdString();
}

// The hot spot in the top-left corner of the output: a pointer resting there opens the panel,
// one passing through does not.
TEST_F(Wayland, RestingInTheHotCornerShowsThePanelPassingThroughDoesNot)
{
    startFullscreenWindow();
    QByteArray log;
    ASSERT_NO_FATAL_FAILURE(startKelpWithHotCorner(log));
    SwaySession &sway = SwaySession::instance();

    // Through the corner and out again at a hand's speed.
    ASSERT_TRUE(sway.pointerMoveTo(300, 300));
    ASSERT_TRUE(sway.pointerMoveTo(1, 1));
    QTest::qWait(100);
    ASSERT_TRUE(sway.pointerMoveTo(200, 200));
    QTest::qWait(1500);
    EXPECT_FALSE(panelShowing()) << "passing through the hot corner opened the panel";

    // Resting in it.
    ASSERT_TRUE(sway.pointerMoveTo(1, 1));
    EXPECT_TRUE(waitUntil([this] { return panelShowing(); }, 5000))
        << "resting in the hot corner did not open the panel: "
        << (log + kelp.readAll()).toStdString();
}

// Chosen to stand under fullscreen windows, the panel is hidden by one and shows over the same
// window once it is no longer fullscreen.
TEST_F(Wayland, PanelOnTheTopLayerStaysUnderAFullscreenWindow)
{
    ASSERT_TRUE(writeSettings("<key>panelLayer</key><integer>1</integer>"));
    startFullscreenWindow();
    startKelp({QStringLiteral("--show")});
    QByteArray log;
    ASSERT_TRUE(waitUntil(
        [&] {
            log += kelp.readAll();
            return log.contains("zwlr_layer_shell_v1");
        },
        20000));
    QTest::qWait(3000);
    EXPECT_FALSE(panelShowing()) << "the panel stood above the fullscreen window";
    SwaySession &sway = SwaySession::instance();
    bool ok = false;
    sway.swaymsg({QStringLiteral("[app_id=kelp-test-colour]"), QStringLiteral("fullscreen"),
                  QStringLiteral("disable")},
                 &ok);
    ASSERT_TRUE(ok);
    EXPECT_TRUE(waitUntil([this] { return panelShowing(); }, 5000))
        << "the panel was not there under the fullscreen window: "
        << (log + kelp.readAll()).toStdString();
}

// Files dragged from another Wayland program onto the panel's icons. Zebra Notes opens text
// files, Zoo Pictures only images; each writes down the paths it was given. Sorted by name, Zebra's
// icon comes first. The program holding the file fills the output and takes one drag after
// another.
class WaylandDrop : public Wayland
{
protected:
    void SetUp() override
    {
        Wayland::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        if (QStandardPaths::findExecutable(QStringLiteral("update-desktop-database")).isEmpty())
            GTEST_SKIP() << "update-desktop-database is not installed";
        // What the panel made of the drag is in the log a failure prints.
        env.insert(QStringLiteral("QT_LOGGING_RULES"),
                   QStringLiteral("kelp.platform.debug=true;kelp.window.debug=true"));
        const QString applications = home.filePath(QStringLiteral("data/applications"));
        ASSERT_TRUE(writeApp(QStringLiteral("zebra"), "Zebra Notes", "text/plain"));
        ASSERT_TRUE(writeApp(QStringLiteral("zoo"), "Zoo Pictures", "image/png"));
        ASSERT_EQ(QProcess::execute(QStringLiteral("update-desktop-database"), {applications}), 0);
        ASSERT_TRUE(writeFile(notes, "some notes\n"));
        ASSERT_TRUE(SwaySession::instance().giveToUser(home.path()));

        QProcessEnvironment wayland = env;
        wayland.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
        SwaySession::instance().startAsUser(
            source, QStringLiteral(DRAG_SOURCE),
            {QStringLiteral("--keep"), QStringLiteral("0"), QStringLiteral("0"), notes}, wayland);
        ASSERT_TRUE(waitUntil([&] { return source.canReadLine(); }, 20000))
            << "the source did not start";
        source.readLine();
        ASSERT_TRUE(waitUntil([&] { return centrePixel() == kSource; }, 20000))
            << "the source never covered the output";
    }

    void TearDown() override
    {
        if (source.state() != QProcess::NotRunning) {
            source.terminate();
            source.waitForFinished(5000);
        }
        Wayland::TearDown();
    }

    bool writeApp(const QString &id, const QByteArray &name, const QByteArray &type)
    {
        const QString script = home.filePath(id + QStringLiteral(".sh"));
        const QByteArray caught = caughtBy(id).toUtf8();
        return writeFile(script, "#!/bin/sh\nprintf '%s\\n' \"$@\" > " + caught + ".tmp && mv " +
                                     caught + ".tmp " + caught + "\n") &&
               QFile::setPermissions(script, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                 QFileDevice::ExeOwner) &&
               writeFile(home.filePath(QStringLiteral("data/applications/") + id +
                                       QStringLiteral(".desktop")),
                         "[Desktop Entry]\nType=Application\nName=" + name +
                             "\nExec=" + script.toUtf8() + " %F\nMimeType=" + type + ";\n");
    }
    QString caughtBy(const QString &id) const
    {
        return home.filePath(id + QStringLiteral(".caught"));
    }

    // The centres of the two icons in the panel as the screen shows it now: below the bar, side
    // by side in a wide view, else one above the other.
    // A drag in progress draws its icon at the pointer: `pointer` names where it is, and what
    // differs from the source near it is not the panel.
    bool findIcons(std::optional<QPoint> pointer = std::nullopt)
    {
        QImage shot = SwaySession::instance().screenshot();
        if (pointer) {
            QPainter painter(&shot);
            painter.fillRect(QRect(*pointer - QPoint(96, 96), QSize(192, 192)), QColor(kSource));
        }
        const QRect panel = differingRect(shot, kSource);
        if (panel.width() < 150) return false;
        const QRect view = panel.adjusted(8, 38, -8, -8);
        const bool wide = view.width() > view.height() * 3 / 2;
        zebraIcon = wide ? view.center() - QPoint(view.height() / 2, 0)
                         : QPoint(view.center().x(), view.top() + view.height() / 4);
        zooIcon = wide ? view.center() + QPoint(view.height() / 2, 0)
                       : QPoint(view.center().x(), view.top() + view.height() * 3 / 4);
        return true;
    }

    // Carries the pointer from `from` to `to` in steps, as a hand does, and rests there.
    static void carry(QPoint from, QPoint to)
    {
        SwaySession &sway = SwaySession::instance();
        for (int i = 1; i <= 12; ++i) {
            const QPoint p = from + (to - from) * i / 12;
            sway.pointerMoveTo(p.x(), p.y());
            QTest::qWait(60);
        }
        sway.pointerMoveTo(to.x() + 1, to.y());
        QTest::qWait(150);
        sway.pointerMoveTo(to.x(), to.y());
        QTest::qWait(800); // the panel answers the last position before it takes the drop
    }

    // Presses on the source, which starts the drag.
    static bool pressOnSource()
    {
        SwaySession &sway = SwaySession::instance();
        if (!sway.pointerMoveTo(kPress.x(), kPress.y())) return false;
        QTest::qWait(200);
        if (!sway.pointerPress()) return false;
        QTest::qWait(400);
        return true;
    }

    // Releases the drag; what the source says the drop did.
    QString release()
    {
        if (!SwaySession::instance().pointerRelease()) return QStringLiteral("(no release)");
        if (!waitUntil([&] { return source.canReadLine(); }, 10000))
            return QStringLiteral("(still dragging)");
        return QString::fromUtf8(source.readLine()).trimmed();
    }

    static constexpr QPoint kPress{40, 40};
    const QRgb kSource = QColor(Qt::darkGreen).rgb();
    const QString notes = home.filePath(QStringLiteral("notes.txt"));
    QProcess source;
    QPoint zebraIcon;
    QPoint zooIcon;
};

// On an application that cannot open the file the drop is refused and nothing starts; on one that
// opens it the application gets the file, the program was asked for a copy, and the file stays.
TEST_F(WaylandDrop, AFileDroppedOnAnIconOpensWithThatApplicationOnly)
{
    startKelp({QStringLiteral("--show")});
    ASSERT_TRUE(waitUntil([&] { return centrePixel() != kSource; }, 20000));
    QTest::qWait(3000);
    ASSERT_TRUE(findIcons());

    ASSERT_TRUE(pressOnSource());
    carry(kPress, zooIcon);
    EXPECT_EQ(release(), QStringLiteral("none")) << "an image viewer takes no text file";
    QTest::qWait(1000);
    EXPECT_FALSE(QFile::exists(caughtBy(QStringLiteral("zoo")))) << "nothing starts on a refusal";
    EXPECT_EQ(readFile(notes), QByteArray("some notes\n"));

    ASSERT_TRUE(pressOnSource());
    carry(kPress, zebraIcon);
    EXPECT_EQ(release(), QStringLiteral("copy"));
    const QString zebraCaught = caughtBy(QStringLiteral("zebra"));
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(zebraCaught); }, 15000))
        << "the application did not get the file: " << kelp.readAll().toStdString();
    EXPECT_EQ(readFile(zebraCaught).trimmed(), notes.toUtf8());
    EXPECT_EQ(readFile(notes), QByteArray("some notes\n")) << "a drop never moves the file";
    EXPECT_FALSE(QFile::exists(caughtBy(QStringLiteral("zoo"))));

    // The refused drop was on Zoo's icon, not beside it: a click there starts Zoo.
    ASSERT_EQ(runKelp({QStringLiteral("--show")}), 0);
    ASSERT_TRUE(waitUntil([&] { return centrePixel() != kSource; }, 10000));
    QTest::qWait(1000);
    ASSERT_TRUE(SwaySession::instance().click(zooIcon.x(), zooIcon.y()));
    EXPECT_TRUE(waitUntil([&] { return QFile::exists(caughtBy(QStringLiteral("zoo"))); }, 15000))
        << "the second icon is not Zoo Pictures'";
}

// A drag resting in the hot corner opens the panel, and the file dropped on an icon then opens
// with that application.
TEST_F(WaylandDrop, ADragRestingInTheHotCornerOpensThePanelForTheDrop)
{
    QByteArray log;
    ASSERT_NO_FATAL_FAILURE(startKelpWithHotCorner(log, "<key>showWindowAtLaunch</key><false/>"));
    ASSERT_EQ(centrePixel(), kSource) << "the panel shows before the drag";

    ASSERT_TRUE(pressOnSource());
    carry(kPress, QPoint(1, 1));
    ASSERT_TRUE(waitUntil([&] { return centrePixel() != kSource; }, 5000))
        << "the drag resting in the hot corner did not open the panel: "
        << (log + kelp.readAll()).toStdString();
    QTest::qWait(1000); // faded in
    ASSERT_TRUE(findIcons(QPoint(1, 1)));
    carry(QPoint(1, 1), zebraIcon);
    EXPECT_EQ(release(), QStringLiteral("copy"));
    const QString zebraCaught = caughtBy(QStringLiteral("zebra"));
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(zebraCaught); }, 15000))
        << "the application did not get the file: " << (log + kelp.readAll()).toStdString();
    EXPECT_EQ(readFile(zebraCaught).trimmed(), notes.toUtf8());
    EXPECT_TRUE(QFile::exists(notes));
}

TEST_F(Wayland, CompositorBindingTogglesEveryTime)
{
    startFullscreenWindow();
    startKelp({QStringLiteral("--show")});
    ASSERT_TRUE(waitUntil([this] { return panelShowing(); }, 20000));
    QTest::qWait(1000);
    SwaySession &sway = SwaySession::instance();
    int toggled = 0;
    bool showing = true;
    for (int i = 0; i < 20; ++i) {
        sway.type({QStringLiteral("-M"), QStringLiteral("ctrl"), QStringLiteral("-M"),
                   QStringLiteral("alt"), QStringLiteral("k"), QStringLiteral("-m"),
                   QStringLiteral("alt"), QStringLiteral("-m"), QStringLiteral("ctrl")});
        showing = !showing;
        if (waitUntil([&] { return panelShowing() == showing; }, 5000))
            ++toggled;
        else
            showing = panelShowing();
        QTest::qWait(400); // past the fade
    }
    EXPECT_EQ(toggled, 20) << kelp.readAll().toStdString();
}

TEST_F(Wayland, CompositorGoingAwayEndsKelpWithItsFilesIntact)
{
    startKelp({QStringLiteral("--show")});
    ASSERT_TRUE(waitUntil(
        [&] {
            return QFile::exists(home.filePath(QStringLiteral("config/Kelp/Kelp.plist"))) &&
                   !QDir(home.filePath(QStringLiteral("data/Kelp"))).isEmpty();
        },
        20000));
    QTest::qWait(2000);
    // Every file Kelp keeps, as it is before the compositor goes.
    auto snapshot = [&] {
        QMap<QString, QByteArray> files;
        for (const QString &folder : {QStringLiteral("config/Kelp"), QStringLiteral("data/Kelp")}) {
            const QDir dir(home.filePath(folder));
            for (const QString &name : dir.entryList(QDir::Files))
                files.insert(folder + QLatin1Char('/') + name, readFile(dir.filePath(name)));
        }
        return files;
    };
    const auto before = snapshot();
    ASSERT_FALSE(before.isEmpty());
    SwaySession::instance().stop();
    ASSERT_TRUE(kelp.waitForFinished(15000)) << "Kelp outlived its compositor";
    EXPECT_EQ(kelp.exitStatus(), QProcess::NormalExit) << kelp.readAll().toStdString();
    const auto after = snapshot();
    EXPECT_EQ(after.keys(), before.keys());
    for (auto it = before.begin(); it != before.end(); ++it)
        EXPECT_FALSE(after.value(it.key()).isEmpty()) << it.key().toStdString() << " emptied";
}

// Weston offers no layer shell: the panel is an ordinary window there, Kelp says so once and
// everything else runs.
TEST(WaylandWithoutLayerShell, PanelIsAnOrdinaryWindowAndKelpSaysSo)
{
    if (QStandardPaths::findExecutable(QStringLiteral("weston")).isEmpty())
        GTEST_SKIP() << "weston is not installed";
    SwaySession &session = SwaySession::instance();
    QString why;
    ASSERT_TRUE(session.ensureUser(&why)) << why.toStdString();
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                          QFileDevice::ExeOwner | QFileDevice::ExeOther);
    const QString runtime = dir.filePath(QStringLiteral("runtime"));
    const QString home = dir.filePath(QStringLiteral("home"));
    QDir().mkpath(runtime);
    QDir().mkpath(home + QStringLiteral("/data/applications"));
    QFile::setPermissions(runtime,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    ASSERT_TRUE(session.giveToUser(runtime) && session.giveToUser(home));

    QProcessEnvironment env = privateHomeEnvironment(home);
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    QProcess weston;
    session.startAsUser(weston, QStringLiteral("weston"),
                        {QStringLiteral("--backend=headless-backend.so"),
                         QStringLiteral("--socket=wayland-kelp"), QStringLiteral("--idle-time=0")},
                        env);
    ASSERT_TRUE(
        waitUntil([&] { return QFile::exists(runtime + QStringLiteral("/wayland-kelp")); }, 20000))
        << "weston did not start";
    env.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("wayland-kelp"));
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    env.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("kelp.platform.debug=true"));
    QProcess kelp;
    kelp.setProcessChannelMode(QProcess::MergedChannels);
    session.startAsUser(kelp, QStringLiteral(KELP_BINARY), {}, env);
    QByteArray log;
    EXPECT_TRUE(waitUntil(
        [&] {
            log += kelp.readAll();
            return log.contains("ordinary window");
        },
        20000))
        << log.toStdString();
    QProcess quit;
    quit.setProcessChannelMode(QProcess::MergedChannels);
    session.startAsUser(quit, QStringLiteral(KELP_BINARY), {QStringLiteral("--quit")}, env);
    EXPECT_TRUE(quit.waitForFinished(20000));
    const QByteArray quitSaid = quit.readAll();
    EXPECT_EQ(quit.exitCode(), 0) << quitSaid.toStdString();
    EXPECT_TRUE(kelp.waitForFinished(15000))
        << "Kelp did not quit on request; kelp --quit said: " << quitSaid.toStdString()
        << "\nKelp's log:\n"
        << (log + kelp.readAll()).toStdString();
    EXPECT_EQ(kelp.exitCode(), 0);
    log += kelp.readAll();
    EXPECT_EQ(log.count("ordinary window"), 1) << log.toStdString();
    EXPECT_EQ(log.count("no hot spot"), 1) << log.toStdString();
    EXPECT_FALSE(log.contains("does not support setting window opacity")) << log.toStdString();
    weston.terminate();
    if (!weston.waitForFinished(5000)) weston.kill();
    weston.waitForFinished(3000);
}

} // namespace
} // namespace kelp::test
