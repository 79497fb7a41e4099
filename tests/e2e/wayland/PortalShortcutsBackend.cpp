// A GlobalShortcuts backend for xdg-desktop-portal, as a desktop's own backend would be, for the
// hot-key test: it owns org.freedesktop.impl.portal.desktop.kelptest on the session bus and
// implements org.freedesktop.impl.portal.GlobalShortcuts. It writes each bind request to standard
// output ("bind <id> <preferred trigger>") and, for each "activate" line on standard input, sends
// Activated for the last bound shortcut, as a key press on the desktop would. With --refuse it
// answers every bind as a user who said no in the desktop's dialog (response 1).
#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
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

const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.impl.portal.GlobalShortcuts");

void say(const QByteArray &line)
{
    std::fputs(line.constData(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

// Every call the portal makes, answered by hand: (response, results) for the methods.
class Backend : public QDBusVirtualObject
{
public:
    bool refuse = false;
    QDBusObjectPath session;
    QString bound;

    void activate()
    {
        if (bound.isEmpty()) return;
        QDBusMessage signal =
            QDBusMessage::createSignal(kPath, kInterface, QStringLiteral("Activated"));
        signal << QVariant::fromValue(session) << bound
               << quint64(QDateTime::currentMSecsSinceEpoch()) << QVariantMap();
        QDBusConnection::sessionBus().send(signal);
        say("activated " + bound.toUtf8());
    }

    QString introspect(const QString &) const override
    {
        return QStringLiteral("<interface name=\"%1\"/>").arg(kInterface);
    }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        const QList<QVariant> args = message.arguments();
        QVariantMap results;
        uint response = 0;
        if (message.member() == QLatin1String("CreateSession") && args.size() >= 2) {
            session = qvariant_cast<QDBusObjectPath>(args.at(1));
            say("session " + session.path().toUtf8());
        } else if (message.member() == QLatin1String("BindShortcuts") && args.size() >= 3) {
            QList<Shortcut> shortcuts;
            qvariant_cast<QDBusArgument>(args.at(2)) >> shortcuts;
            QList<Shortcut> given;
            for (const Shortcut &s : shortcuts) {
                const QString trigger =
                    s.properties.value(QStringLiteral("preferred_trigger")).toString();
                say("bind " + s.id.toUtf8() + ' ' + trigger.toUtf8());
                QVariantMap properties;
                properties.insert(QStringLiteral("description"),
                                  s.properties.value(QStringLiteral("description")));
                properties.insert(QStringLiteral("trigger_description"), trigger);
                given << Shortcut{s.id, properties};
            }
            if (refuse) {
                response = 1;
            } else {
                session = qvariant_cast<QDBusObjectPath>(args.at(1));
                if (!given.isEmpty()) bound = given.first().id;
                results.insert(QStringLiteral("shortcuts"), QVariant::fromValue(given));
            }
        } else if (message.member() == QLatin1String("ListShortcuts")) {
            results.insert(QStringLiteral("shortcuts"), QVariant::fromValue(QList<Shortcut>()));
        } else if (message.member() == QLatin1String("GetAll")) {
            connection.send(message.createReply(QVariant(QVariantMap())));
            return true;
        } else {
            return false;
        }
        connection.send(message.createReply({response, results}));
        return true;
    }
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
    if (!bus.registerVirtualObject(kPath, &backend) ||
        !bus.registerService(QStringLiteral("org.freedesktop.impl.portal.desktop.kelptest"))) {
        say("no bus");
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
    say("ready");
    return app.exec();
}
