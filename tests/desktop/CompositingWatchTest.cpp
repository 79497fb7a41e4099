// The compositor watch on a real X server: a client that takes the compositing manager's selection
// the way picom or xcompmgr do is seen arriving, and seen leaving whether it gives the selection up
// or its connection simply closes (a compositor that crashes).
#include "support/XSession.h"

#include "platform/x11/X11Compositing.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <xcb/xcb.h>

#include <cstdlib>

namespace kelp::test {
namespace {

// Stands in for a compositor: a connection of its own owning _NET_WM_CM_S0 through a window.
class SelectionOwner
{
public:
    explicit SelectionOwner(const QString &display)
        : _c(xcb_connect(display.toLatin1().constData(), nullptr))
    {
        if (xcb_connection_has_error(_c)) return;
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(_c)).data;
        _window = xcb_generate_id(_c);
        xcb_create_window(_c, XCB_COPY_FROM_PARENT, _window, screen->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        const char name[] = "_NET_WM_CM_S0";
        xcb_intern_atom_reply_t *atom =
            xcb_intern_atom_reply(_c, xcb_intern_atom(_c, 0, sizeof(name) - 1, name), nullptr);
        _atom = atom ? atom->atom : XCB_NONE;
        std::free(atom);
    }
    ~SelectionOwner() { close(); }
    void take() { setOwner(_window); }
    void giveUp() { setOwner(XCB_NONE); }
    void close()
    {
        if (_c) xcb_disconnect(_c);
        _c = nullptr;
    }

private:
    void setOwner(xcb_window_t owner)
    {
        xcb_set_selection_owner(_c, owner, _atom, XCB_CURRENT_TIME);
        xcb_flush(_c);
    }
    xcb_connection_t *_c = nullptr;
    xcb_window_t _window = XCB_NONE;
    xcb_atom_t _atom = XCB_NONE;
};

TEST(CompositingWatch, FollowsTheCompositorSelectionOwner)
{
    QString why;
    if (!XSession::instance().start(&why)) GTEST_SKIP() << why.toStdString();
    const QString display = XSession::instance().display;

    X11Compositing watch(display.toLatin1());
    ASSERT_TRUE(watch.isWatching());
    EXPECT_FALSE(watch.isActive()) << "no compositor runs in the test session";
    QSignalSpy changes(&watch, &Compositing::activeChanged);

    SelectionOwner first(display);
    first.take();
    ASSERT_TRUE(waitUntil([&] { return watch.isActive(); }));
    first.giveUp();
    ASSERT_TRUE(waitUntil([&] { return !watch.isActive(); }));

    // One that dies: its connection closes without a word.
    SelectionOwner second(display);
    second.take();
    ASSERT_TRUE(waitUntil([&] { return watch.isActive(); }));
    second.close();
    ASSERT_TRUE(waitUntil([&] { return !watch.isActive(); }));

    ASSERT_EQ(changes.count(), 4);
    EXPECT_TRUE(changes.at(0).at(0).toBool());
    EXPECT_FALSE(changes.at(1).at(0).toBool());
    EXPECT_TRUE(changes.at(2).at(0).toBool());
    EXPECT_FALSE(changes.at(3).at(0).toBool());

    // A second watch made while a compositor runs starts out knowing it.
    SelectionOwner third(display);
    third.take();
    ASSERT_TRUE(waitUntil([&] { return watch.isActive(); }));
    EXPECT_TRUE(X11Compositing(display.toLatin1()).isActive());
}

} // namespace
} // namespace kelp::test
