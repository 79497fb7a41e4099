// A keyboard for the tests under Mutter, which has no virtual-keyboard protocol: a session of
// Mutter's own remote desktop service on the session bus. Mutter ends such a session when its
// caller leaves the bus, so this program holds it for the whole test, and runs as the user Mutter
// runs as (a session bus takes only its own user's connections).
//
// Once the session has started it writes "ready" (or "failed <why>" and ends). Each line on
// standard input then names keys to press and release in turn, as X keysyms in hexadecimal
// ("7a 65 62" is "zeb", "ff0d" is Return); each line is answered "ok" or "failed <why>".
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

namespace {

const QString kService = QStringLiteral("org.gnome.Mutter.RemoteDesktop");

void say(const QByteArray &line)
{
    std::fputs(line.constData(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

// Calls `method` of the session's interface; the error's text, empty on success.
QString call(const QString &session, const QString &method, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        kService, session, kService + QStringLiteral(".Session"), method);
    message.setArguments(arguments);
    const QDBusMessage reply = QDBusConnection::sessionBus().call(message, QDBus::Block, 10000);
    return reply.type() == QDBusMessage::ErrorMessage ? reply.errorMessage() : QString();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QDBusMessage create =
        QDBusMessage::createMethodCall(kService, QStringLiteral("/org/gnome/Mutter/RemoteDesktop"),
                                       kService, QStringLiteral("CreateSession"));
    const QDBusMessage created = QDBusConnection::sessionBus().call(create, QDBus::Block, 10000);
    if (created.type() == QDBusMessage::ErrorMessage || created.arguments().isEmpty()) {
        say("failed CreateSession: " + created.errorMessage().toUtf8());
        return 1;
    }
    const QString session = created.arguments().first().value<QDBusObjectPath>().path();
    if (const QString error = call(session, QStringLiteral("Start"), {}); !error.isEmpty()) {
        say("failed Start: " + error.toUtf8());
        return 1;
    }
    say("ready");

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QByteArray pending;
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&] {
        char buffer[256];
        const ssize_t n = read(STDIN_FILENO, buffer, sizeof buffer);
        if (n <= 0) {
            app.quit();
            return;
        }
        pending.append(buffer, n);
        for (qsizetype end; (end = pending.indexOf('\n')) >= 0;) {
            const QList<QByteArray> keys = pending.left(end).simplified().split(' ');
            pending.remove(0, end + 1);
            QString error;
            for (const QByteArray &key : keys) {
                bool ok = false;
                const uint keysym = key.toUInt(&ok, 16);
                if (!ok) {
                    error = QStringLiteral("not a keysym: ") + QString::fromUtf8(key);
                    break;
                }
                for (const bool pressed : {true, false}) {
                    error = call(session, QStringLiteral("NotifyKeyboardKeysym"),
                                 {QVariant::fromValue(keysym), QVariant::fromValue(pressed)});
                    if (!error.isEmpty()) break;
                }
                if (!error.isEmpty()) break;
                usleep(30000);
            }
            say(error.isEmpty() ? QByteArray("ok") : "failed " + error.toUtf8());
        }
    });
    const int result = app.exec();
    call(session, QStringLiteral("Stop"), {});
    return result;
}
