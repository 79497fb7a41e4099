#pragma once
// WindowControl on X11, through the running-application layer's own connection: activation as a
// pager asks for it, iconify through WM_CHANGE_STATE, polite _NET_CLOSE_WINDOW.
#include "desktop/WindowControl.h"

#include <memory>

namespace kelp {

class X11RunningApplications;

class X11WindowControl : public WindowControl
{
public:
    explicit X11WindowControl(std::shared_ptr<X11RunningApplications> running);

    qint64 pid(const QString &path) const override;
    bool activate(const QString &path) override;
    bool isVisible(const QString &path) const override;
    void show(const QString &path) override;
    void hide(const QString &path) override;
    void quit(const QString &path) override;

private:
    std::shared_ptr<X11RunningApplications> _running;
};

} // namespace kelp
