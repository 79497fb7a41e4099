#pragma once
// AppLauncher: how Kelp starts applications and hands files to them.
//
// Applications are named by the paths the catalogue uses (a desktop entry, or an executable for a
// program no entry claims). Nothing here needs a window system: starting a program, the file
// types an application takes, showing a file in the file manager and the hand-off to an
// uninstaller all go through the desktop's own services. launch() blocks while the desktop starts
// the program and is meant to be called from a worker thread; everything is safe to call from any
// thread. Nothing here raises; failures are false or empty results.
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

namespace kelp {

struct LaunchResult
{
    enum Status {
        Launched,
        Missing, // the entry's file or its program is gone
        Failed,  // anything else: a broken entry, a program that could not start
    };
    Status status = Failed;
    QString error; // what went wrong, for the log
};

class AppLauncher
{
public:
    virtual ~AppLauncher() = default;

    // Starts the application with the items (file or other URLs; may be empty).
    virtual LaunchResult launch(const QString &path, const QList<QUrl> &items) = 0;

    // Whether the application can open the item / lists the item's type among its preferred ones.
    virtual bool canAcceptURL(const QString &appPath, const QUrl &item) const = 0;
    virtual bool prefersURL(const QString &appPath, const QUrl &item) const = 0;
    // Desktop entry paths of every application that can open the item / that prefers it.
    virtual QStringList appsThatCanAccept(const QUrl &item) const = 0;
    virtual QStringList appsThatPrefer(const QUrl &item) const = 0;

    // Shows the file in the file manager (an application of its own, started or asked over the
    // session bus; it never touches the window of the application at path).
    virtual void reveal(const QString &path) = 0;

    // Hands the application at path to an uninstaller: named by desktop-file ID, or by the
    // uninstaller's own path. Returns whether the uninstaller was started.
    virtual bool sendForDeletionWithDesktopId(const QString &path, const QString &desktopId) = 0;
    virtual bool sendForDeletionWithApp(const QString &path, const QString &uninstallerPath) = 0;
};

} // namespace kelp
