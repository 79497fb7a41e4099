#include "platform/x11/X11RunningApplications.h"

#include "extras/Logging.h"
#include "platform/ProcessFacts.h"

#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>
#include <xcb/xcb_icccm.h>

#include <cstdlib>

namespace kelp {

struct X11RunningApplications::Connection
{
    xcb_connection_t *conn = nullptr;
    xcb_ewmh_connection_t ewmh{};
    bool ewmhReady = false;
    int screen = 0;
    xcb_window_t root = XCB_NONE;
    xcb_atom_t wmChangeState = XCB_NONE;

    ~Connection()
    {
        if (ewmhReady) xcb_ewmh_connection_wipe(&ewmh);
        if (conn) xcb_disconnect(conn);
    }
};

namespace {

struct FreeDeleter
{
    void operator()(void *p) const { std::free(p); }
};
template <typename T> using XcbReply = std::unique_ptr<T, FreeDeleter>;

bool containsAtom(const xcb_ewmh_get_atoms_reply_t &atoms, xcb_atom_t atom)
{
    for (uint32_t i = 0; i < atoms.atoms_len; ++i) {
        if (atoms.atoms[i] == atom) return true;
    }
    return false;
}

} // namespace

X11RunningApplications::X11RunningApplications(const QByteArray &displayName, QObject *parent)
    : RunningApplications(parent), _x(std::make_unique<Connection>())
{
    connect(&_index, &DesktopEntryIndex::ready, this, [this] {
        regroup();
        Q_EMIT matchingChanged();
    });
    _x->conn = xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &_x->screen);
    if (!_x->conn || xcb_connection_has_error(_x->conn)) {
        qCWarning(lcPlatform).noquote()
            << "Cannot connect to the X display" << displayName << "; no running applications";
        return;
    }
    xcb_intern_atom_cookie_t *cookies = xcb_ewmh_init_atoms(_x->conn, &_x->ewmh);
    if (!xcb_ewmh_init_atoms_replies(&_x->ewmh, cookies, nullptr)) {
        qCWarning(lcPlatform)
            << "The X server did not give the EWMH atoms; no running applications";
        return;
    }
    _x->ewmhReady = true;
    _x->root = _x->ewmh.screens[_x->screen]->root;
    const char name[] = "WM_CHANGE_STATE";
    XcbReply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        _x->conn, xcb_intern_atom(_x->conn, 0, sizeof(name) - 1, name), nullptr));
    if (atom) _x->wmChangeState = atom->atom;

    const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(_x->conn, _x->root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(_x->conn);
    _connected = true;

    _notifier = new QSocketNotifier(xcb_get_file_descriptor(_x->conn), QSocketNotifier::Read, this);
    connect(_notifier, &QSocketNotifier::activated, this, &X11RunningApplications::readEvents);

    refreshClientList();
    refreshActiveWindow();
    scheduleRead(); // events that came during those round trips wait in xcb's queue
}

X11RunningApplications::~X11RunningApplications() = default;

// --- Events ---------------------------------------------------------------------------------

void X11RunningApplications::scheduleRead()
{
    // A round trip may have moved events from the socket into xcb's queue, where the socket
    // notifier cannot see them: read them once the caller is done.
    if (_readScheduled || !_connected) return;
    _readScheduled = true;
    QMetaObject::invokeMethod(this, &X11RunningApplications::readEvents, Qt::QueuedConnection);
}

