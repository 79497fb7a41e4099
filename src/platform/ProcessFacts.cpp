#include "platform/ProcessFacts.h"

#include <QFile>
#include <QFileInfo>

namespace kelp {

void readProcessFacts(qint64 pid, WindowFacts &facts)
{
    if (pid <= 0) return;
    const QString proc = QStringLiteral("/proc/%1/").arg(pid);
    QFile environ(proc + QStringLiteral("environ"));
    if (environ.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> vars = environ.readAll().split('\0');
        for (const QByteArray &var : vars) {
            if (var.startsWith("GIO_LAUNCHED_DESKTOP_FILE="))
                facts.launchedDesktopFile = QFile::decodeName(var.mid(26));
            else if (var.startsWith("GIO_LAUNCHED_DESKTOP_FILE_PID="))
                facts.launchedDesktopFilePid = var.mid(30).toLongLong();
        }
    }
    QString exe = QFileInfo(proc + QStringLiteral("exe")).symLinkTarget();
    if (exe.endsWith(QLatin1String(" (deleted)"))) exe.chop(10);
    facts.executable = exe;
}

} // namespace kelp
