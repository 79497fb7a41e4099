#pragma once
// The process-wide hub for announcements that have no natural owner: an entry's icon changed, a
// launched application turned out to be missing. Objects that own their news (the catalogue, the
// settings store) announce it with their own signals instead.
//
// Signals are emitted on the thread that calls the emitter; receivers that are QObjects living on
// the GUI thread get queued delivery from other threads as usual.
#include <QObject>

#include <memory>

namespace kelp {

class TQApp;

class Notifications : public QObject
{
    Q_OBJECT
public:
    static Notifications &instance();

Q_SIGNALS:
    // An entry's icon, and with it its colour key, changed.
    void appIconChanged(std::shared_ptr<kelp::TQApp> app);
    // A launch found the entry's file or program gone; the catalogue answers with a scan.
    void appIsMissing(std::shared_ptr<kelp::TQApp> app);
};

} // namespace kelp