void X11RunningApplications::readEvents()
{
    _readScheduled = false;
    if (!_connected) return;
    if (_reading) {
        _readAgain = true;
        return;
    }
    _reading = true;
    bool clients = false;
    bool active = false;
    QList<quint32> renamed;
    auto take = [&](xcb_generic_event_t *event) {
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY) {
            const auto *notify = reinterpret_cast<xcb_property_notify_event_t *>(event);
            if (notify->window == _x->root) {
                if (notify->atom == _x->ewmh._NET_CLIENT_LIST) clients = true;
                if (notify->atom == _x->ewmh._NET_ACTIVE_WINDOW) active = true;
            } else if ((notify->atom == _x->ewmh._NET_WM_PID ||
                        notify->atom == XCB_ATOM_WM_CLASS) &&
                       _watched.contains(notify->window) && !renamed.contains(notify->window)) {
                renamed.append(notify->window);
            }
        }
        // Errors of requests whose replies were not waited for (a window that vanished while
        // its properties were read) also arrive here; they need nothing.
        std::free(event);
    };
    do {
        _readAgain = false;
        while (xcb_generic_event_t *event = xcb_poll_for_event(_x->conn))
            take(event);
        while (clients || active || !renamed.isEmpty()) {
            if (clients) {
                clients = false;
                refreshClientList();
            }
            if (!renamed.isEmpty()) {
                // A program that named its process or class only after its window was mapped.
                for (quint32 w : std::as_const(renamed))
                    _facts.remove(w);
                gatherFacts(renamed);
                renamed.clear();
                regroup();
            }
            if (active) {
                active = false;
                refreshActiveWindow();
            }
            while (xcb_generic_event_t *event = xcb_poll_for_queued_event(_x->conn))
                take(event);
        }
    } while (_readAgain);
    _reading = false;

    if (xcb_connection_has_error(_x->conn)) {
        qCWarning(lcPlatform) << "Lost the connection to the X display";
        _connected = false;
        _notifier->setEnabled(false);
        const bool hadApps = !_apps.isEmpty();
        _apps.clear();
        _activePath.clear();
        if (hadApps) Q_EMIT terminated();
    }
}

void X11RunningApplications::refreshClientList()
{
    xcb_ewmh_get_windows_reply_t list{};
    QList<quint32> clients;
    if (xcb_ewmh_get_client_list_reply(&_x->ewmh, xcb_ewmh_get_client_list(&_x->ewmh, _x->screen),
                                       &list, nullptr)) {
        for (uint32_t i = 0; i < list.windows_len; ++i)
            clients.append(list.windows[i]);
        xcb_ewmh_get_windows_reply_wipe(&list);
    }
    const QSet<quint32> current(clients.cbegin(), clients.cend());
    for (auto it = _facts.begin(); it != _facts.end();) {
        if (current.contains(it.key())) {
            ++it;
            continue;
        }
        _icons.remove(it.key());
        _reported.remove(it.key());
        _watched.remove(it.key());
        it = _facts.erase(it);
    }
    QList<quint32> fresh;
    for (quint32 w : std::as_const(clients)) {
        if (!_facts.contains(w)) fresh.append(w);
    }
    _clients = clients;
    qCDebug(lcPlatform) << "Client list:" << clients.size() << "windows," << fresh.size() << "new";
    gatherFacts(fresh);
    // Skip-taskbar and the window type may change after a window first appears.
    updateRegularFlags(clients);
    regroup();
}

void X11RunningApplications::refreshActiveWindow()
{
    xcb_window_t window = XCB_NONE;
    if (!xcb_ewmh_get_active_window_reply(
            &_x->ewmh, xcb_ewmh_get_active_window(&_x->ewmh, _x->screen), &window, nullptr))
        window = XCB_NONE;
    _activeWindow = window;
    const QString path = window == XCB_NONE ? QString() : pathForWindow(window);
    if (path == _activePath) return;
    _activePath = path;
    Q_EMIT frontSwitched();
}

// --- Facts and grouping ---------------------------------------------------------------------

