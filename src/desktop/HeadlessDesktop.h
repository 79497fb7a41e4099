#pragma once
// The running applications without a window system: none. With it, and with no window control,
// the catalogue and `kelp --print-catalogue` work where there is no display; launching and the
// other services that need no display still come from GIO (platform/DesktopFactory.h).
#include "desktop/RunningApplications.h"

namespace kelp {

class HeadlessRunningApplications : public RunningApplications
{
    Q_OBJECT
public:
    using RunningApplications::RunningApplications;
    QList<RunningApp> runningApplications() const override { return {}; }
    QString activeApplicationPath() const override { return {}; }
    QString pathForPid(qint64) const override { return {}; }
    void setKnownApplications(const QStringList &) override {}
};

} // namespace kelp
