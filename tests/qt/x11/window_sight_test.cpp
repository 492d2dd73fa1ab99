// Whether the desktop shows a window, as the X server and the window manager tell it.

#include "platform/qt/desktop/window_sight.h"

#include <QTest>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/qt/desktop/x11_properties.h"
#include "tests/qt/x11/x11_test.h"

namespace velunor {
namespace {

using Numbers = std::vector<std::uint32_t>;
using testing::WindowId;

class WindowSightTest : public X11Test {
  protected:
    /// Shows the window at its place and watches it.
    void watch() {
        window.setGeometry(300, 200, 400, 300);
        ASSERT_TRUE(isShown(window));
        sight = std::make_unique<WindowSight>(window);
        QObject::connect(sight.get(), &WindowSight::lost, [this] { ++lost; });
        QObject::connect(sight.get(), &WindowSight::found, [this] { ++found; });
    }
    [[nodiscard]] bool isLost(int times = 1) {
        return becomes([&] { return lost == times && found == times - 1; });
    }
    [[nodiscard]] bool isFound(int times = 1) {
        return becomes([&] { return lost == times && found == times; });
    }

    QWidget window;
    std::unique_ptr<WindowSight> sight;
    int lost = 0;
    int found = 0;
};

TEST_F(WindowSightTest, WindowOfWhichAPartIsInSightIsNotLost) {
    watch();
    const auto frame = screen().frameOf(idOf(window));
    add(screen().addWindow({frame.x + 10, 0, 900, 900}));
    const WindowId brief = screen().addCover({0, 0, 1280, 900});
    QTest::qWait(1000);
    // Nor one that is covered for a moment, nor for two.
    screen().removeWindow(brief);
    QTest::qWait(500);
    const WindowId again = screen().addCover({0, 0, 1280, 900});
    QTest::qWait(1000);
    screen().removeWindow(again);
    QTest::qWait(2500);
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(found, 0);
}

TEST_F(WindowSightTest, WindowThatTheServerCallsCoveredIsLostWhoeverCoversIt) {
    watch();
    const WindowId cover = screen().addCover({0, 0, 1280, 900});
    EXPECT_TRUE(isLost());
    screen().removeWindow(cover);
    EXPECT_TRUE(isFound());
}

TEST_F(WindowSightTest, MinimizedWindowIsLost) {
    watch();
    screen().minimize(idOf(window));
    EXPECT_TRUE(isLost());
    // The toolkit goes on hearing what there is.
    EXPECT_TRUE(window.isMinimized());
    screen().activate(idOf(window));
    EXPECT_TRUE(isFound());
}

TEST_F(WindowSightTest, WindowOnAnotherWorkspaceIsLost) {
    screen().makeTwoWorkspaces();
    watch();
    ASSERT_TRUE(screen().goToWorkspace(1));
    EXPECT_TRUE(isLost());
    ASSERT_TRUE(screen().goToWorkspace(0));
    EXPECT_TRUE(isFound());
}

TEST_F(WindowSightTest, WindowThatTheWindowManagerCallsHiddenIsLost) {
    watch();
    const Numbers states = x11Values(x(), idOf(window), "_NET_WM_STATE");
    Numbers hidden = states;
    hidden.push_back(x11Atom(x(), "_NET_WM_STATE_HIDDEN"));
    setX11Values(x(), idOf(window), "_NET_WM_STATE", "ATOM", hidden);
    xcb_flush(x());
    EXPECT_TRUE(isLost());
    setX11Values(x(), idOf(window), "_NET_WM_STATE", "ATOM", states);
    xcb_flush(x());
    EXPECT_TRUE(isFound());
}

/// The server obscures nothing that is composed.
class ComposedWindowSightTest : public WindowSightTest {
  protected:
    void SetUp() override { display().startCompositor(); }
    void TearDown() override {
        display().endCompositor();
        WindowSightTest::TearDown();
    }
};

TEST_F(ComposedWindowSightTest, WindowBelowAFullScreenOneIsLostToo) {
    watch();
    // The card's window is below it, and a window of nobody's that only covers is no reason.
    const WindowId film = add(screen().addFullScreenWindow());
    ASSERT_TRUE(screen().comeInto(film));
    EXPECT_TRUE(isLost());
    screen().minimize(film);
    EXPECT_TRUE(isFound());
    ASSERT_TRUE(screen().comeInto(film));
    EXPECT_TRUE(isLost(2));
    screen().fillScreen(film, false);
    bringToFront(window, {});
    EXPECT_TRUE(isFound(2));
    // It becomes a full-screen one while it is the active one: no other window changes.
    ASSERT_TRUE(screen().comeInto(film));
    screen().fillScreen(film, true);
    EXPECT_TRUE(isLost(3));
}

/// A property of the root window, or of the active one, and the type of its numbers.
struct News {
    const char* name = nullptr;
    const char* type = nullptr;
    bool ofActiveWindow = false;
};

class WindowSightNewsTest : public ComposedWindowSightTest,
                            public ::testing::WithParamInterface<News> {
  protected:
    /// Tells who is a client, which is no news by itself, and then the news.
    static void tell(const Numbers& clients) {
        setX11Values(x(), root(), "_NET_CLIENT_LIST", "WINDOW", clients);
        const auto& [name, type, ofActiveWindow] = GetParam();
        const auto teller =
            ofActiveWindow ? static_cast<xcb_window_t>(screen().activeWindow()) : root();
        setX11Values(x(), teller, name, type, x11Values(x(), teller, name));
        xcb_flush(x());
    }
};

TEST_P(WindowSightNewsTest, LetItLookWhetherAClientWithoutAFrameCoversTheWindow) {
    watch();
    ASSERT_TRUE(isActivated(window));
    const WindowId terminal = add(screen().addTerminal({0, 0, 90, 90}));
    ASSERT_TRUE(becomes([&] { return screen().activeWindow() == terminal; }));
    const WindowId cover = add(screen().addCover({0, 0, 1280, 900}));
    // It has looked by then, and found a window of nobody's.
    QTest::qWait(400);
    const Numbers clients = x11Values(x(), root(), "_NET_CLIENT_LIST");
    Numbers more = clients;
    more.push_back(static_cast<std::uint32_t>(cover));
    tell(more);
    EXPECT_TRUE(isLost());
    tell(clients);
    EXPECT_TRUE(isFound());
}

INSTANTIATE_TEST_SUITE_P(Desktops, WindowSightNewsTest,
                         ::testing::Values(News{"_NET_ACTIVE_WINDOW", "WINDOW"},
                                           News{"_NET_CLIENT_LIST_STACKING", "WINDOW"},
                                           News{"_NET_CURRENT_DESKTOP", "CARDINAL"},
                                           News{"_NET_WM_STATE", "ATOM", true}));

}  // namespace
}  // namespace velunor
