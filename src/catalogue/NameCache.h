#pragma once
// NameCache: the applications' localised names, kept between runs in AppNames.cache under the
// user's cache folder with the modification time each name was read at.
//
// A start from the cached catalogue names its entries from here at once; the files are then
// checked on a worker thread, and only the entries whose file changed since (or that have no name
// yet) are read again; after a change of language all are. The file is Kelp's own: a versioned
// binary stream; anything else, a truncated file, or one claiming more names than it can hold, is
// ignored.
#include "catalogue/FolderWalker.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class QObject;
class QThreadPool;

namespace kelp {

class AppsOnDisk;

class NameCache
{
public:
    static QString filePath();
    // What the names depend on besides the files: the language variables. Names cached under
    // another language are not used.
    static QString languageKey();

    // The name read for the path; empty when none is known. The file is read on first use.
    QString name(const QString &path);
    // Remembers a name; returns whether it differs from the one known.
    bool remember(const QString &path, const QString &name, qint64 modified);
    // Writes the names of the paths that keep accepts.
    void save(const std::function<bool(const QString &)> &keep);

    using Fresh = std::function<void(const QList<FoundApp> &fresh)>;
    // Reads again, through appsOnDisk, the names of the paths whose file changed since the name
    // known was read, and of those with no name known; remembers them and hands them to done.
    // With a pool the files are checked on it and done runs on the receiver's thread; without,
    // everything happens now.
    void refresh(const QStringList &paths, std::shared_ptr<const AppsOnDisk> appsOnDisk,
                 QThreadPool *pool, QObject *receiver, Fresh done);

private:
    struct Entry
    {
        QString name;
        qint64 modified = 0;
    };
    void load();

    QHash<QString, Entry> _entries;
    bool _loaded = false;
};

} // namespace kelp
