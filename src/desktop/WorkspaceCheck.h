#pragma once
// WorkspaceCheck: whether the window manager keeps a window on every workspace, as Kelp asks for
// its panel. No answer where the desktop does not say (no workspaces, no such property).
#include <optional>

class QWindow;

namespace kelp {

class WorkspaceCheck
{
public:
    virtual ~WorkspaceCheck() = default;
    virtual std::optional<bool> isOnAllWorkspaces(QWindow *window) = 0;
};

} // namespace kelp
