#pragma once
// DesktopEntryIndex: what windows are matched against (desktop/WindowMatching.h), the facts of
// the catalogue's desktop entries. Read again on a worker thread whenever the catalogue's list
// changes, since reading hundreds of entries is disk work; ready() on the owner's thread once a
// read is in. A list that changes while a read runs makes that read's result be dropped.
#include "desktop/WindowMatching.h"

#include <QObject>
#include <QStringList>
#include <QThreadPool>

namespace kelp {

class DesktopEntryIndex : public QObject
{
    Q_OBJECT
public:
    explicit DesktopEntryIndex(QObject *parent = nullptr);
    ~DesktopEntryIndex() override;

    void setPaths(const QStringList &paths);
    const QList<EntryFacts> &entries() const { return _entries; }
    // A read for the latest list has not come in yet.
    bool isPending() const { return _generation != _ready; }

Q_SIGNALS:
    void ready();

private:
    QStringList _paths;
    QList<EntryFacts> _entries;
    quint64 _generation = 0;
    quint64 _ready = 0;
    QThreadPool _pool;
};

} // namespace kelp
