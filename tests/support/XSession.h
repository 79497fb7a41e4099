#pragma once
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRect>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <xcb/xcb.h>

#include <cstdlib>
#include <initializer_list>

namespace kelp::test {

// One X server (Xvfb) and window manager (openbox) for the whole test program; each test cleans up
// its own windows. Tests that need a display call XSession::instance().start(&why) and skip with
// `why` when it fails (Xvfb not installed).
class XSession
{
public:
    static XSession &instance()
    {
        static XSession session;
        return session;
    }
    bool start(QString *why, const QString &screen = QStringLiteral("800x600x24"))
    {
        if (!display.isEmpty()) return true;
        if (QStandardPaths::findExecutable(QStringLiteral("Xvfb")).isEmpty()) {
            *why = QStringLiteral("Xvfb is not installed");
            return false;
        }
        // A display number of our own, away from the low numbers desktops and other test runs
        // take; Xvfb refuses a number in use (its lock file), and then the next one is tried.
        const int base = 100 + static_cast<int>(QCoreApplication::applicationPid() % 400) * 2;
        for (int n = base; n < base + 20 && display.isEmpty(); ++n) {
            const QString candidate = QStringLiteral(":%1").arg(n);
            xvfb.start(QStringLiteral("Xvfb"),
                       {candidate, QStringLiteral("-screen"), QStringLiteral("0"), screen,
                        QStringLiteral("-nolisten"), QStringLiteral("tcp"),
                        QStringLiteral("-noreset")});
            // Without -noreset it would start afresh each time its last client leaves. It takes
            // connections once its keymap is compiled, which is slow on a busy machine: ask
            // rarely, so as not to slow it down further.
            bool up = false;
            xvfb.waitForStarted();
            for (int i = 0; i < 150 && xvfb.state() == QProcess::Running && !up; ++i) {
                QTest::qWait(200);
                up = QFile::exists(QStringLiteral("/tmp/.X11-unix/X%1").arg(n)) &&
                     reachable(candidate);
            }
            // Another test program's Xvfb may hold this number: ours then exits soon (on a busy
            // machine, after the socket has already answered), while the socket and the server
            // are the other's. The server's lock file names the process that holds the number.
            if (up && xvfb.state() == QProcess::Running && holdsLock(n, xvfb.processId())) {
                display = candidate;
            } else {
                xvfb.kill();
                xvfb.waitForFinished(3000);
            }
        }
        if (display.isEmpty()) {
            *why = QStringLiteral("Xvfb did not start");
            return false;
        }
        qputenv("DISPLAY", display.toLatin1());
        if (openboxOwnSettings) {
            // Openbox as installed: its own theme, bindings and settings (an empty configuration
            // folder, so it reads the system's rc.xml).
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert(QStringLiteral("XDG_CONFIG_HOME"), config.path());
            openbox.setProcessEnvironment(env);
            openbox.start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
        } else {
            // No key or mouse bindings: openbox grabs every bound key with a round trip each at
            // start-up, which on a busy machine keeps it from managing windows for seconds.
            if (!config.isValid() ||
                !writeFile(config.filePath(QStringLiteral("rc.xml")),
                           "<?xml version=\"1.0\"?>\n<openbox_config "
                           "xmlns=\"http://openbox.org/3.4/rc\"><keyboard/><mouse/>"
                           "<desktops><number>1</number></desktops></openbox_config>\n")) {
                *why = QStringLiteral("cannot write openbox's settings");
                return false;
            }
            openbox.start(QStringLiteral("openbox"),
                          {QStringLiteral("--sm-disable"), QStringLiteral("--config-file"),
                           config.filePath(QStringLiteral("rc.xml"))});
        }
        openbox.waitForStarted();
        bool ready = false;
        for (int i = 0; i < 150 && !ready && openbox.state() != QProcess::NotRunning; ++i) {
            QTest::qWait(200);
            ready = windowManagerReady();
        }
        if (!ready) {
            *why = QStringLiteral("openbox did not take the display %1: %2")
                       .arg(display, QString::fromLocal8Bit(openbox.readAllStandardOutput()));
            return false;
        }
        return true;
    }
    // Starts the display if need be and checks that the tools a test drives it with are installed;
    // empty when all is ready, else why the test is skipped.
    QString whyNotReady(const QString &screen, std::initializer_list<const char *> tools)
    {
        QString why;
        if (!start(&why, screen)) return why;
        for (const char *tool : tools)
            if (QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty())
                return QStringLiteral("%1 is not installed").arg(QLatin1String(tool));
        return {};
    }

    ~XSession()
    {
        // The X clients still around end with their server.
        openbox.kill();
        openbox.waitForFinished(3000);
        xvfb.terminate();
        if (!xvfb.waitForFinished(3000)) xvfb.kill();
    }

