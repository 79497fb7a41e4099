#include "platform/gio/GioLauncherProgress.h"

#include "extras/Logging.h"

#include <QFileInfo>

#include <gio/gio.h>

namespace kelp {

GioLauncherProgress::GioLauncherProgress(const QString &desktopId)
    : _appUri(QStringLiteral("application://") + desktopId)
{
    // Only a session bus that is there: GLib would otherwise try to start one of its own.
    const QString runtimeBus = qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus");
    if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") && !QFileInfo::exists(runtimeBus)) {
        qCInfo(lcPlatform) << "No session bus; scan progress stays off the dock";
        return;
    }
    GError *error = nullptr;
    _bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error);
    if (!_bus) {
        qCInfo(lcPlatform).noquote() << "No session bus; scan progress stays off the dock:"
                                     << (error ? QString::fromUtf8(error->message) : QString());
        g_clear_error(&error);
    }
}

GioLauncherProgress::~GioLauncherProgress()
{
    if (!_bus) return;
    // Signals still queued would be lost with the last reference to the connection.
    g_dbus_connection_flush_sync(_bus, nullptr, nullptr);
    g_object_unref(_bus);
}

void GioLauncherProgress::showProgress(int step, int count)
{
    if (!_bus) return;
    const double fraction = launcherProgressFraction(step, count);
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&properties, "{sv}", "progress-visible",
                          g_variant_new_boolean(fraction >= 0.0));
    g_variant_builder_add(&properties, "{sv}", "progress",
                          g_variant_new_double(fraction >= 0.0 ? fraction : 0.0));
    GError *error = nullptr;
    // Sent without waiting: a signal has no answer, and the dock may not be there at all.
    if (!g_dbus_connection_emit_signal(
            _bus, nullptr, "/com/canonical/unity/launcherentry/kelp",
            "com.canonical.Unity.LauncherEntry", "Update",
            g_variant_new("(sa{sv})", _appUri.toUtf8().constData(), &properties), &error)) {
        qCDebug(lcPlatform).noquote()
            << "Launcher progress not sent:" << QString::fromUtf8(error->message);
        g_clear_error(&error);
    }
}

} // namespace kelp
