#include "control/LaunchAtLoginController.h"

#include "control/WelcomeLogging.h"
#include "extras/DesktopEntryKeys.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>

namespace kelp {

namespace {

bool isFalse(const QString &value)
{
    return value.trimmed().compare(QLatin1String("false"), Qt::CaseInsensitive) == 0;
}

bool isTrue(const QString &value)
{
    return value.trimmed().compare(QLatin1String("true"), Qt::CaseInsensitive) == 0;
}

// An Exec argument quoted as the desktop entry rules ask, when it needs quoting.
QString execArgument(const QString &argument)
{
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    if (std::none_of(argument.begin(), argument.end(),
                     [](QChar c) { return reserved.contains(c); }))
        return argument;
    QString quoted = argument;
    for (const char *special : {"\\", "\"", "`", "$"})
        quoted.replace(QLatin1String(special), QLatin1String("\\") + QLatin1String(special));
    // The key-file level escapes the backslashes once more.
    quoted.replace(QLatin1String("\\"), QLatin1String("\\\\"));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

} // namespace

LaunchAtLoginController::LaunchAtLoginController(QObject *parent) : QObject(parent)
{
    _lastKnown = launchAtLogin();
    connect(&_watcher, &QFileSystemWatcher::directoryChanged, this, [this]() {
        const bool now = launchAtLogin();
        if (now == _lastKnown) return;
        _lastKnown = now;
        Q_EMIT launchAtLoginChanged(now);
    });
    watchFolder();
}

QString LaunchAtLoginController::autostartFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart/kelp.desktop");
}

QString LaunchAtLoginController::programToStart()
{
    // The kelp users run is the quick client in front of this program: beside it in the build
    // folder, in the programs' folder once installed.
    QString own;
    for (const char *relative : {KELP_CLIENT_IN_BUILD, KELP_CLIENT_INSTALLED}) {
        const QFileInfo client(QCoreApplication::applicationDirPath() + QLatin1Char('/') +
                               QLatin1String(relative));
        if (client.isFile() && client.isExecutable()) {
            own = client.canonicalFilePath();
            break;
        }
    }
    if (own.isEmpty()) own = QFileInfo(QCoreApplication::applicationFilePath()).canonicalFilePath();
    const QString onPath = QStandardPaths::findExecutable(QStringLiteral("kelp"));
    if (!onPath.isEmpty() && QFileInfo(onPath).canonicalFilePath() == own)
        return QStringLiteral("kelp");
    return own.isEmpty() ? QStringLiteral("kelp") : own;
}

QByteArray LaunchAtLoginController::autostartEntry(const QString &program)
{
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Kelp\n"
           "Comment=Application launcher, waiting hidden until it is called\n"
           "Exec=" +
           execArgument(program).toUtf8() +
           " --hidden\n"
           "Icon=kelp\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

bool LaunchAtLoginController::launchAtLogin() const
{
    const QString path = autostartFilePath();
    if (!QFileInfo::exists(path)) return false;
    const QHash<QString, QString> keys = desktopEntryKeys(path);
    if (keys.isEmpty()) return false;
    if (isTrue(keys.value(QStringLiteral("Hidden")))) return false;
    if (isFalse(keys.value(QStringLiteral("X-GNOME-Autostart-enabled")))) return false;
    return true;
}

bool LaunchAtLoginController::setLaunchAtLogin(bool launch)
{
    _error.clear();
    if (launch == launchAtLogin()) return true;
    const QString path = autostartFilePath();
    if (launch) {
        if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
            _error = tr("The folder %1 cannot be made.").arg(QFileInfo(path).absolutePath());
        } else {
            QSaveFile file(path);
            const QByteArray entry = autostartEntry(programToStart());
            if (!file.open(QIODevice::WriteOnly) || file.write(entry) != entry.size() ||
                !file.commit())
                _error = tr("%1 cannot be written: %2").arg(path, file.errorString());
        }
    } else {
        QFile file(path);
        if (!file.remove()) _error = tr("%1 cannot be removed: %2").arg(path, file.errorString());
    }
    if (!_error.isEmpty()) {
        qCWarning(lcWelcome).noquote() << "Start at login:" << _error;
        return false;
    }
    qCInfo(lcWelcome) << (launch ? "Kelp starts at login:" : "Kelp no longer starts at login:")
                      << path;
    watchFolder();
    _lastKnown = launchAtLogin();
    Q_EMIT launchAtLoginChanged(_lastKnown);
    return true;
}

void LaunchAtLoginController::watchFolder()
{
    const QString folder = QFileInfo(autostartFilePath()).absolutePath();
    if (_watcher.directories().isEmpty() && QFileInfo(folder).isDir()) _watcher.addPath(folder);
}

} // namespace kelp
