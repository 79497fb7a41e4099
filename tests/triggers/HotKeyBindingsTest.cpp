// The hot key as text for the desktop's shortcut services and for binding by hand, from the
// settings' stored codes; and the shortcut service's answer on a session without one.
#include "triggers/HotKeyBindings.h"
#include "platform/dbus/PortalHotKeys.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace kelp;

namespace {

// Stored modifier bits: control, option (Alt), command (Super), shift.
constexpr qint64 kControl = 4096, kOption = 2048, kCommand = 256, kShift = 512;

HotKeyChord stored(qint64 code, qint64 modifiers)
{
    const auto chord = chordForHotKey(code, modifiers);
    EXPECT_TRUE(chord) << "code " << code;
    return chord.value_or(HotKeyChord{});
}

} // namespace

TEST(HotKeyBindings, StoredHotKeysInThePortalsAndSwaysWords)
{
    struct Case
    {
        qint64 code, modifiers;
        const char *portal, *sway;
    };
    const Case cases[] = {
        {40, kControl | kOption, "CTRL+ALT+k", "Ctrl+Mod1+k"},           // K
        {49, kCommand | kShift, "SHIFT+LOGO+space", "Shift+Mod4+space"}, // space
        {96, 0, "F5", "F5"},                                             // F5, no modifiers
        {83, kControl, "CTRL+KP_1", "Ctrl+KP_1"},                        // keypad 1
        {41, kOption, "ALT+semicolon", "Mod1+semicolon"},                // ;
        {33, kControl | kOption | kShift | kCommand, "CTRL+ALT+SHIFT+LOGO+bracketleft",
         "Ctrl+Mod1+Shift+Mod4+bracketleft"},         // [
        {36, kCommand, "LOGO+Return", "Mod4+Return"}, // Return
    };
    for (const Case &c : cases) {
        const HotKeyChord chord = stored(c.code, c.modifiers);
        EXPECT_EQ(portalTrigger(chord), QString::fromLatin1(c.portal)) << "code " << c.code;
        EXPECT_EQ(swayChord(chord), QString::fromLatin1(c.sway)) << "code " << c.code;
    }
    EXPECT_EQ(swayBinding(stored(40, kControl | kOption)),
              QStringLiteral("bindsym Ctrl+Mod1+k exec kelp --toggle"));
}

TEST(HotKeyBindings, KeysWithoutANameGiveTheStepsWithoutASwayLine)
{
    const HotKeyChord unnamed{Qt::Key_VolumeUp, false, Qt::ControlModifier};
    EXPECT_FALSE(portalTrigger(unnamed));
    EXPECT_FALSE(swayBinding(unnamed));
    for (const auto &chord : {std::optional<HotKeyChord>(unnamed), std::optional<HotKeyChord>()}) {
        const QString steps = hotKeyBindingSteps(chord);
        EXPECT_FALSE(steps.contains(QStringLiteral("bindsym")));
        EXPECT_TRUE(steps.contains(QStringLiteral("Custom Shortcuts")));
        EXPECT_EQ(steps.count(QStringLiteral("kelp --toggle")), 2) << "GNOME's and KDE's steps";
    }
    EXPECT_TRUE(hotKeyBindingSteps(stored(40, kControl))
                    .contains(QStringLiteral("bindsym Ctrl+k exec kelp --toggle")));
}

TEST(HotKeyBindings, TheStepsAreTheCurrentDesktopsWhereItIsKnown)
{
    const auto chord = stored(40, kControl);
    const auto only = [&](const char *desktop, const char *wanted) {
        const QString steps = hotKeyBindingSteps(chord, QString::fromLatin1(desktop));
        return steps.count(QStringLiteral("kelp --toggle")) == 1 &&
               steps.contains(QString::fromUtf8(wanted));
    };
    EXPECT_TRUE(only("GNOME", "Custom Shortcuts"));
    EXPECT_TRUE(only("ubuntu:GNOME", "Custom Shortcuts"));
    EXPECT_TRUE(only("KDE", "Command or Script"));
    EXPECT_TRUE(only("sway", "bindsym Ctrl+k"));
    // Unknown or unset: every desktop's steps; sway without a line to give: the others'.
    EXPECT_EQ(hotKeyBindingSteps(chord, QStringLiteral("XFCE")).count(u'\n'), 2);
    EXPECT_EQ(hotKeyBindingSteps(chord, {}), hotKeyBindingSteps(chord));
    const HotKeyChord unnamed{Qt::Key_VolumeUp, false, Qt::ControlModifier};
    EXPECT_EQ(hotKeyBindingSteps(unnamed, QStringLiteral("sway")).count(u'\n'), 1);
}

TEST(PortalHotKeys, WithoutASessionBusTheHotKeyIsRefusedWithTheSwayLine)
{
    PortalHotKeys keys(QDBusConnection(QStringLiteral("kelp-no-bus")));
    EXPECT_EQ(keys.way(), PortalHotKeys::Way::ByHand);
    QSignalSpy changed(&keys, &HotKeys::failureChanged);
    EXPECT_FALSE(keys.setHotKey(stored(40, kControl | kOption)));
    EXPECT_TRUE(keys.failure().contains(QStringLiteral("bindsym Ctrl+Mod1+k exec kelp --toggle")))
        << keys.failure().toStdString();
    EXPECT_TRUE(keys.setHotKey(std::nullopt)) << "no hot key asks nothing of the desktop";
    EXPECT_TRUE(keys.failure().isEmpty());
    EXPECT_EQ(changed.count(), 2);
}
