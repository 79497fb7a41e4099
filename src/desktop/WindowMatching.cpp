#include "desktop/WindowMatching.h"

#include <QFileInfo>
#include <QHash>

namespace kelp {
namespace {

QString idWithoutSuffix(const QString &desktopId)
{
    return desktopId.endsWith(QLatin1String(".desktop")) ? desktopId.chopped(8) : desktopId;
}

bool sameIgnoringCase(const QString &a, const QString &b)
{
    return !a.isEmpty() && a.compare(b, Qt::CaseInsensitive) == 0;
}

// The entry whose Exec program's file name is the app id (ignoring case), launchers aside.
QString matchAppIdToProgram(const QString &appId, const QList<EntryFacts> &entries)
{
    if (appId.isEmpty()) return {};
    for (const EntryFacts &e : entries) {
        if (e.program.isEmpty() || isLauncherProgram(e.program)) continue;
        if (sameIgnoringCase(QFileInfo(e.program).fileName(), appId)) return e.path;
    }
    return {};
}

} // namespace

bool isLauncherProgram(const QString &program)
{
    static const QStringList launchers = {
        QStringLiteral("sh"),       QStringLiteral("bash"),    QStringLiteral("dash"),
        QStringLiteral("zsh"),      QStringLiteral("fish"),    QStringLiteral("env"),
        QStringLiteral("python3"),  QStringLiteral("python"),  QStringLiteral("perl"),
        QStringLiteral("ruby"),     QStringLiteral("java"),    QStringLiteral("flatpak"),
        QStringLiteral("snap"),     QStringLiteral("gjs"),     QStringLiteral("node"),
        QStringLiteral("xdg-open"), QStringLiteral("busybox"),
    };
    QString name = QFileInfo(program).fileName();
    // Versioned interpreters ("python3.11", "perl5.36") are launchers too.
    while (!name.isEmpty() && (name.back().isDigit() || name.back() == QLatin1Char('.')))
        name.chop(1);
    return launchers.contains(name) || launchers.contains(QFileInfo(program).fileName());
}

QString matchWindow(const WindowFacts &window, const QList<EntryFacts> &entries)
{
    if (!window.launchedDesktopFile.isEmpty() && window.pid > 0 &&
        (window.launchedDesktopFilePid == 0 || window.launchedDesktopFilePid == window.pid))
        return window.launchedDesktopFile;

    for (const EntryFacts &e : entries) {
        if (!e.startupWmClass.isEmpty() &&
            (e.startupWmClass == window.wmClass || e.startupWmClass == window.wmInstance ||
             e.startupWmClass == window.appId))
            return e.path;
    }
    for (const EntryFacts &e : entries) {
        const QString id = idWithoutSuffix(e.desktopId);
        if (sameIgnoringCase(id, window.wmClass) || sameIgnoringCase(id, window.wmInstance) ||
            sameIgnoringCase(id, window.appId))
            return e.path;
    }
    if (!window.appId.isEmpty()) {
        for (const EntryFacts &e : entries) {
            if (sameIgnoringCase(e.startupWmClass, window.appId)) return e.path;
        }
    }

    if (window.executable.isEmpty()) return matchAppIdToProgram(window.appId, entries);
    if (isLauncherProgram(window.executable)) return {};
    // Several entries may run one program ("xterm" and "xterm -e top"): prefer the one named
    // after the program, else the first in scan order.
    const QString programName = QFileInfo(window.executable).fileName();
    QString first;
    for (const EntryFacts &e : entries) {
        if (e.program != window.executable) continue;
        if (sameIgnoringCase(idWithoutSuffix(e.desktopId), programName)) return e.path;
        if (first.isEmpty()) first = e.path;
    }
    return first;
}

QList<RunningApp> groupWindows(const QList<WindowFacts> &windows, const QList<EntryFacts> &entries)
{
    QList<RunningApp> apps;
    QHash<QString, qsizetype> indexByPath;
    for (const WindowFacts &w : windows) {
        if (!w.regular) continue;
        QString path = matchWindow(w, entries);
        const bool matched = !path.isEmpty();
        if (!matched) path = w.executable.isEmpty() ? w.unclaimedPath : w.executable;
        if (path.isEmpty()) continue;

        const auto found = indexByPath.constFind(path);
        if (found != indexByPath.cend()) {
            RunningApp &app = apps[*found];
            app.windows.append(w.window);
            if (app.pid == 0) app.pid = w.pid;
            continue;
        }
        RunningApp app;
        app.path = path;
        app.pid = w.pid;
        app.windows = {w.window};
        app.matched = matched;
        indexByPath.insert(path, apps.size());
        apps.append(app);
    }
    return apps;
}

QList<RunningApp> keepLaunchOrder(const QList<RunningApp> &apps, QStringList &order)
{
    QHash<QString, qsizetype> indexByPath;
    for (qsizetype i = 0; i < apps.size(); ++i)
        indexByPath.insert(apps.at(i).path, i);

    QList<RunningApp> out;
    QStringList newOrder;
    QSet<QString> placed;
    for (const QString &path : std::as_const(order)) {
        const auto found = indexByPath.constFind(path);
        if (found == indexByPath.cend()) continue;
        out.append(apps.at(*found));
        newOrder.append(path);
        placed.insert(path);
    }
    for (const RunningApp &app : apps) {
        if (placed.contains(app.path)) continue;
        out.append(app);
        newOrder.append(app.path);
    }
    order = newOrder;
    return out;
}

} // namespace kelp
