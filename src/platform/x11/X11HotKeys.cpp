#include "platform/x11/X11HotKeys.h"

#include "extras/Logging.h"

#include <QKeySequence>
#include <QSocketNotifier>

#include <X11/keysym.h>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
// xkb.h names a field `explicit`; C++ keeps that word for itself. (clang warns about redefining
// a keyword, which is the point here.)
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define explicit xkb_explicit
#include <xcb/xkb.h>
#undef explicit
#if defined(__clang__)
#pragma clang diagnostic pop
#endif

#include <cstdlib>
#include <set>
#include <utility>
#include <vector>

namespace kelp {

namespace {

// The X keysym a key of the hot key table makes; 0 when none.
xcb_keysym_t keysymFor(const HotKeyChord &chord)
{
    const int key = chord.key;
    if (chord.keypad) {
        if (key >= Qt::Key_0 && key <= Qt::Key_9) return XK_KP_0 + xcb_keysym_t(key - Qt::Key_0);
        switch (key) {
        case Qt::Key_Period:
            return XK_KP_Decimal;
        case Qt::Key_Asterisk:
            return XK_KP_Multiply;
        case Qt::Key_Plus:
            return XK_KP_Add;
        case Qt::Key_Minus:
            return XK_KP_Subtract;
        case Qt::Key_Slash:
            return XK_KP_Divide;
        case Qt::Key_Enter:
            return XK_KP_Enter;
        case Qt::Key_Equal:
            return XK_KP_Equal;
        case Qt::Key_Clear:
            return XK_Clear;
        default:
            return 0;
        }
    }
    if (key >= Qt::Key_A && key <= Qt::Key_Z) return XK_a + xcb_keysym_t(key - Qt::Key_A);
    if (key >= 0x20 && key < 0x7f) return xcb_keysym_t(key); // Latin-1 keys share their codes
    if (key >= Qt::Key_F1 && key <= Qt::Key_F35) return XK_F1 + xcb_keysym_t(key - Qt::Key_F1);
    switch (key) {
    case Qt::Key_Tab:
        return XK_Tab;
    case Qt::Key_Return:
        return XK_Return;
    case Qt::Key_Escape:
        return XK_Escape;
    case Qt::Key_Backspace:
        return XK_BackSpace;
    case Qt::Key_Delete:
        return XK_Delete;
    case Qt::Key_Home:
        return XK_Home;
    case Qt::Key_End:
        return XK_End;
    case Qt::Key_PageUp:
        return XK_Page_Up;
    case Qt::Key_PageDown:
        return XK_Page_Down;
    case Qt::Key_Left:
        return XK_Left;
    case Qt::Key_Right:
        return XK_Right;
    case Qt::Key_Up:
        return XK_Up;
    case Qt::Key_Down:
        return XK_Down;
    case Qt::Key_Help:
        return XK_Help;
    case Qt::Key_Clear:
        return XK_Clear;
    default:
        return 0;
    }
}

QString describe(const HotKeyChord &chord)
{
    QString text = QKeySequence(int(chord.modifiers) | chord.key).toString();
    if (chord.keypad) text += QStringLiteral(" (keypad)");
    return text;
}

} // namespace

struct X11HotKeys::Connection
{
    xcb_connection_t *conn = nullptr;
    xcb_window_t root = 0;
    xcb_key_symbols_t *symbols = nullptr;
    uint8_t xkbEventBase = 0;
    bool xkb = false;
    bool detectableRepeat = false;
    // Modifier masks read from the server's modifier map.
    uint16_t numLock = 0, scrollLock = 0, alt = XCB_MOD_MASK_1, super = XCB_MOD_MASK_4;
    // What is grabbed now: each key code with each modifier mask.
    std::vector<std::pair<xcb_keycode_t, uint16_t>> grabs;
    std::set<xcb_keycode_t> keycodes;
    uint16_t modifiers = 0;
    xcb_keycode_t held = 0;
    xcb_timestamp_t lastRelease = 0;

    ~Connection()
    {
        if (symbols) xcb_key_symbols_free(symbols);
        if (conn) xcb_disconnect(conn);
    }
};

X11HotKeys::X11HotKeys(const QByteArray &displayName, QObject *parent)
    : HotKeys(parent), _x(std::make_unique<Connection>())
{
    int screenNumber = 0;
    _x->conn =
        xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screenNumber);
    if (xcb_connection_has_error(_x->conn)) {
        qCWarning(lcTriggers) << "No X connection for the hot key";
        return;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(_x->conn));
    for (int i = 0; i < screenNumber && it.rem; ++i)
        xcb_screen_next(&it);
    _x->root = it.data->root;
    _x->symbols = xcb_key_symbols_alloc(_x->conn);

