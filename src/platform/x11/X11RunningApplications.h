#pragma once
// Running applications on X11: EWMH and ICCCM through xcb, on a connection of Kelp's own.
//
// The window manager's client list (_NET_CLIENT_LIST) and active window (_NET_ACTIVE_WINDOW) are
// followed through PropertyNotify events on the root window, read when the connection's socket
// becomes readable: nothing runs while no window comes, goes or takes the focus. Each window's
// facts (process, class, GIO launch record, executable) are read once, when it first appears.
#include "desktop/RunningApplications.h"
#include "desktop/WindowMatching.h"
#include "platform/gio/DesktopEntryIndex.h"

#include <QHash>
#include <QSet>

#include <memory>

class QSocketNotifier;

namespace kelp {

class X11RunningApplications : public RunningApplications
{
    Q_OBJECT
public:
    // displayName: an X display (":1"); empty means $DISPLAY.
    explicit X11RunningApplications(const QByteArray &displayName = {}, QObject *parent = nullptr);
    ~X11RunningApplications() override;

    bool isConnected() const { return _connected; }

    QList<RunningApp> runningApplications() const override { return _apps; }
    QString activeApplicationPath() const override { return _activePath; }
    QString pathForPid(qint64 pid) const override;
    void setKnownApplications(const QStringList &paths) override;
    bool isMatchingPending() const override { return _index.isPending(); }

    // Window operations for the actions; unknown windows are ignored.
    QList<quint32> windowsForPath(const QString &path) const;
    void activateWindows(const QList<quint32> &windows);
    void iconifyWindows(const QList<quint32> &windows);
    void closeWindows(const QList<quint32> &windows);
    // Whether any of the windows is shown (mapped, not iconified).
    bool anyWindowShown(const QList<quint32> &windows);

private:
    void readEvents();
    void scheduleRead();
    void refreshClientList();
    void refreshActiveWindow();
    void regroup();
    QString pathForWindow(quint32 window);
    void gatherFacts(const QList<quint32> &windows);
    void updateRegularFlags(const QList<quint32> &windows);
    QImage windowIcon(quint32 window);

    struct Connection;
    std::unique_ptr<Connection> _x;
    bool _connected = false;
    QSocketNotifier *_notifier = nullptr;
    bool _reading = false;
    bool _readAgain = false;
    bool _readScheduled = false;

    QList<quint32> _clients;
    QHash<quint32, WindowFacts> _facts;
    QHash<quint32, QImage> _icons;
    QSet<quint32> _reported; // windows already logged as left out
    QSet<quint32> _watched;  // windows that named no process or class yet: their changes are read
    QList<RunningApp> _apps;
    QStringList _launchOrder;
    quint32 _activeWindow = 0;
    QString _activePath;

    DesktopEntryIndex _index;
};

} // namespace kelp
