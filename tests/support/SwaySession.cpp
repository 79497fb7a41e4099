#include "support/SwaySession.h"

#include "support/TestSupport.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTest>

#include <unistd.h>

namespace kelp::test {

namespace {

const QString kTestUser = QStringLiteral("kelp-wayland-test");

} // namespace

SwaySession &SwaySession::instance()
{
    static SwaySession session;
    return session;
}

SwaySession::~SwaySession()
{
    stop();
}

bool SwaySession::findOrCreateUser(QString *why)
{
    if (geteuid() != 0) return true; // sway runs as the test's own user
    auto exists = [] {
        QProcess id;
        id.start(QStringLiteral("id"), {QStringLiteral("-u"), kTestUser});
        return id.waitForFinished(10000) && id.exitCode() == 0;
    };
    if (!exists()) {
        QProcess add;
        add.start(QStringLiteral("useradd"),
                  {QStringLiteral("--system"), QStringLiteral("--no-create-home"),
                   QStringLiteral("--shell"), QStringLiteral("/usr/sbin/nologin"), kTestUser});
        add.waitForFinished(20000);
        // Another test program may have made it meanwhile.
        if (!exists()) {
            *why = QStringLiteral("cannot create the unprivileged user %1 sway needs: %2")
                       .arg(kTestUser, QString::fromLocal8Bit(add.readAllStandardError()));
            return false;
        }
    }
    _user = kTestUser;
    return true;
}

bool SwaySession::giveToUser(const QString &path) const
{
    if (_user.isEmpty()) return true;
    QProcess chown;
    chown.start(QStringLiteral("chown"), {QStringLiteral("-R"), _user + QLatin1Char(':'), path});
    return chown.waitForFinished(20000) && chown.exitCode() == 0;
}

QStringList SwaySession::asUser(const QString &program, const QStringList &arguments) const
{
    if (_user.isEmpty()) return QStringList{program} + arguments;
    return QStringList{QStringLiteral("runuser"), QStringLiteral("-u"), _user, QStringLiteral("--"),
                       program} +
           arguments;
}

void SwaySession::startAsUser(QProcess &process, const QString &program,
                              const QStringList &arguments, const QProcessEnvironment &env) const
{
    const QStringList command = asUser(program, arguments);
    process.setProcessEnvironment(env);
    process.start(command.first(), command.mid(1));
}

QProcessEnvironment SwaySession::clientEnvironment(QProcessEnvironment base) const
{
    base.remove(QStringLiteral("DISPLAY"));
    base.insert(QStringLiteral("WAYLAND_DISPLAY"), _waylandDisplay);
    base.insert(QStringLiteral("XDG_RUNTIME_DIR"), _runtime);
    base.insert(QStringLiteral("SWAYSOCK"), _swaySocket);
    return base;
}

bool SwaySession::start(QString *why)
{
    if (isRunning()) return true;
    for (const char *tool : {"sway", "swaymsg", "wtype", "grim"}) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty()) {
            *why = QStringLiteral("%1 is not installed").arg(QString::fromLatin1(tool));
            return false;
        }
    }
    if (!findOrCreateUser(why)) return false;
    _dir = std::make_unique<QTemporaryDir>();
    if (!_dir->isValid()) {
        *why = QStringLiteral("no temporary folder");
        return false;
    }
    // The temporary folder must let the test user in; the runtime folder is the user's alone.
    QFile::setPermissions(_dir->path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                            QFileDevice::ExeOwner | QFileDevice::ExeGroup |
                                            QFileDevice::ExeOther);
    _runtime = _dir->filePath(QStringLiteral("runtime"));
    QDir().mkpath(_runtime);
    QFile::setPermissions(_runtime,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    const QString config = _dir->filePath(QStringLiteral("sway.conf"));
    // No XWayland, no bar, no gaps or borders to guess around; one headless output.
    const QByteArray base = "xwayland disable\n"
                            "output HEADLESS-1 resolution 1024x768 position 0 0\n"
                            "default_border none\n"
                            "focus_follows_mouse no\n"
                            "seat * hide_cursor 0\n";
    if (!writeFile(config, base + extraConfig.toUtf8() + '\n') || !giveToUser(_runtime) ||
        !giveToUser(config)) {
        *why = QStringLiteral("cannot write sway's configuration");
        return false;
    }

    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    env.remove(QStringLiteral("SWAYSOCK"));
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), _runtime);
    env.insert(QStringLiteral("WLR_BACKENDS"), QStringLiteral("headless"));
    env.insert(QStringLiteral("WLR_RENDERER"), QStringLiteral("pixman"));
    env.insert(QStringLiteral("WLR_LIBINPUT_NO_DEVICES"), QStringLiteral("1"));
    env.insert(QStringLiteral("WLR_HEADLESS_OUTPUTS"), QStringLiteral("1"));
    _sway = std::make_unique<QProcess>();
    _sway->setProcessChannelMode(QProcess::MergedChannels);
    startAsUser(*_sway, QStringLiteral("sway"), {QStringLiteral("-c"), config}, env);
    _sway->waitForStarted();

    // Ready when both its Wayland socket and its IPC socket are there and answer.
    bool ready = false;
    for (int i = 0; i < 100 && !ready && _sway->state() == QProcess::Running; ++i) {
        QTest::qWait(100);
        const QDir runtime(_runtime);
        const QStringList wayland =
            runtime.entryList({QStringLiteral("wayland-*")}, QDir::System | QDir::Files);
        const QStringList ipc =
            runtime.entryList({QStringLiteral("sway-ipc.*.sock")}, QDir::System | QDir::Files);
        for (const QString &name : wayland)
            if (!name.endsWith(QLatin1String(".lock"))) _waylandDisplay = name;
        if (_waylandDisplay.isEmpty() || ipc.isEmpty()) continue;
        _swaySocket = runtime.filePath(ipc.first());
        bool answered = false;
        swaymsg({QStringLiteral("-t"), QStringLiteral("get_outputs")}, &answered);
        ready = answered;
    }
    if (!ready) {
        *why = QStringLiteral("sway did not start: ") +
               QString::fromLocal8Bit(_sway->readAll().right(2000));
        stop();
        return false;
    }
    _keyboard = std::make_unique<QProcess>();
    startAsUser(*_keyboard, QStringLiteral("wtype"),
                {QStringLiteral("-k"), QStringLiteral("Shift_L"), QStringLiteral("-s"),
                 QStringLiteral("86400000"), QStringLiteral("-k"), QStringLiteral("Shift_L")},
                clientEnvironment());
    _keyboard->waitForStarted();
    return true;
}

