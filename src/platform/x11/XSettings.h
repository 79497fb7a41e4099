#pragma once
// XSETTINGS: the desktop-wide settings an X11 settings manager (gnome-settings-daemon, xfsettingsd,
// xsettingsd...) publishes on the _XSETTINGS_SETTINGS property of the window that owns the
// selection _XSETTINGS_S<screen>. Kelp reads Net/IconThemeName from it and follows its changes.
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

// Follows one screen's settings manager over a connection of its own: a manager starting,
// quitting or changing a setting updates iconThemeName() and, when it changed, emits
// iconThemeNameChanged(). Costs nothing while nothing changes (events only).
class X11XSettingsWatch : public QObject
{
    Q_OBJECT
public:
    explicit X11XSettingsWatch(const QByteArray &displayName = {}, QObject *parent = nullptr);
    ~X11XSettingsWatch() override;

    // Net/IconThemeName, or an empty string when no manager runs or it does not set one.
    QString iconThemeName() const { return _iconTheme; }

Q_SIGNALS:
    void iconThemeNameChanged();

private:
    void readEvents();
    void findManager();
    void readSettings();

    struct Connection;
    std::unique_ptr<Connection> _x;
    QString _iconTheme;
};

} // namespace kelp
