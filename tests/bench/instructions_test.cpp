// What the start and a tick cost, counted in instructions: the count does not depend on how busy
// the machine is. Each ceiling is a tenth above what the program took when it was set.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "tests/bench/counting.h"
#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

/// Of the start beside that of a bare window of the same toolkit: fonts and libraries that are
/// installed make both dearer.
constexpr double mostBesideBareWindow = 1.39;
/// With the toolkit of Debian 13, which takes more for it than that of Debian 12.
constexpr double mostInATick = 0.55e6;
/// Whoever counts takes many times as long.
constexpr std::chrono::minutes patienceOfCounting{3};

class Instructions : public PromptTest {
  protected:
    Instructions() {
        makeDisplay({.withWindowManager = false});
        bus();
        // Nobody listens in.
        environment().erase("QT_LINUX_ACCESSIBILITY_ALWAYS_ON");
        environment()["NO_AT_BRIDGE"] = "1";
    }

    void count(const std::vector<std::string>& command, const std::string& pictured) {
        startProgram(countingInstructions(command, counts_, {pictured, promptTick}));
    }

    void countPrompt() {
        count({PROMPT_PROGRAM, "OSUpdate", "Debian 12.9", "false", "15", "false", "2"},
              promptPictured);
    }

    /// Waits for the first picture; the instructions that it took, and 0 where none comes.
    double untilFirstPicture(const std::string& pictured) {
        std::optional<double> instructions;
        static_cast<void>(eventually(
            [&] {
                instructions = instructionsUntil(counts_, pictured);
                return instructions || !process().isRunning();
            },
            patienceOfCounting));
        return instructions.value_or(0);
    }

    /// What each tick after the first picture has taken so far.
    [[nodiscard]] std::vector<double> ticks() const {
        return instructionsOfTicks(counts_, promptPictured, promptTick);
    }

    /// Ends the program and forgets its counts.
    void endCount() {
        process().sendSignal(SIGKILL);
        ASSERT_TRUE(process().wait());
        for (const auto& entry : std::filesystem::directory_iterator(directory())) {
            if (entry.path().stem() == counts_.filename()) {
                std::filesystem::remove(entry.path());
            }
        }
    }

  private:
    const std::filesystem::path counts_ = directory() / "count";
};

TEST_F(Instructions, StartTakesLittleMoreThanThatOfABareWindow) {
    countPrompt();
    const double own = untilFirstPicture(promptPictured);
    ASSERT_GT(own, 0) << systemLog();
    endCount();

    count({BARE_WINDOW_PROGRAM}, bareWindowPictured);
    const double bare = untilFirstPicture(bareWindowPictured);
    ASSERT_GT(bare, 0) << systemLog();
    std::cout << "until the first picture: " << own / 1e6
              << " million; of a bare window: " << bare / 1e6 << " million\n";
    EXPECT_LE(own, mostBesideBareWindow * bare);
}

TEST_F(Instructions, TickTakesNextToNothing) {
    countPrompt();
    // The first ones still have work of the start among them.
    constexpr std::size_t enough = 9;
    ASSERT_TRUE(eventually([&] { return ticks().size() >= enough; }, patienceOfCounting))
        << systemLog();
    std::vector<double> all = ticks();
    std::ranges::sort(all);
    const double median = all[all.size() / 2];
    std::cout << "a tick: " << median / 1e6 << " million\n";
    EXPECT_LE(median, mostInATick);
}

}  // namespace
}  // namespace velunor::testing
