#include "platform/gio/GioFileTypeApps.h"

#include "platform/gio/GioAppLauncher.h"
#include "platform/gio/GioDesktopEntry.h"

#include <QFile>

namespace kelp {
namespace {

QStringList entryPaths(GList *infos)
{
    const GLibPtr<GObjectList> owned(infos);
    QStringList out;
    for (GList *l = owned.get(); l; l = l->next) {
        auto *info = static_cast<GAppInfo *>(l->data);
        if (!G_IS_DESKTOP_APP_INFO(info)) continue;
        if (const char *file = g_desktop_app_info_get_filename(G_DESKTOP_APP_INFO(info)))
            out.append(QFile::decodeName(file));
    }
    return out;
}

} // namespace

QString GioFileTypeApps::contentTypeOf(const QUrl &item) const
{
    return GioAppLauncher::contentTypeForURL(item);
}

QStringList GioFileTypeApps::appsPreferringType(const QString &type) const
{
    if (type.isEmpty()) return {};
    return entryPaths(g_app_info_get_recommended_for_type(type.toUtf8().constData()));
}

QStringList GioFileTypeApps::appsAcceptingType(const QString &type) const
{
    if (type.isEmpty()) return {};
    return entryPaths(g_app_info_get_all_for_type(type.toUtf8().constData()));
}

} // namespace kelp
