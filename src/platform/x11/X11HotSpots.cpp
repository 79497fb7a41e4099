#include "platform/x11/X11HotSpots.h"

#include "extras/Logging.h"

#include <QSocketNotifier>
#include <QTimer>

#include <xcb/xcb.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <vector>

namespace kelp {

struct X11HotSpots::Connection
{
    xcb_connection_t *conn = nullptr;
    xcb_window_t root = 0;
    bool barriers = false;
    bool rawMotion = false; // XInput 2.1 raw motion on the root window, during grabs too
    uint8_t xinputOpcode = 0;
    std::vector<xcb_xfixes_barrier_t> placed;
    std::set<xcb_xfixes_barrier_t> hit; // barriers the pointer presses against now
    xcb_window_t strip = 0;             // the input-only window over the hot spot
    bool stripEntered = false;          // the pointer came in through the strip (and it is away)
    QRect hitBox;                       // where the pointer counts as in the hot spot

    ~Connection()
    {
        if (conn) xcb_disconnect(conn);
    }
};

X11HotSpots::X11HotSpots(const QByteArray &displayName, QObject *parent)
    : HotSpots(parent), _x(std::make_unique<Connection>())
{
    int screenNumber = 0;
    _x->conn =
        xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screenNumber);
    if (xcb_connection_has_error(_x->conn)) {
        qCWarning(lcTriggers) << "No X connection for the hot spot";
        return;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(_x->conn));
    for (int i = 0; i < screenNumber && it.rem; ++i)
        xcb_screen_next(&it);
    _x->root = it.data->root;

    // Barriers need XFixes 5 and their events XInput 2.3.
    const xcb_query_extension_reply_t *fixes = xcb_get_extension_data(_x->conn, &xcb_xfixes_id);
    const xcb_query_extension_reply_t *input = xcb_get_extension_data(_x->conn, &xcb_input_id);
    if (fixes && fixes->present && input && input->present) {
        auto *fv = xcb_xfixes_query_version_reply(
            _x->conn, xcb_xfixes_query_version(_x->conn, 5, 0), nullptr);
        auto *iv = xcb_input_xi_query_version_reply(
            _x->conn, xcb_input_xi_query_version(_x->conn, 2, 3), nullptr);
        _x->barriers =
            fv && fv->major_version >= 5 && iv &&
            (iv->major_version > 2 || (iv->major_version == 2 && iv->minor_version >= 3));
        _x->rawMotion =
            iv && (iv->major_version > 2 || (iv->major_version == 2 && iv->minor_version >= 1));
        std::free(fv);
        std::free(iv);
        _x->xinputOpcode = input->major_opcode;
    }
    if (_x->barriers)
        followMotion(false);
    else
        qCInfo(lcTriggers) << "The X server has no pointer barriers; the hot spot is a window";
    xcb_flush(_x->conn);
    _notifier = new QSocketNotifier(xcb_get_file_descriptor(_x->conn), QSocketNotifier::Read, this);
    connect(_notifier, &QSocketNotifier::activated, this, &X11HotSpots::readEvents);
    // The server reports leaving the barriers only for relative motion, and the strip is taken
    // away while the pointer is in it: a pointer moved by an absolute device, or warped, leaves
    // unannounced. While (and only while) the pointer is in the hot spot, where it is is asked
    // every tenth of a second; once it has rested for a few seconds the asking stops, and its next
    // motion (raw motion events, which a warp does not give) starts it again. A server without raw
    // events is asked for as long as the pointer is inside.
    _leaveCheck = new QTimer(this);
    _leaveCheck->setInterval(100);
    connect(_leaveCheck, &QTimer::timeout, this, &X11HotSpots::checkPointerLeft);
}

void X11HotSpots::followMotion(bool follow)
{
    if (!_x->barriers && !_x->rawMotion) return;
    uint32_t mask = 0;
    if (_x->barriers)
        mask |= XCB_INPUT_XI_EVENT_MASK_BARRIER_HIT | XCB_INPUT_XI_EVENT_MASK_BARRIER_LEAVE;
    if (follow && _x->rawMotion) mask |= XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
    struct
    {
        xcb_input_event_mask_t head;
        uint32_t mask;
    } select{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, mask};
    xcb_input_xi_select_events(_x->conn, _x->root, 1, &select.head);
    xcb_flush(_x->conn);
}

