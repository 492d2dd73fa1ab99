// Delivery to an agent service that takes its time: the prompt waits at most ten seconds for the
// reply and then leaves as after any answer. Other faults of a service are tested on the delivery
// alone.

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

constexpr std::chrono::seconds replyLimit{10};
// Above the limit: what starting to deliver and leaving may take on a loaded machine.
constexpr std::chrono::seconds allowance{8};

class Service : public PromptTest {
  protected:
    // Postpones and gives the time from the click to the end of the process.
    std::chrono::steady_clock::duration postpone() {
        start(patientPrompt());
        EXPECT_TRUE(waitForWindow()) << systemLog();
        EXPECT_TRUE(clickButton("Later")) << systemLog();
        const auto click = std::chrono::steady_clock::now();
        EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
        return std::chrono::steady_clock::now() - click;
    }

    [[nodiscard]] bool replyLogged() const {
        return systemLog().find("Reply Received ") != std::string::npos;
    }
};

TEST_F(Service, MuteServiceIsWaitedForTenSeconds) {
    startService(Treatment::stayMute);
    const auto passed = postpone();
    EXPECT_EQ(requests().size(), 1U);
    EXPECT_GE(passed, replyLimit - std::chrono::milliseconds(100));
    EXPECT_LT(passed, replyLimit + allowance);
    EXPECT_FALSE(replyLogged());
}

TEST_F(Service, LateReplyEndsTheWait) {
    startService(Treatment::answerLate);
    const auto passed = postpone();
    EXPECT_EQ(requests().size(), 1U);
    EXPECT_GE(passed, TestAgentService::lateness - std::chrono::milliseconds(100));
    EXPECT_LT(passed, replyLimit);
    EXPECT_TRUE(replyLogged());
}

}  // namespace
}  // namespace velunor::testing
