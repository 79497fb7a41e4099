// The icon view over a real catalogue: groups and modifier keys, the typed filter, Return, the
// Ctrl keys, the wheel and the swipe, clicks, the context menu per group, and what the grid paints.
#include "window/TQIconView.h"

#include "catalogue/CatalogueFixture.h"
#include "desktop/Desktop.h"
#include "desktop/HeadlessDesktop.h"
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
        view->setGroupToShow(Group::All);
    }
    void TearDown() override { view.reset(); }

    bool key(int k, const QString &text, Qt::KeyboardModifiers mods = Qt::NoModifier,
             bool autoRepeat = false, QEvent::Type type = QEvent::KeyPress)
    {
        QKeyEvent e(type, k, mods, text, autoRepeat);
        return type == QEvent::KeyPress ? view->handleKeyDown(&e) : view->handleKeyUp(&e);
    }
    bool ctrl(int k, const QString &text) { return key(k, text, Qt::ControlModifier); }
    bool pressReturn() { return key(Qt::Key_Return, QStringLiteral("\r")); }
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
    QString menuItems()
    {
        QStringList items;
        const auto menu = view->contextualMenu();
        for (const QAction *a : menu->actions())
            items << (a->isSeparator() ? QStringLiteral("--") : a->text());
        return items.join(u'|');
    }

    std::unique_ptr<TQIconView> view;
};

TEST_F(IconView, GroupShownFollowsAltAndOrientation)
{
    QSignalSpy shown(view.get(), &TQIconView::groupShownChanged);
    view->setGroupToShow(Group::Included);
    EXPECT_EQ(view->groupShown(), Group::Included);
    EXPECT_EQ(defaults->value(Key::GroupShownWhenWindowClosed), 1) << "remembered";

    // Alt shows everything, included or not, until it is released. The key events carry the
    // modifiers held before the key itself.
    EXPECT_FALSE(key(Qt::Key_Alt, QString()));
    EXPECT_EQ(view->groupShown(), Group::All);
    EXPECT_FALSE(key(Qt::Key_Alt, QString(), Qt::AltModifier, false, QEvent::KeyRelease));
    EXPECT_EQ(view->groupShown(), Group::Included);
    EXPECT_EQ(shown.size(), 3);

    // Without bunches a two-level group is shown in its flat form.
    defaults->setValue(Key::GroupOrientation, 0);
    view->setGroupToShow(Group::User);
    EXPECT_EQ(view->groupShown(), Group::User1D);
    EXPECT_EQ(view->groupToShow(), Group::User);
}

TEST_F(IconView, LayoutFollowsTheCatalogueAndEmptyGroupsGetTheSmallestPanel)
{
    EXPECT_EQ(view->layout().bunchCount(), 2u);
    EXPECT_EQ(view->size(), view->viewSize());
    QSignalSpy resized(view.get(), &TQIconView::subviewNeedsResizing);
    catalogue->excludeApp(app(Terminal));
    catalogue->excludeApp(app(TextEdit));
    view->setGroupToShow(Group::Included);
    EXPECT_EQ(view->layout().bunchCount(), 1u);
    EXPECT_GE(resized.size(), 1);

    // No favourites yet: one empty 68-point cell in the 12-point frame.
    view->setGroupToShow(Group::User);
    EXPECT_EQ(view->viewSize(), QSize(92, 92));
    EXPECT_TRUE(view->coordsOfApp(app(Safari)).isNone());
    EXPECT_EQ(view->appAtPoint(QPointF(30, 30)), nullptr);
    QImage image(view->size(), QImage::Format_ARGB32_Premultiplied);
    view->render(&image); // paints the empty panel without trouble
}

