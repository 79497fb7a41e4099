#include "platform/wayland/WaylandRunningApplications.h"

#include "extras/Logging.h"
#include "platform/ProcessFacts.h"
#include "platform/wayland/WaylandClientDisplay.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QSet>

#include <wayland-client.h>

#include "ext-foreign-toplevel-list-v1-client-protocol.h"
#include "plasma-window-management-client-protocol.h"
#include "wlr-foreign-toplevel-management-unstable-v1-client-protocol.h"

#include <algorithm>
#include <cstring>

namespace kelp {

namespace {

// The highest versions Kelp speaks; a compositor offering less is bound at its own.
constexpr uint32_t kWlrVersion = 3;
// Version 5 brings the parent window; KWin sends the process before the initial state.
constexpr uint32_t kPlasmaVersion = 5;

// The stand-in path of a toplevel that nothing claims: its app id, so that all toplevels of one
// unknown program make one application, or for a toplevel without one its own number, so that
// it stands alone.
QString unclaimedPath(const QString &appId, quint32 id)
{
    if (appId.isEmpty()) return QStringLiteral("wayland:/toplevel/%1").arg(id);
    QString safe = appId;
    safe.replace(QLatin1Char('/'), QLatin1Char('_'));
    return QStringLiteral("wayland:/app/") + safe;
}

} // namespace

struct WaylandRunningApplications::Toplevel
{
    WaylandRunningApplications *owner = nullptr;
    zwlr_foreign_toplevel_handle_v1 *wlr = nullptr;
    org_kde_plasma_window *plasma = nullptr;
    ext_foreign_toplevel_handle_v1 *ext = nullptr;
    quint32 id = 0;
    ToplevelState pending;
    ToplevelState current;
    std::set<wl_output *> outputs; // where a wlroots toplevel is shown
    WindowFacts process;           // what /proc told of its process (KWin), read once
    bool counted = false;          // its first complete update arrived: it counts from then on
};

// --- zwlr_foreign_toplevel_manager_v1 ---------------------------------------------------------

struct WaylandRunningApplications::WlrListeners
{
    static void onTitle(void *data, zwlr_foreign_toplevel_handle_v1 *, const char *title)
    {
        static_cast<Toplevel *>(data)->pending.title = QString::fromUtf8(title);
    }
    static void onAppId(void *data, zwlr_foreign_toplevel_handle_v1 *, const char *appId)
    {
        static_cast<Toplevel *>(data)->pending.appId = QString::fromUtf8(appId);
    }
    static void onOutputEnter(void *data, zwlr_foreign_toplevel_handle_v1 *, wl_output *output)
    {
        static_cast<Toplevel *>(data)->outputs.insert(output);
    }
    static void onOutputLeave(void *data, zwlr_foreign_toplevel_handle_v1 *, wl_output *output)
    {
        static_cast<Toplevel *>(data)->outputs.erase(output);
    }
    static void onState(void *data, zwlr_foreign_toplevel_handle_v1 *, wl_array *states)
    {
        auto *self = static_cast<Toplevel *>(data);
        self->pending.activated = false;
        self->pending.minimised = false;
        self->pending.fullscreen = false;
        // An array of 32-bit values; a size that is no multiple of four is read as far as it goes.
        const size_t count = states->size / sizeof(uint32_t);
        for (size_t i = 0; i < count; ++i) {
            uint32_t state = 0;
            std::memcpy(&state, static_cast<const char *>(states->data) + i * sizeof(uint32_t),
                        sizeof(state));
            if (state == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED)
                self->pending.activated = true;
            if (state == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_MINIMIZED)
                self->pending.minimised = true;
            if (state == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_FULLSCREEN)
                self->pending.fullscreen = true;
        }
    }
    static void onDone(void *data, zwlr_foreign_toplevel_handle_v1 *)
    {
        auto *self = static_cast<Toplevel *>(data);
        self->owner->toplevelUpdated(self);
    }
    static void onClosed(void *data, zwlr_foreign_toplevel_handle_v1 *)
    {
        auto *self = static_cast<Toplevel *>(data);
        self->owner->toplevelGone(self);
    }
    static void onParent(void *data, zwlr_foreign_toplevel_handle_v1 *,
                         zwlr_foreign_toplevel_handle_v1 *parent)
    {
        static_cast<Toplevel *>(data)->pending.hasParent = parent != nullptr;
    }
    static constexpr zwlr_foreign_toplevel_handle_v1_listener handleListener = {
        onTitle, onAppId, onOutputEnter, onOutputLeave, onState, onDone, onClosed, onParent,
    };

