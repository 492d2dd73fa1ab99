// A start with few descriptors, little memory or no further process: it says so and ends with a
// stated status, or it is a whole prompt.

#include <gtest/gtest.h>

#include "tests/e2e/faults/fault_test.h"

namespace velunor::testing {
namespace {

class StartFault : public FaultTest {
  protected:
    /// Starts a prompt that asks for credentials with this limit, by prlimit(1)'s name for it.
    void startWithin(const std::string& resource, std::size_t most) {
        std::filesystem::remove(directory() / "err");
        startProgram({"/usr/bin/prlimit", "--" + resource + "=" + std::to_string(most),
                      reachable(PROMPT_PROGRAM), "OSUpdateWithCred", "Debian 12.9", "false", "15",
                      "false", "2"});
    }

    /// Raises the limit from `least` in steps until the window shows, and answers there. With less
    /// the prompt says what it lacks, as does the loader where not even the libraries have room.
    void expectRefusalsAndThenAPrompt(const std::string& resource, std::size_t least,
                                      std::size_t step, const std::string& lack) {
        constexpr std::size_t mostSteps = 100;
        constexpr Ending ofTheLoader{127, 0};
        startServiceProcess("answer");
        noteBefore();
        std::size_t refusals = 0;
        startWithin(resource, least);
        for (std::size_t steps = 1; !waitForWindow() && steps < mostSteps; ++steps) {
            SCOPED_TRACE(resource + " " + std::to_string(least + (steps - 1) * step));
            const auto ending = process().wait();
            const bool isRefusal = ending == Ending{1, 0};
            EXPECT_TRUE(isRefusal || ending == ofTheLoader) << systemLog();
            EXPECT_EQ(logged("Too little to start with: " + lack + "\n"), isRefusal) << systemLog();
            refusals += isRefusal ? 1 : 0;
            startWithin(resource, least + steps * step);
        }
        EXPECT_GT(refusals, 1U);
        ASSERT_TRUE(waitForWindow()) << systemLog();
        enterPassword();
        answerUntilTheServiceHasIt();
        expectEnd({0, 0});
        expectOneAnswer();
    }
};

TEST_F(StartFault, WithFewDescriptorsIsRefusedOrAWholePrompt) {
    expectRefusalsAndThenAPrompt("nofile", 3, 1, "Too many open files");
}

TEST_F(StartFault, WithLittleMemoryIsRefusedOrAWholePrompt) {
    constexpr std::size_t megabyte = std::size_t{1} << 20U;
    expectRefusalsAndThenAPrompt("as", 16 * megabyte, 4 * megabyte,
                                 "Resource temporarily unavailable");
}

TEST_F(StartFault, WithoutProcessesIsRefused) {
    noteBefore();
    startWithin("nproc", 0);
    expectEnd({1, 0});
    EXPECT_TRUE(logged("Too little to start with: Resource temporarily unavailable\n"))
        << systemLog();
    EXPECT_EQ(accessLog().starts, 0U);
}

}  // namespace
}  // namespace velunor::testing
