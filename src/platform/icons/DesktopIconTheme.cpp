#include "platform/icons/DesktopIconTheme.h"

#include "extras/Logging.h"
#include "extras/RegularFile.h"
#include "platform/gio/GioDesktopEntry.h"
#include "platform/gio/GioSettings.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <functional>
#include <utility>

namespace kelp {
namespace {

// The desktop's settings files are small; anything larger is not one of them.
constexpr qint64 kLargestSettingsFile = 1024 * 1024;

QString unquoted(QString value)
{
    value = value.trimmed();
    if (value.size() >= 2 &&
        (value.front() == QLatin1Char('"') || value.front() == QLatin1Char('\'')) &&
        value.back() == value.front())
        value = value.mid(1, value.size() - 2).trimmed();
    return value;
}

// The lines of a settings file, or nothing for a file that is missing, not a regular file
// (a folder, a FIFO) or too large.
QList<QByteArray> settingsLines(const QString &path)
{
    const FileBytes file = readRegularFile(path, kLargestSettingsFile);
    if (file.status != FileBytes::Ok && file.status != FileBytes::Missing)
        qCInfo(lcIcons).noquote() << "Ignoring" << path << ":" << file.error;
    return file.ok() ? file.bytes.split('\n') : QList<QByteArray>();
}

QString gsettingsUserIconTheme()
{
    const GLibPtr<GSettings> settings =
        installedSettings("org.gnome.desktop.interface", "icon-theme");
    if (!settings) return {};
    // The user's own value only: the schema's default names GNOME's theme on every desktop.
    GVariant *value = g_settings_get_user_value(settings.get(), "icon-theme");
    if (!value) return {};
    QString theme;
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING))
        theme = QString::fromUtf8(g_variant_get_string(value, nullptr)).trimmed();
    g_variant_unref(value);
    return theme;
}

bool isKdeSession()
{
    if (!qEnvironmentVariableIsEmpty("KDE_FULL_SESSION")) return true;
    const QStringList desktops =
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    return desktops.contains(QStringLiteral("KDE"), Qt::CaseInsensitive);
}

} // namespace

QString desktopSettingsValue(const QString &path, const QString &group, const QString &key)
{
    const QByteArray header = '[' + group.toUtf8() + ']';
    const QByteArray wanted = key.toUtf8();
    bool inGroup = false;
    for (const QByteArray &raw : settingsLines(path)) {
        const QByteArray line = raw.trimmed();
        if (line.startsWith('[')) {
            inGroup = line == header;
            continue;
        }
        if (!inGroup || line.startsWith('#')) continue;
        const qsizetype eq = line.indexOf('=');
        if (eq > 0 && line.left(eq).trimmed() == wanted)
            return unquoted(QString::fromUtf8(line.mid(eq + 1)));
    }
    return {};
}

QString gtk2IconThemeName(const QString &path)
{
    for (const QByteArray &raw : settingsLines(path)) {
        const QByteArray line = raw.trimmed();
        const qsizetype eq = line.indexOf('=');
        if (eq > 0 && line.left(eq).trimmed() == "gtk-icon-theme-name")
            return unquoted(QString::fromUtf8(line.mid(eq + 1)));
    }
    return {};
}

bool isIconThemeInstalled(const QString &name, const QStringList &baseDirs)
{
    if (name.isEmpty() || name.contains(QLatin1Char('/')) || name.startsWith(QLatin1Char('.')))
        return false;
    for (const QString &base : baseDirs) {
        if (QFileInfo(base + QLatin1Char('/') + name + QStringLiteral("/index.theme")).isFile())
            return true;
    }
    return false;
}

IconThemeChoice desktopIconTheme(const DesktopThemeHints &hints, const QStringList &baseDirs)
{
    const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    const QString home = QDir::homePath();
    // Each place in turn; a place is read only when the ones before it gave nothing usable.
    using Reader = std::pair<QString, std::function<QString()>>;
    const Reader readers[] = {
        {QStringLiteral("XSETTINGS"), [&]() { return hints.xsettingsTheme.trimmed(); }},
        {QStringLiteral("GSettings"),
         [&]() { return hints.useGSettings ? gsettingsUserIconTheme() : QString(); }},
        {config + QStringLiteral("/gtk-4.0/settings.ini"),
         [&]() {
             return desktopSettingsValue(config + QStringLiteral("/gtk-4.0/settings.ini"),
                                         QStringLiteral("Settings"),
                                         QStringLiteral("gtk-icon-theme-name"));
         }},
        {config + QStringLiteral("/gtk-3.0/settings.ini"),
         [&]() {
             return desktopSettingsValue(config + QStringLiteral("/gtk-3.0/settings.ini"),
                                         QStringLiteral("Settings"),
                                         QStringLiteral("gtk-icon-theme-name"));
         }},
        {home + QStringLiteral("/.gtkrc-2.0"),
         [&]() { return gtk2IconThemeName(home + QStringLiteral("/.gtkrc-2.0")); }},
        {config + QStringLiteral("/kdeglobals"),
         [&]() {
             return isKdeSession()
                        ? desktopSettingsValue(config + QStringLiteral("/kdeglobals"),
                                               QStringLiteral("Icons"), QStringLiteral("Theme"))
                        : QString();
         }},
    };
    for (const Reader &reader : readers) {
        const QString name = reader.second();
        if (name.isEmpty()) continue;
        if (isIconThemeInstalled(name, baseDirs)) return {name, reader.first};
        qCInfo(lcIcons).noquote() << "The icon theme" << name << "named by" << reader.first
                                  << "is not installed; looking further";
    }
    return {QStringLiteral("hicolor"), QString()};
}

} // namespace kelp