    auto *use = xcb_xkb_use_extension_reply(
        _x->conn, xcb_xkb_use_extension(_x->conn, XCB_XKB_MAJOR_VERSION, XCB_XKB_MINOR_VERSION),
        nullptr);
    if (use && use->supported) {
        _x->xkb = true;
        _x->xkbEventBase = xcb_get_extension_data(_x->conn, &xcb_xkb_id)->first_event;
        auto *flags = xcb_xkb_per_client_flags_reply(
            _x->conn,
            xcb_xkb_per_client_flags(_x->conn, XCB_XKB_ID_USE_CORE_KBD,
                                     XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT,
                                     XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT, 0, 0, 0),
            nullptr);
        _x->detectableRepeat =
            flags && (flags->value & XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT);
        std::free(flags);
        selectXkbEvents();
    } else {
        qCInfo(lcTriggers) << "The X server has no XKB: no modifier key notifications";
    }
    std::free(use);
    readModifierMap();
    xcb_flush(_x->conn);

    _notifier = new QSocketNotifier(xcb_get_file_descriptor(_x->conn), QSocketNotifier::Read, this);
    connect(_notifier, &QSocketNotifier::activated, this, &X11HotKeys::readEvents);
}

X11HotKeys::~X11HotKeys()
{
    if (isConnected()) {
        ungrab();
        xcb_flush(_x->conn);
    }
}

bool X11HotKeys::isConnected() const
{
    return _x->conn && !xcb_connection_has_error(_x->conn);
}

void X11HotKeys::selectXkbEvents()
{
    if (!_x->xkb) return;
    // The keyboard's mapping always (to grab again); the modifier state only while watching.
    const uint16_t always = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    xcb_xkb_select_events_details_t details{};
    details.affectState = XCB_XKB_STATE_PART_MODIFIER_STATE;
    details.stateDetails = _watching ? XCB_XKB_STATE_PART_MODIFIER_STATE : 0;
    const uint16_t which = always | XCB_XKB_EVENT_TYPE_STATE_NOTIFY;
    xcb_xkb_select_events_aux(
        _x->conn, XCB_XKB_ID_USE_CORE_KBD, which, 0, always,
        XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP,
        XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP,
        &details);
}

void X11HotKeys::setWatchModifiers(bool watch)
{
    if (watch == _watching || !isConnected()) return;
    _watching = watch;
    selectXkbEvents();
    xcb_flush(_x->conn);
}

void X11HotKeys::readModifierMap()
{
    _x->numLock = _x->scrollLock = 0;
    auto *map =
        xcb_get_modifier_mapping_reply(_x->conn, xcb_get_modifier_mapping(_x->conn), nullptr);
    if (!map) return;
    const xcb_keycode_t *codes = xcb_get_modifier_mapping_keycodes(map);
    const int perModifier = map->keycodes_per_modifier;
    uint16_t alt = 0, super = 0;
    for (int mod = 0; mod < 8; ++mod) {
        for (int i = 0; i < perModifier; ++i) {
            const xcb_keycode_t code = codes[mod * perModifier + i];
            if (!code) continue;
            for (int col = 0; col < 4; ++col) {
                const xcb_keysym_t sym = xcb_key_symbols_get_keysym(_x->symbols, code, col);
                const auto mask = uint16_t(1u << mod);
                if (sym == XK_Num_Lock) _x->numLock |= mask;
                if (sym == XK_Scroll_Lock) _x->scrollLock |= mask;
                if (sym == XK_Alt_L || sym == XK_Alt_R) alt |= mask;
                if (sym == XK_Super_L || sym == XK_Super_R) super |= mask;
            }
        }
    }
    // Shift, Lock and Control are the core's own; Alt and Super live wherever the map says.
    const uint16_t core = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_LOCK | XCB_MOD_MASK_CONTROL;
    if (alt & ~core) _x->alt = alt & ~core;
    if (super & ~core) _x->super = super & ~core;
    std::free(map);
}

void X11HotKeys::ungrab()
{
    for (const auto &[code, mods] : _x->grabs)
        xcb_ungrab_key(_x->conn, code, _x->root, mods);
    _x->grabs.clear();
    _x->keycodes.clear();
    _x->held = 0;
}

