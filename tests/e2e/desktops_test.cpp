// That what is typed for another window never reaches the prompt, under each window manager.

#include "tests/support/desktop/window_manager.h"
#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

/// While somebody types into another window the prompt comes up.
class TypingElsewhere : public PromptTest, public ::testing::WithParamInterface<WindowManager> {
  protected:
    static constexpr std::string_view typed = "hel\tlo\n";

    void SetUp() override {
        bus();
        makeDisplay({.windowManager = GetParam(), .environment = environment()});
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
    [[nodiscard]] bool hasFocus(const std::string& name) {
        return eventually([&] {
            for (const Accessible& control : controls()) {
                if (control.focused && control.name == name) {
                    return true;
                }
            }
            return false;
        });
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

INSTANTIATE_TEST_SUITE_P(Under, TypingElsewhere, ::testing::ValuesIn(windowManagers()),
                         [](const auto& manager) { return manager.param.name; });

}  // namespace
}  // namespace velunor::testing
