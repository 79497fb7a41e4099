#include "platform/gio/GioLauncherProgress.h"

#include "extras/Logging.h"

#include <QFileInfo>

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
    GLibPtr<GError> error;
    _bus.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, outPtr(error)));
    if (!_bus)
        qCInfo(lcPlatform).noquote()
            << "No session bus; scan progress stays off the dock:" << errorMessage(error);
}

GioLauncherProgress::~GioLauncherProgress()
{
    if (!_bus) return;
    // Signals still queued would be lost with the last reference to the connection.
    g_dbus_connection_flush_sync(_bus.get(), nullptr, nullptr);
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
    GLibPtr<GError> error;
    // Sent without waiting: a signal has no answer, and the dock may not be there at all.
    if (!g_dbus_connection_emit_signal(
            _bus.get(), nullptr, "/com/canonical/unity/launcherentry/kelp",
            "com.canonical.Unity.LauncherEntry", "Update",
            g_variant_new("(sa{sv})", _appUri.toUtf8().constData(), &properties), outPtr(error)))
        qCDebug(lcPlatform).noquote() << "Launcher progress not sent:" << errorMessage(error);
}

} // namespace kelp
