#include "platform/dbus/PortalHotKeys.h"

#include "extras/Logging.h"
#include "triggers/HotKeyBindings.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QKeySequence>

namespace {

// One shortcut as the portal takes it: its id and its properties (description, preferred trigger).
struct PortalShortcut
{
    QString id;
    QVariantMap properties;
};

QDBusArgument &operator<<(QDBusArgument &arg, const PortalShortcut &shortcut)
{
    arg.beginStructure();
    arg << shortcut.id << shortcut.properties;
    arg.endStructure();
    return arg;
}

const QDBusArgument &operator>>(const QDBusArgument &arg, PortalShortcut &shortcut)
{
    arg.beginStructure();
    arg >> shortcut.id >> shortcut.properties;
    arg.endStructure();
    return arg;
}

} // namespace

Q_DECLARE_METATYPE(PortalShortcut)

namespace kelp {

namespace {

const QString kPortalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kShortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString kShortcutId = QStringLiteral("toggle");
const QString kKdeService = QStringLiteral("org.kde.kglobalaccel");
const QString kKdePath = QStringLiteral("/kglobalaccel");
const QString kKdeInterface = QStringLiteral("org.kde.KGlobalAccel");
// KGlobalAccel's action: component "kelp", action "toggle", and their names for people.
const QStringList kKdeAction = {QStringLiteral("kelp"), QStringLiteral("toggle"),
                                QStringLiteral("Kelp"), QStringLiteral("Show or hide Kelp")};
// The probe of the portal may start it (D-Bus activation), which takes a moment.
constexpr int kProbeTimeoutMs = 10000;

QString describe(const HotKeyChord &chord)
{
    QString text = QKeySequence(int(chord.modifiers) | chord.key).toString();
    if (chord.keypad) text += QStringLiteral(" (keypad)");
    return text;
}

// A path or a string holding one, as portals of different versions send it.
QString pathOf(const QVariant &value)
{
    if (value.canConvert<QDBusObjectPath>()) {
        const QString path = value.value<QDBusObjectPath>().path();
        if (!path.isEmpty()) return path;
    }
    return value.toString();
}

} // namespace

PortalHotKeys::PortalHotKeys(QDBusConnection bus, int responseTimeoutMs, QObject *parent)
    : HotKeys(parent), _bus(std::move(bus))
{
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
    _responseTimer.setSingleShot(true);
    _responseTimer.setInterval(responseTimeoutMs);
    connect(&_responseTimer, &QTimer::timeout, this, [this]() {
        forgetRequest();
        fail(tr("The desktop's shortcut service did not answer"));
    });
    if (!_bus.isConnected()) {
        decided(Way::ByHand);
        return;
    }
    // The portal has the interface only when one of its backends implements it.
    QDBusMessage probe = QDBusMessage::createMethodCall(
        kPortalService, kPortalPath, QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    probe << kShortcutsInterface << QStringLiteral("version");
    auto *watcher = new QDBusPendingCallWatcher(_bus.asyncCall(probe, kProbeTimeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        if (w->isError()) {
            qCDebug(lcTriggers).noquote() << "No GlobalShortcuts portal:" << w->error().message();
            probeKGlobalAccel();
            return;
        }
        _bus.connect(kPortalService, kPortalPath, kShortcutsInterface, QStringLiteral("Activated"),
                     this, SLOT(portalActivated(QDBusMessage)));
        decided(Way::Portal);
    });
}

PortalHotKeys::~PortalHotKeys()
{
    closePortalSession();
}

void PortalHotKeys::probeKGlobalAccel()
{
    QDBusMessage has = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameHasOwner"));
    has << kKdeService;
    auto *watcher = new QDBusPendingCallWatcher(_bus.asyncCall(has, kProbeTimeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        const QDBusPendingReply<bool> reply = *w;
        decided(!reply.isError() && reply.value() ? Way::KGlobalAccel : Way::ByHand);
    });
}

void PortalHotKeys::decided(Way way)
{
    _way = way;
    if (_chord) apply();
}

bool PortalHotKeys::setHotKey(const std::optional<HotKeyChord> &chord)
{
    _chord = chord;
    if (_way == Way::Probing) {
        // Applied once Kelp knows the way; no failure until then.
        if (!_failure.isEmpty()) {
            _failure.clear();
            Q_EMIT failureChanged();
        }
        return true;
    }
    apply();
    return _failure.isEmpty();
}

void PortalHotKeys::apply()
{
    const bool hadFailure = !_failure.isEmpty();
    _failure.clear();
    switch (_way) {
    case Way::Probing:
        break;
    case Way::Portal:
        closePortalSession();
        if (!_chord) break;
        if (!portalTrigger(*_chord)) {
            fail(tr("The desktop's shortcut service cannot take the hot key %1")
                     .arg(describe(*_chord)));
            break;
        }
        createPortalSession();
        break;
    case Way::KGlobalAccel:
        registerKGlobalAccel();
        break;
    case Way::ByHand:
        if (_chord) fail(tr("This desktop gives Kelp no global hot key"));
        break;
    }
    if (hadFailure && _failure.isEmpty()) Q_EMIT failureChanged();
}

void PortalHotKeys::fail(const QString &why)
{
    _failure =
        why + u'\n' + hotKeyBindingSteps(_chord, qEnvironmentVariable("XDG_CURRENT_DESKTOP"));
    qCWarning(lcTriggers).noquote() << _failure;
    Q_EMIT failureChanged();
}

void PortalHotKeys::succeeded(const QString &how)
{
    qCInfo(lcTriggers).noquote() << "Hot key" << describe(*_chord) << how;
    if (!_failure.isEmpty()) {
        _failure.clear();
        Q_EMIT failureChanged();
    }
}

// --- The GlobalShortcuts portal ---------------------------------------------------------------

QString PortalHotKeys::portalRequest(const QString &method, const QList<QVariant> &arguments,
                                     const QString &token)
{
    // The portal answers on a request object whose path it derives from Kelp's bus name and the
    // token; Kelp listens there before asking, so the answer cannot come first.
    QString sender = _bus.baseService().mid(1);
    sender.replace(u'.', u'_');
    const QString path =
        QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token);
    _bus.connect(kPortalService, path, QStringLiteral("org.freedesktop.portal.Request"),
                 QStringLiteral("Response"), this, SLOT(portalResponse(QDBusMessage)));
    _pendingRequest = path;
    _responseTimer.start();
    QDBusMessage call =
        QDBusMessage::createMethodCall(kPortalService, kPortalPath, kShortcutsInterface, method);
    call.setArguments(arguments);
    auto *watcher = new QDBusPendingCallWatcher(_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, path, method, step = _step](QDBusPendingCallWatcher *w) {
                w->deleteLater();
                if (_pendingRequest != path) return; // replaced since
                const QDBusPendingReply<QDBusObjectPath> reply = *w;
                if (reply.isError()) {
                    forgetRequest();
                    fail(tr("The desktop's shortcut service refused %1: %2")
                             .arg(method, reply.error().message()));
                    return;
                }
                // An older portal may answer on a path of its own choosing.
                const QString handle = reply.value().path();
                if (handle != path) {
                    forgetRequest();
                    _step = step;
                    _responseTimer.start();
                    _bus.connect(
                        kPortalService, handle, QStringLiteral("org.freedesktop.portal.Request"),
                        QStringLiteral("Response"), this, SLOT(portalResponse(QDBusMessage)));
                    _pendingRequest = handle;
                }
            });
    return path;
}

