// The desktop's StatusNotifierWatcher with a host registered, as a program of its own so that it
// runs as the same user as Kelp (a session bus takes only its own user's connections). It writes
// "registered <service>" for each item that registers and, for each "activate" line on standard
// input, calls the last item's Activate as a click on its icon would, writing "activate ok" or
// "activate failed".
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

namespace {

const QString kInterface = QStringLiteral("org.kde.StatusNotifierWatcher");

void say(const QByteArray &line)
{
    std::fputs(line.constData(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

class Watcher : public QDBusVirtualObject
{
public:
    QStringList items;

    QString introspect(const QString &) const override
    {
        // Callers that go through QDBusInterface read the properties only when introspection
        // names them.
        return QStringLiteral(
                   "<interface name=\"%1\">"
                   "<method name=\"RegisterStatusNotifierItem\"><arg type=\"s\" direction=\"in\"/>"
                   "</method>"
                   "<method name=\"RegisterStatusNotifierHost\"><arg type=\"s\" direction=\"in\"/>"
                   "</method>"
                   "<property name=\"IsStatusNotifierHostRegistered\" type=\"b\" access=\"read\"/>"
                   "<property name=\"ProtocolVersion\" type=\"i\" access=\"read\"/>"
                   "<property name=\"RegisteredStatusNotifierItems\" type=\"as\" access=\"read\"/>"
                   "<signal name=\"StatusNotifierItemRegistered\"><arg type=\"s\"/></signal>"
                   "<signal name=\"StatusNotifierItemUnregistered\"><arg type=\"s\"/></signal>"
                   "<signal name=\"StatusNotifierHostRegistered\"/>"
                   "</interface>")
            .arg(kInterface);
    }

    QVariant property(const QString &name) const
    {
        if (name == QLatin1String("IsStatusNotifierHostRegistered")) return true;
        if (name == QLatin1String("ProtocolVersion")) return 0;
        if (name == QLatin1String("RegisteredStatusNotifierItems")) return items;
        return {};
    }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        const QList<QVariant> args = message.arguments();
        const QString member = message.member();
        if (member == QLatin1String("Get") && args.size() == 2) {
            connection.send(message.createReply(
                QVariant::fromValue(QDBusVariant(property(args.at(1).toString())))));
        } else if (member == QLatin1String("GetAll")) {
            QVariantMap all;
            for (const char *name : {"IsStatusNotifierHostRegistered", "ProtocolVersion",
                                     "RegisteredStatusNotifierItems"})
                all.insert(QLatin1String(name), property(QLatin1String(name)));
            connection.send(message.createReply(all));
        } else if (member == QLatin1String("RegisterStatusNotifierItem") && args.size() == 1) {
            // An item may give its object path alone; it then lives on the caller's connection.
            const QString service = args.at(0).toString();
            items << (service.startsWith(u'/') ? message.service() : service);
            connection.send(message.createReply());
            connection.send(
                QDBusMessage::createSignal(QStringLiteral("/StatusNotifierWatcher"), kInterface,
                                           QStringLiteral("StatusNotifierItemRegistered"))
                << service);
            say("registered " + items.last().toUtf8());
        } else if (member == QLatin1String("RegisterStatusNotifierHost")) {
            connection.send(message.createReply());
        } else {
            return false;
        }
        return true;
    }
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    Watcher watcher;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerVirtualObject(QStringLiteral("/StatusNotifierWatcher"), &watcher) ||
        !bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"))) {
        say("no bus");
        return 1;
    }
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&]() {
        char buffer[256];
        const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n <= 0) {
            app.quit(); // the test went away
            return;
        }
        if (!QByteArray(buffer, int(n)).contains("activate") || watcher.items.isEmpty()) return;
        QDBusMessage call = QDBusMessage::createMethodCall(
            watcher.items.last(), QStringLiteral("/StatusNotifierItem"),
            QStringLiteral("org.kde.StatusNotifierItem"), QStringLiteral("Activate"));
        call << 10 << 10;
        const bool ok = bus.call(call, QDBus::Block, 5000).type() != QDBusMessage::ErrorMessage;
        say(ok ? "activate ok" : "activate failed");
    });
    say("ready");
    return app.exec();
}
