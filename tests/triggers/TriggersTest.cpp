// The triggers' rules, and the gear button's menu on a real panel (offscreen).
#include "triggers/Triggers.h"
#include "catalogue/CatalogueFixture.h"
#include "control/TQController.h"
#include "platform/gio/GioAppsOnDisk.h"
#include "triggers/AccessChecks.h"
#include "triggers/HotSpotEntryRule.h"
#include "triggers/HotSpotPlacement.h"
#include "triggers/KeyTable.h"
#include "triggers/StatusItemMenu.h"
#include "window/TQWindow.h"

#include <QApplication>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace kelp;

TEST(HotSpotPlacement, TheTableInScreenCoordinatesWithTheEdgesEndsLeftFree)
{
    const QRect screen(0, 0, 1440, 900);
    EXPECT_FALSE(hotSpotPlace(0, screen)) << "location 0 places nothing";
    EXPECT_EQ(hotSpotPlace(1, screen)->rect, QRect(0, 0, 4, 4));
    EXPECT_EQ(hotSpotPlace(2, screen)->rect, QRect(0, 28, 1, 844));
    EXPECT_EQ(hotSpotPlace(3, screen)->rect, QRect(0, 896, 4, 4));
    EXPECT_EQ(hotSpotPlace(4, screen)->rect, QRect(28, 899, 1384, 1));
    EXPECT_EQ(hotSpotPlace(5, screen)->rect, QRect(1436, 896, 4, 4));
    EXPECT_EQ(hotSpotPlace(6, screen)->rect, QRect(1439, 28, 1, 844));
    EXPECT_EQ(hotSpotPlace(7, screen)->rect, QRect(1436, 0, 4, 4));
    EXPECT_EQ(hotSpotPlace(8, screen)->rect, QRect(28, 0, 1384, 1));
    for (qint64 odd : {9, 42, -3})
        EXPECT_EQ(hotSpotPlace(odd, screen)->rect, QRect(28, 0, 1384, 1)) << odd << ": top edge";

    // No edge strip reaches a corner square.
    for (qint64 edge : {2, 4, 6, 8})
        for (qint64 corner : {1, 3, 5, 7})
            EXPECT_FALSE(
                hotSpotPlace(edge, screen)->rect.intersects(hotSpotPlace(corner, screen)->rect))
                << edge << " and " << corner;

    // A screen away from the origin, and no screen at all.
    EXPECT_EQ(hotSpotPlace(5, QRect(1440, 100, 800, 600))->rect, QRect(2236, 696, 4, 4));
    EXPECT_FALSE(hotSpotPlace(1, QRect())) << "a zero rectangle leaves no room";
}

TEST(HotSpotPlacement, SidesAreTheScreenEdgesTheHotSpotLiesOn)
{
    const QRect screen(0, 0, 800, 600);
    const auto corner = hotSpotPlace(5, screen);
    ASSERT_EQ(corner->sides.size(), 2);
    EXPECT_EQ(corner->sides[0].edge, Qt::RightEdge);
    EXPECT_EQ(corner->sides[0].line, QLine(799, 596, 799, 599));
    EXPECT_EQ(corner->sides[1].edge, Qt::BottomEdge);
    const auto top = hotSpotPlace(8, screen);
    ASSERT_EQ(top->sides.size(), 1);
    EXPECT_EQ(top->sides[0].line, QLine(28, 0, 771, 0));
}

TEST(HotSpotEntryRule, RestingPassingThroughAndReentering)
{
    bool visible = false;
    HotSpotEntryRule rule([&] { return visible; });
    QSignalSpy fired(&rule, &HotSpotEntryRule::fired);
    rule.setDelay(0.05);

    rule.entered();
    rule.left();
    QTest::qWait(150);
    EXPECT_EQ(fired.count(), 0) << "passing through does nothing";

    rule.entered();
    EXPECT_EQ(fired.count(), 0);
    EXPECT_TRUE(rule.isTimerPending());
    EXPECT_TRUE(QTest::qWaitFor([&] { return fired.count() == 1; }, 2000)) << "resting fires";

    visible = true;
    rule.entered();
    EXPECT_EQ(fired.count(), 2) << "with the panel showing, at once";
    rule.left();

    rule.setIgnoreDelayOnClose(false);
    rule.entered();
    EXPECT_EQ(fired.count(), 2) << "without the setting, hiding waits too";
    EXPECT_TRUE(QTest::qWaitFor([&] { return fired.count() == 3; }, 2000));
    rule.left();

    visible = false;
    rule.setDelay(0);
    rule.entered();
    EXPECT_EQ(fired.count(), 4) << "a delay of 0 acts on entry";
    EXPECT_FALSE(rule.isTimerPending());
}

