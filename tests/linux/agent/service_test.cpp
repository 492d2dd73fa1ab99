// The connection to the agent service, over message buses of the tests' own.

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <thread>

#include "agent/ltarnutils.h"
#include "tests/linux/agent/agent_files.h"
#include "tests/support/memory_search.h"

namespace velunor::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* statusKey = "PatchOSUpdateNotificationStatus";
constexpr const char* nobody = "65534";
/// What a step that does not wait may take on a loaded machine; each wait would be longer.
constexpr std::chrono::seconds atOnce{4};

/// What the library's thread hands back; shared, because it may outlive a test.
struct Replies {
    std::mutex mutex;
    std::vector<std::string> texts;
    std::thread::id thread;
};

class AgentConnection : public AgentFiles {
  protected:
    /// Whether there was a service to hand the message to.
    bool send(const std::string& message) {
        const auto service = AgentServiceConnection().getService();
        if (!service) {
            return false;
        }
        service->replyDataBlockForKey(statusKey, Secret(message),
                                      [replies = replies_](const std::string& reply) {
                                          const std::lock_guard lock(replies->mutex);
                                          replies->texts.push_back(reply);
                                          replies->thread = std::this_thread::get_id();
                                      });
        return true;
    }

    [[nodiscard]] std::vector<std::string> replies() const {
        const std::lock_guard lock(replies_->mutex);
        return replies_->texts;
    }

    [[nodiscard]] std::thread::id replyThread() const {
        const std::lock_guard lock(replies_->mutex);
        return replies_->thread;
    }

    [[nodiscard]] bool waitForReply() const {
        return eventually([this] { return !replies().empty(); });
    }

    [[nodiscard]] bool waitForLog(const std::string& text) const {
        return eventually([&] { return libraryLog().find(text) != std::string::npos; });
    }

  private:
    std::shared_ptr<Replies> replies_ = std::make_shared<Replies>();
};

class AgentConnectionOnSessionBus : public AgentConnection {
  protected:
    AgentConnectionOnSessionBus() { initialiseLibrary(); }

    /// Starts a bus that starts the command `activated`, when given, for the service's name.
    void startBus(const std::string& activated = {}) {
        BusSetup setup;
        if (!activated.empty()) {
            setup.services["com.velunor.OstrelAgent.service"] =
                "[D-BUS Service]\nName=com.velunor.OstrelAgent\nExec=" + activated + "\n";
        }
        bus_.emplace(directory(), setup);
    }

    FakeService& startService(const std::string& mode) {
        startBus();
        service_ = std::make_unique<FakeService>(directory(), bus_->address(), mode);
        return *service_;
    }

    PrivateBus& bus() { return *bus_; }

  private:
    std::optional<PrivateBus> bus_;
    std::unique_ptr<FakeService> service_;
};

TEST_F(AgentConnectionOnSessionBus, KeyAndBytesArriveAndTheReplyComesBack) {
    const FakeService& service = startService("answer");
    const std::string json = R"({"proceed":{"userName":"j\u00e4","passwd":"a\/b\\\"ü€😀"}})";
    ASSERT_TRUE(send(json));
    ASSERT_TRUE(waitForReply()) << libraryLog();
    EXPECT_THAT(replies(), ElementsAre("status noted: \u00e4/\""));
    EXPECT_THAT(service.requests(), ElementsAre(statusKey + (" " + hexadecimal(json))));
}

TEST_F(AgentConnectionOnSessionBus, EveryByteArrives) {
    const FakeService& service = startService("answer");
    std::string bytes;
    for (int value = 0; value < 256; ++value) {
        bytes += static_cast<char>(value);
    }
    ASSERT_TRUE(send(bytes));
    ASSERT_TRUE(waitForReply()) << libraryLog();
    EXPECT_THAT(service.requests(), ElementsAre(statusKey + (" " + hexadecimal(bytes))));
}

TEST_F(AgentConnectionOnSessionBus, MessageGoesToTheOwnerThatWasCheckedWhoeverHasTheNameByThen) {
    const FakeService& service = startService("destination");
    ASSERT_TRUE(send("{}"));
    ASSERT_TRUE(waitForReply()) << libraryLog();
    EXPECT_THAT(service.requests(),
                ElementsAre(::testing::StartsWith(":"), statusKey + (" " + hexadecimal("{}"))));
}

TEST_F(AgentConnectionOnSessionBus, MessageIsNowhereInTheMemoryAfterTheReply) {
    startService("answer");
    const Needle needle;
    const int before = bus().clientCount();
    const auto service = AgentServiceConnection().getService();
    ASSERT_NE(service, nullptr);
    // Negative as long as there is no reply.
    const auto found = std::make_shared<std::atomic<int>>(-1);
    service->replyDataBlockForKey(
        statusKey, needle.password(),
        [found, needle](const std::string&) { *found = occurrencesOf(needle); });
    ASSERT_TRUE(eventually([&] { return *found >= 0; })) << libraryLog();
    EXPECT_EQ(*found, 0);
    // The library's thread lets its connection go at its end.
    ASSERT_TRUE(eventually([&] { return bus().clientCount() == before; }));
    EXPECT_EQ(occurrencesOf(needle), 0);
}

