// A GlobalShortcuts backend for xdg-desktop-portal, as a desktop's own backend would be, for the
// hot-key test: it owns org.freedesktop.impl.portal.desktop.kelptest on the session bus and
// implements org.freedesktop.impl.portal.GlobalShortcuts. It writes each bind request to standard
// output ("bind <id> <preferred trigger>") and, for each "activate" line on standard input, sends
// Activated for the last bound shortcut, as a key press on the desktop would. With --refuse it
// answers every bind as a user who said no in the desktop's dialog (response 1).
#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDateTime>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

namespace {

struct Shortcut
{
    QString id;
    QVariantMap properties;
};

QDBusArgument &operator<<(QDBusArgument &arg, const Shortcut &shortcut)
{
    arg.beginStructure();
    arg << shortcut.id << shortcut.properties;
    arg.endStructure();
    return arg;
}

const QDBusArgument &operator>>(const QDBusArgument &arg, Shortcut &shortcut)
{
    arg.beginStructure();
    arg >> shortcut.id >> shortcut.properties;
    arg.endStructure();
    return arg;
}

} // namespace

Q_DECLARE_METATYPE(Shortcut)

namespace {

class Backend : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.impl.portal.GlobalShortcuts")
public:
    bool refuse = false;
    QDBusObjectPath session;
    QString bound;

    void activate()
    {
        if (bound.isEmpty()) return;
        Q_EMIT Activated(session, bound, quint64(QDateTime::currentMSecsSinceEpoch()),
                         QVariantMap());
        say("activated " + bound.toUtf8());
    }

    static void say(const QByteArray &line)
    {
        std::fputs(line.constData(), stdout);
        std::fputc('\n', stdout);
        std::fflush(stdout);
    }

public Q_SLOTS:
    uint CreateSession(const QDBusObjectPath &, const QDBusObjectPath &sessionHandle,
                       const QString &, const QVariantMap &, QVariantMap &results)
    {
        session = sessionHandle;
        results.insert(QStringLiteral("session_id"), sessionHandle.path());
        say("session " + sessionHandle.path().toUtf8());
        return 0;
    }

    uint BindShortcuts(const QDBusObjectPath &, const QDBusObjectPath &sessionHandle,
                       const QList<Shortcut> &shortcuts, const QString &, const QVariantMap &,
                       QVariantMap &results)
    {
        QList<Shortcut> given;
        for (const Shortcut &s : shortcuts) {
            const QString trigger =
                s.properties.value(QStringLiteral("preferred_trigger")).toString();
            say("bind " + s.id.toUtf8() + ' ' + trigger.toUtf8());
            if (refuse) continue;
            QVariantMap properties = s.properties;
            properties.insert(QStringLiteral("trigger_description"), trigger);
            given << Shortcut{s.id, properties};
            session = sessionHandle;
            bound = s.id;
        }
        if (refuse) return 1;
        results.insert(QStringLiteral("shortcuts"), QVariant::fromValue(given));
        return 0;
    }

    uint ListShortcuts(const QDBusObjectPath &, const QDBusObjectPath &, QVariantMap &results)
    {
        results.insert(QStringLiteral("shortcuts"), QVariant::fromValue(QList<Shortcut>()));
        return 0;
    }

Q_SIGNALS:
    void Activated(const QDBusObjectPath &session_handle, const QString &shortcut_id,
                   quint64 timestamp, const QVariantMap &options);
    void Deactivated(const QDBusObjectPath &session_handle, const QString &shortcut_id,
                     quint64 timestamp, const QVariantMap &options);
    void ShortcutsChanged(const QDBusObjectPath &session_handle, const QList<Shortcut> &shortcuts);
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    qDBusRegisterMetaType<Shortcut>();
    qDBusRegisterMetaType<QList<Shortcut>>();
    Backend backend;
    backend.refuse = app.arguments().contains(QStringLiteral("--refuse"));
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), &backend,
                            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals) ||
        !bus.registerService(QStringLiteral("org.freedesktop.impl.portal.desktop.kelptest"))) {
        Backend::say("no bus");
        return 1;
    }
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &backend, [&]() {
        char buffer[256];
        const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n <= 0) {
            app.quit(); // the test went away
            return;
        }
        if (QByteArray(buffer, int(n)).contains("activate")) backend.activate();
    });
    Backend::say("ready");
    return app.exec();
}

#include "PortalShortcutsBackend.moc"
