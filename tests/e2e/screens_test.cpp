// Where the window stands on screens of other kinds, and that it keeps its place when they change.

#include <cmath>

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

// Points between the window's frame and the right and lower edge of the usable area.
constexpr int margin = 30;

constexpr PixelRect leftMonitor{0, 0, 1280, 900};
constexpr PixelRect rightMonitor{1280, 0, 720, 800};

class Screens : public PromptTest {
  protected:
    // A wide monitor beside a smaller one, on a screen that is higher than both.
    void makeTwoMonitors(bool rightIsPrimary) {
        makeDisplay({.width = 2000,
                     .height = 1000,
                     .monitors = {{"LEFT", leftMonitor, !rightIsPrimary},
                                  {"RIGHT", rightMonitor, rightIsPrimary}}});
    }

    void startManaged(const std::vector<std::string>& arguments = patientPrompt()) {
        start(arguments);
        window_ = waitForWindow();
        ASSERT_TRUE(window_) << systemLog();
    }

    // Where the frame's lower right corner is, as "x,y".
    [[nodiscard]] std::string corner() {
        const PixelRect frame = display().screen().frameOf(*window_);
        return std::to_string(frame.x + frame.width) + "," + std::to_string(frame.y + frame.height);
    }
    // That corner once it is where it belongs in an area that ends at `right` and `bottom`, or as
    // it is when patience ends.
    [[nodiscard]] std::string restingCorner(int right, int bottom) {
        const std::string wanted = cornerIn(right, bottom);
        static_cast<void>(eventually([&] { return corner() == wanted; }, restLimit));
        return corner();
    }
    [[nodiscard]] static std::string cornerIn(int right, int bottom) {
        return std::to_string(right - margin) + "," + std::to_string(bottom - margin);
    }
    void useWindow(WindowId window) { window_ = window; }
    [[nodiscard]] WindowId window() const { return *window_; }

  private:
    static constexpr std::chrono::seconds restLimit{10};
    std::optional<WindowId> window_;
};

TEST_F(Screens, PrimaryMonitorAtTheLeftIsUsed) {
    makeTwoMonitors(false);
    startManaged();
    EXPECT_EQ(restingCorner(1280, 900), cornerIn(1280, 900));
}

TEST_F(Screens, PrimaryMonitorAtTheRightIsUsed) {
    makeTwoMonitors(true);
    startManaged();
    EXPECT_EQ(restingCorner(2000, 800), cornerIn(2000, 800));
}

TEST_F(Screens, PanelsOnAllEdgesOfOneMonitorAreLeftFree) {
    display().screen().addPanel(Edge::left, 41);
    display().screen().addPanel(Edge::top, 43);
    display().screen().addPanel(Edge::right, 45);
    display().screen().addPanel(Edge::bottom, 47);
    startManaged();
    EXPECT_EQ(restingCorner(1280 - 45, 900 - 47), cornerIn(1280 - 45, 900 - 47));
}

TEST_F(Screens, PanelsOfThePrimaryMonitorAreLeftFree) {
    makeTwoMonitors(true);
    display().screen().addPanel(Edge::right, 45, rightMonitor);
    display().screen().addPanel(Edge::bottom, 47, rightMonitor);
    startManaged();
    EXPECT_EQ(restingCorner(2000 - 45, 800 - 47), cornerIn(2000 - 45, 800 - 47));
}

TEST_F(Screens, PanelBetweenTheMonitorsIsLeftFreeOnItsOwn) {
    makeTwoMonitors(false);
    display().screen().addPanel(Edge::right, 45, leftMonitor);
    startManaged();
    EXPECT_EQ(restingCorner(1280 - 45, 900), cornerIn(1280 - 45, 900));
}

TEST_F(Screens, PanelsOfTheOtherMonitorAreOfNoConcern) {
    makeTwoMonitors(false);
    for (const Edge edge : {Edge::left, Edge::top, Edge::right, Edge::bottom}) {
        display().screen().addPanel(edge, 45, rightMonitor);
    }
    startManaged();
    EXPECT_EQ(restingCorner(1280, 900), cornerIn(1280, 900));
}

