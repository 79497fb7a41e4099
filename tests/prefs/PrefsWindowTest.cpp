// The preferences window over a real settings store: every setting a user may change has a
// control, controls and settings follow each other both ways, the hot key and its failure, the
// controls for Alt, the scan folder table and the app remover's check against the desktop's own
// application database.
#include "prefs/PrefsWindow.h"
#include "desktop/Desktop.h"
#include "platform/DesktopFactory.h"
#include "prefs/ScanFolderTable.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"
#include "support/TestSupport.h"
#include "triggers/KeyTable.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QHash>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

using namespace kelp;
using kelp::test::waitUntil;

namespace {

class Prefs : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        defaults = std::make_unique<Defaults>(dir.filePath(QStringLiteral("Kelp.plist")));
        registerAllDefaults(*defaults);
    }
    void TearDown() override
    {
        window.reset();
        setDesktop({});
    }
    void makeWindow(PrefsHooks hooks = {})
    {
        window = std::make_unique<PrefsWindow>(*defaults, std::move(hooks));
    }
    template <typename W> W *control(QLatin1StringView name)
    {
        return window->findChild<W *>(QString(name));
    }

    QTemporaryDir dir;
    std::unique_ptr<Defaults> defaults;
    std::unique_ptr<PrefsWindow> window;
};

} // namespace

TEST_F(Prefs, EverySettingAUserMayChangeHasANamedAccessibleControl)
{
    makeWindow();
    // Kept by Kelp itself, or edited through something other than a control of their own name.
    const QStringList notControls = {
        QStringLiteral("groupShownWhenWindowClosed"), QStringLiteral("excludeArray"),
        QStringLiteral("lastShownWelcomeStep"), QStringLiteral("applicationLaunchCount"),
        QStringLiteral("WFLastCrashCheckTime"), QStringLiteral("OFLastEmailAddress"),
        QStringLiteral("scanDirectories"), QStringLiteral("searchDirectories"),
        QStringLiteral("appRemoverBundleIdentifier"), QStringLiteral("appRemoverName"),
        QStringLiteral("hotKeyCode"), QStringLiteral("hotKeyModifiers"),
        // The colour-sorting sheet's own.
        QStringLiteral("colorSortGrayThreshold"), QStringLiteral("colorSortWrapHue"),
        QStringLiteral("colorSortMinSaturation"), QStringLiteral("colorSortMinLuminosity"),
        QStringLiteral("colorSortGraysBySecondaryColor")};
    // Controls that keep the design's own names.
    const QHash<QString, QString> renamed = {
        {QStringLiteral("maxFolderRecursionDepth"), QStringLiteral("scanDepthStepper")},
        {QStringLiteral("minimizeEmptyCells"), QStringLiteral("minimizeEmptyCellsCheckbox")}};
    for (const SettingInfo &info : allSettings()) {
        if (notControls.contains(info.name)) continue;
        const QString name = renamed.value(info.name, info.name);
        auto *w = window->findChild<QWidget *>(name);
        ASSERT_NE(w, nullptr) << "no control for " << info.name.data();
        EXPECT_FALSE(w->accessibleName().isEmpty()) << info.name.data();
    }
    window->openColorSortingOptions();
    for (const char *name : {"colorSortGrayThreshold", "colorSortWrapHue", "colorSortMinSaturation",
                             "colorSortMinLuminosity", "colorSortGraysBySecondaryColor"})
        EXPECT_NE(window->findChild<QWidget *>(QLatin1String(name)), nullptr) << name;
    EXPECT_TRUE(window->isColorSortingOptionsVisible());
    window->closePrefs();
    EXPECT_FALSE(window->isColorSortingOptionsVisible());
}

