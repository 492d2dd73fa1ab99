// What the start and a tick cost, counted in instructions: the count does not depend on how busy
// the machine is. Each ceiling is a tenth above what the program took when it was set.

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iostream>

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

/// Of the start beside that of a bare window of the same toolkit: fonts and libraries that are
/// installed make both dearer.
constexpr double mostBesideBareWindow = 1.42;
constexpr double mostInATick = 0.52e6;

/// What was counted up to a moment, and what that moment was.
struct Count {
    double instructions = 0;
    std::string until;
};

class Instructions : public PromptTest {
  protected:
    static constexpr const char* tick = "velunor::ViewController::showRemainingTime()";

    Instructions() {
        makeDisplay({.withWindowManager = false});
        bus();
        // Nobody listens in.
        environment().erase("QT_LINUX_ACCESSIBILITY_ALWAYS_ON");
        environment()["NO_AT_BRIDGE"] = "1";
    }

    /// Counts the instructions of `command`, anew from each call of one of the two functions.
    void count(const std::vector<std::string>& command, const std::string& firstPicture) {
        firstPicture_ = firstPicture;
        std::vector<std::string> counting{
            "valgrind", "--tool=callgrind",
            "--callgrind-out-file=" + (directory() / "count").string(),
            "--dump-before=" + firstPicture, std::string("--dump-before=") + tick};
        counting.insert(counting.end(), command.begin(), command.end());
        startProgram(counting);
    }

    void countPrompt() {
        count({PROMPT_PROGRAM, "OSUpdate", "Debian 12.9", "false", "15", "false", "2"},
              "velunor::PromptWindow::afterFirstPicture()");
    }

    /// The counts that are complete, in their order.
    [[nodiscard]] std::vector<Count> counts() const {
        std::vector<Count> all;
        while (const std::optional<Count> next =
                   countIn(directory() / ("count." + std::to_string(all.size() + 1)))) {
            all.push_back(*next);
        }
        return all;
    }

    /// Waits for the first picture; the instructions that it took, and 0 where none comes.
    double untilFirstPicture() {
        double sum = 0;
        static_cast<void>(eventually([&] {
            sum = 0;
            for (const Count& count : counts()) {
                sum += count.instructions;
                if (count.until == firstPicture_) {
                    return true;
                }
            }
            sum = 0;
            return !process().isRunning();
        }));
        return sum;
    }

    /// What each tick after the first picture has taken so far.
    [[nodiscard]] std::vector<double> ticks() const {
        std::vector<double> instructions;
        bool pictured = false;
        for (const Count& count : counts()) {
            if (pictured && count.until == tick) {
                instructions.push_back(count.instructions);
            }
            pictured = pictured || count.until == firstPicture_;
        }
        return instructions;
    }

  private:
    [[nodiscard]] static std::optional<Count> countIn(const std::filesystem::path& path) {
        const std::string total = "totals: ";
        const std::string trigger = "desc: Trigger: --dump-before=";
        std::ifstream file(path);
        Count count;
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with(trigger)) {
                count.until = line.substr(trigger.size());
            } else if (line.starts_with(total) && !file.eof()) {
                count.instructions = std::stod(line.substr(total.size()));
                return count;
            }
        }
        return std::nullopt;
    }

    std::string firstPicture_;
};

TEST_F(Instructions, StartTakesLittleMoreThanThatOfABareWindow) {
    countPrompt();
    const double own = untilFirstPicture();
    ASSERT_GT(own, 0) << systemLog();
    process().sendSignal(SIGKILL);
    ASSERT_TRUE(process().wait());
    for (const auto& entry : std::filesystem::directory_iterator(directory())) {
        if (entry.path().stem() == "count") {
            std::filesystem::remove(entry.path());
        }
    }

    count({BARE_WINDOW_PROGRAM}, "afterFirstPicture()");
    const double bare = untilFirstPicture();
    ASSERT_GT(bare, 0) << systemLog();
    std::cout << "until the first picture: " << own / 1e6
              << " million; of a bare window: " << bare / 1e6 << " million\n";
    EXPECT_LE(own, mostBesideBareWindow * bare);
}

TEST_F(Instructions, TickTakesNextToNothing) {
    countPrompt();
    // The first ones still have work of the start among them.
    constexpr std::size_t enough = 9;
    ASSERT_TRUE(eventually([&] { return ticks().size() >= enough; })) << systemLog();
    std::vector<double> all = ticks();
    std::ranges::sort(all);
    const double median = all[all.size() / 2];
    std::cout << "a tick: " << median / 1e6 << " million\n";
    EXPECT_LE(median, mostInATick);
}

}  // namespace
}  // namespace velunor::testing
