// What is found out about an X11 desktop, and what is asked of it.

#include "platform/qt/desktop/x11_desktop.h"

#include <QApplication>
#include <QDBusConnection>
#include <algorithm>

#include "platform/qt/desktop/desktop_settings.h"
#include "platform/qt/desktop/display.h"
#include "platform/qt/desktop/x11_properties.h"
#include "tests/qt/x11/x11_test.h"
#include "tests/support/desktop/fake_portal.h"
#include "tests/support/temporary_directory.h"

namespace velunor {
namespace {

using testing::PixelRect;

using Numbers = std::vector<std::uint32_t>;

class X11DesktopTest : public X11MonitorsTest {
  protected:
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
};

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