void X11RunningApplications::gatherFacts(const QList<quint32> &windows)
{
    if (windows.isEmpty()) return;
    // All requests first, then the replies: one round trip for the lot.
    struct Pending
    {
        xcb_get_property_cookie_t pid, cls;
    };
    QList<Pending> pending;
    pending.reserve(windows.size());
    // Some programs name their process or class only after the window is mapped. Their changes
    // are followed from before the first read, so that none falls between; once both are known
    // the window is let go, so that title changes elsewhere do not wake Kelp.
    const uint32_t follow = XCB_EVENT_MASK_PROPERTY_CHANGE;
    for (quint32 w : windows) {
        xcb_change_window_attributes(_x->conn, w, XCB_CW_EVENT_MASK, &follow);
        pending.append({xcb_ewmh_get_wm_pid(&_x->ewmh, w), xcb_icccm_get_wm_class(_x->conn, w)});
    }

    for (qsizetype i = 0; i < windows.size(); ++i) {
        WindowFacts facts;
        facts.window = windows.at(i);
        uint32_t pid = 0;
        if (xcb_ewmh_get_wm_pid_reply(&_x->ewmh, pending.at(i).pid, &pid, nullptr)) facts.pid = pid;
        xcb_icccm_get_wm_class_reply_t cls{};
        if (xcb_icccm_get_wm_class_reply(_x->conn, pending.at(i).cls, &cls, nullptr)) {
            facts.wmInstance = QString::fromUtf8(cls.instance_name);
            facts.wmClass = QString::fromUtf8(cls.class_name);
            xcb_icccm_get_wm_class_reply_wipe(&cls);
        }
        // The process may already be gone: then nothing is read and the window goes by its
        // class alone.
        readProcessFacts(facts.pid, facts);
        qCDebug(lcPlatform).noquote()
            << QStringLiteral("Window 0x%1").arg(facts.window, 0, 16) << "pid" << facts.pid
            << "class" << facts.wmClass << "executable" << facts.executable << "launched from"
            << facts.launchedDesktopFile;
        if (facts.pid == 0 || facts.wmClass.isEmpty()) {
            _watched.insert(facts.window);
        } else {
            _watched.remove(facts.window);
            const uint32_t none = 0;
            xcb_change_window_attributes(_x->conn, facts.window, XCB_CW_EVENT_MASK, &none);
        }
        _facts.insert(facts.window, facts);
    }
    xcb_flush(_x->conn);
}

void X11RunningApplications::updateRegularFlags(const QList<quint32> &windows)
{
    struct Pending
    {
        xcb_get_property_cookie_t type, state, transient;
    };
    QList<Pending> pending;
    pending.reserve(windows.size());
    for (quint32 w : windows)
        pending.append({xcb_ewmh_get_wm_window_type(&_x->ewmh, w),
                        xcb_ewmh_get_wm_state(&_x->ewmh, w),
                        xcb_icccm_get_wm_transient_for(_x->conn, w)});
    for (qsizetype i = 0; i < windows.size(); ++i) {
        bool regular = true;
        xcb_ewmh_get_atoms_reply_t atoms{};
        xcb_window_t owner = XCB_NONE;
        const bool transient = xcb_icccm_get_wm_transient_for_reply(
                                   _x->conn, pending.at(i).transient, &owner, nullptr) &&
                               owner != XCB_NONE;
        if (xcb_ewmh_get_wm_window_type_reply(&_x->ewmh, pending.at(i).type, &atoms, nullptr)) {
            regular = containsAtom(atoms, _x->ewmh._NET_WM_WINDOW_TYPE_NORMAL);
            xcb_ewmh_get_atoms_reply_wipe(&atoms);
        } else {
            // Without a type: normal, unless it is transient for another window (a dialog).
            regular = !transient;
        }
        if (xcb_ewmh_get_wm_state_reply(&_x->ewmh, pending.at(i).state, &atoms, nullptr)) {
            if (containsAtom(atoms, _x->ewmh._NET_WM_STATE_SKIP_TASKBAR)) regular = false;
            xcb_ewmh_get_atoms_reply_wipe(&atoms);
        }
        const auto found = _facts.find(windows.at(i));
        if (found != _facts.end()) found->regular = regular;
    }
}

