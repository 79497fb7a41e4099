// The icon view over a real catalogue: groups and modifiers, the typed filter, Return, the Ctrl
// keys, the wheel and the swipe, clicks, the context menu per group, and what the grid paints.
#include "window/TQIconView.h"

#include "catalogue/CatalogueFixture.h"
#include "desktop/Desktop.h"
#include "platform/gio/GioAppLauncher.h"

#include <QApplication>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

using namespace kelp;
using kelp::test::CatalogueFixture;

namespace {
const QString Safari = QStringLiteral("/apps/Safari.app");
const QString Mail = QStringLiteral("/apps/Mail.app");
const QString Maps = QStringLiteral("/apps/Maps.app");
const QString TextEdit = QStringLiteral("/more/TextEdit.app");
const QString Terminal = QStringLiteral("/more/Terminal.app");
} // namespace

class IconView : public CatalogueFixture
{
protected:
    void SetUp() override
    {
        CatalogueFixture::SetUp();
        makeCatalogue();
        setAll({{Safari, Mail, Maps}, {TextEdit, Terminal}});
        view = std::make_unique<TQIconView>(*catalogue, *defaults);
        view->setMaxIconViewSize(QSize(800, 600));
        view->setGroupToShow(TQAppManager::All);
    }
    void TearDown() override { view.reset(); }

    bool key(int k, const QString &text, Qt::KeyboardModifiers mods = Qt::NoModifier,
             bool autoRepeat = false)
    {
        QKeyEvent e(QEvent::KeyPress, k, mods, text, autoRepeat);
        return view->handleKeyDown(&e);
    }
    void type(const QString &letters)
    {
        for (QChar c : letters)
            key(c == u' ' ? int(Qt::Key_Space) : Qt::Key_A + (c.unicode() - u'a'), QString(c));
    }
    void wheel(QPoint angle, quint64 timestampMs = 0)
    {
        QWheelEvent e(QPointF(10, 10), QPointF(10, 10), QPoint(), angle, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
        e.setTimestamp(timestampMs);
        QCoreApplication::sendEvent(view.get(), &e);
    }
    QPoint centreOf(const QString &path) { return view->rectOfApp(app(path)).center().toPoint(); }
    QStringList filtered() { return paths(view->keyFilteredApps1D()); }
    QStringList menuItems()
    {
        QStringList items;
        const auto menu = view->contextualMenu();
        for (const QAction *a : menu->actions())
            items << (a->isSeparator() ? QStringLiteral("--") : a->text());
        return items;
    }

    std::unique_ptr<TQIconView> view;
};

TEST_F(IconView, GroupShownFollowsAltAndOrientation)
{
    QSignalSpy shown(view.get(), &TQIconView::groupShownChanged);
    view->setGroupToShow(TQAppManager::Included);
    EXPECT_EQ(view->groupShown(), TQAppManager::Included);
    EXPECT_EQ(defaults->integer(QStringLiteral("groupShownWhenWindowClosed")), 1);

    // Alt shows everything, included or not, until it is released.
    view->modifierKeysChanged(Qt::AltModifier);
    EXPECT_EQ(view->groupShown(), TQAppManager::All);
    view->modifierKeysChanged(Qt::NoModifier);
    EXPECT_EQ(view->groupShown(), TQAppManager::Included);
    EXPECT_EQ(shown.size(), 3);

    // Without bunches a two-level group is shown in its flat form.
    defaults->setValue(QStringLiteral("groupOrientation"), qint64(0));
    view->setGroupToShow(TQAppManager::User);
    EXPECT_EQ(view->groupShown(), TQAppManager::User1D);
    EXPECT_EQ(view->groupToShow(), TQAppManager::User);
}

TEST_F(IconView, LayoutFollowsTheCatalogueAndEmptyGroupsGetTheSmallestPanel)
{
    EXPECT_EQ(view->layout().bunchCount(), 2u);
    EXPECT_EQ(view->size(), view->viewSize());
    QSignalSpy resized(view.get(), &TQIconView::subviewNeedsResizing);
    catalogue->excludeApp(app(Terminal));
    catalogue->excludeApp(app(TextEdit));
    view->setGroupToShow(TQAppManager::Included);
    EXPECT_EQ(view->layout().bunchCount(), 1u);
    EXPECT_GE(resized.size(), 1);

    view->setGroupToShow(TQAppManager::User); // no favourites yet
    EXPECT_EQ(view->layout().rowCount(), 0u);
    const int cell = 64 + 2 * 2;
    EXPECT_EQ(view->viewSize(), QSize(cell + 24, cell + 24));
    EXPECT_TRUE(view->coordsOfApp(app(Safari)).isNone());
    EXPECT_EQ(view->appAtPoint(QPointF(30, 30)), nullptr);
    QImage image(view->size(), QImage::Format_ARGB32_Premultiplied);
    view->render(&image); // paints the empty panel without trouble
    EXPECT_TRUE(view->keyFilteredApps1D().isEmpty());
    EXPECT_FALSE(key(Qt::Key_Return, QStringLiteral("\r")) && view->filterSubstring() != "");
}

TEST_F(IconView, SelectionFollowsThePointer)
{
    QSignalSpy selected(view.get(), &TQIconView::selectedAppChanged);
    view->myMouseMoved(centreOf(Mail));
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(selected[0][0].value<std::shared_ptr<TQApp>>(), app(Mail));
    EXPECT_EQ(selected[0][1].toRectF(), view->rectOfApp(app(Mail)));
    view->myMouseMoved(centreOf(Mail) + QPoint(1, 1)); // the same cell: no news
    EXPECT_EQ(selected.size(), 1);
    view->myMouseMoved(QPointF(2, 2)); // the frame
    ASSERT_EQ(selected.size(), 2);
    EXPECT_EQ(selected[1][0].value<std::shared_ptr<TQApp>>(), nullptr);
    EXPECT_EQ(view->selectedCoords().margin, 0u);
}

TEST_F(IconView, OneLetterMatchesInitialsLongerFiltersMatchNames)
{
    QSignalSpy changes(view.get(), &TQIconView::filterStringChanged);
    type(QStringLiteral("m"));
    EXPECT_EQ(filtered(), (QStringList{Mail, Maps}));
    EXPECT_EQ(changes.last()[0].toString(), QStringLiteral("m"));
    EXPECT_EQ(changes.last()[1].toDouble(), 1.0);
    // "T" of "TextEdit" and "E" of its second word: "e" is an initial of TextEdit only.
    view->resetFilterSubstring();
    type(QStringLiteral("e"));
    EXPECT_EQ(filtered(), (QStringList{TextEdit}));
    // Two letters within a second: a case-insensitive substring of the name ("ma" is in "Mail",
    // "Maps", and in none of the initials' sense only).
    view->resetFilterSubstring();
    type(QStringLiteral("ai"));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("ai"));
    EXPECT_EQ(filtered(), (QStringList{Mail}));
    type(QStringLiteral("l"));
    EXPECT_EQ(filtered(), (QStringList{Mail}));

