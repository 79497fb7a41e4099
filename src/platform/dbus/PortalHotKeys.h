#pragma once
// The global hot key where Kelp cannot grab keys itself (Wayland): the desktop's shortcut service
// over D-Bus. First the GlobalShortcuts portal (xdg-desktop-portal with a backend that has it, such
// as KDE's): a session, one shortcut "toggle" with the user's chord as its preferred trigger, and
// the portal's Activated signal as the press. Then KDE's KGlobalAccel when its name is on the
// session bus. Without either nothing is registered and failure() gives the steps to bind
// kelp --toggle by hand (the exact sway line, GNOME's and KDE's settings).
//
// Everything is asynchronous: the GUI thread never waits for the portal or for the user's answer
// to the desktop's dialog. setHotKey() returns true while the answer is pending; a refusal, an
// error or no answer in time ends in failureChanged() and one log line.
#include "desktop/HotKeys.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QTimer>

namespace kelp {

class PortalHotKeys : public HotKeys
{
    Q_OBJECT
public:
    enum class Way { Probing, Portal, KGlobalAccel, ByHand };

    // responseTimeoutMs: how long the portal may take to answer a request (the user's dialog
    // included) before Kelp gives up on it.
    explicit PortalHotKeys(QDBusConnection bus = QDBusConnection::sessionBus(),
                           int responseTimeoutMs = 60000, QObject *parent = nullptr);
    ~PortalHotKeys() override;

    bool setHotKey(const std::optional<HotKeyChord> &chord) override;
    QString failure() const override { return _failure; }
    // The desktop's shortcut services report presses only.
    void setWatchModifiers(bool) override {}

    Way way() const { return _way; }

private Q_SLOTS:
    void portalResponse(const QDBusMessage &message);
    void portalActivated(const QDBusMessage &message);
    void kdeShortcutPressed(const QDBusMessage &message);

private:
    void probeKGlobalAccel();
    void decided(Way way);
    void apply();
    void fail(const QString &why);
    void succeeded(const QString &how);
    // The portal: a session first, then the binding within it.
    void createPortalSession();
    void bindPortalShortcut();
    void closePortalSession();
    // Stops waiting for the pending request's answer.
    void forgetRequest();
    QString portalRequest(const QString &method, const QList<QVariant> &arguments,
                          const QString &token);
    void registerKGlobalAccel();

    QDBusConnection _bus;
    Way _way = Way::Probing;
    std::optional<HotKeyChord> _chord;
    QString _failure;
    // The request Kelp waits for (its object path) and what its answer is for.
    QString _pendingRequest;
    enum class Step { None, CreateSession, Bind } _step = Step::None;
    QTimer _responseTimer;
    QString _session;
    QString _kdeComponent;
    quint64 _requests = 0;
};

} // namespace kelp