TEST(HotSpotEntryRule, HighlightOnlyWhenAskedAndOnlyWhileInside)
{
    HotSpotEntryRule rule([] { return false; });
    QSignalSpy highlight(&rule, &HotSpotEntryRule::highlightChanged);
    rule.entered();
    rule.left();
    EXPECT_EQ(highlight.count(), 0);
    rule.setDisplayHotSpots(true);
    rule.entered();
    EXPECT_TRUE(rule.isHighlighted());
    rule.left();
    EXPECT_FALSE(rule.isHighlighted());
    ASSERT_EQ(highlight.count(), 2);
    EXPECT_TRUE(highlight[0][0].toBool());
    EXPECT_FALSE(highlight[1][0].toBool());
}

TEST(KeyTable, RowsBecomeRecordsAndOverlongRowsAreSkipped)
{
    const KeyTable table = parseKeyTable("title\ttag\r\nNone\t-1\r\nTab\t48\textra\r\n\r\n"
                                         "Space\t49\nNameless\n");
    EXPECT_EQ(table.keys, (QStringList{QStringLiteral("title"), QStringLiteral("tag")}));
    ASSERT_EQ(table.records.size(), 3u);
    EXPECT_EQ(table.records[1].value(QStringLiteral("title")), QStringLiteral("Space"));
    ASSERT_EQ(table.skippedRows.size(), 1);
    EXPECT_EQ(table.skippedRows[0],
              QStringLiteral("Row 2 had 3 columns but there are only 2 keys"));
    EXPECT_FALSE(keyRecordForCode(table, 48)) << "the skipped row is gone";
    EXPECT_EQ(keyRecordForCode(table, 49)->value(QStringLiteral("title")), QStringLiteral("Space"));

    // UTF-16 with its mark reads the same; bytes that are no text at all give an empty table.
    QByteArray utf16 = QByteArray("\xFF\xFE", 2);
    const QString text = QStringLiteral("title\ttag\nÉchap\t53\n");
    utf16.append(reinterpret_cast<const char *>(text.utf16()), text.size() * 2);
    EXPECT_EQ(keyRecordForCode(parseKeyTable(utf16), 53)->value(QStringLiteral("title")),
              QStringLiteral("Échap"));
    EXPECT_TRUE(parseKeyTable(QByteArray("\0\0\0", 3)).records.empty());
    EXPECT_TRUE(parseKeyTable({}).keys.isEmpty());
}

TEST(KeyTable, HotKeyStringInTheFixedModifierOrder)
{
    const KeyTable &table = builtInKeyTable();
    EXPECT_EQ(hotKeyString(table, 48, 4096), QStringLiteral("\u2303 control + Tab"));
    EXPECT_EQ(
        hotKeyString(table, 122, 512 | 256 | 2048 | 4096),
        QStringLiteral("\u2303 control + \u2325 option + \u2318 command + \u21E7 shift + F1"));
    EXPECT_EQ(hotKeyString(table, -1, 4096), QStringLiteral("None (no hot key)"));
    EXPECT_EQ(hotKeyString(table, 9999, 0), QStringLiteral("missing resource"));
    EXPECT_EQ(hotKeyString(KeyTable{}, 48, 4096), QStringLiteral("missing resource"));
}

