#pragma once
// The hot key's keys and modifiers as the settings store them (virtual key codes of the key table,
// modifier bits 4096 control, 2048 option, 256 command, 512 shift) turned into keys any desktop
// can register: a Qt key, whether it is on the keypad, and Qt's modifiers. Option is Alt and
// command is Super (Meta in Qt's names).
#include <Qt>

#include <optional>

namespace kelp {

struct HotKeyChord
{
    Qt::Key key = Qt::Key_unknown;
    bool keypad = false;
    Qt::KeyboardModifiers modifiers;
    bool operator==(const HotKeyChord &) const = default;
};

// The chord for a stored hot key; none for a negative code or a code no keyboard key has.
std::optional<HotKeyChord> chordForHotKey(qint64 virtualKeyCode, qint64 modifierBits);

} // namespace kelp
