#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/desktop/display.h"

namespace velunor {

/// The X server of this test program, with the usual window manager.
testing::Display& display();

/// Runs the event loop until `condition` holds; false when that takes too long.
[[nodiscard]] bool becomes(const std::function<bool()>& condition);

/// What the test program asks of the window manager, as EWMH's client messages.
class Requests final : public QAbstractNativeEventFilter {
  public:
    Requests();
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    /// Those of this name about the window: the first numbers of each.
    [[nodiscard]] std::vector<std::vector<std::uint32_t>> about(testing::WindowId window,
                                                                const std::string& name,
                                                                std::size_t numbers) const;

  private:
    std::vector<xcb_client_message_event_t> requests_;
};

/// Tests of what is said to a real X server beside the toolkit.
class X11Test : public ::testing::Test {
  protected:
    void TearDown() override;

    static testing::Screen& screen() { return display().screen(); }
    static xcb_connection_t* x();
    static xcb_window_t root();
    static xcb_window_t idOf(const QWidget& widget) {
        return static_cast<xcb_window_t>(widget.winId());
    }
    /// Shows a window; true once the window manager has taken it in.
    [[nodiscard]] static bool isShown(QWidget& window);
    /// Gives a shown window the keys; true once the toolkit knows.
    [[nodiscard]] static bool isActivated(QWidget& window);
    /// A window of somebody else, which is taken away at the end of the test.
    testing::WindowId add(testing::WindowId window);
    /// Gives a window a property, for this test alone.
    void put(xcb_window_t window, const std::string& name,
             const std::vector<std::uint32_t>& values);
    /// Handles the events that the server has sent until now.
    static void handleNews();
    /// Takes a window's property away.
    static void takeAway(xcb_window_t window, const std::string& name);

  private:
    std::vector<testing::WindowId> windows_;
    std::vector<std::pair<xcb_window_t, std::string>> properties_;
};

/// Tests that part the screen into monitors.
class X11MonitorsTest : public X11Test {
  protected:
    void TearDown() override;

    static constexpr testing::PixelRect left{0, 0, 640, testing::usualHeight};
    static constexpr testing::PixelRect right{640, 0, 640, testing::usualHeight};

    /// Makes the screen two monitors, of which the first is the main one.
    [[nodiscard]] bool makeTwoMonitors(const testing::PixelRect& main = left,
                                       const testing::PixelRect& other = right);
    /// The one whose left edge is there; null where there is none.
    static const QScreen* screenAt(int place);

  private:
    bool hasMonitors_ = false;
};

}  // namespace velunor
