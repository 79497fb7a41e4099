#pragma once
// LauncherProgress over GDBus on the session bus.
#include "platform/LauncherProgress.h"

#include <QString>

typedef struct _GDBusConnection GDBusConnection;

namespace kelp {

class GioLauncherProgress : public LauncherProgress
{
public:
    // desktopId: the desktop file that launches Kelp ("kelp.desktop").
    explicit GioLauncherProgress(const QString &desktopId = QStringLiteral("kelp.desktop"));
    ~GioLauncherProgress() override;

    void showProgress(int step, int count) override;

private:
    GDBusConnection *_bus = nullptr;
    QString _appUri;
};

} // namespace kelp
