#pragma once
// The hot key as text for desktops where Kelp cannot grab a key itself: the trigger Kelp asks the
// GlobalShortcuts portal for ("CTRL+ALT+k"), the line that binds it in sway's configuration
// (bindsym Ctrl+Mod1+k exec kelp --toggle), and the steps for GNOME and KDE. Keys are named by
// their XKB keysym names, which both the portal and sway read.
#include "triggers/VirtualKeys.h"

#include <QString>

#include <optional>

namespace kelp {

// The XKB keysym name of the chord's key ("k", "space", "F5", "KP_1"); none for a key without one.
std::optional<QString> keysymName(const HotKeyChord &chord);

// The chord in the portal's shortcut format: modifiers CTRL, ALT, SHIFT, LOGO then the keysym
// name, joined by '+'. None when the key has no keysym name.
std::optional<QString> portalTrigger(const HotKeyChord &chord);

// The chord in sway's bindsym syntax: Ctrl, Mod1 (Alt), Shift, Mod4 (Super) then the keysym name.
std::optional<QString> swayChord(const HotKeyChord &chord);

// The whole sway line that runs kelp --toggle on the chord.
std::optional<QString> swayBinding(const HotKeyChord &chord);

// What the user does to bind the hot key by hand: the sway line, then GNOME's and KDE's steps
// (each with the command kelp --toggle). Without a chord that sway can express, the steps alone.
// `currentDesktop` is $XDG_CURRENT_DESKTOP (names separated by colons): where it names GNOME, KDE
// or sway, only that desktop's steps (sway's only with a line to give); otherwise all of them.
QString hotKeyBindingSteps(const std::optional<HotKeyChord> &chord,
                           const QString &currentDesktop = {});

} // namespace kelp