    // After the timer has run out, the next key starts a new word.
    ASSERT_TRUE(kelp::test::waitUntil([&] { return !view->isFilterTimerRunning(); }, 3000));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("ail")) << "kept until the next key";
    type(QStringLiteral("t"));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("t"));
    EXPECT_EQ(filtered(), (QStringList{TextEdit, Terminal}));
}

TEST_F(IconView, SpacesBackspaceAndHeldKeys)
{
    EXPECT_TRUE(key(Qt::Key_Space, QStringLiteral(" ")));
    EXPECT_EQ(view->filterSubstring(), QString()) << "a space never starts a filter";
    type(QStringLiteral("te  e"));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("te e"));
    EXPECT_TRUE(key(Qt::Key_Backspace, QString(), Qt::NoModifier, true));
    EXPECT_TRUE(key(Qt::Key_Backspace, QString(), Qt::NoModifier, true));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("te")) << "a held Backspace repeats";
    key(Qt::Key_X, QStringLiteral("x"), Qt::NoModifier, true);
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("te")) << "a held letter types once";
    EXPECT_FALSE(key(Qt::Key_Comma, QStringLiteral(",")));
    EXPECT_FALSE(key(Qt::Key_Eacute, QStringLiteral("\u00e9")));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("te"));
    EXPECT_FALSE(key(Qt::Key_F1, QString()));
}

