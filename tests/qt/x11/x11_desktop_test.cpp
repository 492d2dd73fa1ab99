// What is found out about an X11 desktop, and what is asked of it.

#include "platform/qt/desktop/x11_desktop.h"

#include <QApplication>
#include <QDBusConnection>
#include <QScreen>
#include <algorithm>

#include "platform/qt/desktop/desktop_settings.h"
#include "platform/qt/desktop/display.h"
#include "platform/qt/desktop/x11_properties.h"
#include "tests/qt/x11/x11_test.h"
#include "tests/support/desktop/fake_portal.h"
#include "tests/support/temporary_directory.h"

namespace velunor {
namespace {

using testing::Edge;
using ::testing::ElementsAre;
using testing::PixelRect;

using Numbers = std::vector<std::uint32_t>;

class X11DesktopTest : public X11Test {
  protected:
    void TearDown() override {
        for (const char* name : {"left", "right"}) {
            if (hasMonitors_) {
                display().removeMonitor(name);
            }
        }
        EXPECT_TRUE(becomes([] { return QGuiApplication::screens().size() == 1; }));
        X11Test::TearDown();
    }
    /// Makes the screen two monitors, of which the first is the main one.
    [[nodiscard]] bool makeTwoMonitors(const PixelRect& main = left,
                                       const PixelRect& other = right) {
        display().addMonitor({"left", main, true});
        display().addMonitor({"right", other});
        hasMonitors_ = true;
        return becomes([&] {
            return QGuiApplication::screens().size() == 2 && screenAt(other.x) != nullptr &&
                   QGuiApplication::primaryScreen() == screenAt(main.x);
        });
    }
    /// Whether a window is put where it is told, and tells so, with what the window manager puts
    /// around it; `corner` is the main screen's lower left one.
    static void expectPlacesAreCountedFrom(const QPoint& corner) {
        QWidget widget;
        widget.resize(300, 200);
        QtWindow window(widget);
        ASSERT_TRUE(isShown(widget));
        const auto decoration = *screen().decorationOf(idOf(widget));
        window.setFrameOrigin({70, 50});
        const int height = 200 + decoration.top + decoration.bottom;
        const PixelRect wanted{corner.x() + 70, corner.y() - 50 - height,
                               300 + decoration.left + decoration.right, height};
        EXPECT_TRUE(becomes([&] { return screen().frameOf(idOf(widget)) == wanted; }));
        EXPECT_TRUE(becomes([&] {
            return window.frame() == Rect{{70, 50}, {double(wanted.width), double(wanted.height)}};
        }));
    }
    static const QScreen* screenAt(int place) {
        for (const QScreen* screen : QGuiApplication::screens()) {
            if (screen->geometry().x() == place) {
                return screen;
            }
        }
        return nullptr;
    }
    /// Usable areas of both monitors.
    static std::vector<QRect> areas() {
        return {usableArea(screenAt(left.x)), usableArea(screenAt(right.x))};
    }

    static constexpr PixelRect left{0, 0, 640, testing::usualHeight};
    static constexpr PixelRect right{640, 0, 640, testing::usualHeight};
    static constexpr QRect wholeLeft{0, 0, 640, testing::usualHeight};
    static constexpr QRect wholeRight{640, 0, 640, testing::usualHeight};

