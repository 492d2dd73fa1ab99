// What panels and window managers leave of an X11 desktop's monitors, and the news of it.

#include <QScreen>
#include <algorithm>

#include "platform/qt/desktop/display.h"
#include "platform/qt/desktop/x11_desktop.h"
#include "platform/qt/desktop/x11_properties.h"
#include "tests/qt/x11/x11_test.h"

namespace velunor {
namespace {

using testing::Edge;
using ::testing::ElementsAre;

using Numbers = std::vector<std::uint32_t>;

class X11UsableAreaTest : public X11MonitorsTest {
  protected:
    /// Usable areas of both monitors.
    static std::vector<QRect> areas() {
        return {usableArea(screenAt(left.x)), usableArea(screenAt(right.x))};
    }

    static constexpr QRect wholeLeft{0, 0, 640, testing::usualHeight};
    static constexpr QRect wholeRight{640, 0, 640, testing::usualHeight};
};

TEST_F(X11UsableAreaTest, UsableAreaOfOneMonitorIsTheToolkits) {
    const QScreen& only = *QGuiApplication::primaryScreen();
    EXPECT_EQ(x11UsableArea(only), std::nullopt);
    EXPECT_EQ(usableArea(&only), only.availableGeometry());
    EXPECT_EQ(usableArea(nullptr), QRect());
    add(screen().addPanel(Edge::top, 30));
    EXPECT_TRUE(becomes([&] { return usableArea(&only).y() == 30; }));
}

TEST_F(X11UsableAreaTest, EachMonitorIsLessItsOwnPanels) {
    ASSERT_TRUE(makeTwoMonitors());
    EXPECT_THAT(areas(), ElementsAre(wholeLeft, wholeRight));
    add(screen().addPanel(Edge::bottom, 40, right));
    EXPECT_TRUE(becomes([] { return areas()[1] == QRect(640, 0, 640, 860); }));
    EXPECT_EQ(areas()[0], wholeLeft);
    add(screen().addPanel(Edge::left, 25, left));
    EXPECT_TRUE(becomes([] { return areas()[0] == QRect(25, 0, 615, testing::usualHeight); }));
    EXPECT_EQ(areas()[1], QRect(640, 0, 640, 860));
}

TEST_F(X11UsableAreaTest, PanelsWithTheOlderPropertySpanTheWholeEdge) {
    ASSERT_TRUE(makeTwoMonitors());
    const auto panel = static_cast<xcb_window_t>(add(screen().addWindow({0, 850, 1280, 50})));
    put(panel, "_NET_WM_STRUT", {0, 0, 20, 50});
    EXPECT_TRUE(becomes([] { return areas()[0] == QRect(0, 20, 640, 830); }));
    EXPECT_EQ(areas()[1], QRect(640, 20, 640, 830));
    put(panel, "_NET_WM_STRUT", {30, 60, 0, 0});
    EXPECT_TRUE(becomes([] { return areas()[0] == QRect(30, 0, 610, testing::usualHeight); }));
    EXPECT_EQ(areas()[1], QRect(640, 0, 580, testing::usualHeight));
    // Three numbers say nothing.
    put(panel, "_NET_WM_STRUT", {30, 60, 90});
    EXPECT_TRUE(becomes([] { return areas()[0] == wholeLeft; }));
    EXPECT_EQ(areas()[1], wholeRight);
    // Neither do eleven of the newer one.
    put(panel, "_NET_WM_STRUT_PARTIAL", {0, 0, 70, 0, 0, 0, 0, 0, 0, 1279, 0});
    put(panel, "_NET_WM_STRUT", {0, 0, 5, 0});
    EXPECT_TRUE(becomes([] { return areas()[0].y() == 5; }));
    // Nor does what stands behind the four.
    put(panel, "_NET_WM_STRUT", {0, 0, 6, 0, 77});
    EXPECT_TRUE(becomes([] { return areas()[0].y() == 6; }));
}

TEST_F(X11UsableAreaTest, WindowManagersOwnWorkAreasWin) {
    ASSERT_TRUE(makeTwoMonitors());
    add(screen().addPanel(Edge::bottom, 40, right));
    // The first workspace's, where no window manager says which it is.
    takeAway(root(), "_NET_CURRENT_DESKTOP");
    put(root(), "_GTK_WORKAREAS_D0", {0, 10, 640, 800, 640, 20, 600, 700});
    EXPECT_TRUE(becomes([] { return areas()[0] == QRect(0, 10, 640, 800); }));
    EXPECT_EQ(areas()[1], QRect(640, 20, 600, 700));
    setX11Values(x(), root(), "_NET_CURRENT_DESKTOP", "CARDINAL", {0});
    // Each workspace has its own.
    screen().makeTwoWorkspaces();
    put(root(), "_GTK_WORKAREAS_D1", {0, 30, 640, 500});
    ASSERT_TRUE(screen().goToWorkspace(1));
    EXPECT_TRUE(becomes([] { return areas()[0] == QRect(0, 30, 640, 500); }));
    ASSERT_TRUE(screen().goToWorkspace(0));
}

TEST_F(X11UsableAreaTest, PanelsAreFoundWhereTheWorkAreaIsHidden) {
    int changes = 0;
    const X11DesktopChanges watching([&] { ++changes; });
    const QScreen& only = *QGuiApplication::primaryScreen();
    const Numbers before = x11Values(x(), root(), "_NET_WORKAREA");
    ASSERT_TRUE(becomes([&] {
        // The window manager may still be about to write it.
        if (!x11Values(x(), root(), "_NET_WORKAREA").empty()) {
            takeAway(root(), "_NET_WORKAREA");
        }
        return changes > 0 && x11UsableArea(only).has_value();
    }));
    EXPECT_EQ(usableArea(&only), only.geometry());
    changes = 0;
    int changesLater = 0;
    const X11DesktopChanges watchingLater([&] { ++changesLater; });
    const auto panel = add(screen().addCover({0, 0, 1280, 35}));
    EXPECT_TRUE(becomes([&] { return changes > 0 && changesLater > 0; })) << "a window has come";
    put(static_cast<xcb_window_t>(panel), "_NET_WM_STRUT", {0, 0, 35, 0});
    EXPECT_TRUE(becomes([&] { return usableArea(&only).y() == 35; }));
    QCoreApplication::processEvents();
    changes = 0;
    xcb_unmap_window(x(), static_cast<xcb_window_t>(panel));
    xcb_flush(x());
    EXPECT_TRUE(becomes([&] { return changes > 0; })) << "a window has gone";
    setX11Values(x(), root(), "_NET_WORKAREA", "CARDINAL", before);
    xcb_flush(x());
    EXPECT_TRUE(becomes([&] { return !x11UsableArea(only).has_value(); }));
}

TEST_F(X11UsableAreaTest, ChangesOfPanelsAndFramesAreTold) {
    int changes = 0;
    const X11DesktopChanges watching([&] { ++changes; });
    add(screen().addPanel(Edge::top, 30));
    EXPECT_TRUE(becomes([&] { return changes > 0; }));
    QWidget window;
    ASSERT_TRUE(isShown(window));
    // Another property of the same windows is nothing to tell of. Where news of the window manager
    // come in between, it is tried once more.
    const Requests requests;
    std::uint32_t extent = 9;
    EXPECT_TRUE(becomes([&] {
        ++extent;
        changes = 0;
        put(idOf(window), "_VELUNOR_TEST", {1});
        put(root(), "_VELUNOR_TEST", {1});
        put(idOf(window), "_NET_FRAME_EXTENTS", Numbers(4, extent));
        // Comes behind the news of all three.
        requestOfX11(x(), idOf(window), "_VELUNOR_TEST", {extent});
        return becomes([&] {
                   const auto seen = requests.about(idOf(window), "_VELUNOR_TEST", 1);
                   return !seen.empty() && seen.back() == Numbers{extent};
               }) &&
               changes == 1 && x11FrameMargins(window)->top() == static_cast<int>(extent);
    }));
}

TEST_F(X11UsableAreaTest, AnotherWindowManagerIsTold) {
    int changes = 0;
    const X11DesktopChanges watching([&] { ++changes; });
    setX11Values(x(), root(), "_NET_SUPPORTING_WM_CHECK", "WINDOW",
                 x11Values(x(), root(), "_NET_SUPPORTING_WM_CHECK"));
    EXPECT_TRUE(becomes([&] { return changes > 0; }));
}

TEST_F(X11UsableAreaTest, WindowsThatComeAreNoNewsWhereTheWorkAreaIsKnown) {
    EXPECT_EQ(x11UsableArea(*QGuiApplication::primaryScreen()), std::nullopt);
    int changes = 0;
    const X11DesktopChanges watching([&] { ++changes; });
    // The events come all the same, because others ask for them.
    const Requests requests;
    // Where news of the window manager come in between, it is tried once more.
    EXPECT_TRUE(becomes([&] {
        changes = 0;
        const testing::WindowId cover = screen().addCover({0, 0, 9, 9});
        const bool hasCome = becomes([&] {
            const auto all = x11Descendants(x(), root(), 1);
            return std::ranges::find(all, cover) != all.end();
        });
        handleNews();
        screen().removeWindow(cover);
        return hasCome && changes == 0;
    }));
}

}  // namespace
}  // namespace velunor