    static bool holdsLock(int number, qint64 pid)
    {
        QFile lock(QStringLiteral("/tmp/.X%1-lock").arg(number));
        if (!lock.open(QIODevice::ReadOnly)) return false;
        bool ok = false;
        const qint64 owner = lock.readAll().trimmed().toLongLong(&ok);
        return ok && pid > 0 && owner == pid;
    }

    static bool reachable(const QString &name)
    {
        xcb_connection_t *c = xcb_connect(name.toLatin1().constData(), nullptr);
        const bool ok = !xcb_connection_has_error(c);
        xcb_disconnect(c);
        return ok;
    }

    bool windowManagerReady() const
    {
        xcb_connection_t *c = xcb_connect(display.toLatin1().constData(), nullptr);
        bool ready = false;
        if (!xcb_connection_has_error(c)) {
            const char name[] = "_NET_SUPPORTING_WM_CHECK";
            auto *atom =
                xcb_intern_atom_reply(c, xcb_intern_atom(c, 1, sizeof(name) - 1, name), nullptr);
            const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
            if (atom && atom->atom != XCB_NONE) {
                auto *reply = xcb_get_property_reply(
                    c, xcb_get_property(c, 0, root, atom->atom, XCB_ATOM_WINDOW, 0, 1), nullptr);
                ready = reply && xcb_get_property_value_length(reply) == 4;
                std::free(reply);
            }
            std::free(atom);
        }
        xcb_disconnect(c);
        return ready;
    }

    // Set before start(): openbox with its normal theme and settings rather than none.
    bool openboxOwnSettings = false;
    QString display;
    QTemporaryDir config;
    QProcess xvfb;
    QProcess openbox;
};

// The environment of a Kelp started on the test's X server from a private home: the home's XDG
// folders, a runtime folder of its own (mode 0700), the display, and Qt's platform left to Kelp.
inline QProcessEnvironment displayHomeEnvironment(const QString &home)
{
    const QString runtime = home + QStringLiteral("/runtime");
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QProcessEnvironment env = privateHomeEnvironment(home);
    env.insert(QStringLiteral("DISPLAY"), XSession::instance().display);
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    // Shows, hides, focus changes and launches, for the log of a test that fails.
    env.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("kelp.platform.debug=true"));
    return env;
}

// Kelp's settings in a private home: the home's applications folder as the only scan folder, the
// welcome tour already seen (unless `more` says otherwise), and `more` (plist dictionary entries)
// besides.
inline bool writeScanSettings(const QString &home, const QByteArray &more = {})
{
    const QByteArray welcome = more.contains("showWelcomeWindow")
                                   ? QByteArray()
                                   : QByteArray("<key>showWelcomeWindow</key><false/>");
    return writeFile(home + QStringLiteral("/config/Kelp/Kelp.plist"),
                     "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>" + more + welcome +
                         "<key>searchDirectories</key><array><dict><key>path</key><string>" +
                         (home + QStringLiteral("/data/applications")).toUtf8() +
                         "</string></dict></array></dict></plist>");
}

// Runs a program in `env` and gives what it printed on its standard output within the time.
inline QString runTool(const QProcessEnvironment &env, const QString &program,
                       const QStringList &args, int timeoutMs = 10000)
{
    QProcess p;
    p.setProcessEnvironment(env);
    p.start(program, args);
    p.waitForFinished(timeoutMs);
    return QString::fromUtf8(p.readAllStandardOutput());
}

// A window as xwininfo describes it: whether it shows, and where on the screen.
struct WindowGeometry
{
    bool mapped = false;
    QRect rect;
};

inline int windowInfoNumber(const QString &info, const char *label)
{
    const QRegularExpression re(QLatin1String(label) + QStringLiteral(":\\s+(-?\\d+)"));
    return re.match(info).captured(1).toInt();
}

// xwininfo's output read into a geometry.
inline WindowGeometry parseWindowInfo(const QString &info)
{
    WindowGeometry g;
    g.mapped = info.contains(QLatin1String("IsViewable"));
    g.rect = QRect(windowInfoNumber(info, "Absolute upper-left X"),
                   windowInfoNumber(info, "Absolute upper-left Y"), windowInfoNumber(info, "Width"),
                   windowInfoNumber(info, "Height"));
    return g;
}

// The window xwininfo finds with `args` (-name NAME, or -id ID).
inline WindowGeometry windowGeometry(const QProcessEnvironment &env, const QStringList &args)
{
    return parseWindowInfo(runTool(env, QStringLiteral("xwininfo"), args));
}

// A window that fits itself to what it shows, once it keeps one size: waits until `current`
// gives the same rectangle three times in a row, 200 ms apart, and gives that rectangle.
inline QRect settledRect(const std::function<QRect()> &current, int timeoutMs)
{
    QRect last;
    int same = 0;
    waitUntil(
        [&] {
            const QRect now = current();
            same = now == last ? same + 1 : 0;
            last = now;
            QTest::qWait(200);
            return same >= 3;
        },
        timeoutMs);
    return last;
}

} // namespace kelp::test
