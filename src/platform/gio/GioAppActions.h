#pragma once
// AppActions over GIO: launching desktop entries and programs, MIME associations, revealing files
// and the uninstaller hand-offs. Window operations are the window system's: here they answer
// false or do nothing, and the X11 actions override them.
#include "platform/AppActions.h"
#include "platform/WindowMatching.h"

namespace kelp {

class GioAppActions : public AppActions
{
public:
    qint64 pid(const QString &) const override { return 0; }
    bool activate(const QString &) override { return false; }
    bool isVisible(const QString &) const override { return false; }
    void show(const QString &) override {}
    void hide(const QString &) override {}
    void quit(const QString &) override {}
    // FileManager1.ShowItems over D-Bus (on a worker thread); without a file manager that offers
    // it, the parent folder opened with its default handler.
    void reveal(const QString &path) override;

    LaunchResult launch(const QString &path, const QList<QUrl> &items) override;

    bool canAcceptURL(const QString &appPath, const QUrl &item) const override;
    bool prefersURL(const QString &appPath, const QUrl &item) const override;
    QStringList appsThatCanAccept(const QUrl &item) const override;
    QStringList appsThatPrefer(const QUrl &item) const override;

    bool sendForDeletionWithDesktopId(const QString &path, const QString &desktopId) override;
    bool sendForDeletionWithApp(const QString &path, const QString &uninstallerPath) override;

    // The content type GIO gives the item ("text/plain", "inode/directory",
    // "x-scheme-handler/https"), or an empty string.
    static QString contentTypeForURL(const QUrl &item);
};

// What matching needs to know of a desktop entry (StartupWMClass, the Exec program resolved
// through PATH to a canonical path). Reads the file; safe on any thread.
EntryFacts readEntryFacts(const QString &path);

} // namespace kelp