void X11HotSpots::checkPointerLeft()
{
    if (!isConnected() || !_x->strip) return;
    auto *reply = xcb_query_pointer_reply(_x->conn, xcb_query_pointer(_x->conn, _x->root), nullptr);
    if (reply && !_x->hitBox.contains(reply->root_x, reply->root_y)) {
        _x->hit.clear();
        _x->stripEntered = false;
        setInside(false);
    } else if (reply) {
        const QPoint at(reply->root_x, reply->root_y);
        _restingChecks = at == _lastPointer ? _restingChecks + 1 : 0;
        _lastPointer = at;
        if (_restingChecks >= kChecksBeforeRest && _x->rawMotion) _leaveCheck->stop();
    }
    std::free(reply);
}

void X11HotSpots::showStrip(bool shown)
{
    if (!_x->strip) return;
    if (shown) {
        // Back on top of whatever was stacked over it meanwhile.
        const uint32_t above[] = {XCB_STACK_MODE_ABOVE};
        xcb_configure_window(_x->conn, _x->strip, XCB_CONFIG_WINDOW_STACK_MODE, above);
        xcb_map_window(_x->conn, _x->strip);
    } else {
        xcb_unmap_window(_x->conn, _x->strip);
    }
    xcb_flush(_x->conn);
}

X11HotSpots::~X11HotSpots()
{
    if (isConnected()) {
        clear();
        xcb_flush(_x->conn);
    }
}

bool X11HotSpots::isConnected() const
{
    return _x->conn && !xcb_connection_has_error(_x->conn);
}

bool X11HotSpots::hasBarriers() const
{
    return _x->barriers;
}

void X11HotSpots::clear()
{
    for (xcb_xfixes_barrier_t b : _x->placed)
        xcb_xfixes_delete_pointer_barrier(_x->conn, b);
    _x->placed.clear();
    _x->hit.clear();
    _x->stripEntered = false;
    if (_x->strip) xcb_destroy_window(_x->conn, _x->strip);
    _x->strip = 0;
}