TEST_F(Prefs, ControlsAndSettingsFollowEachOther)
{
    makeWindow();
    QSignalSpy changes(defaults.get(), &Defaults::changed);

    // A number: the control stores at once, a change made elsewhere shows.
    auto *size = control<QSpinBox>(Key::MaximumIconSize.name());
    size->stepUp();
    EXPECT_EQ(defaults->value(Key::MaximumIconSize), 65);
    defaults->setValue(Key::MaximumIconSize, 96);
    EXPECT_EQ(size->value(), 96);
    // Out of range, stored by hand: shown clamped, and showing it does not rewrite the file.
    changes.clear();
    defaults->setValue(Key::MaximumIconSize, 4000);
    EXPECT_EQ(size->value(), 128);
    EXPECT_EQ(defaults->value(Key::MaximumIconSize), 4000);
    EXPECT_EQ(changes.size(), 1);

    // A percentage over a real, both ways.
    auto *alpha = control<QDoubleSpinBox>(Key::WindowAlpha.name());
    EXPECT_EQ(alpha->value(), 85.0);
    alpha->setValue(40);
    EXPECT_DOUBLE_EQ(defaults->value(Key::WindowAlpha), 0.4);
    defaults->setValue(Key::WindowAlpha, 0.123);
    EXPECT_EQ(alpha->value(), 12.0) << "shown rounded";
    EXPECT_DOUBLE_EQ(defaults->value(Key::WindowAlpha), 0.123) << "and not rounded in the store";

    auto *box = control<QCheckBox>(Key::DrawWindowBorder.name());
    box->click();
    EXPECT_TRUE(defaults->value(Key::DrawWindowBorder));
    defaults->setValue(Key::DrawWindowBorder, false);
    EXPECT_FALSE(box->isChecked());

    auto *corner = control<QComboBox>(Key::CursorHotSpotLocation.name());
    corner->setCurrentIndex(corner->findData(5));
    Q_EMIT corner->activated(corner->currentIndex());
    EXPECT_EQ(defaults->value(Key::CursorHotSpotLocation), 5);
    defaults->setValue(Key::CursorHotSpotLocation, 2);
    EXPECT_EQ(corner->currentData().toInt(), 2);
    defaults->setValue(Key::CursorHotSpotLocation, 77);
    EXPECT_EQ(corner->currentIndex(), -1) << "an unknown place is not shown as a known one";

    auto *theme = control<QLineEdit>(Key::IconThemeName.name());
    theme->setText(QStringLiteral("  Adwaita "));
    Q_EMIT theme->editingFinished();
    EXPECT_EQ(defaults->value(Key::IconThemeName), QStringLiteral("Adwaita"));
    defaults->setValue(Key::IconThemeName, QString());
    EXPECT_TRUE(theme->text().isEmpty());

    // A colour: the button shows the stored colour.
    auto *colour = control<QPushButton>(Key::WindowColour.name());
    defaults->setValue(Key::WindowColour, QColor(10, 200, 30));
    EXPECT_EQ(colour->toolTip(), QStringLiteral("#ff0ac81e"));
}

TEST_F(Prefs, HotKeyChoiceIsStoredWithItsModifiersAndItsFailureReadAgain)
{
    QString failure;
    int asked = 0;
    PrefsHooks hooks;
    hooks.hotKeyFailure = [&]() {
        ++asked;
        return failure;
    };
    makeWindow(hooks);
    auto *key = control<QComboBox>(QLatin1StringView("hotKeyButton"));
    ASSERT_GT(key->count(), 10) << "the key table's names";
    EXPECT_EQ(key->currentData().toInt(), 48) << "the default key";
    EXPECT_TRUE(control<QCheckBox>(QLatin1StringView("controlCheckbox"))->isChecked());
    EXPECT_FALSE(control<QCheckBox>(QLatin1StringView("shiftCheckbox"))->isChecked());

    failure = QStringLiteral("Shift+Ctrl+Tab is already taken by another program");
    control<QCheckBox>(QLatin1StringView("shiftCheckbox"))->click();
    control<QCheckBox>(QLatin1StringView("commandCheckbox"))->click();
    EXPECT_EQ(defaults->value(Key::HotKeyModifiers), 4096 + 512 + 256);
    auto *label = control<QLabel>(QLatin1StringView("hotKeyFailure"));
    EXPECT_EQ(label->text(), failure) << "read again after the change";

    const int none = key->findData(-1);
    ASSERT_GE(none, 0) << "the row for no hot key";
    key->setCurrentIndex(none);
    failure.clear();
    Q_EMIT key->activated(none);
    EXPECT_EQ(defaults->value(Key::HotKeyCode), -1);
    EXPECT_TRUE(label->text().isEmpty());

    // Set elsewhere: the pop-up and the boxes follow.
    defaults->setValue(Key::HotKeyModifiers, qint64(2048));
    defaults->setValue(Key::HotKeyCode, qint64(49));
    EXPECT_EQ(key->currentData().toInt(), 49);
    EXPECT_TRUE(control<QCheckBox>(QLatin1StringView("optionCheckbox"))->isChecked());
    EXPECT_FALSE(control<QCheckBox>(QLatin1StringView("controlCheckbox"))->isChecked());
}

