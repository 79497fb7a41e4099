#pragma once
// XSETTINGS: the desktop-wide settings an X11 settings manager (gnome-settings-daemon, xfsettingsd,
// xsettingsd...) publishes on the _XSETTINGS_SETTINGS property of the window that owns the
// selection _XSETTINGS_S<screen>. Kelp reads Net/IconThemeName and whether the desktop is dark from
// it, and follows their changes.
#include <QHash>
#include <QObject>
#include <QString>
#include <QVariant>

#include <memory>
#include <optional>

namespace kelp {

// Decodes the property's bytes: integers as int, strings as QString, colours as QVariantList of
// four ints (red, green, blue, alpha). Nothing for a block that is malformed or claims more than it
// holds; a later setting never reads past the end.
std::optional<QHash<QString, QVariant>> parseXSettings(const QByteArray &data);

// Whether the settings make the desktop dark: Gtk/ApplicationPreferDarkTheme on, or a GTK theme
// (Net/ThemeName) whose name says dark ("Adwaita-dark", "Breeze-Dark"). Nothing when neither is
// set.
std::optional<bool> darkModeFromXSettings(const QHash<QString, QVariant> &settings);

// Follows one screen's settings manager over a connection of its own: a manager starting,
// quitting or changing a setting updates iconThemeName() and darkMode() and emits
// iconThemeNameChanged() or darkModeChanged() for the one that changed. Costs nothing while nothing
// changes (events only).
class X11XSettingsWatch : public QObject
{
    Q_OBJECT
public:
    // What the watch is for, and so what it logs: each holder logs its own setting once.
    enum Follows { IconTheme = 1, DarkMode = 2 };
    explicit X11XSettingsWatch(const QByteArray &displayName = {}, QObject *parent = nullptr,
                               int follows = IconTheme);
    ~X11XSettingsWatch() override;

    // Net/IconThemeName, or an empty string when no manager runs or it does not set one.
    QString iconThemeName() const { return _iconTheme; }
    // Whether the desktop is dark; nothing when no manager runs or it does not say.
    std::optional<bool> darkMode() const { return _dark; }

Q_SIGNALS:
    void iconThemeNameChanged();
    void darkModeChanged();

private:
    void readEvents();
    void findManager();
    void readSettings();

    struct Connection;
    std::unique_ptr<Connection> _x;
    QString _iconTheme;
    std::optional<bool> _dark;
    int _follows = IconTheme;
};

} // namespace kelp