QImage X11RunningApplications::windowIcon(quint32 window)
{
    const auto cached = _icons.constFind(window);
    if (cached != _icons.cend()) return *cached;
    QImage best;
    xcb_ewmh_get_wm_icon_reply_t reply{};
    if (xcb_ewmh_get_wm_icon_reply(&_x->ewmh, xcb_ewmh_get_wm_icon(&_x->ewmh, window), &reply,
                                   nullptr)) {
        // The largest icon up to 256 pixels wide, else the smallest of the larger ones.
        quint32 bestWidth = 0;
        for (xcb_ewmh_wm_icon_iterator_t it = xcb_ewmh_get_wm_icon_iterator(&reply); it.rem;
             xcb_ewmh_get_wm_icon_next(&it)) {
            if (it.width == 0 || it.height == 0 || it.width > 4096 || it.height > 4096) continue;
            const bool better =
                bestWidth == 0 || (it.width <= 256 ? (bestWidth > 256 || it.width > bestWidth)
                                                   : (bestWidth > 256 && it.width < bestWidth));
            if (!better) continue;
            // CARDINAL ARGB rows: one 32-bit 0xAARRGGBB value a pixel, as QImage's ARGB32.
            QImage image(static_cast<int>(it.width), static_cast<int>(it.height),
                         QImage::Format_ARGB32);
            for (quint32 y = 0; y < it.height; ++y) {
                auto *line = reinterpret_cast<quint32 *>(image.scanLine(static_cast<int>(y)));
                for (quint32 x = 0; x < it.width; ++x)
                    line[x] = it.data[y * it.width + x];
            }
            best = image;
            bestWidth = it.width;
        }
        xcb_ewmh_get_wm_icon_reply_wipe(&reply);
    }
    scheduleRead(); // the round trip may have queued events the notifier will not see
    _icons.insert(window, best);
    return best;
}

void X11RunningApplications::regroup()
{
    QList<WindowFacts> windows;
    windows.reserve(_clients.size());
    for (quint32 w : std::as_const(_clients)) {
        const auto found = _facts.constFind(w);
        if (found == _facts.cend()) continue;
        windows.append(*found);
        if (found->regular && found->executable.isEmpty() && !_reported.contains(w) &&
            matchWindow(*found, _index.entries()).isEmpty()) {
            _reported.insert(w);
            qCInfo(lcPlatform).noquote()
                << QStringLiteral("Window 0x%1 (class \"%2\") names no process and matches no "
                                  "application; left out")
                       .arg(w, 0, 16)
                       .arg(found->wmClass);
        }
    }
    QList<RunningApp> apps = keepLaunchOrder(groupWindows(windows, _index.entries()), _launchOrder);
    for (RunningApp &app : apps) {
        if (!app.matched && !app.windows.isEmpty()) app.icon = windowIcon(app.windows.first());
    }

    QSet<QString> before, after;
    for (const RunningApp &a : std::as_const(_apps))
        before.insert(a.path);
    for (const RunningApp &a : std::as_const(apps))
        after.insert(a.path);
    _apps = apps;
    const QString active = _activeWindow == XCB_NONE ? QString() : pathForWindow(_activeWindow);

    const bool launchedAny = !(after - before).isEmpty();
    const bool terminatedAny = !(before - after).isEmpty();
    if (launchedAny) Q_EMIT launched();
    if (terminatedAny) Q_EMIT terminated();
    if (active != _activePath) {
        _activePath = active;
        Q_EMIT frontSwitched();
    }
}

