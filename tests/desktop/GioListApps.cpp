// gio_list_apps: the applications GIO itself (GLib's GDesktopAppInfo) finds under $XDG_DATA_HOME
// and $XDG_DATA_DIRS, for the differential test of Kelp's desktop entry reading. Prints one JSON
// object: file path -> {"id", "name", "icon", "shown"}. "shown" is what a launcher should list
// (g_app_info_should_show); GIO leaves hidden entries out itself.
// GIO first: Qt's keyword macros ("signals") would break its headers.
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <cstdio>

int main()
{
    QJsonObject apps;
    GList *all = g_app_info_get_all();
    for (GList *l = all; l; l = l->next) {
        auto *info = static_cast<GAppInfo *>(l->data);
        if (!G_IS_DESKTOP_APP_INFO(info)) continue;
        const char *file = g_desktop_app_info_get_filename(G_DESKTOP_APP_INFO(info));
        const char *name = g_app_info_get_name(info);
        GIcon *icon = g_app_info_get_icon(info);
        gchar *iconText = icon ? g_icon_to_string(icon) : nullptr;
        apps.insert(
            QString::fromUtf8(file),
            QJsonObject{{QStringLiteral("id"), QString::fromUtf8(g_app_info_get_id(info))},
                        {QStringLiteral("name"), name ? QString::fromUtf8(name) : QString()},
                        {QStringLiteral("icon"), QString::fromUtf8(iconText ? iconText : "")},
                        {QStringLiteral("shown"), g_app_info_should_show(info) != FALSE}});
        g_free(iconText);
    }
    g_list_free_full(all, g_object_unref);
    const QByteArray out = QJsonDocument(apps).toJson(QJsonDocument::Compact);
    std::fwrite(out.constData(), 1, static_cast<size_t>(out.size()), stdout);
    return 0;
}
