#pragma once
// RunningApplications: the regular applications running now, and the events that change them.
//
// "Regular" means programs with a normal window that shows in the taskbar; tool windows, docks,
// desktop windows and skip-taskbar helpers do not make a program count. Windows are grouped into
// applications by the catalogue entry they belong to (see desktop/WindowMatching.h); a program no
// entry claims still appears, under its executable's path and with its window's own icon.
//
// Lives on the GUI thread. Implementations are event-driven: idle, they wake for nothing.
#include <QImage>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

namespace kelp {

struct RunningApp
{
    // The catalogue entry's path (a desktop entry) or, for a program no entry claims, the
    // executable's path (on Wayland, which names no processes, a stand-in made of its app id).
    QString path;
    qint64 pid = 0; // the first process seen for the application; 0 when unknown
    QList<quint32> windows;
    // The window's own icon, for applications no entry claims; null otherwise.
    QImage icon;
    // The name to show for an application no entry claims and whose path says nothing (a Wayland
    // toplevel's app id or title); empty otherwise.
    QString name;
    bool matched = false;
};

class RunningApplications : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // In launch order (the order in which each application's first window appeared).
    virtual QList<RunningApp> runningApplications() const = 0;
    // The path of the application owning the active window, or an empty string.
    virtual QString activeApplicationPath() const = 0;
    // The path the application running as process pid goes by (the same rules as for windows),
    // or an empty string when nothing is known of the process.
    virtual QString pathForPid(qint64 pid) const = 0;
    // The catalogue's entries that windows may be matched to (desktop entry paths), in scan
    // order. Implementations may read them in the background and announce matchingChanged().
    virtual void setKnownApplications(const QStringList &paths) = 0;
    // Whether facts about the known applications are still being read (matchingChanged follows).
    virtual bool isMatchingPending() const { return false; }
    // False where the desktop keeps its windows to itself (GNOME's Wayland session): nothing
    // will ever be listed, and the running group says so instead of looking merely empty.
    virtual bool isShared() const { return true; }

Q_SIGNALS:
    void launched();
    void terminated();
    void frontSwitched();
    // The same windows now group or match differently (new facts about the entries arrived).
    void matchingChanged();
};

} // namespace kelp
