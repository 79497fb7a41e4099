#include "platform/gio/DesktopEntryIndex.h"

#include "platform/gio/GioDesktopEntry.h"

namespace kelp {

DesktopEntryIndex::DesktopEntryIndex(QObject *parent) : QObject(parent)
{
    _pool.setMaxThreadCount(1);
}

DesktopEntryIndex::~DesktopEntryIndex()
{
    // The reader posts to this object.
    _pool.waitForDone();
}

void DesktopEntryIndex::setPaths(const QStringList &paths)
{
    if (paths == _paths) return;
    _paths = paths;
    const quint64 generation = ++_generation;
    _pool.start([this, paths, generation]() {
        QList<EntryFacts> entries;
        entries.reserve(paths.size());
        for (const QString &p : paths) {
            if (p.endsWith(QLatin1String(".desktop"))) entries.append(readEntryFacts(p));
        }
        QMetaObject::invokeMethod(
            this,
            [this, entries, generation]() {
                if (generation != _generation) return;
                _ready = generation;
                _entries = entries;
                Q_EMIT ready();
            },
            Qt::QueuedConnection);
    });
}

} // namespace kelp