bool X11HotKeys::grab()
{
    if (!_chord) return true;
    const xcb_keysym_t sym = keysymFor(*_chord);
    std::set<xcb_keycode_t> codes;
    if (sym) {
        if (xcb_keycode_t *list = xcb_key_symbols_get_keycode(_x->symbols, sym)) {
            for (xcb_keycode_t *c = list; *c != XCB_NO_SYMBOL; ++c)
                codes.insert(*c);
            std::free(list);
        }
    }
    if (codes.empty()) {
        _failure = tr("No key of this keyboard makes the hot key %1").arg(describe(*_chord));
        qCWarning(lcTriggers).noquote() << _failure;
        return false;
    }
    uint16_t mods = 0;
    if (_chord->modifiers & Qt::ShiftModifier) mods |= XCB_MOD_MASK_SHIFT;
    if (_chord->modifiers & Qt::ControlModifier) mods |= XCB_MOD_MASK_CONTROL;
    if (_chord->modifiers & Qt::AltModifier) mods |= _x->alt;
    if (_chord->modifiers & Qt::MetaModifier) mods |= _x->super;
    _x->modifiers = mods;

    // Every combination of the locks, so that Caps, Num or Scroll Lock on does not hide the key.
    const uint16_t locks[] = {XCB_MOD_MASK_LOCK, _x->numLock, _x->scrollLock};
    std::set<uint16_t> combinations;
    for (int bits = 0; bits < 8; ++bits) {
        uint16_t extra = 0;
        for (int i = 0; i < 3; ++i)
            if (bits & (1 << i)) extra |= locks[i];
        combinations.insert(uint16_t(mods | extra));
    }
    std::vector<std::pair<xcb_void_cookie_t, std::pair<xcb_keycode_t, uint16_t>>> cookies;
    for (xcb_keycode_t code : codes)
        for (uint16_t m : combinations)
            cookies.push_back({xcb_grab_key_checked(_x->conn, 1, _x->root, m, code,
                                                    XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                               {code, m}});
    bool refused = false;
    for (const auto &[cookie, grab] : cookies) {
        if (xcb_generic_error_t *error = xcb_request_check(_x->conn, cookie)) {
            refused = true;
            std::free(error);
        } else {
            _x->grabs.push_back(grab);
        }
    }
    if (refused) {
        ungrab();
        _failure = tr("The hot key %1 is already taken by another program").arg(describe(*_chord));
        qCWarning(lcTriggers).noquote() << _failure;
        return false;
    }
    _x->keycodes = std::move(codes);
    return true;
}

bool X11HotKeys::setHotKey(const std::optional<HotKeyChord> &chord)
{
    _chord = chord;
    _failure.clear();
    if (!isConnected()) {
        if (chord) _failure = tr("No X connection for the hot key");
        return !chord;
    }
    ungrab();
    const bool ok = grab();
    xcb_flush(_x->conn);
    return ok;
}

void X11HotKeys::readEvents()
{
    if (!isConnected()) {
        if (!_lostLogged) qCWarning(lcTriggers) << "The hot key's X connection was lost";
        _lostLogged = true;
        _notifier->setEnabled(false);
        return;
    }
    bool mappingChanged = false;
    const uint16_t locks = XCB_MOD_MASK_LOCK | _x->numLock | _x->scrollLock;
    while (xcb_generic_event_t *event = xcb_poll_for_event(_x->conn)) {
        const uint8_t type = event->response_type & 0x7f;
        if (type == XCB_KEY_PRESS) {
            auto *press = reinterpret_cast<xcb_key_press_event_t *>(event);
            // The XKB group (bits 13 and 14) and the locks do not matter.
            const uint16_t state = press->state & 0xff & ~locks;
            const bool ours = _x->keycodes.count(press->detail) && state == _x->modifiers;
            const bool repeat = _x->held == press->detail || press->time == _x->lastRelease;
            qCDebug(lcTriggers) << "Key press" << press->detail << press->state << ours << repeat;
            if (ours && !repeat) {
                _x->held = press->detail;
                Q_EMIT pressed();
            }
        } else if (type == XCB_KEY_RELEASE) {
            auto *release = reinterpret_cast<xcb_key_release_event_t *>(event);
            if (release->detail == _x->held) _x->held = 0;
            _x->lastRelease = release->time;
        } else if (type == XCB_MAPPING_NOTIFY) {
            auto *mapping = reinterpret_cast<xcb_mapping_notify_event_t *>(event);
            xcb_refresh_keyboard_mapping(_x->symbols, mapping);
            mappingChanged = true;
        } else if (_x->xkb && type == _x->xkbEventBase) {
            const uint8_t xkbType =
                reinterpret_cast<xcb_xkb_state_notify_event_t *>(event)->xkbType;
            if (xkbType == XCB_XKB_STATE_NOTIFY) {
                auto *state = reinterpret_cast<xcb_xkb_state_notify_event_t *>(event);
                if (_watching) {
                    Qt::KeyboardModifiers m;
                    if (state->mods & XCB_MOD_MASK_SHIFT) m |= Qt::ShiftModifier;
                    if (state->mods & XCB_MOD_MASK_CONTROL) m |= Qt::ControlModifier;
                    if (state->mods & _x->alt) m |= Qt::AltModifier;
                    if (state->mods & _x->super) m |= Qt::MetaModifier;
                    Q_EMIT modifiersChanged(m);
                }
            } else if (xkbType == XCB_XKB_MAP_NOTIFY || xkbType == XCB_XKB_NEW_KEYBOARD_NOTIFY) {
                mappingChanged = true;
            }
        }
        std::free(event);
    }
    if (mappingChanged) {
        // The key may sit on another key code now, and the locks on other modifiers.
        xcb_key_symbols_free(_x->symbols);
        _x->symbols = xcb_key_symbols_alloc(_x->conn);
        readModifierMap();
        if (_chord) {
            ungrab();
            grab();
        }
        xcb_flush(_x->conn);
    }
}

} // namespace kelp