TEST_F(AgentConnectionOnSessionBus, ReplyComesOnAThreadOfTheLibrary) {
    startService("answer");
    ASSERT_TRUE(send("{}"));
    ASSERT_TRUE(waitForReply()) << libraryLog();
    EXPECT_NE(replyThread(), std::this_thread::get_id());
}

TEST_F(AgentConnectionOnSessionBus, EachMessageTakesAConnectionOfItsOwn) {
    const FakeService& service = startService("answer");
    ASSERT_TRUE(send("first"));
    ASSERT_TRUE(waitForReply()) << libraryLog();
    ASSERT_TRUE(send("second"));
    ASSERT_TRUE(eventually([this] { return replies().size() == 2; })) << libraryLog();
    EXPECT_THAT(service.requests(), ::testing::SizeIs(2));
}

TEST_F(AgentConnectionOnSessionBus, SecondMessageOnOneConnectionIsALogLine) {
    const FakeService& service = startService("answer");
    const auto connected = AgentServiceConnection().getService();
    ASSERT_NE(connected, nullptr);
    const auto count = std::make_shared<std::atomic<int>>(0);
    for (const char* message : {"first", "second"}) {
        connected->replyDataBlockForKey(statusKey, Secret(message),
                                        [count](const std::string&) { ++*count; });
    }
    EXPECT_TRUE(waitForLog(" Agent service: one connection takes one message\n"));
    EXPECT_TRUE(eventually([&] { return *count == 1; })) << libraryLog();
    EXPECT_THAT(service.requests(), ElementsAre(statusKey + (" " + hexadecimal("first"))));
}

TEST_F(AgentConnectionOnSessionBus, LateReplyStillComes) {
    startService("late");
    ASSERT_TRUE(send("{}"));
    EXPECT_THAT(replies(), IsEmpty());
    ASSERT_TRUE(waitForReply()) << libraryLog();
    EXPECT_THAT(replies(), ElementsAre("late reply"));
}

TEST_F(AgentConnectionOnSessionBus, SilentServiceDoesNotBlockTheCaller) {
    const FakeService& service = startService("mute");
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_TRUE(send("{}"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, atOnce);
    ASSERT_TRUE(eventually([&] { return !service.requests().empty(); })) << libraryLog();
    EXPECT_THAT(replies(), IsEmpty());
}

TEST_F(AgentConnectionOnSessionBus, AbsentServiceIsALogLineAndNoReply) {
    startBus();
    ASSERT_TRUE(send("{}"));
    EXPECT_TRUE(waitForLog(" Agent service: no owner: ")) << libraryLog();
    EXPECT_THAT(replies(), IsEmpty());
}

TEST_F(AgentConnectionOnSessionBus, ServiceThatTheBusCanStartIsStarted) {
    const std::filesystem::path output = directory() / "activated";
    startBus("/bin/sh -c \"exec " FAKE_SERVICE_PROGRAM " " + PrivateBus::addressIn(directory()) +
             " answer own > " + output.string() + "\"");
    ASSERT_TRUE(send("{}"));
    ASSERT_TRUE(waitForReply()) << libraryLog();
    EXPECT_THAT(readFile(output), HasSubstr(statusKey + (" " + hexadecimal("{}"))));
}

TEST_F(AgentConnectionOnSessionBus, ServiceThatDiesInTheCallIsALogLineAndNoReply) {
    const FakeService& service = startService("leave");
    ASSERT_TRUE(send("{}"));
    EXPECT_TRUE(waitForLog(" Agent service: no reply: ")) << libraryLog();
    EXPECT_THAT(service.requests(), ::testing::SizeIs(1));
    EXPECT_THAT(replies(), IsEmpty());
}

TEST_F(AgentConnectionOnSessionBus, BusThatDiesInTheCallIsALogLineAndNoReply) {
    const FakeService& service = startService("mute");
    ASSERT_TRUE(send("{}"));
    ASSERT_TRUE(eventually([&] { return !service.requests().empty(); })) << libraryLog();
    bus().stop();
    EXPECT_TRUE(waitForLog(" Agent service: no reply: ")) << libraryLog();
    EXPECT_THAT(replies(), IsEmpty());
}

TEST_F(AgentConnectionOnSessionBus, ErrorReplyIsALogLineAndNoReply) {
    startService("refuse");
    ASSERT_TRUE(send("{}"));
    EXPECT_TRUE(waitForLog(" Agent service: no reply: no wish to answer\n")) << libraryLog();
    EXPECT_THAT(replies(), IsEmpty());
}

TEST_F(AgentConnectionOnSessionBus, ErrorReplyWithoutWordsIsALogLineAndNoReply) {
    startService("refuse-mutely");
    ASSERT_TRUE(send("{}"));
    EXPECT_TRUE(waitForLog(" Agent service: no reply: Permission denied\n")) << libraryLog();
    EXPECT_THAT(replies(), IsEmpty());
}

TEST_F(AgentConnectionOnSessionBus, ReplyOfAnotherTypeIsALogLineAndNoReply) {
    startService("number");
    ASSERT_TRUE(send("{}"));
    EXPECT_TRUE(waitForLog(" Agent service: the reply is not a text\n")) << libraryLog();
    EXPECT_THAT(replies(), IsEmpty());
}

TEST_F(AgentConnectionOnSessionBus, ReplyWithoutATextIsALogLineAndNoReply) {
    startService("nothing");
    ASSERT_TRUE(send("{}"));
    EXPECT_TRUE(waitForLog(" Agent service: the reply is not a text\n")) << libraryLog();
    EXPECT_THAT(replies(), IsEmpty());
}

TEST_F(AgentConnectionOnSessionBus, AbsentSocketIsNoService) {
    EXPECT_FALSE(send("{}"));
    EXPECT_THAT(libraryLog(), HasSubstr(" Agent service: no bus: No such file or directory\n"));
}

TEST_F(AgentConnectionOnSessionBus, SocketThatNobodyListensOnIsNoService) {
    startBus();
    bus().stop();
    EXPECT_FALSE(send("{}"));
    EXPECT_THAT(libraryLog(), HasSubstr(" Agent service: no bus: "));
}

TEST_F(AgentConnectionOnSessionBus, MissingAddressIsNoService) {
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    unsetenv("XDG_RUNTIME_DIR");
    EXPECT_FALSE(send("{}"));
    EXPECT_THAT(libraryLog(), HasSubstr(" Agent service: no bus: "));
}

TEST_F(AgentConnectionOnSessionBus, MalformedAddressIsNoService) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "no address at all", 1);
    EXPECT_FALSE(send("{}"));
}

