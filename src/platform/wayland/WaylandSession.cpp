#include "platform/wayland/WaylandSession.h"

#include "extras/Logging.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QStringList>
#include <QWindow>
#include <qpa/qplatformnativeinterface.h>

#include <wayland-client.h>

#include <algorithm>
#include <cstring>

namespace kelp {

namespace {

QPlatformNativeInterface *native()
{
    return QGuiApplication::platformName() == QLatin1String("wayland")
               ? QGuiApplication::platformNativeInterface()
               : nullptr;
}

void onGlobal(void *data, wl_registry *, uint32_t name, const char *interface, uint32_t version)
{
    static_cast<std::vector<WaylandGlobal> *>(data)->push_back(
        {QByteArray(interface), name, version});
}

void onGlobalRemove(void *data, wl_registry *, uint32_t name)
{
    auto *globals = static_cast<std::vector<WaylandGlobal> *>(data);
    std::erase_if(*globals, [name](const WaylandGlobal &g) { return g.name == name; });
}

const wl_registry_listener registryListener = {onGlobal, onGlobalRemove};

} // namespace

namespace {

struct SessionSlot
{
    std::unique_ptr<WaylandSession> session;
    bool made = false; // made (or found impossible) once; released stays released
};

SessionSlot &slot()
{
    static SessionSlot s;
    return s;
}

} // namespace

WaylandSession *WaylandSession::instance()
{
    SessionSlot &s = slot();
    if (s.made) return s.session.get();
    s.made = true;
    QPlatformNativeInterface *ni = native();
    if (!ni) return nullptr;
    auto *display =
        static_cast<wl_display *>(ni->nativeResourceForIntegration(QByteArrayLiteral("display")));
    if (!display) {
        qCWarning(lcPlatform) << "Qt's wayland platform gives no wl_display";
        return nullptr;
    }
    s.session.reset(new WaylandSession(display));
    return s.session.get();
}

void WaylandSession::release()
{
    SessionSlot &s = slot();
    s.made = true;
    s.session.reset();
}

WaylandSession::WaylandSession(wl_display *display) : _display(display)
{
    // The registry lives on a queue of Kelp's own, so that listing the globals waits for the
    // compositor's answer without dispatching Qt's events out of turn.
    _queue = wl_display_create_queue(_display);
    _displayWrapper = static_cast<wl_proxy *>(wl_proxy_create_wrapper(_display));
    wl_proxy_set_queue(_displayWrapper, _queue);
    _registry = wl_display_get_registry(reinterpret_cast<wl_display *>(_displayWrapper));
    wl_registry_add_listener(_registry, &registryListener, &_globals);
    if (!roundTrip(_queue)) qCWarning(lcPlatform) << "The compositor did not list its globals";
}

bool WaylandSession::isConnectionOpen()
{
    return QGuiApplication::instance() != nullptr;
}

WaylandSession::~WaylandSession()
{
    if (!isConnectionOpen()) return;
    if (_registry) wl_registry_destroy(_registry);
    if (_displayWrapper) wl_proxy_wrapper_destroy(_displayWrapper);
    if (_queue) wl_event_queue_destroy(_queue);
}

uint32_t WaylandSession::offeredVersion(const char *interface) const
{
    uint32_t version = 0;
    for (const WaylandGlobal &g : _globals)
        if (g.interface == interface) version = std::max(version, g.version);
    return version;
}

wl_proxy *WaylandSession::bindProxy(const wl_interface *interface, uint32_t wanted,
                                    uint32_t minimum, uint32_t *bound)
{
    const auto it = std::find_if(_globals.begin(), _globals.end(), [&](const WaylandGlobal &g) {
        return std::strcmp(g.interface.constData(), interface->name) == 0;
    });
    if (it == _globals.end()) return nullptr;
    const uint32_t version = std::min({wanted, it->version, uint32_t(interface->version)});
    if (version < minimum) {
        qCInfo(lcPlatform).noquote() << interface->name << "is offered at version" << it->version
                                     << "; Kelp needs" << minimum;
        return nullptr;
    }
    auto *proxy =
        static_cast<wl_proxy *>(wl_registry_bind(_registry, it->name, interface, version));
    // Its events go with Qt's, dispatched on the GUI thread.
    wl_proxy_set_queue(proxy, nullptr);
    if (bound) *bound = version;
    return proxy;
}

bool WaylandSession::roundTrip(wl_event_queue *queue)
{
    const int result =
        queue ? wl_display_roundtrip_queue(_display, queue) : wl_display_roundtrip(_display);
    return result >= 0;
}

wl_event_queue *WaylandSession::makeQueue()
{
    return wl_display_create_queue(_display);
}

wl_surface *WaylandSession::surfaceOf(QWindow *window)
{
    QPlatformNativeInterface *ni = native();
    if (!ni || !window || !window->handle()) return nullptr;
    return static_cast<wl_surface *>(
        ni->nativeResourceForWindow(QByteArrayLiteral("surface"), window));
}

wl_output *WaylandSession::outputOf(QScreen *screen)
{
    QPlatformNativeInterface *ni = native();
    if (!ni || !screen) return nullptr;
    return static_cast<wl_output *>(
        ni->nativeResourceForScreen(QByteArrayLiteral("output"), screen));
}

wl_seat *WaylandSession::seat()
{
    QPlatformNativeInterface *ni = native();
    if (!ni) return nullptr;
    return static_cast<wl_seat *>(ni->nativeResourceForIntegration(QByteArrayLiteral("wl_seat")));
}

uint32_t WaylandSession::lastInputSerial()
{
    QPlatformNativeInterface *ni = native();
    if (!ni) return 0;
    return uint32_t(
        reinterpret_cast<quintptr>(ni->nativeResourceForIntegration(QByteArrayLiteral("serial"))));
}

QString WaylandSession::describeGlobals() const
{
    QStringList parts;
    for (const WaylandGlobal &g : _globals) {
        const QString part =
            QStringLiteral("%1 %2").arg(QString::fromLatin1(g.interface)).arg(g.version);
        if (!parts.contains(part)) parts << part;
    }
    return parts.join(QStringLiteral(", "));
}

} // namespace kelp
