// The local agent service, as a process on a bus of the test's own.

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "agent/linux/agent_bus.h"
#include "tests/linux/agent/launcher_fixture.h"
#include "tests/support/private_bus.h"

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

    /// Sends a request of a client that has left the bus when this returns.
    void askAndLeave(const std::string& key, const std::string& body) {
        BusConnection connection = connectToBus(bus().address());
        const char* name = nullptr;
        EXPECT_GE(sd_bus_get_unique_name(connection.get(), &name), 0);
        const std::string client = name;
        sd_bus_message* raw = nullptr;
        EXPECT_GE(sd_bus_message_new_method_call(connection.get(), &raw, agentBusName,
                                                 agentObjectPath, agentInterface, agentReplyMethod),
                  0);
        const BusMessage message(raw);
        EXPECT_GE(sd_bus_message_append(raw, "s", key.c_str()), 0);
        EXPECT_GE(sd_bus_message_append_array(raw, 'y', body.data(), body.size()), 0);
        EXPECT_GE(sd_bus_send(connection.get(), raw, nullptr), 0);
        connection.reset();
        EXPECT_TRUE(eventually([&] { return !bus().hasName(client); }));
    }
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

TEST_F(AgentServeRequests, SenderWhoHasGoneHasNoUserId) {
    ChildProcess& process = startService({});
    process.sendSignal(SIGSTOP);
    ASSERT_EQ(waitpid(process.id(), nullptr, WUNTRACED), process.id());
    askAndLeave("key", "body");
    process.sendSignal(SIGCONT);
    EXPECT_TRUE(eventually([this] { return !output().empty(); }));
    EXPECT_EQ(output(), "? key body\n");
}

TEST_F(AgentServeRequests, BusThatGoesAwayEndsWithThree) {
    ChildProcess& process = startService({});
    bus().stop();
    EXPECT_EQ(process.wait(), exited(AgentExit::noService));
    EXPECT_THAT(errors(), EndsWith("ostrel-agent: the message bus is gone\n"));
}

TEST_F(AgentServe, TakenNameEndsWithThree) {
    startBus();
    const FakeService other(directory(), bus().address(), "answer");
    EXPECT_EQ(start({"serve"}).wait(), exited(AgentExit::noService));
    EXPECT_THAT(errors(), EndsWith(nameIsTaken));
}

}  // namespace
}  // namespace velunor::testing
