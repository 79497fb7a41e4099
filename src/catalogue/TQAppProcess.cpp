// TQApp's process operations: everything an entry does to its running application, through the
// desktop's window control and launcher.
#include "catalogue/TQApp.h"

#include "desktop/AppLauncher.h"
#include "desktop/Desktop.h"
#include "desktop/WindowControl.h"
#include "extras/Logging.h"
#include "extras/Notifications.h"

#include <QFileInfo>
#include <QThreadPool>

#include <optional>

namespace kelp {
namespace {

WindowControl *windows()
{
    return desktop().windowControl.get();
}

AppLauncher *launcher()
{
    return desktop().launcher.get();
}

} // namespace

bool TQApp::pid(qint64 &pid) const
{
    pid = 0;
    if (WindowControl *w = windows()) pid = w->pid(_path);
    return pid > 0;
}

bool TQApp::activate() const
{
    WindowControl *w = windows();
    return w && w->activate(_path);
}

bool TQApp::isVisible() const
{
    WindowControl *w = windows();
    return w && w->isVisible(_path);
}

void TQApp::show() const
{
    if (WindowControl *w = windows()) w->show(_path);
}

void TQApp::hide() const
{
    if (WindowControl *w = windows()) w->hide(_path);
}

void TQApp::quit() const
{
    if (WindowControl *w = windows()) w->quit(_path);
}

void TQApp::revealInFinder() const
{
    if (AppLauncher *l = launcher()) l->reveal(_path);
}

bool TQApp::launchWithPasteboard(const DroppedItems *items)
{
    QList<QUrl> urls;
    if (items) {
        if (!items->filePaths.isEmpty()) {
            // Files can go between the drag and the drop: those gone are left out, and with
            // none left the application is not started.
            for (const QString &p : items->filePaths) {
                if (QFileInfo::exists(p)) urls.append(QUrl::fromLocalFile(standardizePath(p)));
            }
            if (urls.isEmpty()) {
                qCInfo(lcCatalogue).noquote()
                    << QStringLiteral("Not starting %1: the %2 file(s) dropped on it are gone")
                           .arg(_path)
                           .arg(items->filePaths.size());
                return false;
            }
        } else if (items->url.isValid()) {
            urls.append(items->url);
        }
    }
    AppLauncher *l = launcher();
    const LaunchResult result =
        l ? l->launch(_path, urls)
          : LaunchResult{LaunchResult::Failed, QStringLiteral("no desktop")};
    if (result.status == LaunchResult::Launched) return true;

    qCWarning(lcCatalogue).noquote()
        << QStringLiteral("Launching %1 failed: %2").arg(_path, result.error);
    if (result.status == LaunchResult::Missing) {
        if (auto self = weak_from_this().lock())
            Q_EMIT Notifications::instance().appIsMissing(self);
    }
    return false;
}

void TQApp::launchInBackground(const DroppedItems *items, std::function<void(bool)> done)
{
    // The thread keeps the entry alive until the launch is over.
    TQAppPtr self = shared_from_this();
    const std::optional<DroppedItems> copy =
        items ? std::optional<DroppedItems>(*items) : std::nullopt;
    QThreadPool::globalInstance()->start([self, copy, done = std::move(done)]() {
        const bool ok = self->launchWithPasteboard(copy ? &*copy : nullptr);
        if (done) done(ok);
    });
}

bool TQApp::canAcceptURL(const QUrl &item) const
{
    AppLauncher *l = launcher();
    return l && l->canAcceptURL(_path, item);
}

bool TQApp::prefersURL(const QUrl &item) const
{
    AppLauncher *l = launcher();
    return l && l->prefersURL(_path, item);
}

bool TQApp::sendForDeletionWithAppBundleIdentifier(const QString &desktopId) const
{
    AppLauncher *l = launcher();
    return l && !desktopId.isEmpty() && l->sendForDeletionWithDesktopId(_path, desktopId);
}

bool TQApp::sendForDeletionWithAppURL(const QUrl &uninstaller) const
{
    AppLauncher *l = launcher();
    return l && uninstaller.isLocalFile() &&
           l->sendForDeletionWithApp(_path, uninstaller.toLocalFile());
}

} // namespace kelp
