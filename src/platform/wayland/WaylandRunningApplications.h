#pragma once
// Running applications on a Wayland compositor that shares its window list: the wlroots family
// (sway...) through zwlr_foreign_toplevel_manager_v1, KDE Plasma through
// org_kde_plasma_window_management (which KWin offers only to programs whose installed desktop
// entry names it in X-KDE-Wayland-Interfaces), and any other compositor offering the read-only
// ext_foreign_toplevel_list_v1 (listing only: no activation, minimising or closing through it).
//
// Kelp binds the first of them the compositor offers, never at a higher version than offered,
// and a seat, on a registry of its own. Each toplevel's app id, title and state arrive as events
// and take effect together (wlroots' "done", KWin's initial state and each change after it), when
// the applications are grouped again by the rules of desktop/WindowMatching.h. wlroots and ext
// toplevels name no process and are matched by app id alone; KWin's name their process too. A
// toplevel nothing claims stands for an application of its own. Nothing runs while no toplevel
// comes, goes or changes.
#include "desktop/RunningApplications.h"
#include "desktop/WindowMatching.h"
#include "platform/gio/DesktopEntryIndex.h"

#include <memory>
#include <set>
#include <vector>

struct wl_output;
struct wl_registry;
struct wl_seat;
struct zwlr_foreign_toplevel_manager_v1;
struct zwlr_foreign_toplevel_handle_v1;
struct org_kde_plasma_window_management;
struct org_kde_plasma_window;
struct ext_foreign_toplevel_list_v1;

namespace kelp {

class WaylandClientDisplay;

class WaylandRunningApplications : public RunningApplications
{
    Q_OBJECT
public:
    enum class Source { None, WlrForeignToplevel, PlasmaWindowManagement, ExtForeignToplevelList };

    // Looks for a window list with one roundtrip (two when there is one: its toplevels).
    explicit WaylandRunningApplications(std::shared_ptr<WaylandClientDisplay> display,
                                        QObject *parent = nullptr);
    ~WaylandRunningApplications() override;

    Source source() const { return _source; }
    bool isAvailable() const { return _source != Source::None; }
    quint32 boundVersion() const { return _boundVersion; }

    QList<RunningApp> runningApplications() const override { return _apps; }
    QString activeApplicationPath() const override { return _activePath; }
    QString pathForPid(qint64 pid) const override;
    void setKnownApplications(const QStringList &paths) override;
    bool isMatchingPending() const override { return _index.isPending(); }
    bool isShared() const override { return isAvailable(); }

    // Window operations for the window control; unknown toplevels are ignored.
    QList<quint32> windowsForPath(const QString &path) const;
    // Asks the compositor to bring the windows forward; false when no request could go (none
    // of them is known any more, no seat, the compositor gone).
    bool activateWindows(const QList<quint32> &windows);
    void setWindowsMinimised(const QList<quint32> &windows, bool minimised);
    // Takes out of fullscreen the other toplevels that cover these windows' outputs (wlroots).
    void unsetFullscreenOver(const QList<quint32> &windows);
    void closeWindows(const QList<quint32> &windows);
    // Whether any of them is not minimised.
    bool anyWindowShown(const QList<quint32> &windows) const;
    // The first process of the application, where the compositor tells (KWin); 0 otherwise.
    qint64 pidForPath(const QString &path) const;

private:
    // What a toplevel reported, as of its last complete update.
    struct ToplevelState
    {
        QString appId;
        QString title;
        qint64 pid = 0;
        bool activated = false;
        bool minimised = false;
        bool fullscreen = false;
        bool hasParent = false;
        bool skipTaskbar = false;
    };
    struct Toplevel;
    struct WlrListeners;
    struct PlasmaListeners;
    struct ExtListeners;
    friend struct WlrListeners;
    friend struct PlasmaListeners;
    friend struct ExtListeners;

    static void onGlobal(void *data, wl_registry *registry, uint32_t name, const char *interface,
                         uint32_t version);
    static void onGlobalRemove(void *data, wl_registry *registry, uint32_t name);

    Toplevel &addToplevel();
    void toplevelUpdated(Toplevel *toplevel);
    void toplevelGone(Toplevel *toplevel);
    void regroup();
    Toplevel *toplevelById(quint32 id) const;
    WindowFacts factsOf(const Toplevel &toplevel) const;
    QString pathOf(const Toplevel &toplevel) const;

    std::shared_ptr<WaylandClientDisplay> _display;
    wl_registry *_registry = nullptr;
    wl_seat *_seat = nullptr;
    uint32_t _seatName = 0;
    Source _source = Source::None;
    quint32 _boundVersion = 0;
    zwlr_foreign_toplevel_manager_v1 *_wlrManager = nullptr;
    org_kde_plasma_window_management *_plasmaManager = nullptr;
    ext_foreign_toplevel_list_v1 *_extList = nullptr;
    // Offered globals, bound after the first roundtrip in order of preference.
    uint32_t _wlrName = 0, _wlrVersion = 0, _plasmaName = 0, _plasmaVersion = 0, _extName = 0;

    // In the order the compositor announced them: launch order.
    std::vector<std::unique_ptr<Toplevel>> _toplevels;
    quint32 _nextId = 1;
    QList<RunningApp> _apps;
    QStringList _launchOrder;
    QString _activePath;

    DesktopEntryIndex _index;
};

} // namespace kelp