TEST_F(IconView, ReturnLaunchesTheOnlyMatch)
{
    QSignalSpy launched(view.get(), &TQIconView::appLaunched);
    app(Safari)->setPathIsValid(true);
    app(Mail)->setPathIsValid(true);

    type(QStringLiteral("m"));
    EXPECT_TRUE(key(Qt::Key_Return, QStringLiteral("\r")));
    EXPECT_TRUE(launched.isEmpty()) << "two matches";
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("m"));
    EXPECT_TRUE(view->isFilterTimerRunning());

    type(QStringLiteral("ai"));
    EXPECT_TRUE(key(Qt::Key_Enter, QStringLiteral("\u0003")));
    ASSERT_EQ(launched.size(), 1);
    EXPECT_EQ(launched[0][0].value<std::shared_ptr<TQApp>>(), app(Mail));
    EXPECT_EQ(view->filterSubstring(), QString());

    type(QStringLiteral("zz"));
    EXPECT_TRUE(key(Qt::Key_Return, QStringLiteral("\r")));
    EXPECT_EQ(launched.size(), 1) << "no match";

    // A single match whose file is gone is only logged.
    view->resetFilterSubstring();
    type(QStringLiteral("ma"));
    type(QStringLiteral("p"));
    key(Qt::Key_Return, QStringLiteral("\r"));
    EXPECT_EQ(launched.size(), 1);
}

TEST_F(IconView, CancelAndCtrlKeys)
{
    EXPECT_FALSE(key(Qt::Key_Escape, QString()));
    type(QStringLiteral("s"));
    EXPECT_TRUE(key(Qt::Key_Escape, QString()));
    EXPECT_EQ(view->filterSubstring(), QString());
    type(QStringLiteral("s"));
    EXPECT_TRUE(key(Qt::Key_Period, QStringLiteral("."), Qt::ControlModifier));
    EXPECT_EQ(view->filterSubstring(), QString());
    EXPECT_FALSE(key(Qt::Key_A, QString(), Qt::ControlModifier));
    EXPECT_EQ(view->filterSubstring(), QString()) << "Ctrl-letters never filter";

    // Ctrl-"=" and Ctrl-"-" change the rows of a bunched group, never below one.
    view->setGroupToShow(TQAppManager::All);
    const auto rows = view->layout().rowCount();
    QSignalSpy resized(view.get(), &TQIconView::subviewNeedsResizing);
    EXPECT_TRUE(key(Qt::Key_Equal, QStringLiteral("="), Qt::ControlModifier));
    EXPECT_EQ(view->layout().rowCount(), rows + 1);
    EXPECT_EQ(resized.size(), 1);
    EXPECT_EQ(view->size(), view->viewSize());
    for (int i = 0; i < 6; ++i)
        EXPECT_TRUE(key(Qt::Key_Minus, QStringLiteral("-"), Qt::ControlModifier));
    EXPECT_EQ(view->layout().rowCount(), 1u);
    EXPECT_EQ(view->layout().colCount(), 5u);

    view->setGroupToShow(TQAppManager::All1D);
    EXPECT_FALSE(key(Qt::Key_Equal, QStringLiteral("="), Qt::ControlModifier));

    // Ctrl-"`" shows colour spectra, only while groups are sorted by colour.
    EXPECT_TRUE(key(Qt::Key_QuoteLeft, QStringLiteral("`"), Qt::ControlModifier));
    EXPECT_FALSE(view->showsIconSpectrums());
    defaults->setValue(QStringLiteral("groupContentsSortOrder"), qint64(2));
    EXPECT_TRUE(key(Qt::Key_QuoteLeft, QStringLiteral("`"), Qt::ControlModifier));
    EXPECT_TRUE(view->showsIconSpectrums());
}

TEST_F(IconView, WheelStepsThroughLetters)
{
    wheel(QPoint(0, -120)); // down
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("a"));
    EXPECT_FALSE(view->isFilterTimerRunning());
    wheel(QPoint(0, -120));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("b"));
    wheel(QPoint(0, 120));
    wheel(QPoint(0, 120));
    EXPECT_EQ(view->filterSubstring(), QString()) << "up from a";
    wheel(QPoint(0, 120));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("z"));
    wheel(QPoint(0, -120));
    EXPECT_EQ(view->filterSubstring(), QString()) << "down from z";

    // Half steps add up; a turn the other way starts the sum again.
    wheel(QPoint(0, -60));
    wheel(QPoint(0, 60));
    wheel(QPoint(0, 60));
    EXPECT_EQ(view->filterSubstring(), QString());
    wheel(QPoint(0, 60));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("z"));
    view->resetFilterSubstring();

    defaults->setValue(QStringLiteral("reverseScrollWheel"), true);
    wheel(QPoint(0, -120));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("z"));

    // While a typed word is fresh the wheel leaves it alone; once its timer ran out it clears it.
    view->resetFilterSubstring();
    type(QStringLiteral("ma"));
    wheel(QPoint(0, -120));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("ma"));
}

