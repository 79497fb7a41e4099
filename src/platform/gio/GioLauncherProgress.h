#pragma once
// LauncherProgress over GDBus on the session bus.
#include "desktop/LauncherProgress.h"
#include "platform/gio/GLibPtr.h"

#include <QString>

namespace kelp {

class GioLauncherProgress : public LauncherProgress
{
public:
    // desktopId: the desktop file that launches Kelp ("kelp.desktop").
    explicit GioLauncherProgress(const QString &desktopId = QStringLiteral("kelp.desktop"));
    ~GioLauncherProgress() override;

    void showProgress(int step, int count) override;

private:
    GLibPtr<GDBusConnection> _bus;
    QString _appUri;
};

} // namespace kelp