    static void onToplevel(void *data, zwlr_foreign_toplevel_manager_v1 *,
                           zwlr_foreign_toplevel_handle_v1 *handle)
    {
        Toplevel &toplevel = static_cast<WaylandRunningApplications *>(data)->addToplevel();
        toplevel.wlr = handle;
        zwlr_foreign_toplevel_handle_v1_add_listener(handle, &WlrListeners::handleListener,
                                                     &toplevel);
    }
    static void onFinished(void *data, zwlr_foreign_toplevel_manager_v1 *manager)
    {
        // The compositor sends nothing more: what is known stays as it is.
        qCInfo(lcPlatform) << "The compositor stopped sharing its window list";
        zwlr_foreign_toplevel_manager_v1_destroy(manager);
        static_cast<WaylandRunningApplications *>(data)->_wlrManager = nullptr;
    }
    static constexpr zwlr_foreign_toplevel_manager_v1_listener managerListener = {onToplevel,
                                                                                  onFinished};
};

// --- org_kde_plasma_window_management ---------------------------------------------------------

struct WaylandRunningApplications::PlasmaListeners
{
    static void onTitle(void *data, org_kde_plasma_window *, const char *title)
    {
        auto *self = static_cast<Toplevel *>(data);
        self->pending.title = QString::fromUtf8(title);
        if (self->counted) self->owner->toplevelUpdated(self);
    }
    static void onAppId(void *data, org_kde_plasma_window *, const char *appId)
    {
        auto *self = static_cast<Toplevel *>(data);
        self->pending.appId = QString::fromUtf8(appId);
        if (self->counted) self->owner->toplevelUpdated(self);
    }
    static void onState(void *data, org_kde_plasma_window *, uint32_t flags)
    {
        auto *self = static_cast<Toplevel *>(data);
        self->pending.activated = flags & ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE;
        self->pending.minimised = flags & ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_MINIMIZED;
        self->pending.skipTaskbar = flags & ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_SKIPTASKBAR;
        if (self->counted) self->owner->toplevelUpdated(self);
    }
    static void onDesktop(void *, org_kde_plasma_window *, int32_t) {}
    static void onIconName(void *, org_kde_plasma_window *, const char *) {}
    static void onUnmapped(void *data, org_kde_plasma_window *)
    {
        auto *self = static_cast<Toplevel *>(data);
        self->owner->toplevelGone(self);
    }
    static void onInitialState(void *data, org_kde_plasma_window *)
    {
        auto *self = static_cast<Toplevel *>(data);
        self->owner->toplevelUpdated(self);
    }
    static void onParent(void *data, org_kde_plasma_window *, org_kde_plasma_window *parent)
    {
        auto *self = static_cast<Toplevel *>(data);
        self->pending.hasParent = parent != nullptr;
        if (self->counted) self->owner->toplevelUpdated(self);
    }
    static void onGeometry(void *, org_kde_plasma_window *, int32_t, int32_t, uint32_t, uint32_t) {}
    static void onIconChanged(void *, org_kde_plasma_window *) {}
    static void onPid(void *data, org_kde_plasma_window *, uint32_t pid)
    {
        static_cast<Toplevel *>(data)->pending.pid = pid;
    }
    // Events of versions Kelp does not bind still come from KWin 5.27 (it sends a window's
    // virtual desktops to a version 5 client), and libwayland ends the program on an event without
    // a handler: every slot has one.
    static void onText(void *, org_kde_plasma_window *, const char *) {}
    static void onMenu(void *, org_kde_plasma_window *, const char *, const char *) {}
    static constexpr org_kde_plasma_window_listener windowListener = {
        onTitle,        onAppId,  onState,    onDesktop,     onIconName, onUnmapped,
        onInitialState, onParent, onGeometry, onIconChanged, onPid,      onText,
        onText,         onMenu,   onText,     onText,        onText,
    };

