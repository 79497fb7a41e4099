#pragma once
// A web form for the feedback tests: a real HTTP/1.1 server on a local port that keeps every
// request it receives and answers with the status it is told.
#include <QHostAddress>
#include <QList>
#include <QMap>
#include <QTcpServer>
#include <QTcpSocket>

namespace kelp::test {

struct FormRequest
{
    QByteArray method;
    QByteArray path;
    QMap<QByteArray, QByteArray> headers; // names in lower case
    QByteArray body;
};

class FormServer : public QObject
{
public:
    int status = 200;
    QList<FormRequest> requests;

    bool listen(quint16 port = 0) { return _server.listen(QHostAddress::LocalHost, port); }
    void close() { _server.close(); }
    quint16 port() const { return _server.serverPort(); }
    QString url() const
    {
        return QStringLiteral("http://127.0.0.1:%1/feedback").arg(_server.serverPort());
    }

    FormServer()
    {
        connect(&_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = _server.nextPendingConnection()) {
                socket->setParent(this);
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
            }
        });
    }

private:
    void read(QTcpSocket *socket)
    {
        QByteArray &data = _pending[socket];
        data += socket->readAll();
        const qsizetype end = data.indexOf("\r\n\r\n");
        if (end < 0) return;
        FormRequest request;
        const QList<QByteArray> lines = data.left(end).split('\n');
        const QList<QByteArray> first = lines.value(0).trimmed().split(' ');
        request.method = first.value(0);
        request.path = first.value(1);
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const qsizetype colon = lines[i].indexOf(':');
            if (colon > 0)
                request.headers.insert(lines[i].left(colon).trimmed().toLower(),
                                       lines[i].mid(colon + 1).trimmed());
        }
        const qsizetype length = request.headers.value("content-length").toLongLong();
        if (data.size() < end + 4 + length) return;
        request.body = data.mid(end + 4, length);
        _pending.remove(socket);
        requests.append(request);
        socket->write("HTTP/1.1 " + QByteArray::number(status) +
                      " Answer\r\nContent-Length: 2\r\nConnection: close\r\n\r\nok");
        socket->disconnectFromHost();
    }

    QTcpServer _server;
    QMap<QTcpSocket *, QByteArray> _pending;
};

} // namespace kelp::test