QString X11RunningApplications::pathForWindow(quint32 window)
{
    for (const RunningApp &app : std::as_const(_apps)) {
        if (app.windows.contains(window)) return app.path;
    }
    if (!_connected) return {};
    // A window outside the running list (a dialog, a tool window): its application by the same
    // rules.
    if (!_facts.contains(window)) {
        gatherFacts({window});
        scheduleRead();
    }
    const WindowFacts facts = _facts.value(window);
    if (!_clients.contains(window)) {
        _facts.remove(window);
        // Not a window of the list: its later changes are not Kelp's to follow.
        if (_watched.remove(window)) {
            const uint32_t none = 0;
            xcb_change_window_attributes(_x->conn, window, XCB_CW_EVENT_MASK, &none);
            xcb_flush(_x->conn);
        }
    }
    const QString path = matchWindow(facts, _index.entries());
    return path.isEmpty() ? facts.executable : path;
}

QString X11RunningApplications::pathForPid(qint64 pid) const
{
    if (pid <= 0) return {};
    for (const RunningApp &app : _apps) {
        if (app.pid == pid) return app.path;
    }
    WindowFacts facts;
    facts.pid = pid;
    readProcessFacts(pid, facts);
    const QString path = matchWindow(facts, _index.entries());
    return path.isEmpty() ? facts.executable : path;
}

void X11RunningApplications::setKnownApplications(const QStringList &paths)
{
    _index.setPaths(paths);
}

// --- Window operations ----------------------------------------------------------------------

QList<quint32> X11RunningApplications::windowsForPath(const QString &path) const
{
    for (const RunningApp &app : _apps) {
        if (app.path == path) return app.windows;
    }
    return {};
}

void X11RunningApplications::activateWindows(const QList<quint32> &windows)
{
    if (!_connected || windows.isEmpty()) return;
    // Last to first, so the application's first window ends up in front. As a pager would: the
    // window manager also brings back iconified windows.
    for (auto it = windows.crbegin(); it != windows.crend(); ++it)
        xcb_ewmh_request_change_active_window(&_x->ewmh, _x->screen, *it,
                                              XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER, XCB_CURRENT_TIME,
                                              _activeWindow);
    xcb_flush(_x->conn);
}

void X11RunningApplications::iconifyWindows(const QList<quint32> &windows)
{
    if (!_connected || _x->wmChangeState == XCB_NONE) return;
    for (quint32 w : windows) {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = w;
        event.type = _x->wmChangeState;
        event.data.data32[0] = XCB_ICCCM_WM_STATE_ICONIC;
        xcb_send_event(_x->conn, 0, _x->root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char *>(&event));
    }
    xcb_flush(_x->conn);
}

void X11RunningApplications::closeWindows(const QList<quint32> &windows)
{
    if (!_connected) return;
    QStringList names;
    for (quint32 w : windows)
        names.append(QStringLiteral("0x%1").arg(w, 0, 16));
    qCDebug(lcPlatform).noquote() << "Asking windows" << names.join(QLatin1Char(' ')) << "to close";
    for (quint32 w : windows)
        xcb_ewmh_request_close_window(&_x->ewmh, _x->screen, w, XCB_CURRENT_TIME,
                                      XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
    xcb_flush(_x->conn);
}

bool X11RunningApplications::anyWindowShown(const QList<quint32> &windows)
{
    if (!_connected || windows.isEmpty()) return false;
    QList<xcb_get_property_cookie_t> cookies;
    for (quint32 w : windows)
        cookies.append(xcb_ewmh_get_wm_state(&_x->ewmh, w));
    bool shown = false;
    for (const xcb_get_property_cookie_t &cookie : std::as_const(cookies)) {
        xcb_ewmh_get_atoms_reply_t atoms{};
        if (!xcb_ewmh_get_wm_state_reply(&_x->ewmh, cookie, &atoms, nullptr)) {
            shown = true; // no state at all: a plain, shown window
            continue;
        }
        if (!containsAtom(atoms, _x->ewmh._NET_WM_STATE_HIDDEN)) shown = true;
        xcb_ewmh_get_atoms_reply_wipe(&atoms);
    }
    scheduleRead();
    return shown;
}

} // namespace kelp
