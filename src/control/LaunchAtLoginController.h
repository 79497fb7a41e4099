#pragma once
// LaunchAtLoginController: whether Kelp starts when the user logs in, as the desktop's own
// autostart folder says ($XDG_CONFIG_HOME/autostart/kelp.desktop).
//
// launchAtLogin() reads the file each time it is asked, so that a change made outside Kelp (the
// file removed, or switched off by the desktop's session settings with Hidden=true or
// X-GNOME-Autostart-enabled=false) is always seen. setLaunchAtLogin() writes the entry atomically
// or removes it, and does nothing when the file already says the same. The folder is watched while
// it exists; launchAtLoginChanged() says the file changed, whoever changed it.
#include <QFileSystemWatcher>
#include <QObject>
#include <QString>

namespace kelp {

class LaunchAtLoginController : public QObject
{
    Q_OBJECT
public:
    explicit LaunchAtLoginController(QObject *parent = nullptr);

    // $XDG_CONFIG_HOME/autostart/kelp.desktop
    static QString autostartFilePath();
    // The desktop entry Kelp writes for `program` (the kelp program to start).
    static QByteArray autostartEntry(const QString &program);
    // The program the entry starts: plain "kelp" when that is the one on the PATH, else this
    // program's own path.
    static QString programToStart();

    bool launchAtLogin() const;
    // Returns false (with errorString()) when the file could not be written or removed.
    bool setLaunchAtLogin(bool launch);
    QString errorString() const { return _error; }

Q_SIGNALS:
    void launchAtLoginChanged(bool launch);

private:
    void watchFolder();

    QFileSystemWatcher _watcher;
    QString _error;
    bool _lastKnown = false;
};

} // namespace kelp