TEST_F(AgentConnectionOnSessionBus, BusThatNeverAnswersDoesNotBlockTheCaller) {
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = directory() / "bus";
    ASSERT_LT(path.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 4), 0);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(send("{}"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, atOnce);
    EXPECT_THAT(replies(), IsEmpty());
    // The hung-up bus ends the library's thread with a line in its log.
    close(listener);
    EXPECT_TRUE(waitForLog(" Agent service: no owner: ")) << libraryLog();
    EXPECT_THAT(replies(), IsEmpty());
}

TEST_F(AgentConnectionOnSessionBus, ProcessThatExitsInTheCallDoesNotCrash) {
    const FakeService& service = startService("mute");
    const std::filesystem::path signal = directory() / "leave";
    ChildProcess process(Command{
        .arguments = {FAKE_PROMPT_PROGRAM, "leave-in-call", "{}", signal.string(), "", "", ""},
        .environment = environment(),
        .output = {},
        .errors = directory() / "errors"});
    ASSERT_TRUE(eventually([&] { return !service.requests().empty(); }));
    writeFile(signal, "");
    EXPECT_EQ(process.wait(), (Ending{0, 0})) << readFile(directory() / "errors");
}

class AgentConnectionOnSystemBus : public AgentConnection {
  protected:
    AgentConnectionOnSystemBus() {
        writeSettings("system");
        initialiseLibrary();
        bus_.emplace(directory(), BusSetup{.type = "system"});
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
    }

    std::unique_ptr<FakeService> startService(const std::string& user) {
        return std::make_unique<FakeService>(directory(), bus_->address(), "answer", user);
    }

    void expectRefusal(const FakeService& service) {
        ASSERT_TRUE(send(R"({"proceed":{"passwd":"geheim"}})"));
        EXPECT_TRUE(waitForLog(" Agent service: its owner is not root; nothing was sent\n"))
            << libraryLog();
        EXPECT_THAT(service.requests(), IsEmpty());
        EXPECT_THAT(replies(), IsEmpty());
    }

  private:
    std::optional<PrivateBus> bus_;
};

TEST_F(AgentConnectionOnSystemBus, OwnerOtherThanRootIsSentNothing) {
    expectRefusal(*startService(geteuid() == 0 ? nobody : "own"));
}

TEST_F(AgentConnectionOnSystemBus, OwnerOfTheTestIsTrustedAsRootAlone) {
    const auto service = startService("own");
    if (geteuid() != 0) {
        expectRefusal(*service);
        return;
    }
    ASSERT_TRUE(send("{}"));
    ASSERT_TRUE(waitForReply()) << libraryLog();
    EXPECT_THAT(service->requests(), ::testing::SizeIs(1));
}

TEST_F(AgentConnectionOnSystemBus, AbsentServiceIsALogLineAndNoReply) {
    ASSERT_TRUE(send("{}"));
    EXPECT_TRUE(waitForLog(" Agent service: no owner: ")) << libraryLog();
    EXPECT_THAT(replies(), IsEmpty());
}

}  // namespace
}  // namespace velunor::testing