    static void onShowDesktop(void *, org_kde_plasma_window_management *, uint32_t) {}
    static void onWindow(void *data, org_kde_plasma_window_management *manager, uint32_t id)
    {
        auto *self = static_cast<WaylandRunningApplications *>(data);
        Toplevel &toplevel = self->addToplevel();
        toplevel.plasma = org_kde_plasma_window_management_get_window(manager, id);
        org_kde_plasma_window_add_listener(toplevel.plasma, &PlasmaListeners::windowListener,
                                           &toplevel);
        if (self->_boundVersion < 4) {
            // No initial-state event before version 4: the window counts at once.
            self->toplevelUpdated(&toplevel);
        }
    }
    static void onStacking(void *, org_kde_plasma_window_management *, wl_array *) {}
    static void onStackingUuids(void *, org_kde_plasma_window_management *, const char *) {}
    static void onWindowWithUuid(void *, org_kde_plasma_window_management *, uint32_t, const char *)
    {
        // Sent beside `window` from version 13 on, which Kelp does not bind.
    }
    static constexpr org_kde_plasma_window_management_listener managerListener = {
        onShowDesktop, onWindow, onStacking, onStackingUuids, onWindowWithUuid};
};

// --- ext_foreign_toplevel_list_v1 -------------------------------------------------------------

struct WaylandRunningApplications::ExtListeners
{
    static void onClosed(void *data, ext_foreign_toplevel_handle_v1 *)
    {
        auto *self = static_cast<Toplevel *>(data);
        self->owner->toplevelGone(self);
    }
    static void onDone(void *data, ext_foreign_toplevel_handle_v1 *)
    {
        auto *self = static_cast<Toplevel *>(data);
        self->owner->toplevelUpdated(self);
    }
    static void onTitle(void *data, ext_foreign_toplevel_handle_v1 *, const char *title)
    {
        static_cast<Toplevel *>(data)->pending.title = QString::fromUtf8(title);
    }
    static void onAppId(void *data, ext_foreign_toplevel_handle_v1 *, const char *appId)
    {
        static_cast<Toplevel *>(data)->pending.appId = QString::fromUtf8(appId);
    }
    static void onIdentifier(void *, ext_foreign_toplevel_handle_v1 *, const char *) {}
    static constexpr ext_foreign_toplevel_handle_v1_listener handleListener = {
        onClosed, onDone, onTitle, onAppId, onIdentifier};

