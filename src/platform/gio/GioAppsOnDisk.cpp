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

// Whether GLib finds the program the way GIO does when it loads an entry: through PATH for a bare
// name, as an executable file for a path.
bool programExists(const char *program)
{
    const GLibPtr<gchar> found(g_find_program_in_path(program));
    return found != nullptr;
}

// Whether an entry with these OnlyShowIn / NotShowIn lists is shown on the current desktops: the
// first current desktop that either list names decides; when none is named, the entry shows
// unless it has an OnlyShowIn key at all (an empty OnlyShowIn shows it nowhere).
bool shownOn(GKeyFile *kf, const QStringList &currentDesktops)
{
    // A list GLib cannot read (not UTF-8) counts as no list, as it does for GIO.
    const GLibPtr<gchar *> onlyList(
        g_key_file_get_string_list(kf, kDesktopEntryGroup, "OnlyShowIn", nullptr, nullptr));
    const bool hasOnly = onlyList != nullptr;
    const QStringList onlyShowIn = listKey(kf, "OnlyShowIn");
    const QStringList notShowIn = listKey(kf, "NotShowIn");
    for (const QString &desktop : currentDesktops) {
        if (onlyShowIn.contains(desktop)) return true;
        if (notShowIn.contains(desktop)) return false;
    }
    return !hasOnly;
}

GLibPtr<GKeyFile> loadDesktopFile(const QString &path)
{
    QString error;
    GLibPtr<GKeyFile> kf = loadKeyFile(path, &error);
    if (!kf) {
        qCInfo(lcPlatform).noquote() << "Ignoring desktop entry" << path << ":" << error;
        return nullptr;
    }
    // The [Desktop Entry] group must come first; a file that starts with another group is not a
    // desktop entry (comments before it are fine).
    const GLibPtr<gchar> start(g_key_file_get_start_group(kf.get()));
    if (!start || qstrcmp(start.get(), kDesktopEntryGroup) != 0) {
        qCInfo(lcPlatform).noquote()
            << "Ignoring" << path << ": its first group is not [Desktop Entry]";
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
    // Any file of the name takes the ID, even one that cannot be read: it still hides an entry of
    // the same ID found later, as it does for the desktop.
    info.desktopId = desktopIdForPath(path);
    const GLibPtr<GKeyFile> kf = loadDesktopFile(path);
    if (!kf) return info;

    const GLibPtr<gchar> type(g_key_file_get_string(kf.get(), kDesktopEntryGroup, "Type", nullptr));
    if (!type || qstrcmp(type.get(), "Application") != 0) {
        // Links and folders carry an ID too: they still shadow a later entry of the same ID.
        info.kind = ItemInfo::Other;
        return info;
    }
    // An empty TryExec is no test at all; a program named but not installed means the
    // application is not installed either.
    const GLibPtr<gchar> tryExec(
        g_key_file_get_string(kf.get(), kDesktopEntryGroup, "TryExec", nullptr));
    if (tryExec && tryExec.get()[0] != '\0' && !programExists(tryExec.get())) {
        info.kind = ItemInfo::ClassicApplication;
        return info;
    }
    const GLibPtr<gchar> exec(g_key_file_get_string(kf.get(), kDesktopEntryGroup, "Exec", nullptr));
    if (exec && exec.get()[0] != '\0') {
        // The program is the first word of the line, as the launcher will run it: an entry left
        // behind by an uninstalled package names a program that is gone.
        int argc = 0;
        GLibPtr<gchar *> argv;
        if (!g_shell_parse_argv(exec.get(), &argc, outPtr(argv), nullptr)) {
            qCInfo(lcPlatform).noquote()
                << "Ignoring desktop entry" << path << ": its Exec line does not parse";
            return info;
        }
        if (!programExists(argv.get()[0])) {
            info.kind = ItemInfo::ClassicApplication;
            return info;
        }
    } else if (!exec && !boolKey(kf.get(), "DBusActivatable")) {
        qCInfo(lcPlatform).noquote() << "Ignoring desktop entry" << path << ": it has no Exec line";
        return info;
    }
    if (!g_key_file_has_key(kf.get(), kDesktopEntryGroup, "Name", nullptr)) {
        qCInfo(lcPlatform).noquote() << "Ignoring desktop entry" << path << ": it has no Name";
        return info;
    }
    // An empty translation is still the entry's name here; the catalogue then shows the file's.
    info.name = localisedName(kf.get());
    if (boolKey(kf.get(), "Hidden") || boolKey(kf.get(), "NoDisplay") ||
        !shownOn(kf.get(), _currentDesktops)) {
        info.kind = ItemInfo::Invisible;
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
