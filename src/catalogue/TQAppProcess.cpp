// TQApp's process operations: everything an entry does to its running application, through the
// desktop layer's actions.
#include "catalogue/TQApp.h"

#include "extras/Logging.h"
#include "extras/Notifications.h"
#include "platform/AppActions.h"
#include "platform/Desktop.h"

#include <QThreadPool>

#include <optional>

namespace kelp {
namespace {

AppActions *actions()
{
    return desktop().actions.get();
}

} // namespace

bool TQApp::pid(qint64 &pid) const
{
    pid = 0;
    if (AppActions *a = actions()) pid = a->pid(_path);
    return pid > 0;
}

bool TQApp::activate() const
{
    AppActions *a = actions();
    return a && a->activate(_path);
}

bool TQApp::isVisible() const
{
    AppActions *a = actions();
    return a && a->isVisible(_path);
}

void TQApp::show() const
{
    if (AppActions *a = actions()) a->show(_path);
}

void TQApp::hide() const
{
    if (AppActions *a = actions()) a->hide(_path);
}

void TQApp::quit() const
{
    if (AppActions *a = actions()) a->quit(_path);
}

void TQApp::revealInFinder() const
{
    if (AppActions *a = actions()) a->reveal(_path);
}

bool TQApp::launchWithPasteboard(const DroppedItems *items)
{
    QList<QUrl> urls;
    if (items) {
        if (!items->filePaths.isEmpty()) {
            for (const QString &p : items->filePaths)
                urls.append(QUrl::fromLocalFile(standardizePath(p)));
        } else if (items->url.isValid()) {
            urls.append(items->url);
        }
    }
    AppActions *a = actions();
    const LaunchResult result =
        a ? a->launch(_path, urls)
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
    AppActions *a = actions();
    return a && a->canAcceptURL(_path, item);
}

bool TQApp::prefersURL(const QUrl &item) const
{
    AppActions *a = actions();
    return a && a->prefersURL(_path, item);
}

bool TQApp::sendForDeletionWithAppBundleIdentifier(const QString &desktopId) const
{
    AppActions *a = actions();
    return a && !desktopId.isEmpty() && a->sendForDeletionWithDesktopId(_path, desktopId);
}

bool TQApp::sendForDeletionWithAppURL(const QUrl &uninstaller) const
{
    AppActions *a = actions();
    return a && uninstaller.isLocalFile() &&
           a->sendForDeletionWithApp(_path, uninstaller.toLocalFile());
}

} // namespace kelp
