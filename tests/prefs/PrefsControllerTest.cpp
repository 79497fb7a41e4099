// The preferences in a running Kelp's objects (catalogue, panel, controller, triggers): the menu's
// Preferences item opens one window over the panel and is disabled while it shows, a hide closes
// it and writes the settings, and the taskbar setting asks for a restart once per run.
#include "catalogue/CatalogueFixture.h"
#include "control/SingleInstance.h"
#include "control/TQController.h"
#include "platform/gio/GioAppsOnDisk.h"
#include "prefs/PrefsWindow.h"
#include "triggers/Triggers.h"
#include "window/TQWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QMenu>
#include <QMessageBox>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

#include <gtest/gtest.h>

using namespace kelp;

namespace {
class PrefsInKelp : public kelp::test::CatalogueFixture
{
protected:
    void SetUp() override
    {
        CatalogueFixture::SetUp();
        makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
        defaults->setValue(Key::ShowAppInStatusBar, false); // no tray in the test
        panel = std::make_unique<TQWindow>(*catalogue, *defaults);
        controller = std::make_unique<TQController>(*catalogue, *panel, *defaults);
        triggers = std::make_unique<Triggers>(*controller, *catalogue, *panel, *defaults);
        PrefsHooks hooks;
        hooks.hotKeyFailure = [this]() { return triggers->hotKeyFailure(); };
        hooks.hasMenuAccess = [this]() { return hasMenuAccess(triggers->accessSettings()); };
        controller->setPrefsHooks(hooks);
        triggers->start();
        controller->applicationDidFinishLaunching();
    }
    void TearDown() override
    {
        triggers.reset();
        controller.reset();
        panel.reset();
    }
    QAction *menuItem(QMenu *menu, const QString &title)
    {
        for (QAction *a : menu->actions())
            if (a->text() == title) return a;
        return nullptr;
    }
    std::unique_ptr<TQWindow> panel;
    std::unique_ptr<TQController> controller;
    std::unique_ptr<Triggers> triggers;
};
} // namespace

TEST_F(PrefsInKelp, MenuItemOpensOneWindowOverThePanelAndAHideClosesIt)
{
    std::unique_ptr<QMenu> menu(triggers->statusItemMenu());
    QAction *item = menuItem(menu.get(), QStringLiteral("Preferences…"));
    ASSERT_NE(item, nullptr);
    EXPECT_TRUE(item->isEnabled());
    item->trigger();
    ASSERT_TRUE(test::waitUntil([&] { return controller->isPrefsWindowVisible(); }, 5000));
    PrefsWindow *window = controller->prefsWindow();
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Kelp Preferences"));
    EXPECT_EQ(window->parentWidget(), panel.get()) << "transient for the panel";
    EXPECT_TRUE(controller->mainWindowIsVisible()) << "the panel shows under it";

    std::unique_ptr<QMenu> again(triggers->statusItemMenu());
    EXPECT_FALSE(menuItem(again.get(), QStringLiteral("Preferences…"))->isEnabled());
    // A second request (a later `kelp --preferences`) keeps the one window.
    controller->handleRequest({QStringLiteral("preferences"), {}});
    EXPECT_EQ(controller->prefsWindow(), window);
    EXPECT_EQ(panel->findChildren<PrefsWindow *>().size(), 1);

    // A change made in the window is on disk once a hide has closed it.
    window->findChild<QSpinBox *>(QStringLiteral("maximumIconSize"))->setValue(100);
    controller->hideMainWindow();
    EXPECT_FALSE(controller->isPrefsWindowVisible());
    Defaults reread(defaults->filePath());
    EXPECT_EQ(reread.value(Key::MaximumIconSize), 100);
}

TEST_F(PrefsInKelp, TheTaskbarSettingAsksForARestartOncePerRun)
{
    QSignalSpy alerts(triggers.get(), &Triggers::alertShown);
    controller->openPrefs();
    auto *taskbar =
        controller->prefsWindow()->findChild<QCheckBox *>(QStringLiteral("showIconInDock"));
    ASSERT_NE(taskbar, nullptr);
    taskbar->click();
    taskbar->click();
    QStringList restart;
    for (const QList<QVariant> &a : alerts)
        if (a[0].toString().contains(QStringLiteral("restart"))) restart << a[0].toString();
    EXPECT_EQ(restart,
              QStringList{QStringLiteral("You must restart Kelp for this option to take effect.")});
    for (QWidget *w : QApplication::topLevelWidgets())
        if (auto *box = qobject_cast<QMessageBox *>(w)) box->close();
}
