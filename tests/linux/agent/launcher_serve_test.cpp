// The local agent service, as a process on a bus of the test's own.

#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "tests/linux/agent/launcher_fixture.h"

namespace velunor::testing {
namespace {

using ::testing::EndsWith;

using AgentServe = AgentLauncher;

class AgentServeRequests : public AgentLauncher {
  protected:
    AgentServeRequests() {
        startBus();
        initialiseLibrary();
    }

    /// What the line of a request from this process begins with.
    static std::string thisUser() { return std::to_string(getuid()) + " "; }
};

TEST_F(AgentServeRequests, RequestsArePrintedAndAnsweredWithOK) {
    ChildProcess& process = startService({});
    EXPECT_EQ(request(statusKey, R"({"postponse":{}})"), "OK");
    EXPECT_EQ(request("Other", "plain body"), "OK");
    EXPECT_EQ(errors(), "ostrel-agent: serving\n");
    EXPECT_EQ(output(),
              thisUser() + statusKey + " {\"postponse\":{}}\n" + thisUser() + "Other plain body\n");
    process.sendSignal(SIGTERM);
    EXPECT_EQ(process.wait(), exited(AgentExit::proceed));
}

TEST_F(AgentServeRequests, ReplyIsTheOneGiven) {
    startService({"--reply", "noted, thanks"});
    EXPECT_EQ(request(statusKey, "{}"), "noted, thanks");
}

TEST_F(AgentServeRequests, OnceEndsAfterTheFirstRequest) {
    ChildProcess& process = startService({"--once"});
    EXPECT_EQ(request(statusKey, R"({"proceed":{}})"), "OK");
    EXPECT_EQ(process.wait(), exited(AgentExit::proceed));
    EXPECT_EQ(output(), thisUser() + statusKey + " {\"proceed\":{}}\n");
}

TEST_F(AgentServeRequests, BytesThatAreNoAnswerCannotHarmATerminal) {
    startService({});
    EXPECT_EQ(request("key\x1b[2J", "\x1b[31m\nred\xff\x7f"), "OK");
    EXPECT_EQ(output(), thisUser() + "key\\u{1B}[2J \\u{1B}[31m\\nred\uFFFD\\u{7F}\n");
}

TEST_F(AgentServeRequests, KeyCannotPassForTheUserId) {
    startService({});
    EXPECT_EQ(request("0 PatchOSUpdateNotificationStatus", "{}"), "OK");
    EXPECT_EQ(output(), thisUser() + "0 PatchOSUpdateNotificationStatus {}\n");
}

TEST_F(AgentServeRequests, BusThatGoesAwayEndsWithThree) {
    ChildProcess& process = startService({});
    bus().stop();
    EXPECT_EQ(process.wait(), exited(AgentExit::noService));
    EXPECT_THAT(errors(), EndsWith("the message bus is gone\n"));
}

TEST_F(AgentServe, TakenNameEndsWithThree) {
    startBus();
    const FakeService other(directory(), bus().address(), "answer");
    EXPECT_EQ(start({"serve"}).wait(), exited(AgentExit::noService));
    EXPECT_THAT(errors(), EndsWith(nameIsTaken));
}

}  // namespace
}  // namespace velunor::testing
