#include "window/ModifierKeys.h"

#include "catalogue/TQAppManager.h"

#include <QKeyEvent>

namespace kelp {

namespace {

Qt::KeyboardModifier modifierOfKey(int key)
{
    switch (key) {
    case Qt::Key_Shift:
        return Qt::ShiftModifier;
    case Qt::Key_Control:
        return Qt::ControlModifier;
    case Qt::Key_Alt:
        return Qt::AltModifier;
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
        return Qt::MetaModifier;
    default:
        return Qt::NoModifier;
    }
}

} // namespace

bool ModifierKeys::isModifierKey(int key)
{
    return key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Alt ||
           key == Qt::Key_Meta || key == Qt::Key_Super_L || key == Qt::Key_Super_R ||
           key == Qt::Key_AltGr;
}

Qt::KeyboardModifiers ModifierKeys::afterPress(const QKeyEvent &event)
{
    return event.modifiers() | modifierOfKey(event.key());
}

Qt::KeyboardModifiers ModifierKeys::afterRelease(const QKeyEvent &event)
{
    return event.modifiers() & ~modifierOfKey(event.key());
}

void ModifierKeys::read(Qt::KeyboardModifiers held)
{
    _now.shift = held.testFlag(Qt::ShiftModifier);
    _now.ctrl = held.testFlag(Qt::ControlModifier);
    _now.alt = held.testFlag(Qt::AltModifier);
    _now.meta = held.testFlag(Qt::MetaModifier);
    _now.fn = false; // PC keyboards do not report it
}

void ModifierKeys::change(Qt::KeyboardModifiers held)
{
    _before = _now;
    read(held);
}

void ModifierKeys::reset()
{
    _now = Held();
    _before = Held();
}

Group ModifierKeys::groupShownFor(Group groupChosen, int orientation) const
{
    Group group = groupChosen;
    if (_now.alt) {
        if (group == Group::Included)
            group = Group::All;
        else if (group == Group::Included1D)
            group = Group::All1D;
    }
    if (orientation == 0) {
        switch (group) {
        case Group::Included:
            return Group::Included1D;
        case Group::All:
            return Group::All1D;
        case Group::Excluded:
            return Group::Excluded1D;
        case Group::User:
            return Group::User1D;
        default:
            break;
        }
    }
    return group;
}

bool ModifierKeys::changeRelaysOut(Group groupChosen, bool fileDropInProgress) const
{
    const bool altChanged = _now.alt != _before.alt;
    const bool shiftReleased = _before.shift && !_now.shift;
    const bool includedChosen = groupChosen == Group::Included || groupChosen == Group::Included1D;
    return (altChanged && includedChosen) || (!fileDropInProgress && shiftReleased);
}

bool ModifierKeys::changeRedraws(Group groupChosen, bool fileDropInProgress) const
{
    if (fileDropInProgress) return _now.ctrl != _before.ctrl;
    return _now.fn != _before.fn && groupChosen != Group::Running;
}

} // namespace kelp
