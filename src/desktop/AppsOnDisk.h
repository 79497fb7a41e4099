#pragma once
// AppsOnDisk: how the catalogue asks the desktop what a file is.
//
// The catalogue walks folders itself; for every directory entry it asks this interface what the
// entry is. Implementations must be safe to call from a worker thread (the walk runs off the GUI
// thread) and must not follow a symbolic link at the leaf when classifying.
#include <QString>
#include <QStringList>

namespace kelp {

struct ItemInfo
{
    enum Kind {
        Other,              // plain files, other packages: ignored
        Invisible,          // dot-files, desktop entries that are not to be shown: ignored
        Alias,              // a symbolic link that does not lead to a plain folder: ignored
        AliasToFolder,      // a symbolic link to a plain folder: walked like a folder
        Application,        // kept
        ClassicApplication, // an application that cannot run here (its TryExec program is missing)
        Folder,             // a plain folder: walked (unless it is a ".framework")
    };
    Kind kind = Other;
    // For desktop entries: the desktop-file ID ("org.gnome.Calculator.desktop"), used to hide an
    // entry shadowed by one with the same ID found earlier. Set also for invisible entries, since
    // a hidden entry in the user's folder hides the system's entry of the same ID.
    QString desktopId;
    // The localised name of an application, when it has one.
    QString name;
};

class AppsOnDisk
{
public:
    virtual ~AppsOnDisk() = default;
    virtual ItemInfo inspect(const QString &path) const = 0;
    // The localised name of the application at path, or an empty string.
    virtual QString applicationName(const QString &path) const = 0;
    // Desktop-file IDs of the applications the desktop itself keeps as favourites (for example
    // GNOME Shell's dash), in the desktop's order. Empty where the desktop has none.
    virtual QStringList desktopFavouriteIds() const = 0;
};

// The desktop-file ID of a desktop entry path: the part below the nearest enclosing
// "applications" folder with "/" turned into "-", or the file name when there is none.
QString desktopIdForPath(const QString &path);

} // namespace kelp