void PortalHotKeys::createPortalSession()
{
    const QString token = QStringLiteral("kelp%1").arg(++_requests);
    QVariantMap options;
    options.insert(QStringLiteral("handle_token"), token);
    options.insert(QStringLiteral("session_handle_token"), token);
    _step = Step::CreateSession;
    portalRequest(QStringLiteral("CreateSession"), {options}, token);
}

void PortalHotKeys::bindPortalShortcut()
{
    const QString token = QStringLiteral("kelp%1").arg(++_requests);
    QVariantMap properties;
    properties.insert(QStringLiteral("description"), tr("Show or hide Kelp"));
    properties.insert(QStringLiteral("preferred_trigger"), *portalTrigger(*_chord));
    const QList<PortalShortcut> shortcuts = {{kShortcutId, properties}};
    QVariantMap options;
    options.insert(QStringLiteral("handle_token"), token);
    _step = Step::Bind;
    portalRequest(QStringLiteral("BindShortcuts"),
                  {QVariant::fromValue(QDBusObjectPath(_session)), QVariant::fromValue(shortcuts),
                   QString(), options},
                  token);
}

void PortalHotKeys::portalResponse(const QDBusMessage &message)
{
    if (message.path() != _pendingRequest || message.arguments().size() < 2) return;
    const Step step = _step;
    forgetRequest();
    const uint code = message.arguments().at(0).toUInt();
    const QVariantMap results = qdbus_cast<QVariantMap>(message.arguments().at(1));
    if (code == 1) {
        fail(tr("The hot key %1 was refused in the desktop's dialog").arg(describe(*_chord)));
        return;
    }
    if (code != 0) {
        fail(tr("The desktop's shortcut service could not bind the hot key %1")
                 .arg(describe(*_chord)));
        return;
    }
    if (step == Step::CreateSession) {
        _session = pathOf(results.value(QStringLiteral("session_handle")));
        if (_session.isEmpty()) {
            fail(tr("The desktop's shortcut service gave no session"));
            return;
        }
        bindPortalShortcut();
        return;
    }
    // The shortcuts bound: the desktop may have given a trigger other than the one asked for.
    QString shownAs;
    const auto bound =
        qdbus_cast<QList<PortalShortcut>>(results.value(QStringLiteral("shortcuts")));
    for (const PortalShortcut &shortcut : bound) {
        if (shortcut.id == kShortcutId)
            shownAs = shortcut.properties.value(QStringLiteral("trigger_description")).toString();
    }
    succeeded(shownAs.isEmpty()
                  ? QStringLiteral("through the GlobalShortcuts portal")
                  : QStringLiteral("through the GlobalShortcuts portal (the desktop shows %1)")
                        .arg(shownAs));
}