TEST_F(IconView, AnEmptyRunningGroupSaysWhenTheDesktopKeepsItsWindowsToItself)
{
    // A desktop that shares no window list (GNOME on Wayland): the empty running group is
    // three cells wide and says why it is empty; a desktop that shares one shows the empty cell.
    class Unshared : public HeadlessRunningApplications
    {
    public:
        bool isShared() const override { return false; }
    };
    Desktop services;
    services.running = std::make_shared<Unshared>();
    setDesktop(services);
    view->setGroupToShow(Group::Running);
    view->resize(view->viewSize());
    EXPECT_EQ(view->viewSize(), QSize(3 * 68 + 24, 92));
    EXPECT_FALSE(view->emptyGroupNote().isEmpty());
    auto textPixels = [&]() {
        QImage image(view->size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        view->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
        int white = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                white += qRed(image.pixel(x, y)) > 200 ? 1 : 0;
        }
        return white;
    };
    EXPECT_GT(textPixels(), 20) << "the note is drawn";
    view->setGroupToShow(Group::User);
    EXPECT_TRUE(view->emptyGroupNote().isEmpty()) << "only the running group says it";

    services.running = std::make_shared<HeadlessRunningApplications>();
    setDesktop(services);
    view->setGroupToShow(Group::Running);
    EXPECT_TRUE(view->emptyGroupNote().isEmpty());
    EXPECT_EQ(view->viewSize(), QSize(92, 92));
    setDesktop({});
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
    // "e" is the initial of TextEdit's second word, and in no other name's initials.
    view->resetFilterSubstring();
    type(QStringLiteral("e"));
    EXPECT_EQ(filtered(), (QStringList{TextEdit}));
    // Two letters within a second: a case-insensitive part of the name.
    view->resetFilterSubstring();
    type(QStringLiteral("ail"));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("ail"));
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
    EXPECT_FALSE(key(Qt::Key_F1, QString()));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("te"));
}

TEST_F(IconView, ReturnLaunchesTheOnlyMatch)
{
    QSignalSpy launched(view.get(), &TQIconView::appLaunched);
    app(Mail)->setPathIsValid(true);

    type(QStringLiteral("m"));
    EXPECT_TRUE(pressReturn());
    EXPECT_TRUE(launched.isEmpty()) << "two matches";
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("m"));
    EXPECT_TRUE(view->isFilterTimerRunning());

    type(QStringLiteral("ai"));
    EXPECT_TRUE(key(Qt::Key_Enter, QStringLiteral("\u0003")));
    ASSERT_EQ(launched.size(), 1);
    EXPECT_EQ(launched[0][0].value<std::shared_ptr<TQApp>>(), app(Mail));
    EXPECT_EQ(view->filterSubstring(), QString());

    type(QStringLiteral("zz"));
    EXPECT_TRUE(pressReturn());
    EXPECT_EQ(launched.size(), 1) << "no match";

    // A single match whose file is gone is only logged.
    view->resetFilterSubstring();
    type(QStringLiteral("map"));
    pressReturn();
    EXPECT_EQ(launched.size(), 1);
}

TEST_F(IconView, CancelAndCtrlKeys)
{
    EXPECT_FALSE(key(Qt::Key_Escape, QString()));
    type(QStringLiteral("s"));
    EXPECT_TRUE(key(Qt::Key_Escape, QString()));
    EXPECT_EQ(view->filterSubstring(), QString());
    type(QStringLiteral("s"));
    EXPECT_TRUE(ctrl(Qt::Key_Period, QStringLiteral(".")));
    EXPECT_EQ(view->filterSubstring(), QString());
    EXPECT_FALSE(ctrl(Qt::Key_A, QString()));
    EXPECT_EQ(view->filterSubstring(), QString()) << "Ctrl-letters never filter";

    // Ctrl-"=" and Ctrl-"-" change the rows of a bunched group, never below one.
    const auto rows = view->layout().rowCount();
    QSignalSpy resized(view.get(), &TQIconView::subviewNeedsResizing);
    EXPECT_TRUE(ctrl(Qt::Key_Equal, QStringLiteral("=")));
    EXPECT_EQ(view->layout().rowCount(), rows + 1);
    EXPECT_EQ(resized.size(), 1);
    EXPECT_EQ(view->size(), view->viewSize());
    for (int i = 0; i < 6; ++i)
        EXPECT_TRUE(ctrl(Qt::Key_Minus, QStringLiteral("-")));
    EXPECT_EQ(view->layout().rowCount(), 1u);
    EXPECT_EQ(view->layout().colCount(), 5u);
    view->setGroupToShow(Group::All1D);
    EXPECT_FALSE(ctrl(Qt::Key_Equal, QStringLiteral("=")));

    // Ctrl-"`" shows colour spectra, only while groups are sorted by colour.
    EXPECT_TRUE(ctrl(Qt::Key_QuoteLeft, QStringLiteral("`")));
    EXPECT_FALSE(view->showsIconSpectrums());
    defaults->setValue(Key::GroupContentsSortOrder, 2);
    EXPECT_TRUE(ctrl(Qt::Key_QuoteLeft, QStringLiteral("`")));
    EXPECT_TRUE(view->showsIconSpectrums());
}

