// Descriptors, memory and processes that are used up: the stated loss, an end with a stated status,
// and where the prompt goes on the same window answers once there are some again.

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>

#include "tests/e2e/faults/fault_test.h"

namespace velunor::testing {
namespace {

using ::testing::IsEmpty;

/// The C++ library's end of a process that gets no more.
constexpr Ending outOfMemory{-1, SIGABRT};

class ResourceFault : public FaultTest {
  protected:
    /// Sets a limit of the running prompt, by prlimit(1)'s name for it.
    void limit(const std::string& resource, const std::string& most) {
        ChildProcess tool(
            {.arguments = {"/usr/bin/prlimit", "--pid=" + std::to_string(process().id()),
                           "--" + resource + "=" + most + ":"},
             .environment = {}});
        ASSERT_EQ(tool.wait(), (Ending{0, 0}));
    }

    /// What the prompt was started with: what the test has itself.
    static std::string usual(const std::string& resource) {
        rlimit value{};
        ::getrlimit(resource == "nofile"  ? RLIMIT_NOFILE
                    : resource == "nproc" ? RLIMIT_NPROC
                                          : RLIMIT_AS,
                    &value);
        return value.rlim_cur == RLIM_INFINITY ? "unlimited" : std::to_string(value.rlim_cur);
    }

    /// A limit that leaves the prompt what it has open and no more. The last few may be open for a
    /// moment only.
    [[nodiscard]] std::string noMoreDescriptors() {
        constexpr int last = 3;
        const AsRoot root;
        const std::string place = "/proc/" + std::to_string(process().id()) + "/fd/";
        int number = 0;
        while (std::filesystem::is_symlink(place + std::to_string(number))) {
            ++number;
        }
        return std::to_string(number - last);
    }

    /// What the agent library has written about this prompt.
    [[nodiscard]] std::string libraryLog() const {
        return readFile(accessLogPath().parent_path() / "OSUpdateNotification_ada.log");
    }

    [[nodiscard]] bool wasRefused() const { return logged("Secure Token not enabled for ada\n"); }

    /// A password that nothing is left to check with: it is refused, the window grows by the notice
    /// of that and counts on, and the next one is accepted once there is enough again.
    void expectRefusalUntilThereAreSome(const std::string& resource, const std::string& none) {
        const std::optional<WindowId> window = waitForWindow();
        ASSERT_TRUE(window);
        const int height = display().screen().frameOf(*window).height;
        limit(resource, none);
        ASSERT_TRUE(clickButton("Go ahead")) << systemLog();
        ASSERT_TRUE(eventually([&] { return wasRefused(); })) << systemLog();
        ASSERT_TRUE(
            eventually([&] { return display().screen().frameOf(*window).height > height; }));
        // It draws anew as soon as it is higher, which is long before a second tick from there.
        const int seconds = secondsShown();
        ASSERT_GT(seconds, 0);
        ASSERT_TRUE(eventually([&] { return secondsShown() < seconds - 1; })) << systemLog();
        EXPECT_THAT(serviceProcess().messages(), IsEmpty());
        expectSound();
        limit(resource, usual(resource));
        answerUntilTheServiceHasIt();
        expectEnd({0, 0});
        EXPECT_TRUE(serviceProcess().messages() == std::vector<std::string>{proceeding()});
    }

    /// An answer with nothing left to send it by: it is lost, with a line that says why, after the
    /// wait of any lost answer.
    void expectLossWithoutAny(const std::string& resource, const std::string& none,
                              const std::string& line) {
        limit(resource, none);
        ASSERT_TRUE(clickButton("Later")) << systemLog();
        const auto click = std::chrono::steady_clock::now();
        expectEnd({0, 0});
        EXPECT_GE(std::chrono::steady_clock::now() - click, replyLimit);
        EXPECT_THAT(serviceProcess().messages(), IsEmpty());
        EXPECT_THAT(libraryLog(), ::testing::HasSubstr(line));
    }
};

TEST_F(ResourceFault, WithoutDescriptorsTheAnswerIsLostAndTold) {
    startServiceProcess("answer");
    startWithPassword();
    expectLossWithoutAny("nofile", noMoreDescriptors(),
                         "Agent service: no bus: Too many open files\n");
    EXPECT_THAT(libraryLog(), ::testing::HasSubstr("rebootaccess.log: Too many open files\n"));
}

TEST_F(ResourceFault, WithoutDescriptorsNothingIsAcceptedAndTheWindowGoesOn) {
    startServiceProcess("answer");
    startWithPassword();
    expectRefusalUntilThereAreSome("nofile", noMoreDescriptors());
}

TEST_F(ResourceFault, WithoutProcessesNothingIsAccepted) {
    startServiceProcess("answer");
    startWithPassword();
    expectRefusalUntilThereAreSome("nproc", "0");
}

TEST_F(ResourceFault, WithoutProcessesTheAnswerIsLostAndTold) {
    startServiceProcess("answer");
    startWithPassword();
    expectLossWithoutAny("nproc", "0",
                         "Agent service: no thread: Resource temporarily unavailable\n");
    EXPECT_EQ(accessLog().ends, 1U);
}

TEST_F(ResourceFault, WithoutMemoryNothingIsAccepted) {
    startServiceProcess("answer");
    startWithPassword();
    limit("as", "0");
    ASSERT_TRUE(clickButton("Go ahead")) << systemLog();
    ASSERT_TRUE(eventually([&] { return wasRefused() || !process().isRunning(); })) << systemLog();
    EXPECT_THAT(serviceProcess().messages(), IsEmpty());
    if (process().isRunning()) {
        limit("as", usual("as"));
    }
    // What the heap had left lasted for showing the refusal, or not even for that.
    const bool goesOn =
        process().isRunning() && clickButton("Go ahead") && process().wait() == Ending{0, 0};
    expectEnd(goesOn ? Ending{0, 0} : outOfMemory);
    EXPECT_TRUE(serviceProcess().messages() ==
                (goesOn ? std::vector<std::string>{proceeding()} : std::vector<std::string>{}));
    EXPECT_EQ(accessLog().proceeds, goesOn ? 1U : 0U);
}

TEST_F(ResourceFault, WithoutMemoryThePromptEndsAndTearsNothing) {
    startServiceProcess("answer");
    startWithPassword();
    limit("as", "0");
    ASSERT_TRUE(clickButton("Later")) << systemLog();
    const auto ending = process().wait();
    ASSERT_TRUE(ending) << systemLog();
    // The answer is lost as any, or the process has not even the memory for that.
    EXPECT_TRUE(*ending == (Ending{0, 0}) || *ending == outOfMemory)
        << ending->status << ' ' << ending->signal;
    expectEnd(*ending);
    EXPECT_LE(serviceProcess().messages().size(), 1U);
}

}  // namespace
}  // namespace velunor::testing
