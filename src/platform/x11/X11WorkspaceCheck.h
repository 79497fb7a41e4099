#pragma once
// The workspace check on X11: the window's _NET_WM_DESKTOP is 0xFFFFFFFF on every workspace. Read
// on a connection opened for the question alone; no answer with a single workspace.
#include "desktop/WorkspaceCheck.h"

namespace kelp {

class X11WorkspaceCheck : public WorkspaceCheck
{
public:
    std::optional<bool> isOnAllWorkspaces(QWindow *window) override;
};

} // namespace kelp
