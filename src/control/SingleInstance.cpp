#include "control/SingleInstance.h"

#include "extras/Logging.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QScopeGuard>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace kelp {
namespace {

const QStringList kCommands = {
    QStringLiteral("reopen"), QStringLiteral("toggle"),     QStringLiteral("show"),
    QStringLiteral("hide"),   QStringLiteral("rescan"),     QStringLiteral("quit"),
    QStringLiteral("open"),   QStringLiteral("feedback"),   QStringLiteral("about"),
    QStringLiteral("hidden"), QStringLiteral("preferences")};
constexpr qint64 kMaxRequest = 1 << 20;

} // namespace

QByteArray InstanceRequest::encode() const
{
    QJsonObject o{{QStringLiteral("command"), command},
                  {QStringLiteral("files"), QJsonArray::fromStringList(files)}};
    return QJsonDocument(o).toJson(QJsonDocument::Compact) + '\n';
}

InstanceRequest InstanceRequest::decode(const QByteArray &line, bool *ok)
{
    InstanceRequest request;
    const QJsonObject o = QJsonDocument::fromJson(line.trimmed()).object();
    request.command = o.value(QStringLiteral("command")).toString();
    for (const QJsonValue &f : o.value(QStringLiteral("files")).toArray())
        if (f.isString()) request.files.append(f.toString());
    if (ok) *ok = kCommands.contains(request.command);
    return request;
}

SingleInstance::SingleInstance(QObject *parent) : QObject(parent) {}

SingleInstance::~SingleInstance()
{
    if (_server) _server->close(); // removes the socket file
}

QString SingleInstance::socketPath()
{
    QString dir = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (dir.isEmpty()) dir = QDir::tempPath();
    return dir + QStringLiteral("/kelp-%1.socket").arg(getuid());
}

bool SingleInstance::sendToRunning(const InstanceRequest &request, int timeoutMs)
{
    // Plain sockets, so that a later kelp can hand its request over before any Qt application
    // object (or event dispatcher) exists.
    const QByteArray path = QFile::encodeName(socketPath());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= static_cast<qsizetype>(sizeof address.sun_path)) return false;
    std::memcpy(address.sun_path, path.constData(), static_cast<size_t>(path.size()));

    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    const auto closeSocket = qScopeGuard([fd]() { ::close(fd); });
    // Connecting to a local socket does not wait for the other side's event loop: it succeeds
    // at once while the listener's backlog has room, or fails at once when nobody listens.
    if (::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return false;

    QElapsedTimer clock;
    clock.start();
    const auto waitFor = [&](short events) {
        for (;;) {
            const qint64 left = timeoutMs - clock.elapsed();
            if (left <= 0) return false;
            pollfd p{fd, events, 0};
            const int n = ::poll(&p, 1, static_cast<int>(left));
            if (n > 0) return true;
            if (n < 0 && errno != EINTR) return false;
        }
    };

    const QByteArray bytes = request.encode();
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        if (!waitFor(POLLOUT)) return false;
        const ssize_t n = ::send(fd, bytes.constData() + sent,
                                 static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (n < 0 && errno != EINTR && errno != EAGAIN) return false;
        if (n > 0) sent += n;
    }
    // The running Kelp answers once it has taken the request.
    QByteArray answer;
    while (!answer.contains('\n') && answer.size() < 64) {
        if (!waitFor(POLLIN)) return false;
        char buffer[64];
        const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
        if (n == 0) break;
        if (n < 0) {
            if (errno == EINTR || errno == EAGAIN) continue;
            return false;
        }
        answer.append(buffer, n);
    }
    return answer.left(answer.indexOf('\n')).trimmed() == "ok";
}

bool SingleInstance::listen()
{
    const QString path = socketPath();
    {
        QLocalSocket probe;
        probe.connectToServer(path);
        if (probe.waitForConnected(500)) return false; // a Kelp is running
    }
    // Nobody answers: whatever is at the path is left over from a Kelp that ended badly.
    QLocalServer::removeServer(path);
    _server = new QLocalServer(this);
    _server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!_server->listen(path)) {
        qCWarning(lcPlatform).noquote()
            << "Cannot listen on" << path << ":" << _server->errorString();
        delete _server;
        _server = nullptr;
        return false;
    }
    connect(_server, &QLocalServer::newConnection, this, [this]() {
        while (QLocalSocket *client = _server->nextPendingConnection()) {
            connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
            connect(client, &QLocalSocket::readyRead, this, [this, client]() {
                if (client->bytesAvailable() > kMaxRequest) {
                    client->abort();
                    return;
                }
                if (!client->canReadLine()) return;
                bool ok = false;
                const InstanceRequest request =
                    InstanceRequest::decode(client->readLine(kMaxRequest), &ok);
                if (!ok) {
                    qCInfo(lcPlatform) << "Ignoring a request Kelp does not know";
                    client->write("unknown\n");
                    client->disconnectFromServer();
                    return;
                }
                client->write("ok\n");
                client->flush();
                client->disconnectFromServer();
                Q_EMIT requestReceived(request);
            });
        }
    });
    return true;
}

} // namespace kelp
