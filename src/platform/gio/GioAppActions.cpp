#include "platform/gio/GioAppActions.h"

#include "extras/Logging.h"
#include "platform/AppsOnDisk.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThreadPool>

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <cstring>
#include <memory>

namespace kelp {
namespace {

constexpr const char *kGroup = "Desktop Entry";

struct GObjectDeleter
{
    void operator()(gpointer o) const { g_object_unref(o); }
};
template <typename T> using GObjectPtr = std::unique_ptr<T, GObjectDeleter>;
struct KeyFileDeleter
{
    void operator()(GKeyFile *k) const { g_key_file_free(k); }
};
struct GFreeDeleter
{
    void operator()(gpointer s) const { g_free(s); }
};
struct StrvDeleter
{
    void operator()(gchar **v) const { g_strfreev(v); }
};
using KeyFilePtr = std::unique_ptr<GKeyFile, KeyFileDeleter>;
using GStringPtr = std::unique_ptr<gchar, GFreeDeleter>;
using StrvPtr = std::unique_ptr<gchar *, StrvDeleter>;

QString takeError(GError *&error)
{
    const QString message = error ? QString::fromUtf8(error->message) : QString();
    g_clear_error(&error);
    return message;
}

// The program an Exec line runs: its first word, after "env" and its VAR=value words.
QString execProgram(const QString &exec, bool *parsed = nullptr)
{
    int argc = 0;
    gchar **argv = nullptr;
    const bool ok = g_shell_parse_argv(exec.toUtf8().constData(), &argc, &argv, nullptr);
    if (parsed) *parsed = ok;
    if (!ok) return {};
    StrvPtr args(argv);
    int i = 0;
    if (i < argc && QFileInfo(QString::fromUtf8(argv[i])).fileName() == QLatin1String("env")) {
        ++i;
        while (i < argc && (std::strchr(argv[i], '=') || argv[i][0] == '-'))
            ++i;
    }
    return i < argc ? QString::fromUtf8(argv[i]) : QString();
}

// The program's canonical path through PATH, or an empty string when it is not installed.
QString resolveProgram(const QString &program)
{
    if (program.isEmpty()) return {};
    GStringPtr found(g_find_program_in_path(QFile::encodeName(program).constData()));
    if (!found) return {};
    const QString canonical = QFileInfo(QFile::decodeName(found.get())).canonicalFilePath();
    return canonical.isEmpty() ? QFile::decodeName(found.get()) : canonical;
}

KeyFilePtr loadKeyFile(const QString &path, QString *error = nullptr)
{
    KeyFilePtr kf(g_key_file_new());
    GError *gerror = nullptr;
    if (!g_key_file_load_from_file(kf.get(), QFile::encodeName(path).constData(), G_KEY_FILE_NONE,
                                   &gerror)) {
        const QString message = takeError(gerror);
        if (error) *error = message;
        return nullptr;
    }
    return kf;
}

QString keyString(GKeyFile *kf, const char *key)
{
    GStringPtr value(g_key_file_get_string(kf, kGroup, key, nullptr));
    return value ? QString::fromUtf8(value.get()).trimmed() : QString();
}

GList *uriList(const QList<QUrl> &items)
{
    GList *uris = nullptr;
    for (const QUrl &u : items)
        uris = g_list_append(uris, g_strdup(u.toEncoded().constData()));
    return uris;
}

// Whether an application GIO lists is the one at appPath (the same file, or the same desktop-file
// ID, since a user's entry shadows the system's).
bool isApp(GAppInfo *info, const QString &appPath)
{
    if (G_IS_DESKTOP_APP_INFO(info)) {
        const char *file = g_desktop_app_info_get_filename(G_DESKTOP_APP_INFO(info));
        if (file && QFile::decodeName(file) == appPath) return true;
    }
    const char *id = g_app_info_get_id(info);
    return id && QString::fromUtf8(id) == desktopIdForPath(appPath);
}

QStringList appPaths(GList *infos)
{
    QStringList out;
    for (GList *l = infos; l; l = l->next) {
        auto *info = static_cast<GAppInfo *>(l->data);
        if (!G_IS_DESKTOP_APP_INFO(info)) continue;
        if (const char *file = g_desktop_app_info_get_filename(G_DESKTOP_APP_INFO(info)))
            out.append(QFile::decodeName(file));
    }
    return out;
}

bool anyIs(GList *infos, const QString &appPath)
{
    for (GList *l = infos; l; l = l->next) {
        if (isApp(static_cast<GAppInfo *>(l->data), appPath)) return true;
    }
    return false;
}

void freeInfos(GList *infos)
{
    g_list_free_full(infos, g_object_unref);
}

void openParentFolder(const QString &path)
{
    const QByteArray uri = QUrl::fromLocalFile(QFileInfo(path).absolutePath()).toEncoded();
    GError *error = nullptr;
    if (!g_app_info_launch_default_for_uri(uri.constData(), nullptr, &error))
        qCWarning(lcPlatform).noquote()
            << "Could not open the folder of" << path << ":" << takeError(error);
}

} // namespace

EntryFacts readEntryFacts(const QString &path)
{
    EntryFacts facts;
    facts.path = path;
    facts.desktopId = desktopIdForPath(path);
    KeyFilePtr kf = loadKeyFile(path);
    if (!kf) return facts;
    facts.startupWmClass = keyString(kf.get(), "StartupWMClass");
    facts.program = resolveProgram(execProgram(keyString(kf.get(), "Exec")));
    return facts;
}

QString GioAppActions::contentTypeForURL(const QUrl &item)
{
    if (!item.isValid()) return {};
    if (!item.isLocalFile())
        return item.scheme().isEmpty() ? QString()
                                       : QStringLiteral("x-scheme-handler/") + item.scheme();
    const QByteArray native = QFile::encodeName(item.toLocalFile());
    GObjectPtr<GFile> file(g_file_new_for_path(native.constData()));
    GObjectPtr<GFileInfo> info(g_file_query_info(file.get(), G_FILE_ATTRIBUTE_STANDARD_CONTENT_TYPE,
                                                 G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
    if (info) {
        if (const char *type = g_file_info_get_content_type(info.get()))
            return QString::fromUtf8(type);
    }
    // A file that does not exist (yet): by its name alone.
    gboolean uncertain = FALSE;
    GStringPtr type(g_content_type_guess(native.constData(), nullptr, 0, &uncertain));
    return type ? QString::fromUtf8(type.get()) : QString();
}

LaunchResult GioAppActions::launch(const QString &path, const QList<QUrl> &items)
{
    const QFileInfo file(path);
    if (!file.exists()) return {LaunchResult::Missing, QStringLiteral("the file is gone")};

    GObjectPtr<GAppInfo> info;
    GError *error = nullptr;
    if (file.isFile() && path.endsWith(QLatin1String(".desktop"))) {
        QString readError;
        KeyFilePtr kf = loadKeyFile(path, &readError);
        if (!kf) return {LaunchResult::Failed, QStringLiteral("unreadable entry: ") + readError};
        const QString tryExec = keyString(kf.get(), "TryExec");
        if (!tryExec.isEmpty() && resolveProgram(tryExec).isEmpty())
            return {LaunchResult::Missing,
                    QStringLiteral("program %1 is not installed").arg(tryExec)};
        const QString exec = keyString(kf.get(), "Exec");
        bool parsed = false;
        const QString program = execProgram(exec, &parsed);
        if (exec.isEmpty() || !parsed || program.isEmpty())
            return {LaunchResult::Failed, QStringLiteral("unusable Exec line \"%1\"").arg(exec)};
        if (resolveProgram(program).isEmpty())
            return {LaunchResult::Missing,
                    QStringLiteral("program %1 is not installed").arg(program)};
        info.reset(
            G_APP_INFO(g_desktop_app_info_new_from_filename(QFile::encodeName(path).constData())));
        if (!info) return {LaunchResult::Failed, QStringLiteral("GIO does not accept the entry")};
    } else if (file.isFile() && file.isExecutable()) {
        // A program no desktop entry claims: run it directly, the items as arguments.
        GStringPtr quoted(g_shell_quote(QFile::encodeName(path).constData()));
        info.reset(g_app_info_create_from_commandline(quoted.get(), nullptr,
                                                      G_APP_INFO_CREATE_SUPPORTS_URIS, &error));
        if (!info) return {LaunchResult::Failed, takeError(error)};
    } else {
        return {LaunchResult::Failed, QStringLiteral("not an application Kelp can start")};
    }

    GList *uris = uriList(items);
    const bool ok = g_app_info_launch_uris(info.get(), uris, nullptr, &error);
    g_list_free_full(uris, g_free);
    if (ok) return {LaunchResult::Launched, {}};
    const bool missing =
        error && ((error->domain == G_SPAWN_ERROR && error->code == G_SPAWN_ERROR_NOENT) ||
                  g_error_matches(error, G_IO_ERROR, G_IO_ERROR_NOT_FOUND));
    return {missing ? LaunchResult::Missing : LaunchResult::Failed, takeError(error)};
}

bool GioAppActions::canAcceptURL(const QString &appPath, const QUrl &item) const
{
    const QString type = contentTypeForURL(item);
    if (type.isEmpty()) return false;
    GList *infos = g_app_info_get_all_for_type(type.toUtf8().constData());
    const bool found = anyIs(infos, appPath);
    freeInfos(infos);
    return found;
}

bool GioAppActions::prefersURL(const QString &appPath, const QUrl &item) const
{
    const QString type = contentTypeForURL(item);
    if (type.isEmpty()) return false;
    GList *infos = g_app_info_get_recommended_for_type(type.toUtf8().constData());
    const bool found = anyIs(infos, appPath);
    freeInfos(infos);
    return found;
}

QStringList GioAppActions::appsThatCanAccept(const QUrl &item) const
{
    const QString type = contentTypeForURL(item);
    if (type.isEmpty()) return {};
    GList *infos = g_app_info_get_all_for_type(type.toUtf8().constData());
    const QStringList out = appPaths(infos);
    freeInfos(infos);
    return out;
}

QStringList GioAppActions::appsThatPrefer(const QUrl &item) const
{
    const QString type = contentTypeForURL(item);
    if (type.isEmpty()) return {};
    GList *infos = g_app_info_get_recommended_for_type(type.toUtf8().constData());
    const QStringList out = appPaths(infos);
    freeInfos(infos);
    return out;
}

void GioAppActions::reveal(const QString &path)
{
    // A D-Bus round trip (and perhaps the file manager's start): never on the GUI thread.
    QThreadPool::globalInstance()->start([path]() {
        GError *error = nullptr;
        GObjectPtr<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error));
        if (bus) {
            const QByteArray uri = QUrl::fromLocalFile(path).toEncoded();
            GVariantBuilder uris;
            g_variant_builder_init(&uris, G_VARIANT_TYPE("as"));
            g_variant_builder_add(&uris, "s", uri.constData());
            GVariant *reply = g_dbus_connection_call_sync(
                bus.get(), "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                "org.freedesktop.FileManager1", "ShowItems", g_variant_new("(ass)", &uris, ""),
                nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, &error);
            if (reply) {
                g_variant_unref(reply);
                return;
            }
        }
        qCInfo(lcPlatform).noquote() << "No file manager to show" << path << "in ("
                                     << takeError(error) << "); opening its folder";
        openParentFolder(path);
    });
}

bool GioAppActions::sendForDeletionWithDesktopId(const QString &path, const QString &desktopId)
{
    if (desktopId.isEmpty()) return false;
    GObjectPtr<GDesktopAppInfo> remover(g_desktop_app_info_new(desktopId.toUtf8().constData()));
    if (!remover) {
        qCInfo(lcPlatform).noquote() << "No application with the ID" << desktopId;
        return false;
    }
    GList *uris = uriList({QUrl::fromLocalFile(path)});
    GError *error = nullptr;
    const bool ok = g_app_info_launch_uris(G_APP_INFO(remover.get()), uris, nullptr, &error);
    g_list_free_full(uris, g_free);
    if (!ok)
        qCWarning(lcPlatform).noquote()
            << "Could not hand" << path << "to" << desktopId << ":" << takeError(error);
    return ok;
}

bool GioAppActions::sendForDeletionWithApp(const QString &path, const QString &uninstallerPath)
{
    if (uninstallerPath.isEmpty()) return false;
    if (!canAcceptURL(uninstallerPath, QUrl::fromLocalFile(path))) return false;
    const LaunchResult result = launch(uninstallerPath, {QUrl::fromLocalFile(path)});
    if (result.status != LaunchResult::Launched)
        qCWarning(lcPlatform).noquote()
            << "Could not hand" << path << "to" << uninstallerPath << ":" << result.error;
    return result.status == LaunchResult::Launched;
}

} // namespace kelp
