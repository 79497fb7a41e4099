// The controller's decisions with a real catalogue and a real panel (offscreen).
#include "control/SingleInstance.h"
#include "control/TQController.h"
#include "window/TQWindow.h"

#include "catalogue/CatalogueFixture.h"
#include "extras/DropStack.h"
#include "extras/Notifications.h"
#include "platform/gio/GioAppsOnDisk.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>

using namespace kelp;
using kelp::test::CatalogueFixture;

namespace {

class Controller : public CatalogueFixture
{
protected:
    void SetUp() override
    {
        CatalogueFixture::SetUp();
        const QString apps = home.filePath(QStringLiteral("apps"));
        ASSERT_TRUE(test::writeFile(apps + QStringLiteral("/editor.desktop"),
                                    "[Desktop Entry]\nType=Application\nName=Editor\nExec=true\n"));
        ASSERT_TRUE(test::writeFile(
            apps + QStringLiteral("/remover.desktop"),
            "[Desktop Entry]\nType=Application\nName=Editor Uninstaller\nExec=true\n"));
        defaults->setValue(Key::SearchDirectories,
                           QVariantList{QVariantMap{{QStringLiteral("path"), apps}}});
        makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
        panel = std::make_unique<TQWindow>(*catalogue, *defaults);
        controller = std::make_unique<TQController>(*catalogue, *panel, *defaults);
        // The tests say when Kelp is active; the offscreen platform's own focus changes would
        // race with them.
        QObject::disconnect(qApp, &QGuiApplication::applicationStateChanged, controller.get(),
                            nullptr);
    }
    void TearDown() override
    {
        controller.reset();
        panel.reset();
    }
    void moveAway()
    {
        const QRect screen = panel->screen()->availableGeometry();
        panel->move(screen.right() - panel->width() - 20, screen.top() + 20);
        ASSERT_TRUE(panel->hasBeenMoved());
    }

    std::unique_ptr<TQWindow> panel;
    std::unique_ptr<TQController> controller;
};

} // namespace

TEST_F(Controller, StartUpShowsThePanelAndExcludesByNameOnce)
{
    EXPECT_FALSE(controller->applicationShouldOpenUntitledFile())
        << "not before launching finished";
    controller->showMainWindow();
    EXPECT_FALSE(controller->mainWindowIsVisible());

    ASSERT_TRUE(test::writeFile(CatalogueFiles::dockPreferencesFile(), "<plist><dict/></plist>"));
    controller->applicationDidFinishLaunching();
    EXPECT_TRUE(controller->mainWindowIsVisible()) << "shown before the catalogue is filled";
    EXPECT_EQ(defaults->value(Key::ApplicationLaunchCount), 1);
    ASSERT_TRUE(test::waitUntil([&] { return catalogue->allApps1D().size() == 2; }));
    EXPECT_EQ(paths(catalogue->excludedApps1D()),
              QStringList{home.filePath(QStringLiteral("apps/remover.desktop"))})
        << "the first launch moves the uninstaller out of the way";
}

TEST_F(Controller, LaterLaunchesLeaveExclusionsAlone)
{
    defaults->setValue(Key::ApplicationLaunchCount, 3);
    controller->applicationDidFinishLaunching();
    ASSERT_TRUE(test::waitUntil([&] { return catalogue->allApps1D().size() == 2; }));
    EXPECT_TRUE(catalogue->excludedApps1D().isEmpty());
    EXPECT_EQ(defaults->value(Key::ApplicationLaunchCount), 4);
}

TEST_F(Controller, ToggleShowsAndHides)
{
    defaults->setValue(Key::ShowWindowAtLaunch, false);
    controller->applicationDidFinishLaunching();
    EXPECT_FALSE(controller->mainWindowIsVisible());

    controller->applicationStateChanged(Qt::ApplicationInactive);
    controller->showHideMainWindow(); // not active, hidden: show
    EXPECT_TRUE(controller->mainWindowIsVisible());
    controller->applicationStateChanged(Qt::ApplicationActive);
    controller->showHideMainWindow(); // active, visible: the explicit hide
    EXPECT_TRUE(test::waitUntil([&] { return !controller->mainWindowIsVisible(); }, 3000));
    controller->showHideMainWindow(); // active, hidden: show
    EXPECT_TRUE(controller->mainWindowIsVisible());
    controller->applicationStateChanged(Qt::ApplicationInactive);
    EXPECT_TRUE(test::waitUntil([&] { return !controller->mainWindowIsVisible(); }, 3000))
        << "losing the focus hides a panel that stayed in its place";
}

TEST_F(Controller, AMomentaryFocusLossDoesNotHideThePanel)
{
    controller->applicationStateChanged(Qt::ApplicationActive);
    controller->applicationDidFinishLaunching();
    ASSERT_TRUE(controller->mainWindowIsVisible());
    // Out and back in at once, as a window manager does while the panel is hidden and shown.
    controller->applicationStateChanged(Qt::ApplicationInactive);
    controller->applicationStateChanged(Qt::ApplicationActive);
    QTest::qWait(3 * TQController::kFocusLossGraceMs);
    EXPECT_TRUE(controller->mainWindowIsVisible());
    controller->applicationStateChanged(Qt::ApplicationInactive);
    EXPECT_TRUE(test::waitUntil([&] { return !controller->mainWindowIsVisible(); }, 3000));
}

