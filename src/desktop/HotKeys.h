#pragma once
// HotKeys: one global hot key for the whole desktop, and the modifier keys' changes while Kelp is
// in front. Presses arrive as pressed() on the GUI thread, once per press (a held key's
// auto-repeat does not press again).
#include "triggers/VirtualKeys.h"

#include <QObject>
#include <QString>

#include <optional>

namespace kelp {

class HotKeys : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    ~HotKeys() override = default;

    // Replaces the registration (the old key is released first); none registers nothing. False
    // when the desktop refuses the key (another program holds it, or no key of the keyboard
    // makes it); failure() then says why, until the next registration. A desktop that answers
    // later returns true for now and reports through failureChanged().
    virtual bool setHotKey(const std::optional<HotKeyChord> &chord) = 0;
    virtual QString failure() const = 0;
    // Modifier changes are reported (modifiersChanged) only while watching.
    virtual void setWatchModifiers(bool watch) = 0;

Q_SIGNALS:
    void pressed();
    void modifiersChanged(Qt::KeyboardModifiers modifiers);
    // failure() changed after setHotKey() returned (a desktop that answers later, or refuses a
    // key it took before).
    void failureChanged();
};

} // namespace kelp