TEST_F(Screens, CompositorChangesNothingOfThePlace) {
    display().startCompositor();
    display().screen().addPanel(Edge::bottom, 47);
    startManaged();
    EXPECT_EQ(restingCorner(1280, 900 - 47), cornerIn(1280, 900 - 47));
}

TEST_F(Screens, WithoutAWindowManagerTheWindowPlacesItself) {
    makeDisplay({.withWindowManager = false});
    start(patientPrompt());
    std::optional<WindowId> shown;
    ASSERT_TRUE(eventually([&] {
        shown = display().screen().unlistedWindowOf(process().id());
        return shown.has_value();
    })) << systemLog();
    useWindow(*shown);
    EXPECT_EQ(restingCorner(1280, 900), cornerIn(1280, 900));
    display().setResolution(1024, 700);
    EXPECT_EQ(restingCorner(1024, 700), cornerIn(1024, 700));
}

TEST_F(Screens, PlaceFollowsTheResolution) {
    startManaged();
    ASSERT_EQ(restingCorner(1280, 900), cornerIn(1280, 900));
    display().setResolution(1024, 700);
    EXPECT_EQ(restingCorner(1024, 700), cornerIn(1024, 700));
    display().setResolution(1200, 800);
    EXPECT_EQ(restingCorner(1200, 800), cornerIn(1200, 800));
}

TEST_F(Screens, PlaceFollowsAPanelThatAppears) {
    startManaged();
    ASSERT_EQ(restingCorner(1280, 900), cornerIn(1280, 900));
    display().screen().addPanel(Edge::right, 45);
    EXPECT_EQ(restingCorner(1280 - 45, 900), cornerIn(1280 - 45, 900));
    display().screen().addPanel(Edge::bottom, 47);
    EXPECT_EQ(restingCorner(1280 - 45, 900 - 47), cornerIn(1280 - 45, 900 - 47));
}

TEST_F(Screens, PlaceFollowsAPanelThatAppearsOnAMonitorOfSeveral) {
    makeTwoMonitors(true);
    startManaged();
    ASSERT_EQ(restingCorner(2000, 800), cornerIn(2000, 800));
    display().screen().addPanel(Edge::bottom, 47, rightMonitor);
    EXPECT_EQ(restingCorner(2000, 800 - 47), cornerIn(2000, 800 - 47));
    display().screen().addPanel(Edge::right, 45, rightMonitor);
    EXPECT_EQ(restingCorner(2000 - 45, 800 - 47), cornerIn(2000 - 45, 800 - 47));
}

TEST_F(Screens, PlaceFollowsAPanelThatChangesItsSizeOnAMonitorOfSeveral) {
    makeTwoMonitors(true);
    const WindowId panel = display().screen().addPanel(Edge::bottom, 47, rightMonitor);
    startManaged();
    ASSERT_EQ(restingCorner(2000, 800 - 47), cornerIn(2000, 800 - 47));
    display().screen().resizePanel(panel, Edge::bottom, 90, rightMonitor);
    EXPECT_EQ(restingCorner(2000, 800 - 90), cornerIn(2000, 800 - 90));
}

TEST_F(Screens, PlaceFollowsTheMonitorThatIsLeft) {
    makeTwoMonitors(true);
    startManaged();
    ASSERT_EQ(restingCorner(2000, 800), cornerIn(2000, 800));
    display().removeMonitor("RIGHT");
    EXPECT_EQ(restingCorner(1280, 900), cornerIn(1280, 900));
}