TEST_F(Controller, AFocusLossLeftOverFromAHideDoesNotHideTheNextShow)
{
    controller->applicationStateChanged(Qt::ApplicationActive);
    controller->applicationDidFinishLaunching();
    ASSERT_TRUE(controller->mainWindowIsVisible());
    controller->showHideMainWindow(); // active, visible: the explicit hide
    ASSERT_TRUE(test::waitUntil([&] { return !controller->mainWindowIsVisible(); }, 3000));
    // Shown again before the hide's focus-out arrived, which a busy window manager delivers late.
    controller->showHideMainWindow();
    ASSERT_TRUE(controller->mainWindowIsVisible());
    controller->applicationStateChanged(Qt::ApplicationInactive);
    QTest::qWait(3 * TQController::kFocusLossGraceMs);
    EXPECT_TRUE(controller->mainWindowIsVisible()) << "it waits for the keyboard it asked for";
    controller->applicationStateChanged(Qt::ApplicationActive);
    controller->applicationStateChanged(Qt::ApplicationInactive);
    EXPECT_TRUE(test::waitUntil([&] { return !controller->mainWindowIsVisible(); }, 3000))
        << "once it had the keyboard, losing it hides the panel";
}

TEST_F(Controller, AMovedPanelWaitsBeforeHiding)
{
    controller->applicationStateChanged(Qt::ApplicationActive);
    controller->applicationDidFinishLaunching();
    ASSERT_TRUE(controller->mainWindowIsVisible());
    moveAway();
    controller->applicationStateChanged(Qt::ApplicationInactive);
    EXPECT_TRUE(test::waitUntil([&] { return controller->isWindowCloseTimerPending(); }, 3000));
    EXPECT_TRUE(controller->mainWindowIsVisible());
    controller->applicationStateChanged(Qt::ApplicationActive);
    EXPECT_FALSE(controller->isWindowCloseTimerPending()) << "coming back cancels the timer";

    // Not active and moved: the toggle brings Kelp forward instead of hiding.
    controller->applicationStateChanged(Qt::ApplicationInactive);
    controller->showHideMainWindow();
    EXPECT_TRUE(controller->mainWindowIsVisible());

    defaults->setValue(Key::HideOnResignActive, true);
    controller->applicationStateChanged(Qt::ApplicationActive);
    controller->applicationStateChanged(Qt::ApplicationInactive);
    EXPECT_TRUE(test::waitUntil([&] { return !controller->mainWindowIsVisible(); }, 3000))
        << "with hideOnResignActive a moved panel goes at once";
}

TEST_F(Controller, ReopenRightAfterActivationNeverHides)
{
    defaults->setValue(Key::ShowWindowAtLaunch, false);
    controller->applicationDidFinishLaunching();
    controller->applicationStateChanged(Qt::ApplicationActive);
    controller->applicationShouldHandleReopen();
    EXPECT_TRUE(controller->mainWindowIsVisible());
    controller->applicationShouldHandleReopen(); // within a quarter second of becoming active
    EXPECT_TRUE(controller->mainWindowIsVisible());
    QTest::qWait(300);
    controller->applicationShouldHandleReopen();
    EXPECT_TRUE(test::waitUntil([&] { return !controller->mainWindowIsVisible(); }, 3000));
}

TEST_F(Controller, RequestsFromLaterStarts)
{
    controller->applicationDidFinishLaunching();
    int quits = 0;
    QObject::connect(controller.get(), &TQController::quitRequested, [&] { ++quits; });
    controller->handleRequest({QStringLiteral("hide"), {}});
    EXPECT_TRUE(test::waitUntil([&] { return !controller->mainWindowIsVisible(); }, 3000));
    controller->handleRequest({QStringLiteral("open"), {QStringLiteral("/tmp/a.txt")}});
    EXPECT_TRUE(controller->mainWindowIsVisible());
    EXPECT_EQ(DropStack::shared().topObjectAsURL(),
              QUrl::fromLocalFile(QStringLiteral("/tmp/a.txt")));
    DropStack::shared().free();
    controller->handleRequest({QStringLiteral("quit"), {}});
    EXPECT_EQ(quits, 1);
}

TEST_F(Controller, AMissingApplicationBringsThePanelBack)
{
    defaults->setValue(Key::ShowWindowAtLaunch, false);
    controller->applicationDidFinishLaunching();
    ASSERT_FALSE(controller->mainWindowIsVisible());
    Q_EMIT Notifications::instance().appIsMissing(
        catalogue->appForPath(QStringLiteral("/gone/app.desktop")));
    EXPECT_TRUE(test::waitUntil([&] { return controller->mainWindowIsVisible(); }, 3000));
}