TEST(AccessChecks, PredicatesAndTheAlertsThatFollow)
{
    AccessSettings s;
    EXPECT_TRUE(hasMouseAccess(s));
    EXPECT_FALSE(noMouseAccessAlert(s, QStringLiteral("x")));

    s.showAppInStatusBar = false;
    s.showIconInDock = false;
    s.cursorHotSpotLocation = 0;
    EXPECT_FALSE(hasMenuAccess(s));
    EXPECT_TRUE(hasKeyboardAccess(s));
    const auto hotKeyOnly = noMouseAccessAlert(s, QStringLiteral("\u2303 control + Tab"));
    ASSERT_TRUE(hotKeyOnly);
    EXPECT_TRUE(hotKeyOnly->message.endsWith(QStringLiteral(":\n\n\u2303 control + Tab")));
    EXPECT_FALSE(noAccessAlert(s)) << "the hot key is a way in";

    s.hotKeyCode = -1;
    const auto none = noMouseAccessAlert(s, {});
    ASSERT_TRUE(none);
    EXPECT_EQ(*none, *noAccessAlert(s)) << "without a hot key, the no-access alert";
    EXPECT_TRUE(none->informativeText.contains(QLatin1String("kelp")));

    s.cursorHotSpotLocation = 3;
    EXPECT_TRUE(hasMouseAccess(s)) << "a hot spot is a way in";
    s.cursorHotSpotLocation = 0;
    s.showAppInStatusBar = true;
    s.trayAvailable = false;
    EXPECT_FALSE(hasMouseAccess(s)) << "a tray icon with no tray to show it is none";
}

TEST(StatusItemMenu, ActionsKelpLacksAreLeftOutSeparatorsStay)
{
    const auto menu = statusItemMenu(mainMenuItems());
    QStringList shape;
    for (const MenuEntry &e : menu)
        shape << (e.separator ? QStringLiteral("-") : e.title);
    EXPECT_EQ(shape, (QStringList{
                         QStringLiteral("Show/Hide Kelp"), QStringLiteral("-"),
                         QStringLiteral("About Kelp"), QStringLiteral("-"), QStringLiteral("-"),
                         QStringLiteral("Preferences…"), QStringLiteral("Rescan Applications"),
                         QStringLiteral("Exclude Applications Automatically…"), QStringLiteral("-"),
                         QStringLiteral("Welcome to Kelp"), QStringLiteral("Kelp User Guide"),
                         QStringLiteral("Kelp Home Page"), QStringLiteral("Send Feedback…"),
                         QStringLiteral("-"), QStringLiteral("Quit Kelp")}));
    EXPECT_EQ(statusItemMenu({}).size(), 6u) << "five separators and Quit";
    EXPECT_FALSE(validateMenuItem(MenuAction::Preferences, OpenWindows{true, false, false}));
    EXPECT_TRUE(validateMenuItem(MenuAction::Rescan, OpenWindows{true, true, true}));
}

namespace {
class GearMenu : public kelp::test::CatalogueFixture
{
protected:
    void SetUp() override
    {
        CatalogueFixture::SetUp();
        makeCatalogue(std::make_shared<GioAppsOnDisk>(QStringList{}));
        panel = std::make_unique<TQWindow>(*catalogue, *defaults);
        controller = std::make_unique<TQController>(*catalogue, *panel, *defaults);
        triggers = std::make_unique<Triggers>(*controller, *catalogue, *panel, *defaults);
    }
    void TearDown() override
    {
        triggers.reset();
        controller.reset();
        panel.reset();
    }
    QMenu *openMenu()
    {
        for (QWidget *w : QApplication::topLevelWidgets())
            if (auto *menu = qobject_cast<QMenu *>(w); menu && menu->isVisible()) return menu;
        return nullptr;
    }
    std::unique_ptr<TQWindow> panel;
    std::unique_ptr<TQController> controller;
    std::unique_ptr<Triggers> triggers;
};
} // namespace

TEST_F(GearMenu, WithoutATrayIconTheGearButtonOpensTheStatusItemMenu)
{
    defaults->setValue(Key::ShowAppInStatusBar, false);
    triggers->start();
    EXPECT_FALSE(triggers->hasStatusItem());
    Q_EMIT panel->menuRequested(QPoint(10, 10));
    QMenu *menu = openMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(menu->windowTitle(), QStringLiteral("Kelp Menu"));
    QStringList titles;
    for (QAction *a : menu->actions())
        if (!a->isSeparator()) titles << a->text();
    EXPECT_EQ(titles.first(), QStringLiteral("Show/Hide Kelp"));
    EXPECT_EQ(titles.last(), QStringLiteral("Quit Kelp"));
    menu->hide();
}
