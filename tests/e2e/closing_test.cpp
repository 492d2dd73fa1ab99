// The prompt cannot be left without an answer, except by the end of the session.

#include <csignal>

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

class Closing : public PromptTest {
  protected:
    // Shows the prompt and gives its window, active when `active`.
    std::optional<WindowId> show(bool active) {
        startService();
        start(patientPrompt());
        const std::optional<WindowId> window = waitForWindow();
        if (window && active) {
            const Accessible title = waitForControl("label", "An update is ready").value();
            display().screen().click(*window, title.extents);
            EXPECT_TRUE(eventually([&] { return display().screen().activeWindow() == *window; }));
        }
        return window;
    }

    // What a closing attempt must leave: the window, the countdown, and no answer. Waits for a
    // later sign of life (the attention request) so that the attempt has been dealt with.
    void expectStillOpen(WindowId window) {
        EXPECT_TRUE(waitForLog("Dock bounce (critical) triggered at ")) << systemLog();
        EXPECT_TRUE(process().isRunning()) << systemLog();
        EXPECT_EQ(display().screen().windowOf(process().id()), window);
        EXPECT_TRUE(requests().empty());
        EXPECT_TRUE(clickButton("Later"));
        EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
        EXPECT_EQ(requests().size(), 1U);
    }
};

TEST_F(Closing, CloseRequestOfTheWindowManagerIsRefused) {
    const std::optional<WindowId> window = show(false);
    ASSERT_TRUE(window) << systemLog();
    display().screen().requestClose(*window);
    expectStillOpen(*window);
}

TEST_F(Closing, EscapeDoesNothing) {
    const std::optional<WindowId> window = show(true);
    ASSERT_TRUE(window) << systemLog();
    display().screen().pressKey("Escape");
    expectStillOpen(*window);
}

TEST_F(Closing, AltF4DoesNothing) {
    const std::optional<WindowId> window = show(true);
    ASSERT_TRUE(window) << systemLog();
    display().screen().pressKey("F4", true);
    expectStillOpen(*window);
}

TEST_F(Closing, TerminationRequestEndsThePromptWithoutAnAnswer) {
    const std::optional<WindowId> window = show(false);
    ASSERT_TRUE(window) << systemLog();
    process().sendSignal(SIGTERM);
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_TRUE(requests().empty());
    const std::string log = readFile(accessLogPath());
    EXPECT_NE(log.find("\t\tWithout Credentials - false - Debian 12.9 - 15 mins"),
              std::string::npos);
    EXPECT_EQ(log.find("postpone"), std::string::npos) << log;
    EXPECT_EQ(log.find("proceed"), std::string::npos) << log;
}

}  // namespace
}  // namespace velunor::testing