TEST_F(IconView, WheelStepsThroughLetters)
{
    struct Step
    {
        int dy; // Qt's angle delta: 120 a notch, positive up
        const char *filter;
        const char *why;
    } steps[] = {
        {-120, "a", "down from nothing"}, {-120, "b", "down a letter"},
        {120, "a", "up a letter"},        {120, "", "up from a"},
        {120, "z", "up from nothing"},    {-120, "", "down from z"},
        {-60, "", "half a notch"},        {60, "", "the other way: the half is forgotten"},
        {60, "", "half again"},           {60, "z", "two halves make a notch"},
    };
    for (const Step &s : steps) {
        SCOPED_TRACE(s.why);
        wheel(QPoint(0, s.dy));
        EXPECT_EQ(view->filterSubstring(), QString::fromLatin1(s.filter));
        EXPECT_FALSE(view->isFilterTimerRunning());
    }
    view->resetFilterSubstring();
    defaults->setValue(Key::ReverseScrollWheel, true);
    wheel(QPoint(0, -120));
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("z"));

    // While a typed word is open the wheel leaves it alone.
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
    auto swipe = [&](int dx, int events) {
        t += 500; // a pause ends the last gesture
        for (int i = 0; i < events; ++i)
            wheel(QPoint(dx, 0), t += 10);
    };
    swipe(240, 26); // one long gesture summing to 50
    EXPECT_EQ(next.size(), 1);
    swipe(-240, 10);
    EXPECT_EQ(prev.size(), 1);
    swipe(240, 4); // not far enough
    EXPECT_EQ(next.size(), 1);
    // Sideways while a one-letter filter is being typed: nothing.
    type(QStringLiteral("s"));
    swipe(240, 20);
    EXPECT_EQ(next.size(), 1);
    EXPECT_EQ(view->filterSubstring(), QStringLiteral("s"));
}

TEST_F(IconView, ContextMenuPerGroup)
{
    view->myMouseMoved(centreOf(Safari));
    EXPECT_EQ(menuItems(), "Exclude|--|Add Favorite|Add Favorite in New Group|--|"
                           "Show in File Manager|--|Send to AppCleaner");
    view->addSelectedAppToUser();
    view->myMouseMoved(centreOf(Safari));
    EXPECT_EQ(menuItems(), "Exclude|--|Show in File Manager|--|Send to AppCleaner")
        << "already a favourite";

    view->setGroupToShow(Group::User);
    view->myMouseMoved(centreOf(Safari));
    defaults->setValue(Key::AppRemoverName, QString());
    EXPECT_EQ(menuItems(), "Move to New Group|Remove Favorite|--|Show in File Manager");

    catalogue->excludeApp(app(Terminal));
    view->setGroupToShow(Group::Excluded);
    view->myMouseMoved(centreOf(Terminal));
    EXPECT_TRUE(menuItems().startsWith("Include|"));
    view->myMouseMoved(QPointF(1, 1));
    EXPECT_EQ(menuItems(), "Hide Group");
}