TEST_F(Prefs, AltShowsTheHiddenControlsAndTheQuitButtonOnlyWithoutAMenu)
{
    bool menu = true;
    PrefsHooks hooks;
    hooks.hasMenuAccess = [&]() { return menu; };
    makeWindow(hooks);
    window->show();
    auto *depth = control<QSpinBox>(QLatin1StringView("scanDepthStepper"));
    auto *cells = control<QCheckBox>(QLatin1StringView("minimizeEmptyCellsCheckbox"));
    EXPECT_TRUE(depth->isHidden());
    EXPECT_TRUE(cells->isHidden());
    QKeyEvent altDown(QEvent::KeyPress, Qt::Key_Alt, Qt::AltModifier);
    QCoreApplication::sendEvent(window.get(), &altDown);
    EXPECT_FALSE(depth->isHidden());
    EXPECT_FALSE(cells->isHidden());
    QKeyEvent altUp(QEvent::KeyRelease, Qt::Key_Alt, Qt::NoModifier);
    QCoreApplication::sendEvent(window.get(), &altUp);
    EXPECT_TRUE(depth->isHidden());
    EXPECT_TRUE(cells->isHidden());

    auto *quit = control<QPushButton>(QLatin1StringView("prefsQuitButton"));
    EXPECT_FALSE(quit->isVisibleTo(window.get()));
    menu = false;
    defaults->setValue(Key::ShowAppInStatusBar, false);
    EXPECT_TRUE(quit->isVisibleTo(window.get())) << "no tray icon, no taskbar entry";
}

TEST_F(Prefs, ScanFoldersRefuseWhatCannotBeScannedAndStoreTheRest)
{
    makeWindow();
    QTemporaryDir folders;
    ASSERT_TRUE(QDir().mkpath(folders.filePath(QStringLiteral("apps"))));
    ASSERT_TRUE(test::writeFile(folders.filePath(QStringLiteral("file.txt")), "x"));
    defaults->setValue(Key::SearchDirectories,
                       QVariantList{QVariantMap{{QStringLiteral("path"), QStringLiteral("/a")}}});
    auto *table = window->findChild<ScanFolderTable *>();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->view()->model()->rowCount(), 1) << "a change made elsewhere shows";

    EXPECT_EQ(table->addFolders({folders.filePath(QStringLiteral("file.txt")),
                                 folders.filePath(QStringLiteral("gone")),
                                 folders.filePath(QStringLiteral("apps"))},
                                1),
              1);
    EXPECT_TRUE(table->message().contains(QStringLiteral("is not a folder")));
    EXPECT_TRUE(table->message().contains(QStringLiteral("is gone")));
    const QVariantList stored = defaults->value(Key::SearchDirectories);
    ASSERT_EQ(stored.size(), 2);
    EXPECT_EQ(stored[1].toMap().value(QStringLiteral("path")),
              folders.filePath(QStringLiteral("apps")));

    // The folder that does not exist ("/a") is shown marked once the worker has looked.
    EXPECT_TRUE(waitUntil(
        [&] {
            return table->view()->model()->index(0, 0).data().toString().contains(
                u"cannot be scanned");
        },
        5000));
    // Folders dropped from a file manager go in at the drop row; a file among them is refused.
    ASSERT_TRUE(QDir().mkpath(folders.filePath(QStringLiteral("dropped"))));
    window->tabs()->setCurrentIndex(2);
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(folders.filePath(QStringLiteral("dropped"))),
                  QUrl::fromLocalFile(folders.filePath(QStringLiteral("file.txt")))});
    // As a drag from another program arrives: entering the list, then the drop.
    auto dropOn = [&](QDropEvent &event) {
        QDragEnterEvent enter(QPoint(5, 1), Qt::CopyAction, event.mimeData(), Qt::LeftButton,
                              Qt::NoModifier);
        QCoreApplication::sendEvent(table->view()->viewport(), &enter);
        EXPECT_TRUE(enter.isAccepted()) << "a URL list is taken in";
        QCoreApplication::sendEvent(table->view()->viewport(), &event);
    };
    QDropEvent drop(QPointF(5, 1), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    dropOn(drop);
    EXPECT_TRUE(drop.isAccepted());
    const QVariantList afterDrop = defaults->value(Key::SearchDirectories);
    ASSERT_EQ(afterDrop.size(), 3);
    EXPECT_EQ(afterDrop[0].toMap().value(QStringLiteral("path")),
              folders.filePath(QStringLiteral("dropped")))
        << "dropped on the top half of the first row: before it";
    EXPECT_TRUE(table->message().contains(QStringLiteral("is not a folder")));
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(folders.filePath(QStringLiteral("file.txt")))});
    QDropEvent refused(QPointF(5, 1), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    dropOn(refused);
    EXPECT_FALSE(refused.isAccepted()) << "a drop with no folder is refused";

    table->view()->selectionModel()->clearSelection();
    table->view()->selectionModel()->select(table->view()->model()->index(1, 0),
                                            QItemSelectionModel::Select);
    table->removeSelected();
    EXPECT_EQ(defaults->value(Key::SearchDirectories).size(), 2);
}

