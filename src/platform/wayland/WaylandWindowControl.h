#pragma once
// WindowControl on a Wayland compositor that shares its window list: activation through the
// toplevel's activate on the user's seat, hiding as minimising (where the compositor does it:
// sway ignores it, having nowhere to put a minimised window), closing politely. wlroots'
// toplevels name no process, so pid() is 0 there; KWin's do.
#include "desktop/WindowControl.h"

#include <memory>

namespace kelp {

class WaylandRunningApplications;

class WaylandWindowControl : public WindowControl
{
public:
    explicit WaylandWindowControl(std::shared_ptr<WaylandRunningApplications> running);

    qint64 pid(const QString &path) const override;
    bool activate(const QString &path) override;
    bool isVisible(const QString &path) const override;
    void show(const QString &path) override;
    void hide(const QString &path) override;
    void quit(const QString &path) override;

private:
    std::shared_ptr<WaylandRunningApplications> _running;
};

} // namespace kelp