TEST_F(IconView, ClicksLaunchExcludeIncludeAndRemove)
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
    view->setGroupToShow(Group::Excluded1D);
    QTest::mouseClick(view.get(), Qt::LeftButton, Qt::ShiftModifier, centreOf(Safari));
    EXPECT_TRUE(catalogue->excludedApps1D().isEmpty());
    view->setGroupToShow(Group::User);
    QTest::mouseClick(view.get(), Qt::LeftButton, Qt::ShiftModifier, centreOf(Mail));
    EXPECT_EQ(paths(catalogue->userApps()), (QList<QStringList>{{Maps}}));

    // A plain click launches; pressing on one icon and releasing on another does nothing.
    QSignalSpy launched(view.get(), &TQIconView::appLaunched);
    app(Maps)->setPathIsValid(true);
    QTest::mouseClick(view.get(), Qt::LeftButton, Qt::NoModifier, centreOf(Maps));
    EXPECT_EQ(launched.size(), 1);
    view->setGroupToShow(Group::All1D);
    app(Safari)->setPathIsValid(true);
    QTest::mousePress(view.get(), Qt::LeftButton, Qt::NoModifier, centreOf(Safari));
    QTest::mouseRelease(view.get(), Qt::LeftButton, Qt::NoModifier, centreOf(Maps));
    EXPECT_EQ(launched.size(), 1);
}

TEST_F(IconView, PaintsDimmedIconsAndTheScanMessage)
{
    QImage red(16, 16, QImage::Format_ARGB32_Premultiplied);
    red.fill(Qt::red);
    for (const QString &p : {Safari, Mail, Maps, TextEdit, Terminal})
        app(p)->setDisplayIcon(red);
    auto redAt = [&](const QString &p) {
        QImage image(view->size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        view->render(&image, QPoint(), QRegion(), QWidget::DrawChildren); // the view's own paint
        return qRed(image.pixel(centreOf(p)));
    };
    EXPECT_GT(redAt(Mail), 240);

    // Filtered out or excluded: drawn at the excluded opacity.
    type(QStringLiteral("s"));
    EXPECT_GT(redAt(Safari), 240);
    EXPECT_LT(redAt(Mail), 60);
    view->resetFilterSubstring();
    catalogue->excludeApp(app(Mail));
    EXPECT_LT(redAt(Mail), 60);

    // While the catalogue is walked only the progress shows; typed keys are kept.
    view->showProgressStep(3, 10, QStringLiteral("/apps"));
    EXPECT_TRUE(view->isBusyScanning());
    EXPECT_EQ(view->scanningStep(), QStringLiteral("Scanning 3 of 10"));
    type(QStringLiteral("te"));
    EXPECT_LT(redAt(Safari), 10) << "no icons while scanning";
    view->showProgressStep(0, 0, QString());
    EXPECT_FALSE(view->isBusyScanning());
    EXPECT_EQ(filtered(), (QStringList{TextEdit, Terminal}));

    // The colours follow the settings: white text on the black tint, black once it is clear.
    EXPECT_EQ(view->textColour(), QColor(Qt::white));
    defaults->setValue(Key::WindowAlpha, 0.0);
    EXPECT_EQ(view->textColour(), QColor(Qt::black));
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
    view->setGroupToShow(Group::All1D);
    app(entry)->setPathIsValid(true);

    QSignalSpy launched(view.get(), &TQIconView::appLaunched);
    type(QStringLiteral("q"));
    EXPECT_TRUE(pressReturn());
    EXPECT_EQ(launched.size(), 1) << "the panel may hide at once";
    EXPECT_FALSE(QFile::exists(marker)) << "the key did not wait for the program";
    EXPECT_TRUE(kelp::test::waitUntil([&] { return QFile::exists(marker); }, 10000));
    setDesktop(saved);
}
