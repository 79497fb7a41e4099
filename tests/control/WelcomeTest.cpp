// The welcome tour's steps and window over the real welcome document, the autostart entry in a
// private configuration folder, and the keys every Kelp window answers.
#include "control/ApplicationKeys.h"
#include "control/LaunchAtLoginController.h"
#include "control/TQController.h"
#include "control/TQWelcomeAssistant.h"
#include "control/WelcomeSteps.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"
#include "window/TQWindow.h"

#include "catalogue/CatalogueFixture.h"
#include "platform/gio/GioAppsOnDisk.h"

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QTest>

#include <gtest/gtest.h>

using namespace kelp;
using kelp::test::CatalogueFixture;

namespace {

class Welcome : public CatalogueFixture
{
protected:
    void TearDown() override { delete TQWelcomeAssistant::shared(); }
    QString autostartFile() const
    {
        return home.filePath(QStringLiteral("config/autostart/kelp.desktop"));
    }
};

const QString kWelcomePdf = QStringLiteral(KELP_WELCOME_PDF);

} // namespace

TEST_F(Welcome, TheRememberedStepIsClampedToTheDocument)
{
    for (const auto &[remembered, opensOn] :
         {std::pair{0, 1}, std::pair{-7, 1}, std::pair{3, 3}, std::pair{99, 5}}) {
        defaults->setValue(Key::LastShownWelcomeStep, qint64(remembered));
        WelcomeSteps steps(*defaults, 5);
        EXPECT_EQ(steps.currentStep(), opensOn) << "remembered " << remembered;
        EXPECT_EQ(defaults->value(Key::LastShownWelcomeStep), opensOn);
    }
}

TEST_F(Welcome, FinishingTheTourMarksItSeenAndTheNextTourStartsOver)
{
    WelcomeSteps steps(*defaults, 3);
    EXPECT_FALSE(steps.showNextStep());
    EXPECT_EQ(steps.stepLabel(), QStringLiteral("2 of 3"));
    EXPECT_TRUE(defaults->value(Key::ShowWelcomeWindow)) << "not yet at the end";
    EXPECT_FALSE(steps.showNextStep());
    EXPECT_TRUE(steps.isLastStep());
    EXPECT_FALSE(defaults->value(Key::ShowWelcomeWindow)) << "the last step was reached";
    EXPECT_TRUE(steps.showNextStep()) << "Next on the last step ends the tour";
    EXPECT_EQ(defaults->value(Key::LastShownWelcomeStep), 3);

    EXPECT_EQ(WelcomeSteps(*defaults, 3).currentStep(), 1) << "a seen tour starts over";
    // Left in the middle, the tour opens where it was even when it was once seen to the end.
    defaults->setValue(Key::LastShownWelcomeStep, qint64(2));
    EXPECT_EQ(WelcomeSteps(*defaults, 3).currentStep(), 2);
    // Closed on the last step without Next: the tour was not finished, it opens there.
    defaults->setValue(Key::ShowWelcomeWindow, true);
    defaults->setValue(Key::LastShownWelcomeStep, qint64(3));
    EXPECT_EQ(WelcomeSteps(*defaults, 3).currentStep(), 3);
}

TEST_F(Welcome, TheWindowPagesThroughTheWelcomeDocument)
{
    ASSERT_TRUE(QFile::exists(kWelcomePdf)) << "the build makes the welcome document";
    TQWelcomeAssistant *assistant =
        TQWelcomeAssistant::sharedAssistantWithPDFPath(kWelcomePdf, *defaults);
    ASSERT_NE(assistant, nullptr);
    EXPECT_TRUE(TQWelcomeAssistant::isWindowVisible());
    const int pages = assistant->steps().lastStep();
    EXPECT_GE(pages, 4);
    EXPECT_LE(pages, 6);
    EXPECT_EQ(assistant->stepText(), QStringLiteral("1 of %1").arg(pages));
    EXPECT_FALSE(assistant->previousButton()->isEnabled());
    EXPECT_EQ(TQWelcomeAssistant::sharedAssistantWithPDFPath(kWelcomePdf, *defaults), assistant)
        << "one assistant at most";

    for (int step = 2; step <= pages; ++step)
        QTest::mouseClick(assistant->nextButton(), Qt::LeftButton);
    EXPECT_EQ(assistant->stepText(), QStringLiteral("%1 of %1").arg(pages));
    EXPECT_EQ(assistant->nextButton()->text(), QStringLiteral("Close"));
    EXPECT_TRUE(assistant->previousButton()->isEnabled());
    QTest::mouseClick(assistant->previousButton(), Qt::LeftButton);
    EXPECT_EQ(defaults->value(Key::LastShownWelcomeStep), pages - 1);

    QTest::keyClick(assistant, Qt::Key_Delete);
    EXPECT_TRUE(test::waitUntil([] { return TQWelcomeAssistant::shared() == nullptr; }))
        << "Delete closes the tour and ends the assistant";
    EXPECT_FALSE(TQWelcomeAssistant::closeWindow());
}

TEST_F(Welcome, AMissingOrDamagedDocumentOpensNoWindow)
{
    const QString damaged = home.filePath(QStringLiteral("damaged.pdf"));
    QByteArray bytes = test::readFile(kWelcomePdf);
    ASSERT_FALSE(bytes.isEmpty());
    bytes.truncate(bytes.size() / 3);
    ASSERT_TRUE(test::writeFile(damaged, bytes));
    for (const QString &path : {home.filePath(QStringLiteral("none.pdf")), damaged}) {
        EXPECT_EQ(TQWelcomeAssistant::sharedAssistantWithPDFPath(path, *defaults), nullptr)
            << qPrintable(path);
        EXPECT_FALSE(TQWelcomeAssistant::isWindowVisible());
    }
    EXPECT_EQ(TQWelcomeAssistant::sharedAssistantWithPDFName(QStringLiteral("No Such Document"),
                                                             *defaults),
              nullptr);
}