void PortalHotKeys::portalActivated(const QDBusMessage &message)
{
    // Activated (session, shortcut id, timestamp, options); Deactivated (a release) is not asked
    // for.
    const QList<QVariant> args = message.arguments();
    if (_session.isEmpty() || args.size() < 2 || pathOf(args.at(0)) != _session ||
        args.at(1).toString() != kShortcutId)
        return;
    Q_EMIT pressed();
}

void PortalHotKeys::forgetRequest()
{
    if (!_pendingRequest.isEmpty()) {
        _bus.disconnect(kPortalService, _pendingRequest,
                        QStringLiteral("org.freedesktop.portal.Request"),
                        QStringLiteral("Response"), this, SLOT(portalResponse(QDBusMessage)));
    }
    _pendingRequest.clear();
    _step = Step::None;
    _responseTimer.stop();
}

void PortalHotKeys::closePortalSession()
{
    forgetRequest();
    if (_session.isEmpty()) return;
    _bus.asyncCall(QDBusMessage::createMethodCall(kPortalService, _session,
                                                  QStringLiteral("org.freedesktop.portal.Session"),
                                                  QStringLiteral("Close")));
    _session.clear();
}

// --- KGlobalAccel -----------------------------------------------------------------------------

void PortalHotKeys::registerKGlobalAccel()
{
    auto kde = [this](const QString &method, const QList<QVariant> &arguments) {
        QDBusMessage call =
            QDBusMessage::createMethodCall(kKdeService, kKdePath, kKdeInterface, method);
        call.setArguments(arguments);
        return _bus.asyncCall(call);
    };
    kde(QStringLiteral("doRegister"), {kKdeAction});
    // No keys releases the action; the flags say the keys are present now and not to be taken
    // from KDE's stored configuration (Kelp's settings hold the hot key).
    QList<int> keys;
    if (_chord) {
        keys << (int(_chord->modifiers) | (_chord->keypad ? int(Qt::KeypadModifier) : 0) |
                 int(_chord->key));
    }
    constexpr uint kSetPresent = 2, kNoAutoloading = 4;
    auto *set = new QDBusPendingCallWatcher(
        kde(QStringLiteral("setShortcut"),
            {kKdeAction, QVariant::fromValue(keys), kSetPresent | kNoAutoloading}),
        this);
    connect(set, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        if (!_chord) return;
        const QDBusPendingReply<QList<int>> reply = *w;
        if (reply.isError()) {
            fail(tr("KDE's shortcut service could not bind the hot key %1: %2")
                     .arg(describe(*_chord), reply.error().message()));
            return;
        }
        if (reply.value().isEmpty() || reply.value().first() == 0) {
            fail(tr("The hot key %1 is already taken by another program").arg(describe(*_chord)));
            return;
        }
        succeeded(QStringLiteral("through KDE's KGlobalAccel"));
    });
    if (!_kdeComponent.isEmpty()) return;
    QDBusMessage component = QDBusMessage::createMethodCall(kKdeService, kKdePath, kKdeInterface,
                                                            QStringLiteral("getComponent"));
    component << kKdeAction.first();
    auto *get = new QDBusPendingCallWatcher(_bus.asyncCall(component), this);
    connect(get, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        const QDBusPendingReply<QDBusObjectPath> reply = *w;
        if (reply.isError() || !_kdeComponent.isEmpty()) return;
        _kdeComponent = reply.value().path();
        _bus.connect(kKdeService, _kdeComponent, QStringLiteral("org.kde.kglobalaccel.Component"),
                     QStringLiteral("globalShortcutPressed"), this,
                     SLOT(kdeShortcutPressed(QDBusMessage)));
    });
}

void PortalHotKeys::kdeShortcutPressed(const QDBusMessage &message)
{
    // (component, action, timestamp)
    const QList<QVariant> args = message.arguments();
    if (_chord && args.size() >= 2 && args.at(1).toString() == kKdeAction.at(1)) Q_EMIT pressed();
}

} // namespace kelp
