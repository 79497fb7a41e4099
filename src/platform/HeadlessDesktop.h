#pragma once
// The desktop services without a display: no application runs, every action answers false.
// Lets the catalogue and `kelp --print-catalogue` work where there is no window system.
#include "platform/AppActions.h"
#include "platform/RunningApplications.h"

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

class HeadlessAppActions : public AppActions
{
public:
    qint64 pid(const QString &) const override { return 0; }
    bool activate(const QString &) override { return false; }
    bool isVisible(const QString &) const override { return false; }
    void show(const QString &) override {}
    void hide(const QString &) override {}
    void quit(const QString &) override {}
    void reveal(const QString &) override {}
    LaunchResult launch(const QString &, const QList<QUrl> &) override;
    bool canAcceptURL(const QString &, const QUrl &) const override { return false; }
    bool prefersURL(const QString &, const QUrl &) const override { return false; }
    QStringList appsThatCanAccept(const QUrl &) const override { return {}; }
    QStringList appsThatPrefer(const QUrl &) const override { return {}; }
    bool sendForDeletionWithDesktopId(const QString &, const QString &) override { return false; }
    bool sendForDeletionWithApp(const QString &, const QString &) override { return false; }
};

} // namespace kelp
