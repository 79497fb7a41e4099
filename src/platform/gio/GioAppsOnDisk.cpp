#include "platform/gio/GioAppsOnDisk.h"

#include "extras/Logging.h"
#include "platform/gio/GioDesktopEntry.h"
#include "platform/gio/GioSettings.h"

#include <QFileInfo>

#include <sys/stat.h>

namespace kelp {
namespace {

bool boolKey(GKeyFile *kf, const char *key)
{
    return g_key_file_get_boolean(kf, kDesktopEntryGroup, key, nullptr) != FALSE;
}

QStringList listKey(GKeyFile *kf, const char *key)
{
    QStringList out;
    const GLibPtr<gchar *> values(
        g_key_file_get_string_list(kf, kDesktopEntryGroup, key, nullptr, nullptr));
    if (!values) return out;
    for (gchar **v = values.get(); *v; ++v)
        out.append(QString::fromUtf8(*v));
    return out;
}

bool programExists(const QString &program)
{
    if (program.isEmpty()) return false;
    if (program.startsWith(QLatin1Char('/'))) {
        const QFileInfo info(program);
        return info.isFile() && info.isExecutable();
    }
    const GLibPtr<gchar> found(g_find_program_in_path(program.toUtf8().constData()));
    return found != nullptr;
}

GLibPtr<GKeyFile> loadDesktopFile(const QString &path)
{
    QString error;
    GLibPtr<GKeyFile> kf = loadKeyFile(path, &error);
    if (!kf) {
        qCInfo(lcPlatform).noquote() << "Ignoring desktop entry" << path << ":" << error;
        return nullptr;
    }
    if (!g_key_file_has_group(kf.get(), kDesktopEntryGroup)) {
        qCInfo(lcPlatform).noquote() << "Ignoring" << path << ": no [Desktop Entry] group";
        return nullptr;
    }
    return kf;
}

QString localisedName(GKeyFile *kf)
{
    return takeString(
               g_key_file_get_locale_string(kf, kDesktopEntryGroup, "Name", nullptr, nullptr))
        .trimmed();
}

} // namespace

GioAppsOnDisk::GioAppsOnDisk()
    : GioAppsOnDisk(
          qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'), Qt::SkipEmptyParts))
{}

GioAppsOnDisk::GioAppsOnDisk(QStringList currentDesktops)
    : _currentDesktops(std::move(currentDesktops))
{}

ItemInfo GioAppsOnDisk::inspect(const QString &path) const
{
    ItemInfo info;
    const QByteArray native = QFile::encodeName(path);
    struct stat st
    {
    };
    if (lstat(native.constData(), &st) != 0) return info;

    const QString fileName = path.section(QLatin1Char('/'), -1);
    if (fileName.startsWith(QLatin1Char('.'))) {
        info.kind = ItemInfo::Invisible;
        return info;
    }
    if (S_ISLNK(st.st_mode)) {
        // Followed only when it leads to a plain folder.
        struct stat target
        {
        };
        const bool toFolder = stat(native.constData(), &target) == 0 && S_ISDIR(target.st_mode) &&
                              !fileName.endsWith(QLatin1String(".app"));
        info.kind = toFolder ? ItemInfo::AliasToFolder : ItemInfo::Alias;
        return info;
    }
    if (S_ISDIR(st.st_mode)) {
        if (fileName.endsWith(QLatin1String(".app")) &&
            QFileInfo::exists(path + QStringLiteral("/Contents/Info.plist")))
            info.kind = ItemInfo::Application;
        else
            info.kind = ItemInfo::Folder;
        return info;
    }
    if (S_ISREG(st.st_mode) && fileName.endsWith(QLatin1String(".desktop")))
        return inspectDesktopEntry(path);
    return info;
}

ItemInfo GioAppsOnDisk::inspectDesktopEntry(const QString &path) const
{
    ItemInfo info;
    const GLibPtr<GKeyFile> kf = loadDesktopFile(path);
    if (!kf) return info;
    info.desktopId = desktopIdForPath(path);

    const GLibPtr<gchar> type(g_key_file_get_string(kf.get(), kDesktopEntryGroup, "Type", nullptr));
    if (!type || qstrcmp(type.get(), "Application") != 0) {
        // Links and folders carry an ID too: they still shadow a later entry of the same ID.
        info.kind = ItemInfo::Other;
        return info;
    }
    info.name = localisedName(kf.get());
    if (info.name.isEmpty()) {
        qCInfo(lcPlatform).noquote() << "Ignoring desktop entry" << path << ": it has no Name";
        return info;
    }
    const GLibPtr<gchar> exec(g_key_file_get_string(kf.get(), kDesktopEntryGroup, "Exec", nullptr));
    if (!exec && !boolKey(kf.get(), "DBusActivatable")) {
        qCInfo(lcPlatform).noquote() << "Ignoring desktop entry" << path << ": it has no Exec line";
        return info;
    }
    if (boolKey(kf.get(), "Hidden") || boolKey(kf.get(), "NoDisplay")) {
        info.kind = ItemInfo::Invisible;
        return info;
    }
    const QStringList onlyShowIn = listKey(kf.get(), "OnlyShowIn");
    const QStringList notShowIn = listKey(kf.get(), "NotShowIn");
    bool shown = onlyShowIn.isEmpty();
    for (const QString &desktop : _currentDesktops) {
        if (onlyShowIn.contains(desktop)) shown = true;
        if (notShowIn.contains(desktop)) {
            shown = false;
            break;
        }
    }
    if (!shown) {
        info.kind = ItemInfo::Invisible;
        return info;
    }
    const GLibPtr<gchar> tryExec(
        g_key_file_get_string(kf.get(), kDesktopEntryGroup, "TryExec", nullptr));
    if (tryExec && !programExists(QString::fromUtf8(tryExec.get()))) {
        info.kind = ItemInfo::ClassicApplication;
        return info;
    }
    info.kind = ItemInfo::Application;
    return info;
}

QString GioAppsOnDisk::applicationName(const QString &path) const
{
    if (!path.endsWith(QLatin1String(".desktop"))) return QString();
    const GLibPtr<GKeyFile> kf = loadDesktopFile(path);
    return kf ? localisedName(kf.get()) : QString();
}

QStringList GioAppsOnDisk::desktopFavouriteIds() const
{
    const GLibPtr<GSettings> settings = installedSettings("org.gnome.shell", "favorite-apps");
    if (!settings) return {};
    QStringList ids;
    const GLibPtr<gchar *> favourites(g_settings_get_strv(settings.get(), "favorite-apps"));
    for (gchar **v = favourites.get(); v && *v; ++v)
        ids.append(QString::fromUtf8(*v));
    return ids;
}

} // namespace kelp
