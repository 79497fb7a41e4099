#pragma once
// FileDrop: files dragged onto the panel from another program, and the applications they light.
//
// A file manager or a browser offers a drag as "text/uri-list" (and often "text/plain" holding
// one URL or path). Kelp takes local files only: a web address, or a drag that offers neither
// type, is refused, and so is a drag of more files than a launch should start with.
//
// While the files are over the panel, the applications the desktop recommends for the first one's
// content type are lit, and with Ctrl every application that can open it. Finding the type and the
// applications reads the disk, so DroppableApps does it on a worker thread and announces the
// answer; it keeps one answer per item and per type until the drag ends, so Ctrl changes the lit
// applications at once.
#include "catalogue/TQApp.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QUrl>

class QMimeData;

namespace kelp {

class FileTypeApps;

// At most this many files are handed to an application in one drop.
inline constexpr qsizetype kMaxDroppedFiles = 256;

struct DroppedFiles
{
    QList<QUrl> files; // local file URLs, in the order offered
    QString refusal;   // why the drag is refused; empty when it is taken
    bool isAccepted() const { return refusal.isEmpty(); }
};

// The files of a drag: the URL list, else one URL or absolute path as plain text. URLs that are
// not files are left out; none left, or more than kMaxDroppedFiles, refuses the drag.
DroppedFiles droppedFilesFrom(const QMimeData &data);

// The entries among candidates that are the applications at the given desktop entry paths (the
// same path, or the same desktop-file ID, since a user's entry shadows the system's).
QSet<const TQApp *> entriesAtPaths(const AppList &candidates, const QStringList &entryPaths);

class DroppableApps : public QObject
{
    Q_OBJECT
public:
    struct TypeApps
    {
        QStringList preferred; // recommended for the type
        QStringList accepting; // every application that can open it
    };

    explicit DroppableApps(QObject *parent = nullptr);

    // Makes item the one asked about. Unless its type and that type's applications are known
    // already, looks them up through desktop().fileTypes on a worker thread; changed() follows.
    void lookUp(const QUrl &item);
    QUrl item() const { return _item; }
    // Whether the applications for the item are known.
    bool isKnown() const;
    // The entries among candidates that take the item: those recommended for its type, or with
    // widen every one that can open it. Empty while unknown.
    QSet<const TQApp *> appsFor(const AppList &candidates, bool widen) const;
    // Forgets the item and every answer (the drag is over).
    void clear();

    // The lookup itself, on the calling thread: the item's type and its applications.
    static std::pair<QString, TypeApps> lookUpNow(const FileTypeApps &types, const QUrl &item);

Q_SIGNALS:
    // The applications for the current item became known.
    void changed();

private:
    void answered(const QUrl &item, const QString &type, const TypeApps &apps);

    QUrl _item;
    QHash<QUrl, QString> _typeOfItem;
    QHash<QString, TypeApps> _appsOfType;
    QSet<QUrl> _pending;
    mutable QHash<QString, QSet<const TQApp *>> _entriesFor; // by type, Ctrl and candidates
};

} // namespace kelp