void SwaySession::stop()
{
    for (std::unique_ptr<QProcess> *p : {&_pointer, &_keyboard, &_sway}) {
        if (!*p) continue;
        (*p)->terminate();
        if (!(*p)->waitForFinished(5000)) {
            (*p)->kill();
            (*p)->waitForFinished(3000);
        }
        p->reset();
    }
    _waylandDisplay.clear();
    _swaySocket.clear();
}

QByteArray SwaySession::run(const QString &program, const QStringList &arguments, bool *ok,
                            int timeoutMs) const
{
    QProcess p;
    startAsUser(p, program, arguments, clientEnvironment());
    const bool finished = p.waitForFinished(timeoutMs);
    if (!finished) p.kill();
    if (ok) *ok = finished && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
    return p.readAllStandardOutput();
}

QByteArray SwaySession::swaymsg(const QStringList &arguments, bool *ok) const
{
    return run(QStringLiteral("swaymsg"), arguments, ok);
}

bool SwaySession::type(const QStringList &arguments) const
{
    bool ok = false;
    run(QStringLiteral("wtype"), arguments, &ok);
    return ok;
}

QImage SwaySession::screenshot() const
{
    bool ok = false;
    const QByteArray png =
        run(QStringLiteral("grim"),
            {QStringLiteral("-t"), QStringLiteral("png"), QStringLiteral("-")}, &ok);
    return ok ? QImage::fromData(png, "PNG") : QImage();
}

bool SwaySession::pointerCommand(const QByteArray &line)
{
    if (!isRunning()) return false;
    if (!_pointer || _pointer->state() != QProcess::Running) {
        _pointer = std::make_unique<QProcess>();
        startAsUser(*_pointer, QStringLiteral(VIRTUAL_POINTER),
                    {QStringLiteral("1024"), QStringLiteral("768")}, clientEnvironment());
        if (!_pointer->waitForStarted()) return false;
    }
    _pointer->write(line + '\n');
    QByteArray answer;
    while (!answer.endsWith('\n')) {
        if (!_pointer->waitForReadyRead(10000)) {
            qWarning() << "The virtual pointer did not answer" << line
                       << _pointer->readAllStandardError();
            return false;
        }
        answer += _pointer->readAllStandardOutput();
    }
    if (answer.trimmed() != "ok") qWarning() << "The virtual pointer:" << line << "->" << answer;
    return answer.trimmed() == "ok";
}

bool SwaySession::pointerMoveTo(int x, int y)
{
    return pointerCommand("move " + QByteArray::number(x) + ' ' + QByteArray::number(y));
}

bool SwaySession::pointerPress()
{
    return pointerCommand("press");
}

bool SwaySession::pointerRelease()
{
    return pointerCommand("release");
}

bool SwaySession::click(int x, int y)
{
    return pointerMoveTo(x, y) && pointerCommand("click");
}

} // namespace kelp::test
