#pragma once
// AppsOnDisk over GLib/GIO: freedesktop desktop entries (read with GKeyFile, following the
// Desktop Entry rules GIO itself applies) and application bundle folders ("*.app" holding
// Contents/Info.plist).
#include "desktop/AppsOnDisk.h"

namespace kelp {

class GioAppsOnDisk : public AppsOnDisk
{
public:
    // currentDesktops: the names in $XDG_CURRENT_DESKTOP (read once, at construction).
    GioAppsOnDisk();
    explicit GioAppsOnDisk(QStringList currentDesktops);

    ItemInfo inspect(const QString &path) const override;
    QString applicationName(const QString &path) const override;
    QStringList desktopFavouriteIds() const override;

private:
    ItemInfo inspectDesktopEntry(const QString &path) const;
    QStringList _currentDesktops;
};

} // namespace kelp
