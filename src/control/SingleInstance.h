#pragma once
// SingleInstance: one Kelp per user session.
//
// The first `kelp` listens on a local socket in $XDG_RUNTIME_DIR that only its user may open. A
// later `kelp` hands its request to that one and exits: plain `kelp` asks the running Kelp to
// reopen (show its panel), `kelp --toggle/--show/--hide/--rescan/--quit` control it, `kelp FILE...`
// hands it files. A socket left behind by a Kelp that crashed is replaced.
#include <QMetaType>
#include <QObject>
#include <QStringList>

class QLocalServer;

namespace kelp {

struct InstanceRequest
{
    // "reopen", "toggle", "show", "hide", "hidden" (a start at login), "rescan", "quit",
    // "feedback", "about", "preferences" or "open" (with files).
    QString command;
    QStringList files;

    QByteArray encode() const;
    static InstanceRequest decode(const QByteArray &line, bool *ok = nullptr);
};

class SingleInstance : public QObject
{
    Q_OBJECT
public:
    explicit SingleInstance(QObject *parent = nullptr);
    ~SingleInstance() override;

    // The socket's path for this user.
    static QString socketPath();
    // Hands a request to the running Kelp; false when none answered in time.
    static bool sendToRunning(const InstanceRequest &request, int timeoutMs = 3000);

    // Becomes the running Kelp. False when another Kelp answers on the socket, or when the
    // socket cannot be made (with a log line).
    bool listen();

Q_SIGNALS:
    void requestReceived(const kelp::InstanceRequest &request);

private:
    QLocalServer *_server = nullptr;
};

} // namespace kelp

Q_DECLARE_METATYPE(kelp::InstanceRequest)