TEST_F(IconView, OneSwipeSwitchesOneGroup)
{
    QSignalSpy next(view.get(), &TQIconView::selectNextIconGroup);
    QSignalSpy prev(view.get(), &TQIconView::selectPrevIconGroup);
    quint64 t = 100000;
    // One long gesture summing to 50: one switch.
    for (int i = 0; i < 26; ++i)
        wheel(QPoint(240, 0), t += 10);
    EXPECT_EQ(next.size(), 1);
    // A pause ends the gesture; the next one switches again, the other way.
    t += 500;
    for (int i = 0; i < 10; ++i)
        wheel(QPoint(-240, 0), t += 10);
    EXPECT_EQ(prev.size(), 1);
    EXPECT_EQ(next.size(), 1);
    // A gesture that does not travel far enough switches nothing.
    t += 500;
    for (int i = 0; i < 4; ++i)
        wheel(QPoint(240, 0), t += 10);
    EXPECT_EQ(next.size(), 1);
    // Sideways while a one-letter filter is being typed: nothing.
    t += 500;
    type(QStringLiteral("s"));
    for (int i = 0; i < 20; ++i)
        wheel(QPoint(240, 0), t += 10);
    EXPECT_EQ(next.size(), 1);
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("s"));
}

TEST_F(IconView, ContextMenuPerGroup)
{
    view->myMouseMoved(centreOf(Safari));
    EXPECT_EQ(menuItems(),
              (QStringList{"Exclude", "--", "Add Favorite", "Add Favorite in New Group", "--",
                           "Show in File Manager", "--", "Send to AppCleaner"}));

    view->addSelectedAppToUser();
    view->myMouseMoved(centreOf(Safari));
    EXPECT_EQ(menuItems(),
              (QStringList{"Exclude", "--", "Show in File Manager", "--", "Send to AppCleaner"}))
        << "already a favourite";

    view->setGroupToShow(TQAppManager::User);
    view->myMouseMoved(centreOf(Safari));
    defaults->setValue(QStringLiteral("appRemoverName"), QString());
    EXPECT_EQ(menuItems(),
              (QStringList{"Move to New Group", "Remove Favorite", "--", "Show in File Manager"}));

    catalogue->excludeApp(app(Terminal));
    view->setGroupToShow(TQAppManager::Excluded);
    view->myMouseMoved(centreOf(Terminal));
    EXPECT_EQ(menuItems().mid(0, 4),
              (QStringList{"Include", "--", "Add Favorite", "Add Favorite in New Group"}));

    view->myMouseMoved(QPointF(1, 1));
    EXPECT_EQ(menuItems(), (QStringList{"Hide Group"}));
}

TEST_F(IconView, MenuActionsAndClicksChangeTheCatalogue)
{
    view->show();
    view->myMouseMoved(centreOf(Maps));
    view->addSelectedAppToUserNewGroup();
    view->myMouseMoved(centreOf(Mail));
    view->addSelectedAppToUserNewGroup();
    EXPECT_EQ(paths(catalogue->userApps()), (QList<QStringList>{{Maps}, {Mail}}));

    // Shift-click excludes in the "all" group, includes in the excluded group, and removes a
    // favourite.
    QTest::mouseClick(view.get(), Qt::LeftButton, Qt::ShiftModifier, centreOf(Safari));
    EXPECT_EQ(paths(catalogue->excludedApps1D()), (QStringList{Safari}));
    view->setGroupToShow(TQAppManager::Excluded1D);
    QTest::mouseClick(view.get(), Qt::LeftButton, Qt::ShiftModifier, centreOf(Safari));
    EXPECT_TRUE(catalogue->excludedApps1D().isEmpty());
    view->setGroupToShow(TQAppManager::User);
    QTest::mouseClick(view.get(), Qt::LeftButton, Qt::ShiftModifier, centreOf(Mail));
    EXPECT_EQ(paths(catalogue->userApps()), (QList<QStringList>{{Maps}}));

    // A plain click launches; pressing on one icon and releasing on another does nothing.
    QSignalSpy launched(view.get(), &TQIconView::appLaunched);
    app(Maps)->setPathIsValid(true);
    QTest::mouseClick(view.get(), Qt::LeftButton, Qt::NoModifier, centreOf(Maps));
    EXPECT_EQ(launched.size(), 1);
    view->setGroupToShow(TQAppManager::All1D);
    app(Safari)->setPathIsValid(true);
    QTest::mousePress(view.get(), Qt::LeftButton, Qt::NoModifier, centreOf(Safari));
    QTest::mouseRelease(view.get(), Qt::LeftButton, Qt::NoModifier, centreOf(Maps));
    EXPECT_EQ(launched.size(), 1);
}

