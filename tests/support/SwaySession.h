#pragma once
// A headless sway for the Wayland tests, the counterpart of XSession.h: sway with the headless
// backend and the pixman renderer, no input devices, a configuration the test writes and a runtime
// folder of its own. Sway refuses to run as root, so when the tests run as root (CI) sway and
// every client under test run as an unprivileged user (created when missing) through runuser.
//
// Keys go in through wtype; one long-running wtype keeps a keyboard on the seat the whole time,
// since each short wtype run adds and removes a keyboard and clients would see a focus loss.
// Screenshots come from grim, the tree and commands from swaymsg.
#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace kelp::test {

class SwaySession
{
public:
    // One sway for the whole test program, started by the first test that asks.
    static SwaySession &instance();

    // Starts sway with the base configuration plus `extraConfig` (set before start; e.g.
    // bindsym lines). Returns false with the reason in `why` (sway not installed, not started).
    bool start(QString *why);
    QString extraConfig;

    // The user sway and the clients run as (empty: the test's own user), found or created by
    // start() or ensureUser() (which other compositors' tests call too).
    QString user() const { return _user; }
    bool ensureUser(QString *why) { return findOrCreateUser(why); }
    // Makes a folder (and everything in it) the test user's, so Kelp can write its home there.
    bool giveToUser(const QString &path) const;

    // The environment of a Wayland client of this sway (WAYLAND_DISPLAY, XDG_RUNTIME_DIR, SWAYSOCK,
    // no DISPLAY), based on `base`.
    QProcessEnvironment
    clientEnvironment(QProcessEnvironment base = QProcessEnvironment::systemEnvironment()) const;
    // Starts `program` as the test user in `env` (runuser when the test runs as root).
    void startAsUser(QProcess &process, const QString &program, const QStringList &arguments,
                     const QProcessEnvironment &env) const;
    // Runs a tool against this sway to its end (within `timeoutMs`); its standard output.
    QByteArray run(const QString &program, const QStringList &arguments, bool *ok = nullptr,
                   int timeoutMs = 15000) const;

    // swaymsg with the arguments (e.g. {"-t", "get_tree"} or {"fullscreen", "enable"}).
    QByteArray swaymsg(const QStringList &arguments, bool *ok = nullptr) const;
    // Keys through wtype (its arguments: "-k", "Return", or text).
    bool type(const QStringList &arguments) const;
    // The whole output, through grim (null on failure).
    QImage screenshot() const;

    // The pointer: one virtual pointer on sway's seat (support/VirtualPointer.cpp), started at
    // the first use and kept until stop(), so that clients keep their wl_pointer throughout.
    // Positions are pixels of the one 1024 × 768 output. Each returns once sway has handled the
    // motion or button; false when the pointer could not do it.
    bool pointerMoveTo(int x, int y);
    bool pointerPress();
    bool pointerRelease();
    bool click(int x, int y);

    QString runtimeDir() const { return _runtime; }
    QString waylandDisplay() const { return _waylandDisplay; }
    QString swaySocket() const { return _swaySocket; }
    bool isRunning() const { return _sway && _sway->state() == QProcess::Running; }
    // Ends sway (the compositor going away); a later start() makes a new one.
    void stop();

    ~SwaySession();

private:
    SwaySession() = default;
    bool findOrCreateUser(QString *why);
    QStringList asUser(const QString &program, const QStringList &arguments) const;
    bool pointerCommand(const QByteArray &line);

    QString _user;
    std::unique_ptr<QTemporaryDir> _dir;
    QString _runtime;
    QString _waylandDisplay;
    QString _swaySocket;
    std::unique_ptr<QProcess> _sway;
    std::unique_ptr<QProcess> _keyboard;
    std::unique_ptr<QProcess> _pointer;
};

} // namespace kelp::test
