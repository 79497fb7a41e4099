#include "control/SingleInstance.h"

#include "extras/Logging.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>

#include <unistd.h>

namespace kelp {
namespace {

const QStringList kCommands = {QStringLiteral("reopen"), QStringLiteral("toggle"),
                               QStringLiteral("show"),   QStringLiteral("hide"),
                               QStringLiteral("rescan"), QStringLiteral("quit"),
                               QStringLiteral("open")};
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
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(timeoutMs)) return false;
    socket.write(request.encode());
    if (!socket.waitForBytesWritten(timeoutMs)) return false;
    // The running Kelp answers once it has taken the request.
    return socket.waitForReadyRead(timeoutMs) && socket.readLine().trimmed() == "ok";
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
