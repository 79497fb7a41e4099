#pragma once
// StatusTray: the desktop's tray for Kelp's own icon window (a tray that embeds windows, such as
// an XEmbed system tray). The icon itself is an ordinary Qt window that the tray takes in.
#include <QColor>
#include <QObject>

#include <optional>

class QWindow;

namespace kelp {

class StatusTray : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    ~StatusTray() override = default;

    // Whether a tray runs now.
    virtual bool isAvailable() const = 0;
    // Asks the tray to take the window in (again after the tray came back). False without a tray.
    virtual bool dock(QWindow *window) = 0;
    // The colour the tray asks icons to draw in, when it says.
    virtual std::optional<QColor> foreground() const = 0;
    // Whether the desktop around the tray is dark (its theme, its dark-mode preference), when it
    // says.
    virtual std::optional<bool> darkDesktop() const { return std::nullopt; }
    // Sets up the window before it is first shown (size, embedding information).
    virtual void prepare(QWindow *window) = 0;

Q_SIGNALS:
    // A tray started (or a new one replaced it) or went away.
    void availabilityChanged(bool available);
    // The tray's colours or the desktop's dark mode changed: the icon may want the other image.
    void appearanceChanged();
    // The tray took the docked window in (or mapped it again): its contents want drawing anew.
    void windowEmbedded();
};

} // namespace kelp
