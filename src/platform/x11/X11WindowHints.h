#pragma once
// WindowHints on X11: EWMH properties and client messages on Qt's own xcb connection.
#include "desktop/WindowHints.h"

#include <memory>

namespace kelp {

class X11WindowHints : public WindowHints
{
public:
    // Uses the xcb connection of the running QGuiApplication ("xcb" platform only).
    X11WindowHints();
    ~X11WindowHints() override;

    bool isConnected() const;

    void setOnAllDesktops(QWindow *window) override;
    void setSkipTaskbar(QWindow *window, bool skip) override;
    void setKeepAbove(QWindow *window, bool above) override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace kelp
