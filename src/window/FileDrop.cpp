#include "window/FileDrop.h"

#include "desktop/AppsOnDisk.h"
#include "desktop/Desktop.h"
#include "desktop/FileTypeApps.h"
#include "extras/Logging.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QMimeData>
#include <QPointer>
#include <QThreadPool>

#include <algorithm>

namespace kelp {

DroppedFiles droppedFilesFrom(const QMimeData &data)
{
    QList<QUrl> offered;
    if (data.hasUrls()) {
        offered = data.urls();
    } else if (data.hasText()) {
        const QString text = data.text().trimmed();
        if (!text.contains(QLatin1Char('\n'))) {
            if (text.startsWith(QLatin1Char('/')))
                offered.append(QUrl::fromLocalFile(text));
            else if (!text.isEmpty())
                offered.append(QUrl(text, QUrl::StrictMode));
        }
    }
    if (offered.isEmpty()) return {{}, QStringLiteral("it offers no file")};
    if (offered.size() > kMaxDroppedFiles)
        return {{},
                QStringLiteral("%1 files, more than the %2 Kelp hands to an application at once")
                    .arg(offered.size())
                    .arg(kMaxDroppedFiles)};
    DroppedFiles result;
    for (const QUrl &url : std::as_const(offered)) {
        if (url.isValid() && url.isLocalFile() && !url.toLocalFile().isEmpty())
            result.files.append(url);
    }
    if (result.files.isEmpty())
        result.refusal = QStringLiteral("it offers no local file (%1)")
                             .arg(offered.first().toDisplayString().left(200));
    return result;
}

QSet<const TQApp *> entriesAtPaths(const AppList &candidates, const QStringList &entryPaths)
{
    QSet<const TQApp *> out;
    if (entryPaths.isEmpty()) return out;
    QSet<QString> paths;
    QSet<QString> ids;
    QSet<QStringView> fileNames; // views into `ids`, which outlives them here
    paths.reserve(entryPaths.size());
    ids.reserve(entryPaths.size());
    for (const QString &p : entryPaths) {
        paths.insert(TQApp::standardizePath(p));
        ids.insert(desktopIdForPath(p));
    }
    // An ID ends with the file's name: only a candidate whose name ends like one of them is asked
    // for its ID.
    for (const QString &id : std::as_const(ids))
        fileNames.insert(QStringView(id).mid(id.lastIndexOf(QLatin1Char('-')) + 1));
    for (const TQAppPtr &app : candidates) {
        const QString &path = app->path();
        if (paths.contains(path)) {
            out.insert(app.get());
            continue;
        }
        if (!path.endsWith(QLatin1String(".desktop"))) continue;
        // The file name's last dash-separated part, as the IDs' tails are taken.
        const qsizetype cut =
            std::max(path.lastIndexOf(QLatin1Char('/')), path.lastIndexOf(QLatin1Char('-')));
        const bool nameMatches = fileNames.contains(QStringView(path).mid(cut + 1));
        if (nameMatches && ids.contains(desktopIdForPath(path))) out.insert(app.get());
    }
    return out;
}

DroppableApps::DroppableApps(QObject *parent) : QObject(parent) {}

std::pair<QString, DroppableApps::TypeApps> DroppableApps::lookUpNow(const FileTypeApps &types,
                                                                     const QUrl &item)
{
    const QString type = types.contentTypeOf(item);
    if (type.isEmpty()) return {};
    return {type, {types.appsPreferringType(type), types.appsAcceptingType(type)}};
}

void DroppableApps::lookUp(const QUrl &item)
{
    _item = item;
    if (isKnown() || _pending.contains(item)) return;
    const std::shared_ptr<FileTypeApps> types = desktop().fileTypes;
    if (!types || !item.isValid()) return;
    _pending.insert(item);
    const QHash<QString, TypeApps> known = _appsOfType;
    QPointer<DroppableApps> self(this);
    QThreadPool::globalInstance()->start([types, item, known, self]() {
        QString type = types->contentTypeOf(item);
        TypeApps apps;
        if (known.contains(type))
            apps = known.value(type);
        else if (!type.isEmpty())
            apps = {types->appsPreferringType(type), types->appsAcceptingType(type)};
        // Back on the GUI thread, where the pointer may be checked.
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, item, type, apps]() {
                if (self) self->answered(item, type, apps);
            },
            Qt::QueuedConnection);
    });
}

void DroppableApps::answered(const QUrl &item, const QString &type, const TypeApps &apps)
{
    if (!_pending.remove(item)) return; // the drag ended meanwhile
    _typeOfItem.insert(item, type);
    if (!type.isEmpty()) _appsOfType.insert(type, apps);
    qCDebug(lcWindow).noquote() << "Dragged" << item.toDisplayString() << "is" << type << ":"
                                << apps.preferred.size() << "recommended," << apps.accepting.size()
                                << "can open it";
    if (item == _item) Q_EMIT changed();
}

bool DroppableApps::isKnown() const
{
    const auto type = _typeOfItem.constFind(_item);
    return type != _typeOfItem.cend() && (type->isEmpty() || _appsOfType.contains(*type));
}

QSet<const TQApp *> DroppableApps::appsFor(const AppList &candidates, bool widen) const
{
    const auto type = _typeOfItem.constFind(_item);
    if (type == _typeOfItem.cend()) return {};
    const auto apps = _appsOfType.constFind(*type);
    if (apps == _appsOfType.cend()) return {};
    // Ctrl pressed and released again asks the same question: the answers are kept for the drag.
    const QString key = *type + (widen ? QStringLiteral("|all|") : QStringLiteral("|preferred|")) +
                        QString::number(candidates.size());
    const auto known = _entriesFor.constFind(key);
    if (known != _entriesFor.cend()) return *known;
    return *_entriesFor.insert(
        key, entriesAtPaths(candidates, widen ? apps->accepting : apps->preferred));
}

void DroppableApps::clear()
{
    _item = QUrl();
    _typeOfItem.clear();
    _appsOfType.clear();
    _entriesFor.clear();
    _pending.clear();
}

} // namespace kelp