    static void onToplevel(void *data, ext_foreign_toplevel_list_v1 *,
                           ext_foreign_toplevel_handle_v1 *handle)
    {
        Toplevel &toplevel = static_cast<WaylandRunningApplications *>(data)->addToplevel();
        toplevel.ext = handle;
        ext_foreign_toplevel_handle_v1_add_listener(handle, &ExtListeners::handleListener,
                                                    &toplevel);
    }
    static void onFinished(void *data, ext_foreign_toplevel_list_v1 *list)
    {
        qCInfo(lcPlatform) << "The compositor stopped sharing its window list";
        ext_foreign_toplevel_list_v1_destroy(list);
        static_cast<WaylandRunningApplications *>(data)->_extList = nullptr;
    }
    static constexpr ext_foreign_toplevel_list_v1_listener listListener = {onToplevel, onFinished};
};

// --- The registry -----------------------------------------------------------------------------

WaylandRunningApplications::WaylandRunningApplications(
    std::shared_ptr<WaylandClientDisplay> display, QObject *parent)
    : RunningApplications(parent), _display(std::move(display))
{
    connect(&_index, &DesktopEntryIndex::ready, this, [this] {
        regroup();
        Q_EMIT matchingChanged();
    });
    if (!_display) return;
    static constexpr wl_registry_listener registryListener = {onGlobal, onGlobalRemove};
    _registry = wl_display_get_registry(_display->display());
    wl_registry_add_listener(_registry, &registryListener, this);
    _display->roundtrip();

    if (_wlrName != 0) {
        _source = Source::WlrForeignToplevel;
        _boundVersion = std::min(_wlrVersion, kWlrVersion);
        _wlrManager = static_cast<zwlr_foreign_toplevel_manager_v1 *>(wl_registry_bind(
            _registry, _wlrName, &zwlr_foreign_toplevel_manager_v1_interface, _boundVersion));
        zwlr_foreign_toplevel_manager_v1_add_listener(_wlrManager, &WlrListeners::managerListener,
                                                      this);
        qCInfo(lcPlatform) << "Running applications from zwlr_foreign_toplevel_manager_v1 version"
                           << _boundVersion;
    } else if (_plasmaName != 0) {
        _source = Source::PlasmaWindowManagement;
        _boundVersion = std::min(_plasmaVersion, kPlasmaVersion);
        _plasmaManager = static_cast<org_kde_plasma_window_management *>(wl_registry_bind(
            _registry, _plasmaName, &org_kde_plasma_window_management_interface, _boundVersion));
        org_kde_plasma_window_management_add_listener(_plasmaManager,
                                                      &PlasmaListeners::managerListener, this);
        qCInfo(lcPlatform) << "Running applications from org_kde_plasma_window_management version"
                           << _boundVersion;
    } else if (_extName != 0) {
        // Listing only: the running group is complete, but windows cannot be brought forward,
        // minimised or closed from Kelp.
        _source = Source::ExtForeignToplevelList;
        _boundVersion = 1;
        _extList = static_cast<ext_foreign_toplevel_list_v1 *>(wl_registry_bind(
            _registry, _extName, &ext_foreign_toplevel_list_v1_interface, _boundVersion));
        ext_foreign_toplevel_list_v1_add_listener(_extList, &ExtListeners::listListener, this);
        qCInfo(lcPlatform) << "Running applications from ext_foreign_toplevel_list_v1 (listing "
                              "only: Kelp cannot bring their windows forward)";
    } else {
        qCInfo(lcPlatform) << "The compositor shares no window list; the running group stays "
                              "empty and says so";
        if (qEnvironmentVariable("XDG_CURRENT_DESKTOP")
                .split(QLatin1Char(':'))
                .contains(QLatin1String("KDE"), Qt::CaseInsensitive))
            qCInfo(lcPlatform).noquote()
                << "KDE Plasma shares its window list only with a program whose installed "
                   "desktop entry starts it by its full path and names "
                   "org_kde_plasma_window_management in X-KDE-Wayland-Interfaces; Kelp's "
                   "installed entry does (this program is"
                << QCoreApplication::applicationFilePath() + QLatin1Char(')');
        return;
    }
    // The toplevels that exist already (KWin's windows answer their own get_window on the next).
    _display->roundtrip();
    if (_source == Source::PlasmaWindowManagement) _display->roundtrip();
    connect(_display.get(), &WaylandClientDisplay::broken, this, [this]() {
        const bool hadApps = !_apps.isEmpty();
        _apps.clear();
        _activePath.clear();
        if (hadApps) Q_EMIT terminated();
    });
}

WaylandRunningApplications::~WaylandRunningApplications()
{
    if (!_display || _display->isGone()) return;
    for (const auto &toplevel : _toplevels) {
        if (toplevel->wlr) zwlr_foreign_toplevel_handle_v1_destroy(toplevel->wlr);
        if (toplevel->ext) ext_foreign_toplevel_handle_v1_destroy(toplevel->ext);
        if (toplevel->plasma) {
            if (_boundVersion >= 4)
                org_kde_plasma_window_destroy(toplevel->plasma);
            else
                wl_proxy_destroy(reinterpret_cast<wl_proxy *>(toplevel->plasma));
        }
    }
    const bool live = !_display->isBroken();
    if (_extList) {
        if (live) ext_foreign_toplevel_list_v1_stop(_extList);
        ext_foreign_toplevel_list_v1_destroy(_extList);
    }
    if (_wlrManager) {
        if (live) zwlr_foreign_toplevel_manager_v1_stop(_wlrManager);
        zwlr_foreign_toplevel_manager_v1_destroy(_wlrManager);
    }
    if (_plasmaManager) org_kde_plasma_window_management_destroy(_plasmaManager);
    if (_seat) wl_seat_destroy(_seat);
    if (_registry) wl_registry_destroy(_registry);
    if (live) _display->flush();
}

void WaylandRunningApplications::onGlobal(void *data, wl_registry *registry, uint32_t name,
                                          const char *interface, uint32_t version)
{
    auto *self = static_cast<WaylandRunningApplications *>(data);
    if (std::strcmp(interface, zwlr_foreign_toplevel_manager_v1_interface.name) == 0) {
        self->_wlrName = name;
        self->_wlrVersion = version;
    } else if (std::strcmp(interface, org_kde_plasma_window_management_interface.name) == 0) {
        self->_plasmaName = name;
        self->_plasmaVersion = version;
    } else if (std::strcmp(interface, ext_foreign_toplevel_list_v1_interface.name) == 0) {
        self->_extName = name;
    } else if (std::strcmp(interface, wl_seat_interface.name) == 0 && !self->_seat) {
        // Activation names a seat; the first one is the user's.
        self->_seatName = name;
        self->_seat =
            static_cast<wl_seat *>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
    }
}

void WaylandRunningApplications::onGlobalRemove(void *data, wl_registry *, uint32_t name)
{
    auto *self = static_cast<WaylandRunningApplications *>(data);
    if (self->_seat && name == self->_seatName) {
        wl_seat_destroy(self->_seat);
        self->_seat = nullptr;
    }
}

// --- Toplevels -------------------------------------------------------------------------------

WaylandRunningApplications::Toplevel &WaylandRunningApplications::addToplevel()
{
    auto toplevel = std::make_unique<Toplevel>();
    toplevel->owner = this;
    toplevel->id = _nextId++;
    _toplevels.push_back(std::move(toplevel));
    return *_toplevels.back();
}

void WaylandRunningApplications::toplevelUpdated(Toplevel *toplevel)
{
    const ToplevelState &next = toplevel->pending;
    const ToplevelState &was = toplevel->current;
    const bool first = !toplevel->counted;
    const bool changed = first || next.appId != was.appId || next.hasParent != was.hasParent ||
                         next.skipTaskbar != was.skipTaskbar || next.activated != was.activated ||
                         next.pid != was.pid;
    if (first || next.pid != was.pid) {
        toplevel->process = WindowFacts{};
        readProcessFacts(next.pid, toplevel->process);
    }
    toplevel->current = next;
    toplevel->counted = true;
    if (first)
        qCDebug(lcPlatform).noquote()
            << "Toplevel" << toplevel->id << "app id" << toplevel->current.appId << "title"
            << toplevel->current.title << "pid" << toplevel->current.pid;
    if (changed) regroup();
}

void WaylandRunningApplications::toplevelGone(Toplevel *toplevel)
{
    if (toplevel->wlr) zwlr_foreign_toplevel_handle_v1_destroy(toplevel->wlr);
    if (toplevel->ext) ext_foreign_toplevel_handle_v1_destroy(toplevel->ext);
    if (toplevel->plasma) {
        if (_boundVersion >= 4)
            org_kde_plasma_window_destroy(toplevel->plasma);
        else
            wl_proxy_destroy(reinterpret_cast<wl_proxy *>(toplevel->plasma));
    }
    const bool counted = toplevel->counted;
    const auto found = std::find_if(_toplevels.begin(), _toplevels.end(),
                                    [toplevel](const auto &t) { return t.get() == toplevel; });
    if (found != _toplevels.end()) _toplevels.erase(found);
    if (counted) regroup();
}

WaylandRunningApplications::Toplevel *WaylandRunningApplications::toplevelById(quint32 id) const
{
    for (const auto &toplevel : _toplevels) {
        if (toplevel->id == id) return toplevel.get();
    }
    return nullptr;
}

WindowFacts WaylandRunningApplications::factsOf(const Toplevel &toplevel) const
{
    WindowFacts facts = toplevel.process;
    facts.window = toplevel.id;
    facts.pid = toplevel.current.pid;
    facts.appId = toplevel.current.appId;
    facts.unclaimedPath = unclaimedPath(toplevel.current.appId, toplevel.id);
    // Dialogs and other toplevels with a parent do not make an application count.
    facts.regular = !toplevel.current.hasParent && !toplevel.current.skipTaskbar;
    return facts;
}

QString WaylandRunningApplications::pathOf(const Toplevel &toplevel) const
{
    const WindowFacts facts = factsOf(toplevel);
    const QString path = matchWindow(facts, _index.entries());
    if (!path.isEmpty()) return path;
    return facts.executable.isEmpty() ? facts.unclaimedPath : facts.executable;
}

void WaylandRunningApplications::regroup()
{
    QList<WindowFacts> windows;
    for (const auto &toplevel : _toplevels) {
        if (toplevel->counted) windows.append(factsOf(*toplevel));
    }
    QList<RunningApp> apps = keepLaunchOrder(groupWindows(windows, _index.entries()), _launchOrder);
    for (RunningApp &app : apps) {
        if (app.matched || app.windows.isEmpty()) continue;
        const Toplevel *first = toplevelById(app.windows.first());
        if (!first || !first->process.executable.isEmpty()) continue;
        // No entry and no executable: the app id says most, else the window's title.
        app.name = first->current.appId.isEmpty() ? first->current.title : first->current.appId;
    }
    QString active;
    for (const auto &toplevel : _toplevels) {
        if (toplevel->counted && toplevel->current.activated) {
            active = pathOf(*toplevel);
            break;
        }
    }

    QSet<QString> before, after;
    for (const RunningApp &a : std::as_const(_apps))
        before.insert(a.path);
    for (const RunningApp &a : std::as_const(apps))
        after.insert(a.path);
    _apps = apps;
    if (!(after - before).isEmpty()) Q_EMIT launched();
    if (!(before - after).isEmpty()) Q_EMIT terminated();
    if (active != _activePath) {
        _activePath = active;
        Q_EMIT frontSwitched();
    }
}

QString WaylandRunningApplications::pathForPid(qint64 pid) const
{
    if (pid <= 0) return {};
    for (const auto &toplevel : _toplevels) {
        if (toplevel->counted && toplevel->current.pid == pid) return pathOf(*toplevel);
    }
    // wlroots toplevels name no process. Kelp's own windows can still be told: they carry
    // Kelp's own app id.
    if (pid != QCoreApplication::applicationPid()) return {};
    QString own = QGuiApplication::desktopFileName();
    if (own.isEmpty()) own = QCoreApplication::applicationName();
    if (own.endsWith(QLatin1String(".desktop"))) own.chop(8);
    for (const auto &toplevel : _toplevels) {
        if (toplevel->counted && toplevel->current.appId == own) return pathOf(*toplevel);
    }
    return {};
}

void WaylandRunningApplications::setKnownApplications(const QStringList &paths)
{
    _index.setPaths(paths);
}

// --- Window operations -----------------------------------------------------------------------

QList<quint32> WaylandRunningApplications::windowsForPath(const QString &path) const
{
    for (const RunningApp &app : _apps) {
        if (app.path == path) return app.windows;
    }
    return {};
}

qint64 WaylandRunningApplications::pidForPath(const QString &path) const
{
    for (const RunningApp &app : _apps) {
        if (app.path == path) return app.pid;
    }
    return 0;
}

bool WaylandRunningApplications::activateWindows(const QList<quint32> &windows)
{
    // Which request brings another program's window forward depends on the compositor:
    //  - wlroots compositors (sway) honour the toplevel's activate on a seat: sway looks the seat
    //    up among its own and, when found, focuses the window (switching to its workspace). The
    //    seat is the wl_seat Kelp bound on this connection from the compositor's own list; a seat
    //    of another connection (Qt's, when this is a connection of Kelp's own) or one the
    //    compositor withdrew would be ignored or be a protocol error, so without a seat of its
    //    own Kelp sends nothing and says so.
    //  - xdg_activation_v1 is no way to bring another program forward: the compositor honours a
    //    token only from the client whose surface is to be activated. Kelp hands tokens to the
    //    programs it starts (GioAppLauncher), which present them for their first window; a
    //    program that is already running has no way to receive one from Kelp.
    //  - KWin honours the plasma window's active state.
    // A fullscreen window of another application on the same output hides the ones asked for, and
    // sway will not focus a hidden window: it leaves fullscreen first.
    unsetFullscreenOver(windows);
    // Last to first, so the application's first window ends up in front; the compositor brings
    // minimised ones back.
    bool sent = false;
    for (auto it = windows.crbegin(); it != windows.crend(); ++it) {
        const Toplevel *toplevel = toplevelById(*it);
        if (!toplevel) continue; // closed meanwhile
        if (toplevel->wlr && _seat) {
            zwlr_foreign_toplevel_handle_v1_activate(toplevel->wlr, _seat);
            sent = true;
        }
        if (toplevel->plasma) {
            org_kde_plasma_window_set_state(toplevel->plasma,
                                            ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE |
                                                ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_MINIMIZED,
                                            ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE);
            sent = true;
        }
    }
    if (!sent && !windows.isEmpty() && _source == Source::WlrForeignToplevel && !_seat)
        qCWarning(lcPlatform) << "Cannot bring a window forward: the compositor offers no seat";
    if (!sent && !windows.isEmpty() && _source == Source::ExtForeignToplevelList)
        qCInfo(lcPlatform) << "Cannot bring a window forward: the compositor's window list is "
                              "for listing only";
    if (!_display || _display->isBroken()) return false;
    _display->flush();
    return sent;
}

void WaylandRunningApplications::unsetFullscreenOver(const QList<quint32> &windows)
{
    if (_source != Source::WlrForeignToplevel ||
        _boundVersion < ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_UNSET_FULLSCREEN_SINCE_VERSION)
        return;
    std::set<wl_output *> outputs;
    for (quint32 id : windows) {
        if (const Toplevel *toplevel = toplevelById(id))
            outputs.insert(toplevel->outputs.begin(), toplevel->outputs.end());
    }
    for (const auto &toplevel : _toplevels) {
        if (!toplevel->wlr || !toplevel->current.fullscreen || windows.contains(toplevel->id))
            continue;
        const bool sameOutput =
            std::any_of(toplevel->outputs.begin(), toplevel->outputs.end(),
                        [&](wl_output *output) { return outputs.count(output) != 0; });
        if (!sameOutput) continue;
        qCDebug(lcPlatform) << "Toplevel" << toplevel->id
                            << "leaves fullscreen for the window "
                               "brought forward";
        zwlr_foreign_toplevel_handle_v1_unset_fullscreen(toplevel->wlr);
    }
}

void WaylandRunningApplications::setWindowsMinimised(const QList<quint32> &windows, bool minimised)
{
    for (quint32 id : windows) {
        const Toplevel *toplevel = toplevelById(id);
        if (!toplevel) continue;
        if (toplevel->wlr) {
            if (minimised)
                zwlr_foreign_toplevel_handle_v1_set_minimized(toplevel->wlr);
            else
                zwlr_foreign_toplevel_handle_v1_unset_minimized(toplevel->wlr);
        }
        if (toplevel->plasma)
            org_kde_plasma_window_set_state(
                toplevel->plasma, ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_MINIMIZED,
                minimised ? ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_MINIMIZED : 0);
    }
    if (_display) _display->flush();
}

void WaylandRunningApplications::closeWindows(const QList<quint32> &windows)
{
    for (quint32 id : windows) {
        const Toplevel *toplevel = toplevelById(id);
        if (!toplevel) continue;
        if (toplevel->wlr) zwlr_foreign_toplevel_handle_v1_close(toplevel->wlr);
        if (toplevel->plasma) org_kde_plasma_window_close(toplevel->plasma);
    }
    if (_display) _display->flush();
}

bool WaylandRunningApplications::anyWindowShown(const QList<quint32> &windows) const
{
    for (quint32 id : windows) {
        const Toplevel *toplevel = toplevelById(id);
        if (toplevel && !toplevel->current.minimised) return true;
    }
    return false;
}

} // namespace kelp
