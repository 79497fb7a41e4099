#pragma once
// ModifierKeys: the modifier keys held over the icon grid, now and before their last change, and
// what a change of them means for the group shown.
//
// The keys are named as a PC keyboard names them: Shift, Ctrl, Alt and Meta (the Super or Windows
// key). Kelp's design calls Ctrl "Command", Meta "Control" and Alt "Option". The design also has
// an Fn key that dims the applications that are not running while it is held; PC keyboards never
// report Fn, so it reads as never held.
//
// What the keys do in the grid: Alt shows every application in place of the included ones, Shift
// turns a click into "take it out of this group", Ctrl turns a click into "show in the file
// manager" and widens the applications that may take dragged files, and a click with Meta opens
// the context menu.
#include "catalogue/Group.h"

#include <Qt>

class QKeyEvent;

namespace kelp {

class ModifierKeys
{
public:
    // Whether the key is one of the modifier keys.
    static bool isModifierKey(int key);
    // The modifiers held once a key is pressed or released. The key event reports the state
    // before the key went down or up, so a modifier key's own modifier is added or taken away.
    static Qt::KeyboardModifiers afterPress(const QKeyEvent &event);
    static Qt::KeyboardModifiers afterRelease(const QKeyEvent &event);

    // Takes the keys held now and leaves the keys held before as they were (a click reads the keys
    // of its own event this way).
    void read(Qt::KeyboardModifiers held);
    // The keys changed: the keys held now become the keys held before, then held is read.
    void change(Qt::KeyboardModifiers held);
    // Nothing held, now or before.
    void reset();

    bool shift() const { return _now.shift; }
    bool ctrl() const { return _now.ctrl; }
    bool alt() const { return _now.alt; }
    bool meta() const { return _now.meta; }
    bool fn() const { return _now.fn; }

    // The group shown for the group chosen with the keys held now: Alt shows all applications in
    // place of the included ones; without bunches (orientation 0) a two-level group is shown in its
    // flat form.
    Group groupShownFor(Group groupChosen, int orientation) const;
    // Whether the last change asks for the group to be laid out again: Alt went down or up while
    // the included applications are chosen (the group shown changes), or Shift was released outside
    // a file drop.
    bool changeRelaysOut(Group groupChosen, bool fileDropInProgress) const;
    // Whether the last change alters how cells look: Ctrl during a file drop (the applications
    // that may take the files), Fn elsewhere except in the running group.
    bool changeRedraws(Group groupChosen, bool fileDropInProgress) const;

private:
    struct Held
    {
        bool shift = false;
        bool ctrl = false;
        bool alt = false;
        bool meta = false;
        bool fn = false;
    };
    Held _now;
    Held _before;
};

} // namespace kelp
