#include "OpenFeedback/CrashReports.h"

#include "OpenFeedback/FeedbackOutbox.h"
#include "extras/Logging.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QProcess>
#include <QStandardPaths>

#include <algorithm>

namespace kelp {
namespace {

constexpr qint64 kShownBytes = 256 * 1024;

struct Module
{
    quint64 start = 0;
    quint64 end = 0;
    quint64 offset = 0;
    QString path;
};

QList<Module> modulesOf(const QString &report)
{
    QList<Module> modules;
    const qsizetype from = report.indexOf(QLatin1String("\nModules:\n"));
    if (from < 0) return modules;
    const QStringList lines = report.mid(from + 10).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        // start-end perms offset dev inode path
        const QStringList parts = line.simplified().split(QLatin1Char(' '));
        if (parts.size() < 6 || !parts[5].startsWith(QLatin1Char('/'))) continue;
        const QStringList range = parts[0].split(QLatin1Char('-'));
        if (range.size() != 2) continue;
        Module m;
        bool ok1 = false, ok2 = false, ok3 = false;
        m.start = range[0].toULongLong(&ok1, 16);
        m.end = range[1].toULongLong(&ok2, 16);
        m.offset = parts[2].toULongLong(&ok3, 16);
        m.path = parts.mid(5).join(QLatin1Char(' '));
        if (ok1 && ok2 && ok3 && m.start < m.end) modules.append(m);
    }
    return modules;
}

QList<quint64> stackOf(const QString &report)
{
    QList<quint64> addresses;
    const qsizetype from = report.indexOf(QLatin1String("\nStack:\n"));
    if (from < 0) return addresses;
    const QStringList lines = report.mid(from + 8).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        if (!line.startsWith(QLatin1String("0x"))) break;
        bool ok = false;
        const quint64 address = line.mid(2).toULongLong(&ok, 16);
        if (ok) addresses.append(address);
    }
    return addresses;
}

} // namespace

QString hangReportFolder()
{
    return kelpStateDirectory() + QStringLiteral("/hangs");
}

QStringList newReports(const QStringList &crashFolders, const QStringList &hangFolders,
                       const QDateTime &since)
{
    QList<QFileInfo> found;
    auto consider = [&](const QFileInfo &file) {
        if (file.size() == 0) return;
        const QDateTime modified = file.lastModified();
        // A report whose time cannot be read counts.
        if (since.isValid() && modified.isValid() && modified < since) return;
        found.append(file);
    };
    for (const QString &folder : crashFolders) {
        QDirIterator it(folder, {QStringLiteral("Kelp_*.crash")}, QDir::Files,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            it.next();
            consider(it.fileInfo());
        }
    }
    for (const QString &folder : hangFolders) {
        QDirIterator it(folder, {QStringLiteral("*.hang")}, QDir::Files);
        while (it.hasNext()) {
            it.next();
            consider(it.fileInfo());
        }
    }
    std::stable_sort(found.begin(), found.end(), [](const QFileInfo &a, const QFileInfo &b) {
        return a.lastModified() > b.lastModified();
    });
    QStringList paths;
    for (const QFileInfo &file : found)
        paths.append(file.filePath());
    return paths;
}

QString newestReport(const QStringList &crashFolders, const QStringList &hangFolders,
                     const QDateTime &since)
{
    return newReports(crashFolders, hangFolders, since).value(0);
}

QString readReport(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcFeedback) << "A report cannot be read:" << path << file.errorString();
        return QString();
    }
    QString prefix;
    const qint64 size = file.size();
    if (size > kShownBytes) {
        file.seek(size - kShownBytes);
        prefix = QStringLiteral("[The report is %1 bytes long; its last %2 are shown.]\n")
                     .arg(size)
                     .arg(kShownBytes);
    }
    QString text = QString::fromUtf8(file.read(kShownBytes));
    // Only text reaches the form: control characters (a binary file) become replacement marks.
    for (QChar &c : text)
        if (c.unicode() < 0x20 && c != QLatin1Char('\n') && c != QLatin1Char('\t'))
            c = QChar::ReplacementCharacter;
    if (path.endsWith(QLatin1String(".crash"))) {
        const QString symbols = symbolise(text);
        if (!symbols.isEmpty()) text += QLatin1Char('\n') + symbols;
    }
    return prefix + text;
}

QString symbolise(const QString &report)
{
    const QString addr2line = QStandardPaths::findExecutable(QStringLiteral("addr2line"));
    if (addr2line.isEmpty()) return QString();
    const QList<Module> modules = modulesOf(report);
    const QList<quint64> stack = stackOf(report);
    // Per module, the offsets to look up, in stack order.
    QHash<QString, QList<QPair<quint64, quint64>>> lookups;
    QStringList moduleOrder;
    for (const quint64 address : stack) {
        for (const Module &m : modules) {
            if (address < m.start || address >= m.end) continue;
            if (!lookups.contains(m.path)) moduleOrder.append(m.path);
            lookups[m.path].append({address, address - m.start + m.offset});
            break;
        }
    }
    QHash<quint64, QString> names;
    for (const QString &module : moduleOrder) {
        if (!QFileInfo(module).isFile()) continue;
        QStringList arguments{QStringLiteral("-f"), QStringLiteral("-C"), QStringLiteral("-e"),
                              module};
        for (const auto &lookup : lookups[module])
            arguments.append(QStringLiteral("0x") + QString::number(lookup.second, 16));
        QProcess tool;
        tool.start(addr2line, arguments);
        if (!tool.waitForFinished(10000)) {
            tool.kill();
            tool.waitForFinished();
            continue;
        }
        const QStringList lines =
            QString::fromUtf8(tool.readAllStandardOutput()).split(QLatin1Char('\n'));
        const auto &list = lookups[module];
        for (qsizetype i = 0; i < list.size() && 2 * i + 1 < lines.size(); ++i) {
            const QString function = lines[2 * i];
            const QString place = lines[2 * i + 1];
            if (function == QLatin1String("??") && place.startsWith(QLatin1String("??"))) continue;
            names.insert(
                list[i].first,
                QStringLiteral("%1 (%2) in %3").arg(function, place, QFileInfo(module).fileName()));
        }
    }
    if (names.isEmpty()) return QString();
    QString section = QStringLiteral("Symbols:\n");
    for (const quint64 address : stack)
        section +=
            QStringLiteral("0x%1 %2\n")
                .arg(QString::number(address, 16), names.value(address, QStringLiteral("?")));
    return section;
}

} // namespace kelp