/// A prompt whose notice makes it higher, asked for by keyboard while it is on the screen.
class GrowingWindow : public Screens {
  protected:
    void startWithoutToken() {
        writeFile(directory() / "token-tool", "#!/bin/sh\necho DISABLED\n");
        static_cast<void>(bus());
        startManaged({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
        ASSERT_TRUE(waitForControl("text", "User name")) << systemLog();
    }
    void typeAnotherName() {
        ASSERT_TRUE(display().screen().comeInto(window()));
        display().screen().pressKey("Tab");
        ASSERT_TRUE(eventually([&] {
            const auto field = findControl(controls(), "text", "User name");
            return field && field->focused;
        })) << systemLog();
        display().screen().type("bob");
        display().screen().pressKey("Tab");
        ASSERT_TRUE(waitForControl("label", "Not allowed to update.")) << systemLog();
    }
};

TEST_F(GrowingWindow, KeepsItsCornerOnTheMonitorThatItIsOn) {
    makeTwoMonitors(true);
    display().screen().addPanel(Edge::bottom, 47, rightMonitor);
    startWithoutToken();
    ASSERT_EQ(restingCorner(2000, 800 - 47), cornerIn(2000, 800 - 47));
    const int before = display().screen().frameOf(window()).height;
    typeAnotherName();
    EXPECT_TRUE(eventually([&] { return display().screen().frameOf(window()).height > before; }));
    EXPECT_EQ(restingCorner(2000, 800 - 47), cornerIn(2000, 800 - 47));
}

TEST_F(GrowingWindow, StaysInsideTheUsableAreaOfASmallScreen) {
    makeDisplay({.width = 640, .height = 480});
    display().screen().addPanel(Edge::bottom, 27);
    display().screen().addPanel(Edge::top, 25);
    startWithoutToken();
    typeAnotherName();
    EXPECT_EQ(restingCorner(640, 480 - 27), cornerIn(640, 480 - 27));
    EXPECT_TRUE(eventually([&] {
        return display().screen().frameOf(window()).height == 480 - 27 - 25 - 2 * margin;
    })) << display().screen().frameOf(window()).height;
}

class ScaledScreens : public Screens, public ::testing::WithParamInterface<const char*> {
  protected:
    // Whether the corner comes to stand 30 points from the area's end; at a fractional scale these
    // are not whole pixels.
    [[nodiscard]] bool standsInCornerOf(const PixelRect& area) {
        const double distance = margin * std::stod(GetParam());
        return eventually([&] {
            const PixelRect frame = display().screen().frameOf(window());
            const int right = area.x + area.width - frame.x - frame.width;
            const int bottom = area.y + area.height - frame.y - frame.height;
            return std::abs(right - distance) <= 1 && std::abs(bottom - distance) <= 1;
        });
    }
};

TEST_P(ScaledScreens, WindowStandsInTheCornerAboveAPanel) {
    environment()["QT_SCALE_FACTOR"] = GetParam();
    display().screen().addPanel(Edge::bottom, 47);
    display().screen().addPanel(Edge::right, 45);
    startManaged();
    EXPECT_TRUE(standsInCornerOf({0, 0, 1280 - 45, 900 - 47})) << corner();
    EXPECT_GE(display().screen().frameOf(window()).width, 420 * std::stod(GetParam()) - 1);
}

TEST_P(ScaledScreens, WindowStandsInTheCornerOfTheSecondMonitor) {
    environment()["QT_SCALE_FACTOR"] = GetParam();
    makeDisplay(
        {.width = 2800,
         .height = 1500,
         .monitors = {{"LEFT", {0, 0, 1367, 901}}, {"RIGHT", {1367, 100, 1433, 1400}, true}}});
    display().screen().addPanel(Edge::bottom, 47, PixelRect{1367, 100, 1433, 1400});
    startManaged();
    EXPECT_TRUE(standsInCornerOf({1367, 100, 1433, 1400 - 47})) << corner();
}

INSTANTIATE_TEST_SUITE_P(Factors, ScaledScreens, ::testing::Values("1.25", "1.5", "2"),
                         [](const auto& factor) {
                             std::string name = std::string("By") + factor.param;
                             std::erase(name, '.');
                             return name;
                         });

}  // namespace
}  // namespace velunor::testing
