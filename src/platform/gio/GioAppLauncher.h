#pragma once
// AppLauncher over GIO: launching desktop entries and programs, file-type associations, revealing
// files and the uninstaller hand-offs. Needs no window system.
#include "desktop/AppLauncher.h"

#include <memory>

namespace kelp {

class ActivationTokens;

class GioAppLauncher : public AppLauncher
{
public:
    // Every launch asks `tokens` (when set) for a token that lets the application take the front.
    void setActivationTokens(std::shared_ptr<ActivationTokens> tokens)
    {
        _tokens = std::move(tokens);
    }

    LaunchResult launch(const QString &path, const QList<QUrl> &items) override;

    bool canAcceptURL(const QString &appPath, const QUrl &item) const override;
    bool prefersURL(const QString &appPath, const QUrl &item) const override;
    QStringList appsThatCanAccept(const QUrl &item) const override;
    QStringList appsThatPrefer(const QUrl &item) const override;

    // FileManager1.ShowItems over D-Bus (on a worker thread); without a file manager that offers
    // it, the parent folder opened with its default handler.
    void reveal(const QString &path) override;

    bool sendForDeletionWithDesktopId(const QString &path, const QString &desktopId) override;
    bool sendForDeletionWithApp(const QString &path, const QString &uninstallerPath) override;

    // The content type GIO gives the item ("text/plain", "inode/directory",
    // "x-scheme-handler/https"), or an empty string.
    static QString contentTypeForURL(const QUrl &item);

private:
    std::shared_ptr<ActivationTokens> _tokens;
};

} // namespace kelp
