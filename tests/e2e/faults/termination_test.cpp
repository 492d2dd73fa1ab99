// A request to end at any moment of a prompt's life.

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <random>

#include "tests/e2e/faults/fault_test.h"

namespace velunor::testing {
namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

class Termination : public FaultTest {
  protected:
    /// Starts a prompt that proceeds by itself at the first tick of its countdown.
    std::unique_ptr<ChildProcess> startShortLife() {
        return std::make_unique<ChildProcess>(
            Command{.arguments = {reachable(QUICK_PROMPT_PROGRAM), "OSUpdate", "Debian 12.9",
                                  "true", "0", "false", "2"},
                    .environment = environment(),
                    .output = directory() / "out",
                    .errors = directory() / "err"});
    }

    /// How long such a life lasts with as many at once as the test has.
    steady_clock::duration lifeOf(std::size_t together) {
        const auto begin = steady_clock::now();
        std::vector<std::unique_ptr<ChildProcess>> lives(together);
        std::ranges::generate(lives, [&] { return startShortLife(); });
        for (const auto& life : lives) {
            EXPECT_EQ(life->wait(), (Ending{0, 0})) << systemLog();
        }
        return steady_clock::now() - begin;
    }
};

TEST_F(Termination, AtAnyMomentLeavesTheAnswerOnceOrNotAtAll) {
    constexpr std::size_t moments = 100;
    constexpr std::size_t together = 5;
    constexpr unsigned seed = 20'26;
    startServiceProcess("answer");
    noteBefore();
    const auto life = std::chrono::duration_cast<microseconds>(lifeOf(together));
    std::mt19937 random(seed);
    std::uniform_int_distribution<long> moment(0, life.count());
    std::size_t early = 0;
    for (std::size_t done = 0; done < moments; done += together) {
        std::vector<std::unique_ptr<ChildProcess>> prompts(together);
        std::ranges::generate(prompts, [&] { return startShortLife(); });
        const auto begin = steady_clock::now();
        std::vector<microseconds> when(together);
        std::ranges::generate(when, [&] { return microseconds(moment(random)); });
        std::ranges::sort(when);
        for (std::size_t index = 0; index < together; ++index) {
            ASSERT_TRUE(eventually([&] { return steady_clock::now() - begin >= when[index]; }));
            prompts[index]->sendSignal(SIGTERM);
        }
        for (const auto& prompt : prompts) {
            const auto ending = prompt->wait();
            ASSERT_TRUE(ending) << systemLog();
            // Before the prompt has taken the signal over it ends it as any program.
            const bool isEarly = *ending == Ending{-1, SIGTERM};
            EXPECT_TRUE(isEarly || *ending == (Ending{0, 0}))
                << ending->status << ' ' << ending->signal << '\n'
                << systemLog();
            early += isEarly ? 1 : 0;
        }
    }
    const AccessLogEntries log = accessLog();
    const std::vector<std::string> messages = serviceProcess().messages();
    EXPECT_EQ(log.torn, "");
    EXPECT_EQ(messages.size(), log.proceeds);
    EXPECT_EQ(std::ranges::count(messages, R"({"proceed":{}})"), std::ssize(messages));
    // Of every kind there was one: before the window, with it, after its answer.
    const std::size_t answered = messages.size() - together;
    EXPECT_GT(early, 0U);
    EXPECT_GT(answered, 0U);
    EXPECT_GT(moments, early + answered);
    startProgram({"/bin/true"});
    expectEnd({0, 0});
}

TEST_F(Termination, WithAPasswordTypedGivesNoAnswerAndLeavesItNowhere) {
    startServiceProcess("answer");
    startWithPassword();
    process().sendSignal(SIGTERM);
    expectEnd({0, 0});
    EXPECT_THAT(serviceProcess().messages(), ::testing::IsEmpty());
    EXPECT_EQ(accessLog().starts, 1U);
    EXPECT_EQ(accessLog().ends, 0U);
}

TEST_F(Termination, InTheCallWaitsForTheReply) {
    startServiceProcess("late");
    startWithPassword();
    answerUntilTheServiceHasIt();
    process().sendSignal(SIGTERM);
    expectEnd({0, 0});
    EXPECT_TRUE(logged("Reply Received late reply\n")) << systemLog();
    expectOneAnswer();
}

}  // namespace
}  // namespace velunor::testing
