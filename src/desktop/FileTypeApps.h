#pragma once
// FileTypeApps: which applications open which kinds of file, by content (MIME) type.
//
// A file dragged over the panel lights the applications the desktop recommends for its type, and
// with Ctrl every application that can open it. The panel asks for the type once per item and for
// the applications once per type, and keeps the answers for as long as the drag lasts. Both
// questions may read files and the desktop's application database: ask them off the GUI thread.
// Safe to call from any thread; nothing here raises.
#include <QString>
#include <QStringList>
#include <QUrl>

namespace kelp {

class FileTypeApps
{
public:
    virtual ~FileTypeApps() = default;

    // The item's content type ("text/plain", "inode/directory"); empty when it has none.
    virtual QString contentTypeOf(const QUrl &item) const = 0;
    // Desktop entry paths of the applications recommended for the type (those that list it or
    // that the user chose for it) / of every application that can open it.
    virtual QStringList appsPreferringType(const QString &type) const = 0;
    virtual QStringList appsAcceptingType(const QString &type) const = 0;
};

} // namespace kelp