void X11HotSpots::setHotSpot(const std::optional<HotSpotPlace> &place)
{
    if (!isConnected()) return;
    clear();
    setInside(false);
    if (!place) {
        xcb_flush(_x->conn);
        return;
    }
    QRect rootRect;
    if (auto *g = xcb_get_geometry_reply(_x->conn, xcb_get_geometry(_x->conn, _x->root), nullptr)) {
        rootRect = QRect(0, 0, g->width, g->height);
        std::free(g);
    }
    // A barrier on a side shared with another monitor would keep the pointer from crossing.
    bool outer = !place->sides.isEmpty();
    for (const HotSpotPlace::Side &side : place->sides) {
        const bool onRootEdge =
            (side.edge == Qt::LeftEdge && side.line.x1() == rootRect.left()) ||
            (side.edge == Qt::RightEdge && side.line.x1() == rootRect.right()) ||
            (side.edge == Qt::TopEdge && side.line.y1() == rootRect.top()) ||
            (side.edge == Qt::BottomEdge && side.line.y1() == rootRect.bottom());
        outer = outer && onRootEdge;
    }
    if (_x->barriers && outer) {
        for (const HotSpotPlace::Side &side : place->sides) {
            // The barrier lies just beyond the last pixel the pointer can reach and lets it move
            // only back into the screen; pressing on against it is a hit.
            QLine l = side.line;
            uint32_t allowed = 0;
            switch (side.edge) {
            case Qt::LeftEdge:
                allowed = XCB_XFIXES_BARRIER_DIRECTIONS_POSITIVE_X;
                break;
            case Qt::RightEdge:
                l.translate(1, 0);
                allowed = XCB_XFIXES_BARRIER_DIRECTIONS_NEGATIVE_X;
                break;
            case Qt::TopEdge:
                allowed = XCB_XFIXES_BARRIER_DIRECTIONS_POSITIVE_Y;
                break;
            case Qt::BottomEdge:
                l.translate(0, 1);
                allowed = XCB_XFIXES_BARRIER_DIRECTIONS_NEGATIVE_Y;
                break;
            }
            // A barrier needs a length: a 1-pixel side is drawn 2 long.
            if (l.p1() == l.p2()) {
                if (side.edge == Qt::LeftEdge || side.edge == Qt::RightEdge)
                    l.setP2(l.p2() + QPoint(0, 1));
                else
                    l.setP2(l.p2() + QPoint(1, 0));
            }
            const xcb_xfixes_barrier_t id = xcb_generate_id(_x->conn);
            const xcb_void_cookie_t cookie = xcb_xfixes_create_pointer_barrier_checked(
                _x->conn, id, _x->root, uint16_t(l.x1()), uint16_t(l.y1()), uint16_t(l.x2()),
                uint16_t(l.y2()), allowed, 0, nullptr);
            if (xcb_generic_error_t *error = xcb_request_check(_x->conn, cookie)) {
                qCWarning(lcTriggers)
                    << "The X server refused a hot spot barrier, error" << error->error_code;
                std::free(error);
                continue;
            }
            _x->placed.push_back(id);
        }
        if (!_x->placed.empty()) qCDebug(lcTriggers) << "Hot spot barriers along" << place->rect;
    }

    // An input-only window over the hot spot reports the pointer arriving however it moves: an
    // absolute device (a tablet, a touch screen, a warp) jumps into the corner without pressing
    // on a barrier. The window would take the clicks meant for the windows beneath, so it goes
    // as soon as the pointer is in, and comes back once the pointer has left.
    const QRect r = place->rect;
    _x->hitBox = _x->placed.empty() ? r : r.adjusted(-2, -2, 2, 2);
    _x->strip = xcb_generate_id(_x->conn);
    const uint32_t values[] = {1, XCB_EVENT_MASK_ENTER_WINDOW};
    xcb_create_window(_x->conn, 0, _x->strip, _x->root, int16_t(r.x()), int16_t(r.y()),
                      uint16_t(r.width()), uint16_t(r.height()), 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    static const char title[] = "Kelp Hot Spot Edge";
    xcb_change_property(_x->conn, XCB_PROP_MODE_REPLACE, _x->strip, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, sizeof(title) - 1, title);
    qCDebug(lcTriggers) << "Hot spot window at" << r;
    showStrip(true);
}

void X11HotSpots::setInside(bool inside)
{
    if (inside == _inside) return;
    _inside = inside;
    followMotion(inside);
    _restingChecks = 0;
    if (inside)
        _leaveCheck->start();
    else
        _leaveCheck->stop();
    // Out of the way while the pointer is in, so that its clicks reach the windows beneath.
    showStrip(!inside);
    if (inside)
        Q_EMIT entered();
    else
        Q_EMIT left();
}

void X11HotSpots::readEvents()
{
    if (!isConnected()) {
        if (!_lostLogged) qCWarning(lcTriggers) << "The hot spot's X connection was lost";
        _lostLogged = true;
        _notifier->setEnabled(false);
        return;
    }
    bool moved = false;
    while (xcb_generic_event_t *event = xcb_poll_for_event(_x->conn)) {
        const uint8_t type = event->response_type & 0x7f;
        if (type == XCB_GE_GENERIC) {
            auto *ge = reinterpret_cast<xcb_ge_generic_event_t *>(event);
            if (ge->extension == _x->xinputOpcode && ge->event_type == XCB_INPUT_RAW_MOTION) {
                moved = true;
            } else if (ge->extension == _x->xinputOpcode) {
                auto *barrier = reinterpret_cast<xcb_input_barrier_hit_event_t *>(event);
                const bool ours = std::find(_x->placed.begin(), _x->placed.end(),
                                            barrier->barrier) != _x->placed.end();
                if (ours && ge->event_type == XCB_INPUT_BARRIER_HIT)
                    _x->hit.insert(barrier->barrier);
                else if (ge->event_type == XCB_INPUT_BARRIER_LEAVE)
                    _x->hit.erase(barrier->barrier);
                setInside(!_x->hit.empty() || _x->stripEntered);
            }
        } else if (type == XCB_ENTER_NOTIFY) {
            auto *enter = reinterpret_cast<xcb_enter_notify_event_t *>(event);
            // Also the enter that follows the end of another program's grab (a drag let go in
            // the corner): the pointer is in either way.
            if (_x->strip && enter->event == _x->strip) {
                _x->stripEntered = true;
                setInside(true);
            }
        }
        std::free(event);
    }
    // The pointer moves in the hot spot: one question for the burst, and the asking resumes.
    if (moved && _inside) {
        _restingChecks = 0;
        if (!_leaveCheck->isActive()) _leaveCheck->start();
        checkPointerLeft();
    }
}

} // namespace kelp
