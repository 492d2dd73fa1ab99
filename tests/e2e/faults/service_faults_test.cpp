// The agent service, or the bus between, that fails: the answer arrives once, or is lost as it is
// stated, and the prompt ends as after any answer.

#include <gmock/gmock.h>

#include <csignal>

#include "tests/e2e/faults/fault_test.h"

namespace velunor::testing {
namespace {

using ::testing::IsEmpty;

class ServiceFault : public FaultTest {
  protected:
    /// Clicks Update Now and waits for the end; the time between.
    std::chrono::steady_clock::duration answer() {
        EXPECT_TRUE(clickButton("Go ahead")) << systemLog();
        const auto click = std::chrono::steady_clock::now();
        expectEnd({0, 0});
        return std::chrono::steady_clock::now() - click;
    }

    /// Answers, and a service that treats messages so has the answer.
    void answerWhileTheService(const std::string& mode) {
        startServiceProcess(mode);
        startWithPassword();
        answerUntilTheServiceHasIt();
    }

    /// The answer was given and is lost.
    void expectLoss() {
        EXPECT_THAT(serviceProcess().messages(), IsEmpty());
        EXPECT_EQ(accessLog().starts, 1U);
        EXPECT_EQ(accessLog().proceeds, 1U);
    }
};

TEST_F(ServiceFault, KilledBeforeTheCallLosesTheAnswerAfterTheWait) {
    startServiceProcess("answer");
    startWithPassword();
    serviceProcess().kill();
    EXPECT_GE(answer(), replyLimit);
    expectLoss();
}

TEST_F(ServiceFault, StoppedBeforeTheCallGetsTheAnswerOnceWhenItGoesOn) {
    startServiceProcess("answer");
    startWithPassword();
    serviceProcess().sendSignal(SIGSTOP);
    EXPECT_GE(answer(), replyLimit);
    EXPECT_THAT(serviceProcess().messages(), IsEmpty());
    serviceProcess().sendSignal(SIGCONT);
    EXPECT_TRUE(eventually([&] { return !serviceProcess().messages().empty(); }));
    expectOneAnswer();
}

class ServiceFaultInTheCall : public ServiceFault, public ::testing::WithParamInterface<int> {};

TEST_P(ServiceFaultInTheCall, HasTheAnswerOnceAndIsWaitedForNoLonger) {
    answerWhileTheService("mute");
    serviceProcess().sendSignal(GetParam());
    expectEnd({0, 0});
    serviceProcess().sendSignal(SIGCONT);
    EXPECT_FALSE(logged("Reply Received"));
    expectOneAnswer();
}

TEST_P(ServiceFaultInTheCall, AfterItsReplyChangesNothing) {
    answerWhileTheService("answer");
    ASSERT_TRUE(waitForLog("Reply Received status noted")) << systemLog();
    serviceProcess().sendSignal(GetParam());
    const auto reply = std::chrono::steady_clock::now();
    expectEnd({0, 0});
    EXPECT_LT(std::chrono::steady_clock::now() - reply, replyLimit);
    expectOneAnswer();
}

INSTANTIATE_TEST_SUITE_P(Signals, ServiceFaultInTheCall, ::testing::Values(SIGKILL, SIGSTOP),
                         [](const auto& test) { return std::string(sigabbrev_np(test.param)); });

TEST_F(ServiceFault, BusThatIsKilledBeforeTheCallLosesTheAnswerAfterTheWait) {
    startServiceProcess("answer");
    startWithPassword();
    // Without the bus nobody tells where the button is.
    const auto button = waitForControl("push button", "Go ahead");
    const auto window = waitForWindow();
    ASSERT_TRUE(button && window);
    bus().kill();
    display().screen().click(*window, button->extents);
    const auto click = std::chrono::steady_clock::now();
    expectEnd({0, 0});
    EXPECT_GE(std::chrono::steady_clock::now() - click, replyLimit);
    expectLoss();
}

TEST_F(ServiceFault, BusThatIsKilledInTheCallHasCarriedTheAnswerOnce) {
    answerWhileTheService("mute");
    bus().kill();
    expectEnd({0, 0});
    EXPECT_FALSE(logged("Reply Received"));
    expectOneAnswer();
}

TEST_F(ServiceFault, DisplayThatIsKilledInTheCallDoesNotTakeTheAnswerBack) {
    answerWhileTheService("late");
    display().killServer();
    const auto ending = process().wait();
    ASSERT_TRUE(ending) << systemLog();
    // Where the toolkit notices first, it is the loss of the display that is told.
    const bool isLoss = logged("The display was lost\n");
    expectEnd({isLoss ? 1 : 0, 0});
    EXPECT_TRUE(logged("Reply Received late reply")) << systemLog();
    expectOneAnswer();
}

TEST_F(ServiceFault, DisplayThatIsKilledWithAPasswordTypedIsStatusOneAndNoAnswer) {
    startServiceProcess("answer");
    startWithPassword();
    display().killServer();
    expectEnd({1, 0});
    EXPECT_TRUE(logged("The display was lost\n")) << systemLog();
    EXPECT_THAT(serviceProcess().messages(), IsEmpty());
    EXPECT_EQ(accessLog().starts, 1U);
    EXPECT_EQ(accessLog().ends, 0U);
}

}  // namespace
}  // namespace velunor::testing
