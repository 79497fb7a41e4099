#pragma once
// The icon theme the user chose for their desktop, found the way the desktop's own programs find
// it.
//
// Kelp follows the desktop's theme while its own iconThemeName setting is empty. Each place a
// desktop keeps that choice is asked in turn, and the first that names an installed theme wins:
//   1. XSETTINGS Net/IconThemeName, the live value of the running settings manager (GNOME, Xfce,
//      MATE, Cinnamon and xsettingsd all publish it);
//   2. GSettings org.gnome.desktop.interface icon-theme, only when the user has set it (its schema
//      default, "Adwaita", says nothing about the user's choice);
//   3. gtk-icon-theme-name in $XDG_CONFIG_HOME/gtk-4.0/settings.ini, then gtk-3.0/settings.ini;
//   4. gtk-icon-theme-name in ~/.gtkrc-2.0;
//   5. [Icons] Theme in $XDG_CONFIG_HOME/kdeglobals, under a KDE session;
//   6. hicolor.
// A theme named but not installed is passed over with one log line.
#include <QString>
#include <QStringList>

namespace kelp {

struct DesktopThemeHints
{
    // Net/IconThemeName from the running XSETTINGS manager; empty when there is none.
    QString xsettingsTheme;
    // Whether to ask GSettings (tests turn it off: the machine's own settings would leak in).
    bool useGSettings = true;
};

struct IconThemeChoice
{
    QString name;   // the theme
    QString source; // where the name came from, for the log ("XSETTINGS", a file's path...)
};

// The desktop's icon theme among the themes installed under baseDirs.
IconThemeChoice desktopIconTheme(const DesktopThemeHints &hints, const QStringList &baseDirs);

// Whether a theme named `name` is installed: some base folder holds <name>/index.theme.
bool isIconThemeInstalled(const QString &name, const QStringList &baseDirs);

// A value from a plain "[group] key=value" settings file of the desktop (GTK's settings.ini,
// KDE's kdeglobals: GLib's key-file reader does not accept every such file, KDE writes keys like
// "foo[$e]"). Only regular files of reasonable size are read; quotes around the value are removed.
QString desktopSettingsValue(const QString &path, const QString &group, const QString &key);

// gtk-icon-theme-name from a GTK 2 rc file (`gtk-icon-theme-name = "Papirus"`).
QString gtk2IconThemeName(const QString &path);

} // namespace kelp
