#pragma once
// Helpers shared by Kelp's tests.
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

#include <functional>
#include <ostream>

// Readable test failure output for Qt strings.
inline void PrintTo(const QString &s, std::ostream *os)
{
    *os << '"' << s.toStdString() << '"';
}

namespace kelp::test {

// Writes a file, creating its folders. Returns false on failure.
inline bool writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate)) return false;
    return f.write(content) == content.size();
}

inline QByteArray readFile(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// The environment of a kelp process whose whole world is a private home: settings, data, cache
// and the machine's data folders all below `home`, and no display.
inline QProcessEnvironment privateHomeEnvironment(const QString &home)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), home);
    env.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    env.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/cache"));
    env.insert(QStringLiteral("XDG_DATA_DIRS"), home + QStringLiteral("/machine"));
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    return env;
}

// How a kelp process ended: its exit status (-1 when it did not end within a minute) and output.
struct KelpRun
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};

// Runs the kelp executable at `binary` with the arguments, in the environment given.
inline KelpRun runKelp(const QString &binary, const QStringList &arguments,
                       const QProcessEnvironment &env)
{
    QProcess p;
    p.setProcessEnvironment(env);
    p.start(binary, arguments);
    KelpRun run;
    if (!p.waitForFinished(60000)) return run;
    run.status = p.exitCode();
    run.out = p.readAllStandardOutput();
    run.err = p.readAllStandardError();
    return run;
}

// Runs the event loop until the predicate holds or the time is up; returns the predicate's value.
// This waits for an event; it does not measure how long anything takes.
inline bool waitUntil(const std::function<bool()> &predicate, int timeoutMs = 10000)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!predicate()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

// Ends a process a test started: politely, then not.
inline void endProcess(QProcess &process)
{
    if (process.state() == QProcess::NotRunning) return;
    process.terminate();
    if (!process.waitForFinished(5000)) process.kill();
    process.waitForFinished(3000);
}

} // namespace kelp::test