TEST_F(Welcome, StartAtLoginWritesOneValidEntryAndRemovesIt)
{
    LaunchAtLoginController login;
    EXPECT_EQ(LaunchAtLoginController::autostartFilePath(), autostartFile());
    EXPECT_FALSE(login.launchAtLogin());
    EXPECT_TRUE(login.setLaunchAtLogin(true));
    EXPECT_TRUE(login.setLaunchAtLogin(true));
    EXPECT_TRUE(login.launchAtLogin());
    EXPECT_EQ(QDir(home.filePath(QStringLiteral("config/autostart"))).entryList(QDir::Files),
              QStringList{QStringLiteral("kelp.desktop")});
    const QString entry = QString::fromUtf8(test::readFile(autostartFile()));
    EXPECT_TRUE(entry.startsWith(QLatin1String("[Desktop Entry]\n")));
    EXPECT_TRUE(entry.contains(QLatin1String(" --hidden\n")));

    const QString validator =
        QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
    if (!validator.isEmpty()) {
        QProcess check;
        check.start(validator, {autostartFile()});
        ASSERT_TRUE(check.waitForFinished(10000));
        EXPECT_EQ(check.exitCode(), 0) << check.readAllStandardOutput().toStdString();
    }
    EXPECT_TRUE(login.setLaunchAtLogin(false));
    EXPECT_FALSE(QFile::exists(autostartFile()));
    EXPECT_TRUE(login.setLaunchAtLogin(false)) << "nothing to remove is no failure";
}

TEST_F(Welcome, TheDesktopSwitchingTheEntryOffIsSeen)
{
    // What session settings write when the user turns the entry off.
    LaunchAtLoginController login;
    const QByteArray entry = LaunchAtLoginController::autostartEntry(QStringLiteral("kelp"));
    QByteArray gnomeOff = entry;
    gnomeOff.replace("X-GNOME-Autostart-enabled=true", "X-GNOME-Autostart-enabled=false");
    for (const QByteArray &off : {entry + "Hidden=true\n", gnomeOff}) {
        ASSERT_TRUE(test::writeFile(autostartFile(), off));
        EXPECT_FALSE(login.launchAtLogin()) << off.toStdString();
        EXPECT_TRUE(login.setLaunchAtLogin(true));
        EXPECT_TRUE(login.launchAtLogin()) << "turned on again: " << off.toStdString();
    }
}

TEST_F(Welcome, TheControllerKeepsTheSettingAndTheEntryInLine)
{
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    defaults->setValue(Key::ShowWelcomeWindow, false);
    defaults->setValue(Key::StartAtLogin, true);
    TQWindow panel(*catalogue, *defaults);
    TQController controller(*catalogue, panel, *defaults);
    controller.applicationDidFinishLaunching();
    EXPECT_FALSE(defaults->value(Key::StartAtLogin)) << "no entry on disk: the setting follows";

    defaults->setValue(Key::StartAtLogin, true);
    EXPECT_TRUE(QFile::exists(autostartFile()));
    QFile::remove(autostartFile());
    EXPECT_TRUE(test::waitUntil([&] { return !defaults->value(Key::StartAtLogin); }))
        << "the entry removed outside Kelp turns the setting off";

    // An autostart folder Kelp cannot write (a file in its place, which even the superuser
    // cannot write into): one message, and the setting goes back off.
    ASSERT_TRUE(QDir(home.filePath(QStringLiteral("config/autostart"))).removeRecursively());
    ASSERT_TRUE(test::writeFile(home.filePath(QStringLiteral("config/autostart")), "not a folder"));
    defaults->setValue(Key::StartAtLogin, true);
    defaults->setValue(Key::StartAtLogin, true);
    EXPECT_FALSE(defaults->value(Key::StartAtLogin));
    int alerts = 0;
    for (QWidget *w : QApplication::topLevelWidgets())
        if (qobject_cast<QMessageBox *>(w) && w->isVisible()) ++alerts;
    EXPECT_EQ(alerts, 1);
}

TEST_F(Welcome, ApplicationKeysCloseWindowsCancelDialogsAndLeaveThePanelAlone)
{
    makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
    TQWindow panel(*catalogue, *defaults);
    ApplicationKeys keys(&panel);
    qApp->installEventFilter(&keys);
    auto press = [](QWidget *window, int key, Qt::KeyboardModifiers mods) {
        QApplication::setActiveWindow(window);
        QKeyEvent event(QEvent::KeyPress, key, mods);
        QApplication::sendEvent(window, &event);
    };

    QWidget window;
    window.show();
    press(&window, Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(window.isVisible()) << "Ctrl-W closes the window";
    window.show();
    press(&window, Qt::Key_Period, Qt::ControlModifier);
    EXPECT_FALSE(window.isVisible()) << "Ctrl-period closes a window";
    window.show();
    press(&window, Qt::Key_W, Qt::NoModifier);
    EXPECT_TRUE(window.isVisible()) << "a plain W is typing";

    QDialog dialog;
    dialog.show();
    press(&dialog, Qt::Key_Escape, Qt::NoModifier);
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_FALSE(dialog.isVisible());

    int panelCloses = 0;
    QObject::connect(&panel, &TQWindow::closeRequested, [&] { ++panelCloses; });
    panel.show();
    press(&panel, Qt::Key_W, Qt::ControlModifier);
    EXPECT_EQ(panelCloses, 1) << "the panel answers its own keys";
    EXPECT_TRUE(panel.isVisible());
    qApp->removeEventFilter(&keys);
}
