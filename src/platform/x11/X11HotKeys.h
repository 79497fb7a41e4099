#pragma once
// The global hot key on X11: a passive key grab on the root window, on a connection of Kelp's own
// read through a socket notifier (nothing runs until a grabbed key is pressed). The key is grabbed
// with every combination of the lock modifiers (Caps, Num and Scroll Lock, found in the server's
// modifier map) so that it works whichever lock is on, and grabbed again when the keyboard mapping
// changes. XKB's detectable auto-repeat keeps a held key from pressing again; XKB state events
// report the modifiers while watching.
#include "desktop/HotKeys.h"

#include <QList>

#include <memory>

class QSocketNotifier;

namespace kelp {

class X11HotKeys : public HotKeys
{
    Q_OBJECT
public:
    // displayName: an X display (":1"); empty means $DISPLAY.
    explicit X11HotKeys(const QByteArray &displayName = {}, QObject *parent = nullptr);
    ~X11HotKeys() override;

    bool isConnected() const;
    bool setHotKey(const std::optional<HotKeyChord> &chord) override;
    QString failure() const override { return _failure; }
    void setWatchModifiers(bool watch) override;

private:
    void readEvents();
    void readModifierMap();
    bool grab();
    void ungrab();
    void selectXkbEvents();

    struct Connection;
    std::unique_ptr<Connection> _x;
    QSocketNotifier *_notifier = nullptr;
    std::optional<HotKeyChord> _chord;
    QString _failure;
    bool _watching = false;
    bool _lostLogged = false;
};

} // namespace kelp
