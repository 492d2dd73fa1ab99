#include "prompt/delivery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/doubles/agent_recording.h"
#include "tests/support/doubles/fakes.h"
#include "tests/support/doubles/recording_log.h"

namespace velunor::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::chrono_literals;
using Milliseconds = std::chrono::milliseconds;

class DeliveryTest : public ::testing::Test {
  protected:
    DeliveryTest() { resetAgent(); }
    void TearDown() override { agent().join(); }

    /// Delivers and tells how long that took.
    Milliseconds deliver(OSUpdateNotificationResponse response, Milliseconds deadline) {
        const auto begin = std::chrono::steady_clock::now();
        deliverToService(std::move(response), log, deadline);
        return std::chrono::duration_cast<Milliseconds>(std::chrono::steady_clock::now() - begin);
    }

    RecordingLog log;
};

TEST_F(DeliveryTest, HandsTheJsonOverUnderItsKeyAndLogsTheReply) {
    agent().reply = "any text";
    deliver({Postponse{"bob"}}, 60s);
    ASSERT_EQ(agent().requests.size(), 1U);
    EXPECT_EQ(agent().requests.front().first, "PatchOSUpdateNotificationStatus");
    EXPECT_EQ(agent().requests.front().second, R"({"postponse":{"userName":"bob"}})");
    EXPECT_THAT(log.lines(), ElementsAre("Reply Received any text"));
    EXPECT_EQ(agent().services, 1);
}

TEST_F(DeliveryTest, ReplyEndsTheWaitAtOnce) {
    EXPECT_LT(deliver({Proceed{}}, 60s), 30s);
}

TEST_F(DeliveryTest, AbsentServiceIsWaitedForSilently) {
    agent().service = AgentRecording::Service::absent;
    EXPECT_GE(deliver({Proceed{}}, 50ms), 50ms);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(agent().requests, IsEmpty());
    EXPECT_EQ(agent().services, 1);
}

TEST_F(DeliveryTest, SilentServiceIsWaitedForAndNothingIsLogged) {
    agent().service = AgentRecording::Service::silent;
    EXPECT_GE(deliver({Proceed{}}, 50ms), 50ms);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(agent().requests.size(), 1U);
}

TEST_F(DeliveryTest, ReplyAfterTheDeadlineIsHarmless) {
    agent().service = AgentRecording::Service::silent;
    deliver({Proceed{}}, 1ms);
    std::thread([] { agent().keptReply("late"); }).join();
    EXPECT_THAT(log.lines(), ElementsAre("Reply Received late"));
}

TEST_F(DeliveryTest, AnswerThatCannotBeCodedReturnsAtOnceWithoutSending) {
    EXPECT_LT(deliver({Postponse{"\xFF"}}, 60s), 30s);
    EXPECT_THAT(log.lines(),
                ElementsAre("Error encoding data: The text of \"userName\" is not valid UTF-8."));
    EXPECT_THAT(agent().requests, IsEmpty());
}

TEST_F(DeliveryTest, DeadlineIsTenSeconds) {
    EXPECT_EQ(replyDeadline, 10s);
}

}  // namespace
}  // namespace velunor::testing
