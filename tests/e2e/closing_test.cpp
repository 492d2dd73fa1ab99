// The prompt cannot be left without an answer, except by the end of the session or of the display.

#include <csignal>
#include <cstring>

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

    // Shows the prompt that env(1) starts with this option.
    std::optional<WindowId> showFromEnv(const std::string& option) {
        startService();
        std::vector<std::string> command{"/usr/bin/env", option, PROMPT_PROGRAM};
        const std::vector<std::string> arguments = patientPrompt();
        command.insert(command.end(), arguments.begin(), arguments.end());
        startProgram(command);
        return waitForWindow();
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

TEST_F(Closing, HangUpThatIsIgnoredAtTheStartStaysSo) {
    const std::optional<WindowId> window = showFromEnv("--ignore-signal=HUP");
    ASSERT_TRUE(window) << systemLog();
    process().sendSignal(SIGHUP);
    expectStillOpen(*window);
}

class BlockedAtTheStart : public Closing, public ::testing::WithParamInterface<int> {};

TEST_P(BlockedAtTheStart, EndsThePromptAllTheSame) {
    ASSERT_TRUE(showFromEnv(std::string("--block-signal=") + sigabbrev_np(GetParam())))
        << systemLog();
    process().sendSignal(GetParam());
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
}

INSTANTIATE_TEST_SUITE_P(All, BlockedAtTheStart, ::testing::Values(SIGHUP, SIGINT, SIGTERM),
                         [](const auto& test) { return std::string(sigabbrev_np(test.param)); });

TEST_F(Closing, LossOfTheXServerIsALineAndTheProgramsOwnExitWithStatusOne) {
    environment()["LD_DEBUG"] = "files";
    environment()["LD_DEBUG_OUTPUT"] = directory() / "linker";
    ASSERT_TRUE(show(false)) << systemLog();
    display().killServer();
    EXPECT_EQ(process().wait(), (Ending{1, 0})) << systemLog();
    EXPECT_NE(systemLog().find("The display was lost\n"), std::string::npos) << systemLog();
    // The destructors of static objects run when the linker ends the program.
    const std::string linker = readFile(directory() / ("linker." + std::to_string(process().id())));
    EXPECT_NE(linker.find("calling init: "), std::string::npos);
    EXPECT_EQ(linker.find(std::string("calling fini: ") + PROMPT_PROGRAM), std::string::npos);
    EXPECT_TRUE(requests().empty());
}

}  // namespace
}  // namespace velunor::testing