TEST_F(IconView, PaintsDimmedAndHighlightedIconsAndTheScanMessage)
{
    QImage red(16, 16, QImage::Format_ARGB32_Premultiplied);
    red.fill(Qt::red);
    for (const QString &p : {Safari, Mail, Maps, TextEdit, Terminal})
        app(p)->setDisplayIcon(red);
    auto paint = [&] {
        QImage image(view->size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        view->render(&image, QPoint(), QRegion(), QWidget::DrawChildren); // the view's own paint
        return image;
    };
    auto redAt = [&](const QImage &image, const QString &p) {
        return qRed(image.pixel(centreOf(p)));
    };
    QImage plain = paint();
    EXPECT_GT(redAt(plain, Safari), 240);

    // Filtered out or excluded: drawn at the excluded opacity.
    type(QStringLiteral("s"));
    QImage filteredImage = paint();
    EXPECT_GT(redAt(filteredImage, Safari), 240);
    EXPECT_LT(redAt(filteredImage, Mail), 60);
    view->resetFilterSubstring();
    catalogue->excludeApp(app(Mail));
    EXPECT_LT(redAt(paint(), Mail), 60);

    // While the catalogue is walked only the progress shows; typed keys are kept.
    view->showProgressStep(3, 10, QStringLiteral("/apps"));
    EXPECT_TRUE(view->isBusyScanning());
    EXPECT_EQ(view->scanningStep(), QStringLiteral("Scanning 3 of 10"));
    type(QStringLiteral("te"));
    EXPECT_LT(redAt(paint(), Safari), 10) << "no icons while scanning";
    view->showProgressStep(0, 0, QString());
    EXPECT_FALSE(view->isBusyScanning());
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("te"));
    EXPECT_EQ(filtered(), (QStringList{TextEdit, Terminal}));

    // An invisible tint gives black text and markers.
    defaults->setValue(QStringLiteral("windowAlpha"), 0.0);
    EXPECT_EQ(view->textColor(), QColor(Qt::black));
    defaults->setValue(QStringLiteral("windowAlpha"), 0.5);
    defaults->setValue(QStringLiteral("windowColor"), Defaults::colorValue(QColor(Qt::black)));
    EXPECT_EQ(view->textColor(), QColor(Qt::white));
}

TEST_F(IconView, ReturnStartsARealProgramWithoutWaitingForIt)
{
    const Desktop saved = desktop();
    Desktop services = saved;
    services.launcher = std::make_shared<GioAppLauncher>();
    setDesktop(services);

    const QString marker = home.filePath(QStringLiteral("launched"));
    const QString entry = home.filePath(QStringLiteral("data/applications/Quokka.desktop"));
    ASSERT_TRUE(kelp::test::writeFile(
        entry, QStringLiteral("[Desktop Entry]\nType=Application\nName=Quokka\n"
                              "Exec=sh -c \"sleep 0.3; echo started > '%1'\"\n")
                   .arg(marker)
                   .toUtf8()));
    setAll({{entry, Safari}});
    view->setGroupToShow(TQAppManager::All1D);
    app(entry)->setPathIsValid(true);

    QSignalSpy launched(view.get(), &TQIconView::appLaunched);
    type(QStringLiteral("q"));
    EXPECT_TRUE(key(Qt::Key_Return, QStringLiteral("\r")));
    EXPECT_EQ(launched.size(), 1) << "the panel may hide at once";
    EXPECT_FALSE(QFile::exists(marker)) << "the key did not wait for the program";
    EXPECT_TRUE(kelp::test::waitUntil([&] { return QFile::exists(marker); }, 10000));
    setDesktop(saved);
}