  private:
    bool hasMonitors_ = false;
};

TEST_F(X11DesktopTest, UsableAreaOfOneMonitorIsTheToolkits) {
    const QScreen& only = *QGuiApplication::primaryScreen();
    EXPECT_EQ(x11UsableArea(only), std::nullopt);
    EXPECT_EQ(usableArea(&only), only.availableGeometry());
    EXPECT_EQ(usableArea(nullptr), QRect());
    add(screen().addPanel(Edge::top, 30));
    EXPECT_TRUE(becomes([&] { return usableArea(&only).y() == 30; }));
}

TEST_F(X11DesktopTest, EachMonitorIsLessItsOwnPanels) {
    ASSERT_TRUE(makeTwoMonitors());
    EXPECT_THAT(areas(), ElementsAre(wholeLeft, wholeRight));
    add(screen().addPanel(Edge::bottom, 40, right));
    EXPECT_TRUE(becomes([] { return areas()[1] == QRect(640, 0, 640, 860); }));
    EXPECT_EQ(areas()[0], wholeLeft);
    add(screen().addPanel(Edge::left, 25, left));
    EXPECT_TRUE(becomes([] { return areas()[0] == QRect(25, 0, 615, testing::usualHeight); }));
    EXPECT_EQ(areas()[1], QRect(640, 0, 640, 860));
}

TEST_F(X11DesktopTest, PanelsWithTheOlderPropertySpanTheWholeEdge) {
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

TEST_F(X11DesktopTest, WindowManagersOwnWorkAreasWin) {
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

TEST_F(X11DesktopTest, PanelsAreFoundWhereTheWorkAreaIsHidden) {
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

TEST_F(X11DesktopTest, ChangesOfPanelsAndFramesAreTold) {
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

TEST_F(X11DesktopTest, AnotherWindowManagerIsTold) {
    int changes = 0;
    const X11DesktopChanges watching([&] { ++changes; });
    setX11Values(x(), root(), "_NET_SUPPORTING_WM_CHECK", "WINDOW",
                 x11Values(x(), root(), "_NET_SUPPORTING_WM_CHECK"));
    EXPECT_TRUE(becomes([&] { return changes > 0; }));
}

TEST_F(X11DesktopTest, WindowsThatComeAreNoNewsWhereTheWorkAreaIsKnown) {
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

TEST_F(X11DesktopTest, FrameIsWhatTheWindowManagerPutAroundTheWindow) {
    QWidget window;
    EXPECT_EQ(x11FrameMargins(window), QMargins());
    ASSERT_TRUE(isShown(window));
    const auto decoration = *screen().decorationOf(idOf(window));
    EXPECT_GT(decoration.top, 0);
    EXPECT_EQ(x11FrameMargins(window),
              QMargins(decoration.left, decoration.top, decoration.right, decoration.bottom));
}

TEST_F(X11DesktopTest, WindowIsPlacedWithItsFrame) {
    expectPlacesAreCountedFrom({0, testing::usualHeight});
}

TEST_F(X11DesktopTest, WindowIsPlacedFromTheMainScreensCornerWhereverThatIs) {
    ASSERT_TRUE(makeTwoMonitors({640, 300, 640, 500}, {0, 0, 640, 300}));
    EXPECT_EQ(QtScreens().mainScreenVisibleFrame(), (Rect{{0, 0}, {640, 500}}));
    expectPlacesAreCountedFrom({640, 800});
}

TEST_F(X11DesktopTest, TextsGetTheirSizeFromTheSettingsWhereTheServerHasNoOther) {
    const testing::TemporaryDirectory directory;
    const testing::PrivateBus bus(directory.path());
    const testing::FakePortal portal(bus.address(), {.textScale = 1.5});
    const double usual = QApplication::font().pointSizeF();
    const auto settings = followDesktopSettings(
        QDBusConnection::connectToBus(QString::fromStdString(bus.address()), "settings"));
    EXPECT_TRUE(becomes([&] { return QApplication::font().pointSizeF() == usual * 1.5; }));
    QDBusConnection::disconnectFromBus("settings");
}

TEST_F(X11DesktopTest, WindowFloatsWhileItIsShown) {
    QWidget widget;
    QtWindow window(widget);
    ASSERT_TRUE(isShown(widget));
    window.setLevel(floatingWindowLevel);
    EXPECT_TRUE(becomes([&] { return screen().isAbove(idOf(widget)); }));
    EXPECT_TRUE(widget.isVisible());
    window.setLevel(normalWindowLevel);
    EXPECT_TRUE(becomes([&] { return !screen().isAbove(idOf(widget)); }));
}

TEST_F(X11DesktopTest, AttentionIsDemandedForTheWindow) {
    QWidget widget;
    QtWindow window(widget);
    QtApplication application(widget, window);
    ASSERT_TRUE(isShown(widget));
    ASSERT_TRUE(isActivated(widget));
    add(screen().addTerminal({0, 0, 90, 90}));
    ASSERT_TRUE(becomes([&] { return !widget.isActiveWindow(); }));
    EXPECT_FALSE(screen().demandsAttention(idOf(widget)));
    application.requestCriticalAttention();
    xcb_flush(x());
    EXPECT_TRUE(becomes([&] { return screen().demandsAttention(idOf(widget)); }));
}

TEST_F(X11DesktopTest, WindowIsAskedForOnEveryWorkspaceInBothWays) {
    const Requests requests;
    QWidget window;
    ASSERT_TRUE(isShown(window));
    showOnEveryWorkspace(window);
    EXPECT_TRUE(becomes([&] { return screen().isEverywhere(idOf(window)); }));
    const auto isAsked = [&](const std::string& name, const Numbers& numbers) {
        const auto asked = requests.about(idOf(window), name, numbers.size());
        return std::ranges::find(asked, numbers) != asked.end();
    };
    EXPECT_TRUE(becomes([&] { return isAsked("_NET_WM_DESKTOP", {0xFFFFFFFF, 1}); }));
    EXPECT_TRUE(becomes([&] {
        return isAsked("_NET_WM_STATE", {1, x11Atom(x(), "_NET_WM_STATE_STICKY"), 0, 1});
    }));
}

TEST_F(X11DesktopTest, MinimizedWindowIsShownAgain) {
    const auto isHidden = [&](const QWidget& window) {
        const Numbers states = x11Values(x(), idOf(window), "_NET_WM_STATE");
        return std::ranges::find(states, x11Atom(x(), "_NET_WM_STATE_HIDDEN")) != states.end();
    };
    QWidget window;
    ASSERT_TRUE(isShown(window));
    screen().minimize(idOf(window));
    ASSERT_TRUE(becomes([&] { return isHidden(window); }));
    showMinimizedAgain(window);
    EXPECT_TRUE(becomes([&] { return !isHidden(window) && screen().isViewable(idOf(window)); }));
}

TEST_F(X11DesktopTest, WindowManagerSaysWhetherItMovesWindows) {
    EXPECT_TRUE(movesWindowsOnRequest());
    const Numbers supported = x11Values(x(), root(), "_NET_SUPPORTED");
    Numbers without = supported;
    std::erase(without, x11Atom(x(), "_NET_WM_MOVERESIZE"));
    setX11Values(x(), root(), "_NET_SUPPORTED", "ATOM", without);
    EXPECT_FALSE(movesWindowsOnRequest());
    setX11Values(x(), root(), "_NET_SUPPORTED", "ATOM", supported);
}

TEST_F(X11DesktopTest, CompositorIsWhoeverOwnsItsSelection) {
    EXPECT_EQ(hasCompositor(), screen().hasCompositor());
    QWidget owner;
    const xcb_atom_t selection = x11Atom(x(), "_NET_WM_CM_S0");
    xcb_set_selection_owner(x(), idOf(owner), selection, XCB_CURRENT_TIME);
    EXPECT_TRUE(hasCompositor());
    xcb_set_selection_owner(x(), XCB_WINDOW_NONE, selection, XCB_CURRENT_TIME);
    EXPECT_FALSE(hasCompositor());
}

TEST_F(X11DesktopTest, CapsLockIsSeenWhoeverHasTheKeys) {
    EXPECT_FALSE(capsLockIsOn());
    screen().holdKey("Shift_L", true);
    EXPECT_FALSE(capsLockIsOn());
    screen().holdKey("Shift_L", false);
    screen().pressKey("Caps_Lock");
    EXPECT_TRUE(capsLockIsOn());
    screen().pressKey("Caps_Lock");
    EXPECT_FALSE(capsLockIsOn());
}

}  // namespace
}  // namespace velunor