TEST_F(Prefs, AppRemoverMustAcceptApplicationFiles)
{
    // The desktop's own application database, in a private data folder.
    QTemporaryDir data;
    ASSERT_TRUE(data.isValid());
    const QString apps = data.filePath(QStringLiteral("applications"));
    ASSERT_TRUE(test::writeFile(apps + QStringLiteral("/remover.desktop"),
                                "[Desktop Entry]\nType=Application\nName=Remover\nExec=true %f\n"
                                "MimeType=application/x-desktop;\n"));
    ASSERT_TRUE(test::writeFile(apps + QStringLiteral("/viewer.desktop"),
                                "[Desktop Entry]\nType=Application\nName=Viewer\nExec=true %f\n"
                                "MimeType=image/png;\n"));
    // As a package's installation leaves it: the folder's MIME cache brought up to date.
    if (QProcess::execute(QStringLiteral("update-desktop-database"), {apps}) != 0)
        GTEST_SKIP() << "update-desktop-database (desktop-file-utils) is not installed";
    qputenv("XDG_DATA_HOME", data.path().toUtf8());
    // The machine's MIME database, for the types' names.
    qputenv("XDG_DATA_DIRS", "/usr/share");
    setDesktop(makeDesktop(QStringLiteral("offscreen")));
    makeWindow();
    QSignalSpy alerts(window.get(), &PrefsWindow::alertShown);

    window->setAppRemoverFromEntry(apps + QStringLiteral("/viewer.desktop"));
    ASSERT_TRUE(waitUntil([&] { return alerts.size() == 1; }, 5000));
    EXPECT_EQ(alerts[0][0].toString(), QStringLiteral("\"Viewer\" cannot accept an application "
                                                      "file, so it probably can't delete one "
                                                      "either."));
    EXPECT_TRUE(defaults->value(Key::AppRemoverBundleIdentifier).isEmpty());

    window->setAppRemoverFromEntry(apps + QStringLiteral("/remover.desktop"));
    ASSERT_TRUE(waitUntil(
        [&] { return !defaults->value(Key::AppRemoverBundleIdentifier).isEmpty(); }, 5000));
    EXPECT_EQ(defaults->value(Key::AppRemoverBundleIdentifier), QStringLiteral("remover.desktop"));
    EXPECT_EQ(defaults->value(Key::AppRemoverName), QStringLiteral("Remover"));
    EXPECT_EQ(alerts.size(), 1);

    // Not a desktop entry at all: nothing stored, nothing asked.
    window->setAppRemoverFromEntry(data.filePath(QStringLiteral("notes.txt")));
    QTest::qWait(100);
    EXPECT_EQ(defaults->value(Key::AppRemoverName), QStringLiteral("Remover"));
}
