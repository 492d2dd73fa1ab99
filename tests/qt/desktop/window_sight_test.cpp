// Whether a window is shown, where the toolkit alone tells it.

#include "platform/qt/desktop/window_sight.h"

#include <QCoreApplication>
#include <QWidget>
#include <QWindow>

#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

/// Where the toolkit looks for what allows a window to come to the front.
constexpr const char* tokenVariable = "XDG_ACTIVATION_TOKEN";

TEST(ToolkitsSightTest, HiddenWindowIsLostAndShownOneFound) {
    QWidget window;
    window.show();
    window.hide();
    // It hears of no event afterwards.
    QCoreApplication::processEvents();
    const WindowSight sight(window);
    int lost = 0;
    int found = 0;
    QObject::connect(&sight, &WindowSight::lost, [&] { ++lost; });
    QObject::connect(&sight, &WindowSight::found, [&] { ++found; });
    EXPECT_TRUE(waitUntil([&] { return lost == 1; }));
    EXPECT_EQ(found, 0);
    window.show();
    EXPECT_TRUE(waitUntil([&] { return found == 1; }));
    EXPECT_EQ(lost, 1);
}

TEST(ToolkitsSightTest, WatchedWindowHearsWhatItHeardBefore) {
    QWidget window;
    window.show();
    const WindowSight sight(window);
    EXPECT_TRUE(window.windowHandle()->close());
    EXPECT_FALSE(window.isVisible());
}

TEST(BringToFrontTest, TokenIsLeftWhereTheToolkitLooksForIt) {
    QWidget other;
    QWidget window;
    window.show();
    other.show();
    other.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return other.isActiveWindow(); }));
    window.setWindowState(Qt::WindowMinimized | Qt::WindowMaximized);
    bringToFront(window, "a-token");
    EXPECT_EQ(qgetenv(tokenVariable), "a-token");
    EXPECT_EQ(window.windowState(), Qt::WindowMaximized);
    EXPECT_TRUE(waitUntil([&] { return window.isActiveWindow(); }));
    bringToFront(window, {});
    EXPECT_EQ(qgetenv(tokenVariable), "a-token");
    qunsetenv(tokenVariable);
}

}  // namespace
}  // namespace velunor
