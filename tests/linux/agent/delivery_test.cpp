// The delivery of an answer through the real library, to services that are not what they should
// be. The deadline is the tests' own; that the prompt's is kept is tested with the whole program.

#include "prompt/delivery.h"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <optional>

#include "tests/linux/agent/agent_files.h"
#include "tests/support/doubles/recording_log.h"

namespace velunor::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::chrono::milliseconds deadline{300};

class DeliveryOnTheBus : public AgentFiles {
  protected:
    DeliveryOnTheBus() { initialiseLibrary(); }

    void startBus(const BusSetup& setup = {}) { bus_.emplace(directory(), setup); }

    /// Starts a bus that starts the service when it is asked for, which takes it this long.
    void startBusThatStartsAService(std::chrono::seconds start) {
        const std::string service = FAKE_SERVICE_PROGRAM " " + PrivateBus::addressIn(directory());
        startBus({.services = {{"com.velunor.OstrelAgent.service",
                                "[D-BUS Service]\nName=com.velunor.OstrelAgent\nExec=/bin/sh -c "
                                "\"sleep " +
                                    std::to_string(start.count()) + "; exec " + service +
                                    " answer own\"\n"}}});
    }

    FakeService& startService(const std::string& mode) {
        startBus();
        service_ = std::make_unique<FakeService>(directory(), bus_->address(), mode);
        return *service_;
    }

    /// Delivers a postponement and gives the time that this took.
    std::chrono::steady_clock::duration postpone(std::chrono::milliseconds limit) {
        const auto begin = std::chrono::steady_clock::now();
        deliverToService({Postponse{}}, log_, limit);
        return std::chrono::steady_clock::now() - begin;
    }

    /// Waits until the library's thread has given up, so that nothing of it outlives the test.
    [[nodiscard]] bool libraryGaveUp() {
        service_.reset();
        return eventually(
            [this] { return libraryLog().find("Agent service: no ") != std::string::npos; });
    }

    [[nodiscard]] std::vector<std::string> log() const { return log_.lines(); }

  private:
    RecordingLog log_;
    std::optional<PrivateBus> bus_;
    std::unique_ptr<FakeService> service_;
};

TEST_F(DeliveryOnTheBus, AbsentServiceIsWaitedForUntilTheDeadline) {
    startBus();
    EXPECT_GE(postpone(deadline), deadline);
    EXPECT_TRUE(libraryGaveUp()) << libraryLog();
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(DeliveryOnTheBus, AbsentBusIsWaitedForUntilTheDeadline) {
    EXPECT_GE(postpone(deadline), deadline);
    EXPECT_TRUE(libraryGaveUp()) << libraryLog();
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(DeliveryOnTheBus, MuteServiceIsWaitedForUntilTheDeadline) {
    const FakeService& service = startService("mute");
    EXPECT_GE(postpone(deadline), deadline);
    EXPECT_TRUE(eventually([&] { return !service.requests().empty(); })) << libraryLog();
    EXPECT_THAT(service.requests(), SizeIs(1));
    EXPECT_TRUE(libraryGaveUp()) << libraryLog();
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(DeliveryOnTheBus, ServiceThatDiesInTheCallGivesNoReply) {
    const FakeService& service = startService("leave");
    EXPECT_GE(postpone(deadline), deadline);
    EXPECT_TRUE(eventually([&] { return !service.requests().empty(); })) << libraryLog();
    EXPECT_THAT(service.requests(), SizeIs(1));
    EXPECT_TRUE(libraryGaveUp()) << libraryLog();
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(DeliveryOnTheBus, ServiceThatTakesItsTimeToStartIsSentTheAnswer) {
    constexpr std::chrono::seconds start{6};
    startBusThatStartsAService(start);
    const auto taken = postpone(replyDeadline);
    EXPECT_GE(taken, start);
    EXPECT_LT(taken, replyDeadline) << libraryLog();
    EXPECT_THAT(log(), ElementsAre("Reply Received status noted: \u00e4/\""));
}

TEST_F(DeliveryOnTheBus, ReplyEndsTheWait) {
    startService("answer");
    EXPECT_LT(postpone(2 * patience), patience);
    EXPECT_THAT(log(), ElementsAre("Reply Received status noted: \u00e4/\""));
}

}  // namespace
}  // namespace velunor::testing
