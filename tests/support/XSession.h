#pragma once
// One X server (Xvfb) and window manager (openbox) for a whole test program; each test cleans up
// its own windows. Tests that need a display call XSession::instance().start(&why) and skip with
// `why` when it fails (Xvfb not installed).
#include "support/TestSupport.h"

#include <QProcess>
#include <QStandardPaths>

#include <xcb/xcb.h>

#include <cstdlib>

namespace kelp::test {

class XSession
{
public:
    static XSession &instance()
    {
        static XSession session;
        return session;
    }
    bool start(QString *why, const QString &screen = QStringLiteral("800x600x24"))
    {
        if (!display.isEmpty()) return true;
        if (QStandardPaths::findExecutable(QStringLiteral("Xvfb")).isEmpty()) {
            *why = QStringLiteral("Xvfb is not installed");
            return false;
        }
        // Xvfb picks a free display and writes its number to the descriptor given.
        xvfb.start(QStringLiteral("Xvfb"), {QStringLiteral("-displayfd"), QStringLiteral("1"),
                                            QStringLiteral("-screen"), QStringLiteral("0"), screen,
                                            QStringLiteral("-nolisten"), QStringLiteral("tcp")});
        if (!waitUntil([this]() { return xvfb.canReadLine(); }, 10000)) {
            *why = QStringLiteral("Xvfb did not start");
            return false;
        }
        display = QStringLiteral(":") + QString::fromLatin1(xvfb.readLine().trimmed());
        qputenv("DISPLAY", display.toLatin1());
        openbox.start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
        if (!waitUntil([this]() { return windowManagerReady(); }, 10000)) {
            *why = QStringLiteral("openbox did not take the display");
            return false;
        }
        return true;
    }
    ~XSession()
    {
        // The X clients still around end with their server.
        openbox.kill();
        openbox.waitForFinished(3000);
        xvfb.terminate();
        if (!xvfb.waitForFinished(3000)) xvfb.kill();
    }

    bool windowManagerReady() const
    {
        xcb_connection_t *c = xcb_connect(display.toLatin1().constData(), nullptr);
        bool ready = false;
        if (!xcb_connection_has_error(c)) {
            const char name[] = "_NET_SUPPORTING_WM_CHECK";
            auto *atom =
                xcb_intern_atom_reply(c, xcb_intern_atom(c, 1, sizeof(name) - 1, name), nullptr);
            const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
            if (atom && atom->atom != XCB_NONE) {
                auto *reply = xcb_get_property_reply(
                    c, xcb_get_property(c, 0, root, atom->atom, XCB_ATOM_WINDOW, 0, 1), nullptr);
                ready = reply && xcb_get_property_value_length(reply) == 4;
                std::free(reply);
            }
            std::free(atom);
        }
        xcb_disconnect(c);
        return ready;
    }

    QString display;
    QProcess xvfb;
    QProcess openbox;
};

} // namespace kelp::test
