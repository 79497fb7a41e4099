#include "platform/gio/GioAppLauncher.h"

#include "desktop/ActivationTokens.h"
#include "desktop/AppsOnDisk.h"
#include "extras/Logging.h"
#include "platform/gio/GioDesktopEntry.h"

#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QThreadPool>

namespace kelp {
namespace {

// The environment a launched application gets: Kelp's own, without what only Kelp's Qt should see
// (its platform plugin and the Wayland panel's settings), plus the activation token when there is
// one.
GLibPtr<GAppLaunchContext> launchContext(const QString &token)
{
    GLibPtr<GAppLaunchContext> context(g_app_launch_context_new());
    for (const QString &name : QProcessEnvironment::systemEnvironment().keys()) {
        if (name == QLatin1String("QT_QPA_PLATFORM") ||
            name.startsWith(QLatin1String("QT_WAYLAND_")))
            g_app_launch_context_unsetenv(context.get(), name.toUtf8().constData());
    }
    if (!token.isEmpty()) {
        const QByteArray value = token.toUtf8();
        g_app_launch_context_setenv(context.get(), "XDG_ACTIVATION_TOKEN", value.constData());
        g_app_launch_context_setenv(context.get(), "DESKTOP_STARTUP_ID", value.constData());
    }
    return context;
}

GLibPtr<GStringList> uriList(const QList<QUrl> &items)
{
    GList *uris = nullptr;
    for (const QUrl &u : items)
        uris = g_list_append(uris, g_strdup(u.toEncoded().constData()));
    return GLibPtr<GStringList>(uris);
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

// The applications GIO offers for the item's type: every one that can open it, or only those that
// list the type among their preferred ones. Null when the item has no type.
GLibPtr<GObjectList> appsForItem(const QUrl &item, bool preferredOnly)
{
    const QString type = GioAppLauncher::contentTypeForURL(item);
    if (type.isEmpty()) return nullptr;
    const QByteArray utf8 = type.toUtf8();
    return GLibPtr<GObjectList>(preferredOnly
                                    ? g_app_info_get_recommended_for_type(utf8.constData())
                                    : g_app_info_get_all_for_type(utf8.constData()));
}

QStringList appPaths(const GLibPtr<GObjectList> &infos)
{
    QStringList out;
    for (GList *l = infos.get(); l; l = l->next) {
        auto *info = static_cast<GAppInfo *>(l->data);
        if (!G_IS_DESKTOP_APP_INFO(info)) continue;
        if (const char *file = g_desktop_app_info_get_filename(G_DESKTOP_APP_INFO(info)))
            out.append(QFile::decodeName(file));
    }
    return out;
}

bool anyIs(const GLibPtr<GObjectList> &infos, const QString &appPath)
{
    for (GList *l = infos.get(); l; l = l->next) {
        if (isApp(static_cast<GAppInfo *>(l->data), appPath)) return true;
    }
    return false;
}

void openParentFolder(const QString &path)
{
    const QByteArray uri = QUrl::fromLocalFile(QFileInfo(path).absolutePath()).toEncoded();
    GLibPtr<GError> error;
    if (!g_app_info_launch_default_for_uri(uri.constData(), nullptr, outPtr(error)))
        qCWarning(lcPlatform).noquote()
            << "Could not open the folder of" << path << ":" << errorMessage(error);
}

} // namespace

QString GioAppLauncher::contentTypeForURL(const QUrl &item)
{
    if (!item.isValid()) return {};
    if (!item.isLocalFile())
        return item.scheme().isEmpty() ? QString()
                                       : QStringLiteral("x-scheme-handler/") + item.scheme();
    const QByteArray native = QFile::encodeName(item.toLocalFile());
    const GLibPtr<GFile> file(g_file_new_for_path(native.constData()));
    const GLibPtr<GFileInfo> info(g_file_query_info(file.get(),
                                                    G_FILE_ATTRIBUTE_STANDARD_CONTENT_TYPE,
                                                    G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
    if (info) {
        if (const char *type = g_file_info_get_content_type(info.get()))
            return QString::fromUtf8(type);
    }
    // A file that does not exist (yet): by its name alone.
    gboolean uncertain = FALSE;
    return takeString(g_content_type_guess(native.constData(), nullptr, 0, &uncertain));
}

LaunchResult GioAppLauncher::launch(const QString &path, const QList<QUrl> &items)
{
    qCDebug(lcPlatform).noquote() << "Launching" << path << "with" << items.size() << "items";
    const QFileInfo file(path);
    if (!file.exists()) return {LaunchResult::Missing, QStringLiteral("the file is gone")};

    GLibPtr<GAppInfo> info;
    GLibPtr<GError> error;
    if (file.isFile() && path.endsWith(QLatin1String(".desktop"))) {
        QString readError;
        const GLibPtr<GKeyFile> entry = loadKeyFile(path, &readError);
        if (!entry) return {LaunchResult::Failed, QStringLiteral("unreadable entry: ") + readError};
        const QString tryExec = desktopEntryString(entry.get(), "TryExec");
        if (!tryExec.isEmpty() && resolveProgram(tryExec).isEmpty())
            return {LaunchResult::Missing,
                    QStringLiteral("program %1 is not installed").arg(tryExec)};
        const QString exec = desktopEntryString(entry.get(), "Exec");
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
        const GLibPtr<gchar> quoted(g_shell_quote(QFile::encodeName(path).constData()));
        info.reset(g_app_info_create_from_commandline(
            quoted.get(), nullptr, G_APP_INFO_CREATE_SUPPORTS_URIS, outPtr(error)));
        if (!info) return {LaunchResult::Failed, errorMessage(error)};
    } else {
        return {LaunchResult::Failed, QStringLiteral("not an application Kelp can start")};
    }

    const GLibPtr<GStringList> uris = uriList(items);
    QString appId = file.fileName();
    if (appId.endsWith(QLatin1String(".desktop"))) appId.chop(8);
    const GLibPtr<GAppLaunchContext> context =
        launchContext(_tokens ? _tokens->requestToken(appId) : QString());
    if (g_app_info_launch_uris(info.get(), uris.get(), context.get(), outPtr(error)))
        return {LaunchResult::Launched, {}};
    const bool missing =
        error && ((error->domain == G_SPAWN_ERROR && error->code == G_SPAWN_ERROR_NOENT) ||
                  g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_NOT_FOUND));
    return {missing ? LaunchResult::Missing : LaunchResult::Failed, errorMessage(error)};
}

bool GioAppLauncher::canAcceptURL(const QString &appPath, const QUrl &item) const
{
    return anyIs(appsForItem(item, false), appPath);
}

bool GioAppLauncher::prefersURL(const QString &appPath, const QUrl &item) const
{
    return anyIs(appsForItem(item, true), appPath);
}

QStringList GioAppLauncher::appsThatCanAccept(const QUrl &item) const
{
    return appPaths(appsForItem(item, false));
}

QStringList GioAppLauncher::appsThatPrefer(const QUrl &item) const
{
    return appPaths(appsForItem(item, true));
}

void GioAppLauncher::reveal(const QString &path)
{
    // A D-Bus round trip (and perhaps the file manager's start): never on the GUI thread.
    QThreadPool::globalInstance()->start([path]() {
        GLibPtr<GError> error;
        const GLibPtr<GDBusConnection> bus(
            g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, outPtr(error)));
        if (bus) {
            const QByteArray uri = QUrl::fromLocalFile(path).toEncoded();
            GVariantBuilder uris;
            g_variant_builder_init(&uris, G_VARIANT_TYPE("as"));
            g_variant_builder_add(&uris, "s", uri.constData());
            const GLibPtr<GVariant> reply(g_dbus_connection_call_sync(
                bus.get(), "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                "org.freedesktop.FileManager1", "ShowItems", g_variant_new("(ass)", &uris, ""),
                nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, outPtr(error)));
            if (reply) return;
        }
        qCInfo(lcPlatform).noquote() << "No file manager to show" << path << "in ("
                                     << errorMessage(error) << "); opening its folder";
        openParentFolder(path);
    });
}

bool GioAppLauncher::sendForDeletionWithDesktopId(const QString &path, const QString &desktopId)
{
    if (desktopId.isEmpty()) return false;
    const GLibPtr<GDesktopAppInfo> remover(g_desktop_app_info_new(desktopId.toUtf8().constData()));
    if (!remover) {
        qCInfo(lcPlatform).noquote() << "No application with the ID" << desktopId;
        return false;
    }
    const GLibPtr<GStringList> uris = uriList({QUrl::fromLocalFile(path)});
    GLibPtr<GError> error;
    const bool ok =
        g_app_info_launch_uris(G_APP_INFO(remover.get()), uris.get(), nullptr, outPtr(error));
    if (!ok)
        qCWarning(lcPlatform).noquote()
            << "Could not hand" << path << "to" << desktopId << ":" << errorMessage(error);
    return ok;
}

bool GioAppLauncher::sendForDeletionWithApp(const QString &path, const QString &uninstallerPath)
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
