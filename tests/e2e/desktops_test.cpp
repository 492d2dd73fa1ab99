// That what is typed for another window never reaches the prompt, under each window manager.

#include <algorithm>

#include "tests/support/desktop/window_manager.h"
#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

/// The prompt under a window manager.
class OnADesktop : public PromptTest, public ::testing::WithParamInterface<WindowManager> {
  protected:
    void makeScreen(DisplaySetup setup = {}) {
        bus();
        setup.windowManager = GetParam();
        setup.environment = environment();
        makeDisplay(setup);
    }
};

/// While somebody types into another window the prompt comes up.
class TypingElsewhere : public OnADesktop {
  protected:
    static constexpr std::string_view typed = "hel\tlo\n";

    void SetUp() override {
        makeScreen();
        terminal_ = display().screen().addTerminal({60, 60, 300, 200});
        start({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
        // On and on, from before the window is there until it offers itself to those who come in.
        bool up = false;
        const auto keyPause = std::chrono::milliseconds(20);
        for (int after = 0; after < 100; ++after) {
            display().screen().type(typed);
            std::this_thread::sleep_for(keyPause);
            up = up || display().screen().unlistedWindowOf(process().id());
            if (!up) {
                after = 0;
            }
        }
        window_ = display().screen().unlistedWindowOf(process().id());
        ASSERT_TRUE(window_) << systemLog();
        ASSERT_TRUE(eventually([&] { return display().screen().keyFocus() == terminal_; }))
            << display().screen().keyFocus();
        static_cast<void>(display().screen().typedInto(terminal_));
    }
    /// Types a name into the field that has the caret; nothing else must be in it.
    void answerAsBob() {
        display().screen().type("bob\n");
        EXPECT_TRUE(waitForLog("Failed to validate credentials bob\n")) << systemLog();
    }
    [[nodiscard]] WindowId terminal() const { return terminal_; }
    [[nodiscard]] WindowId window() const { return *window_; }

  private:
    WindowId terminal_ = 0;
    std::optional<WindowId> window_;
};

TEST_P(TypingElsewhere, NeverReachesThePrompt) {
    display().screen().type(typed);
    std::string arrived;
    EXPECT_TRUE(eventually([&] {
        arrived += display().screen().typedInto(terminal());
        return arrived == typed;
    })) << arrived;
    EXPECT_EQ(systemLog().find("Failed"), std::string::npos) << systemLog();
    EXPECT_TRUE(process().isRunning());
    for (const Accessible& control : controls()) {
        EXPECT_FALSE(control.focused) << control.role << " " << control.name;
    }

    ASSERT_TRUE(clickControl("text", "User name"));
    ASSERT_TRUE(hasFocus("User name"));
    answerAsBob();
}

TEST_P(TypingElsewhere, LetsInWhoComesByTheTaskListAndTab) {
    ASSERT_TRUE(display().screen().comeInto(window()));
    display().screen().pressKey("Tab");
    ASSERT_TRUE(hasFocus("User name"));
    answerAsBob();
}

/// The card under a window manager, with nothing else on the screen.
class Card : public OnADesktop {
  protected:
    void startCard(const std::vector<std::string>& arguments = patientPrompt()) {
        start(arguments);
        ASSERT_TRUE(eventually([&] {
            window_ = display().screen().unlistedWindowOf(process().id());
            return window_.has_value();
        })) << systemLog();
    }
    [[nodiscard]] WindowId window() const { return *window_; }
    [[nodiscard]] PixelRect place() { return display().screen().contentOf(window()); }
    /// The upper left corner, once the window manager has put it where it stays.
    [[nodiscard]] PixelRect restingPlace() {
        EXPECT_TRUE(eventually([&] {
            const PixelRect now = place();
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            return now == place();
        }));
        return place();
    }
    /// A place on the card without a control.
    static constexpr PixelRect bare{200, 4, 4, 4};

  private:
    std::optional<WindowId> window_;
};

TEST_P(Card, ComesBackWhenItIsMinimisedFromOutside) {
    makeScreen();
    static_cast<void>(display().screen().addTerminal({60, 60, 300, 200}));
    startCard();
    const PixelRect before = restingPlace();
    for (int time = 0; time < 3; ++time) {
        display().screen().minimize(window());
        // It may take a moment until it goes, too.
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        ASSERT_TRUE(eventually([&] { return display().screen().isViewable(window()); })) << time;
    }
    EXPECT_EQ(restingPlace(), before);
    // It was minimised by somebody who is at work elsewhere.
    display().screen().type("hello\n");
    EXPECT_NE(display().screen().keyFocus(), window());
    EXPECT_EQ(systemLog().find("Clicked"), std::string::npos) << systemLog();
    EXPECT_TRUE(process().isRunning());
}

/// A card on a desktop of several workspaces.
class CardOnWorkspaces : public Card {};

TEST_P(CardOnWorkspaces, IsOnEachOfThem) {
    makeScreen();
    display().screen().makeTwoWorkspaces();
    const WindowId terminal = display().screen().addTerminal({60, 60, 300, 200});
    startCard();
    static_cast<void>(restingPlace());
    ASSERT_TRUE(display().screen().goToWorkspace(1));
    // Some leave the windows of the other workspaces mapped.
    EXPECT_TRUE(eventually([&] {
        return display().screen().isViewable(window()) &&
               (display().screen().isEverywhere(window()) ||
                !display().screen().isViewable(terminal));
    }));
}

/// A card that is dragged.
class DraggedCard : public Card {};

TEST_P(DraggedCard, IsMovedWhileTheButtonIsHeldAndNoLonger) {
    makeScreen();
    startCard();
    for (int drag = 0; drag < 2; ++drag) {
        const PixelRect before = restingPlace();
        display().screen().drag(window(), bare, -200, -100);
        const PixelRect after = restingPlace();
        EXPECT_NEAR(after.x, before.x - 200, 60);
        EXPECT_NEAR(after.y, before.y - 100, 60);
        for (int step = 0; step < 20; ++step) {
            display().screen().movePointer(after.x + 200 + 10 * step, after.y + 10);
        }
        EXPECT_EQ(restingPlace(), after);
    }
}

TEST_P(Card, StandsBesideAPanel) {
    makeScreen();
    display().screen().addPanel(Edge::bottom, 47);
    startCard();
    const auto corner = [&] {
        const PixelRect card = display().screen().frameOf(window());
        return std::to_string(card.x + card.width) + "," + std::to_string(card.y + card.height);
    };
    const std::string wanted = std::to_string(1280 - 30) + "," + std::to_string(900 - 47 - 30);
    EXPECT_TRUE(eventually([&] { return corner() == wanted; })) << corner();
    display().screen().addPanel(Edge::right, 45);
    const std::string both = std::to_string(1280 - 45 - 30) + "," + std::to_string(900 - 47 - 30);
    EXPECT_TRUE(eventually([&] { return corner() == both; })) << corner();
}

/// A card that is dragged to another monitor.
class CardBetweenMonitors : public Card {};

TEST_P(CardBetweenMonitors, StaysOnTheMonitorWhereTheUserHasPutIt) {
    makeScreen({.width = 2400,
                .height = 900,
                .monitors = {{"LEFT", {0, 0, 1200, 900}, true}, {"RIGHT", {1200, 0, 1200, 900}}}});
    writeFile(directory() / "token-tool", "#!/bin/sh\necho DISABLED\n");
    startCard({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
    const PixelRect before = restingPlace();
    display().screen().drag(window(), bare, 900, -150);
    const PixelRect there = restingPlace();
    ASSERT_GT(there.x, 1200);
    ASSERT_TRUE(clickControl("text", "User name"));
    ASSERT_TRUE(hasFocus("User name"));
    display().screen().type("bob\t");
    ASSERT_TRUE(waitForControl("label", "Not allowed to update.")) << systemLog();
    ASSERT_TRUE(eventually([&] { return place().height > before.height; }));
    EXPECT_EQ(restingPlace().x, there.x);
}

/// The window managers without these.
std::vector<WindowManager> windowManagersWithout(const std::vector<std::string>& names) {
    std::vector<WindowManager> managers = windowManagers();
    std::erase_if(managers, [&](const WindowManager& manager) {
        return std::ranges::find(names, manager.name) != names.end();
    });
    return managers;
}

INSTANTIATE_TEST_SUITE_P(Under, DraggedCard, ::testing::ValuesIn(windowManagers()),
                         [](const auto& manager) { return manager.param.name; });
// xfwm4 takes the first of two monitors that share an output for the only one.
INSTANTIATE_TEST_SUITE_P(Under, CardBetweenMonitors,
                         ::testing::ValuesIn(windowManagersWithout({"xfwm4"})),
                         [](const auto& manager) { return manager.param.name; });
// i3 makes a workspace only for its own commands.
INSTANTIATE_TEST_SUITE_P(Under, CardOnWorkspaces,
                         ::testing::ValuesIn(windowManagersWithout({"i3"})),
                         [](const auto& manager) { return manager.param.name; });
INSTANTIATE_TEST_SUITE_P(Under, Card, ::testing::ValuesIn(windowManagers()),
                         [](const auto& manager) { return manager.param.name; });
INSTANTIATE_TEST_SUITE_P(Under, TypingElsewhere, ::testing::ValuesIn(windowManagers()),
                         [](const auto& manager) { return manager.param.name; });

}  // namespace
}  // namespace velunor::testing
