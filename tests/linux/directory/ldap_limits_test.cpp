// Servers that are away, silent, slow or gone in the middle, and how long they can hold a check up.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <ldap.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>
#include <utility>

#include "tests/linux/directory/ldap_node_fixture.h"
#include "tests/linux/directory/ldap_peers.h"
#include "tests/support/forked_copy.h"
#include "tools/osupdate_checkpass/ldap/ldap_handle.h"

namespace velunor::testing {
namespace {

using std::chrono::steady_clock;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* timedOut = "Error Domain=LDAP Code=-5 ";
constexpr const char* down = "Error Domain=LDAP Code=-1 ";

constexpr std::chrono::seconds shortLimit{1};
/// How long a step may take: its limit, and what a loaded machine adds.
constexpr std::chrono::seconds patience{15};

class LdapNodeLimits : public LdapNode {
  protected:
    LdapNodeLimits() { server.addAccount("alice", "pw"); }

    [[nodiscard]] DirectoryNodeSettings node(const char* scheme, int port) const {
        DirectoryNodeSettings settings =
            nodeAt(server, std::string(scheme) + "://127.0.0.1:" + std::to_string(port));
        settings.timeout = shortLimit;
        return settings;
    }

    [[nodiscard]] std::chrono::milliseconds elapsed() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - begin_);
    }
    void startClock() { begin_ = steady_clock::now(); }

    LdapServer server;

  private:
    steady_clock::time_point begin_ = steady_clock::now();
};

TEST_F(LdapNodeLimits, ServerThatIsDownIsAnErrorAtOnce) {
    int port = 0;
    {
        const SilentListener gone;
        port = gone.port();
    }
    startClock();
    for (const char* scheme : {"ldap", "ldaps"}) {
        EXPECT_THAT(opening(node(scheme, port)),
                    AllOf(StartsWith(down), HasSubstr("Connection refused")));
    }
    EXPECT_LT(elapsed(), patience);
}

TEST_F(LdapNodeLimits, UnknownHostIsAnError) {
    EXPECT_THAT(opening(nodeAt(server, "ldaps://no-such-host.invalid")),
                AllOf(StartsWith(down), HasSubstr("\"The server cannot be reached")));
}

TEST_F(LdapNodeLimits, ServerThatDropsConnectionsEndsAtTheLimit) {
    const BlackHole hole;
    startClock();
    EXPECT_THAT(opening(node("ldaps", hole.port())),
                AllOf(StartsWith(down), HasSubstr("Connection timed out")));
    EXPECT_GT(elapsed(), shortLimit / 2);
    EXPECT_LT(elapsed(), patience);
}

TEST_F(LdapNodeLimits, SilenceAfterConnectingEndsAtTheLimit) {
    const SilentListener silent;
    for (const char* scheme : {"ldaps", "ldap"}) {
        startClock();
        const char* step = scheme == std::string_view("ldap")
                               ? "\"The server does not answer to the request for TLS: "
                               : "\"TLS cannot be established with a trusted certificate: ";
        EXPECT_THAT(opening(node(scheme, silent.port())),
                    AllOf(StartsWith(timedOut), HasSubstr(step)));
        EXPECT_GT(elapsed(), shortLimit / 2);
        EXPECT_LT(elapsed(), patience);
    }
}

TEST_F(LdapNodeLimits, SilenceInsideTheHandshakeEndsAtTheLimit) {
    const Relay relay(server.tlsPort(), [](bool fromClient, const std::string& /*bytes*/) {
        return fromClient ? Relay::Verdict::pass : Relay::Verdict::keep;
    });
    startClock();
    EXPECT_THAT(opening(node("ldaps", relay.port())), StartsWith(timedOut));
    EXPECT_LT(elapsed(), patience);
}

TEST_F(LdapNodeLimits, HandshakeByteByByteEndsAtTheLimit) {
    const Relay relay(server.tlsPort(), [](bool fromClient, const std::string& /*bytes*/) {
        return fromClient ? Relay::Verdict::pass : Relay::Verdict::passSlowly;
    });
    startClock();
    EXPECT_THAT(opening(node("ldaps", relay.port())), StartsWith(timedOut));
    EXPECT_LT(elapsed(), patience);
}

TEST_F(LdapNodeLimits, SilenceAfterTlsEndsAtTheLimit) {
    for (const auto& settings :
         {node("ldaps", server.tlsPort()), node("ldap", server.plainPort())}) {
        const auto open = opened(settings);
        ASSERT_NE(open, nullptr);
        server.pause();
        startClock();
        EXPECT_THAT(answer(*open, "alice", "pw"), StartsWith(timedOut));
        EXPECT_GT(elapsed(), shortLimit / 2);
        EXPECT_LT(elapsed(), patience);
        server.resume();
    }
}

TEST_F(LdapNodeLimits, AnswerByteByByteEndsAtTheLimit) {
    std::atomic<bool> isOpen{false};
    const Relay relay(server.tlsPort(), [&](bool fromClient, const std::string& /*bytes*/) {
        return fromClient || !isOpen ? Relay::Verdict::pass : Relay::Verdict::passSlowly;
    });
    const auto open = opened(node("ldaps", relay.port()));
    ASSERT_NE(open, nullptr);
    isOpen = true;
    startClock();
    EXPECT_THAT(answer(*open, "alice", "pw"), StartsWith(timedOut));
    EXPECT_LT(elapsed(), patience);
}

TEST_F(LdapNodeLimits, SilenceAfterTheBindEndsAtTheLimit) {
    const Relay relay(server.tlsPort(), [&](bool fromClient, const std::string& /*bytes*/) {
        const bool isBind = fromClient && server.searches() > 0;
        return isBind ? Relay::Verdict::keep : Relay::Verdict::pass;
    });
    const auto open = opened(node("ldaps", relay.port()));
    ASSERT_NE(open, nullptr);
    startClock();
    EXPECT_THAT(answer(*open, "alice", "pw"),
                AllOf(StartsWith(timedOut),
                      HasSubstr("\"The server does not answer to name and password")));
    EXPECT_LT(elapsed(), patience);
}

TEST_F(LdapNodeLimits, LostConnectionIsAnErrorAndNeverMadeAgainWithoutTls) {
    for (const bool upgrades : {false, true}) {
        for (const bool beforeBind : {false, true}) {
            std::atomic<bool> isOpen{false};
            const int before = server.searches();
            const Relay relay(
                upgrades ? server.plainPort() : server.tlsPort(),
                [&](bool fromClient, const std::string& /*bytes*/) {
                    const bool isNow = beforeBind ? server.searches() > before : isOpen.load();
                    return fromClient && isNow ? Relay::Verdict::hangUp : Relay::Verdict::pass;
                });
            const auto open = opened(node(upgrades ? "ldap" : "ldaps", relay.port()));
            ASSERT_NE(open, nullptr);
            isOpen = true;
            startClock();
            EXPECT_THAT(answer(*open, "alice", "pw"), StartsWith(down));
            EXPECT_LT(elapsed(), patience);
            EXPECT_EQ(relay.laterBytes(), 0U);
        }
    }
    EXPECT_EQ(server.binds(), 0);
}

TEST_F(LdapNodeLimits, HandleNeverSpeaksOnAConnectionThatTheLibraryMakes) {
    const SilentListener listener;
    const DirectoryNodeSettings settings = node("ldap", listener.port());
    auto made = newLdapHandle(connectToPort(listener.port()), settings);
    ASSERT_TRUE(made);
    LDAP* const handle = made->get();
    // What the library does when it takes a connection for lost.
    Sockbuf* buffer = nullptr;
    ldap_get_option(handle, LDAP_OPT_SOCKBUF, static_cast<void*>(&buffer));
    ber_socket_t none = -1;
    ber_sockbuf_ctrl(buffer, LBER_SB_OPT_SET_FD, &none);
    int request = 0;
    EXPECT_EQ(ldap_search_ext(handle, "", LDAP_SCOPE_BASE, "(cn=x)", nullptr, 0, nullptr, nullptr,
                              nullptr, LDAP_NO_LIMIT, &request),
              LDAP_SERVER_DOWN);
    made->reset();
    std::array<char, 64> bytes{};
    const FileDescriptor first(accept(listener.socket(), nullptr, nullptr));
    const FileDescriptor second(accept(listener.socket(), nullptr, nullptr));
    EXPECT_EQ(recv(second.get(), bytes.data(), bytes.size(), 0), 0);
}

TEST_F(LdapNodeLimits, ServerThatHasEndedBetweenOpeningAndCheckIsAnError) {
    auto ending = std::make_unique<LdapServer>();
    const auto open = opened(nodeAt(*ending, ending->plainUri()));
    ASSERT_NE(open, nullptr);
    ending.reset();
    EXPECT_THAT(answer(*open, "alice", "pw"), StartsWith(down));
}

TEST_F(LdapNodeLimits, DescriptorsAreClosedOnExecAndAfterTheNode) {
    const auto descriptors = [] {
        int inherited = 0;
        int all = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            const int flags = fcntl(std::stoi(entry.path().filename()), F_GETFD);
            inherited += flags >= 0 && (flags & FD_CLOEXEC) == 0 ? 1 : 0;
            ++all;
        }
        return std::pair(all, inherited);
    };
    const auto before = descriptors();
    {
        const auto open = opened(nodeAt(server, server.tlsUri()));
        EXPECT_GT(descriptors().first, before.first);
        EXPECT_EQ(descriptors().second, before.second);
    }
    EXPECT_EQ(descriptors(), before);
}

/// In namespaces of its own, where nothing is configured but this.
TEST(LdapNodeNames, AddressThatIsSilentLeavesTimeForTheNext) {
    const ChildOutcome outcome = inChild([&]() -> std::string {
        enterPrivateNamespace();
        mountEmptyOver("/etc");
        std::ofstream("/etc/hosts") << "127.0.0.1 twins.example.org\n127.0.0.2 twins.example.org\n";
        std::ofstream("/etc/host.conf") << "multi on\n";
        std::ofstream("/etc/nsswitch.conf") << "hosts: files\n";
        const BlackHole hole;
        const FileDescriptor second(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1);
        address.sin_port = htons(static_cast<std::uint16_t>(hole.port()));
        if (bind(second.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            listen(second.get(), 1) != 0) {
            return "no second address";
        }
        const auto connection =
            connectToServer("ldaps://twins.example.org:" + std::to_string(hole.port()),
                            {STDOUT_FILENO, 4 * shortLimit});
        return connection ? "connected" : connection.error().description();
    });
    EXPECT_EQ(outcome.text, "connected");
}

/// What opening the node tells on a machine whose only name server is silent; the port of the
/// address is that of a listener which is silent too.
std::string openingWithoutNames(const std::string& host) {
    const LdapServer server;
    const ChildOutcome outcome = inChild([&]() -> std::string {
        enterPrivateNamespace();
        mountEmptyOver("/etc");
        std::ofstream("/etc/resolv.conf") << "nameserver 127.0.0.1\n";
        std::ofstream("/etc/nsswitch.conf") << "hosts: files dns\n";
        if (unshare(CLONE_NEWNET) != 0) {
            return "no network of its own";
        }
        const FileDescriptor nameServer(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        ifreq loopback{{"lo"}, {}};
        loopback.ifr_flags = IFF_UP;
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(53);
        if (ioctl(nameServer.get(), SIOCSIFFLAGS, &loopback) != 0 ||
            bind(nameServer.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            return "no name server";
        }
        const SilentListener listener;
        DirectoryNodeSettings settings;
        settings.certificateAuthorities = server.authorities();
        settings.uri = "ldaps://" + host + ":" + std::to_string(listener.port());
        settings.timeout = shortLimit;
        const std::string program = ownCopyOf(CHECKPASS_PROGRAM);
        const auto begin = steady_clock::now();
        const auto node = openNetworkNode(program, settings);
        if (steady_clock::now() - begin > patience) {
            return "too late";
        }
        return node ? "opened" : node.error().description();
    });
    return outcome.text;
}

/// In namespaces of its own: a name server that never answers.
TEST(LdapNodeNames, SilentNameServerEndsAtTheLimit) {
    EXPECT_THAT(openingWithoutNames("ldap.example.org"),
                AllOf(StartsWith(down), HasSubstr("name resolution")));
}

TEST(LdapNodeNames, SilentNameServerIsNotWaitedForWithAnAddressInNumbers) {
    // The error is that of the server, which is asked at last.
    EXPECT_THAT(openingWithoutNames("127.0.0.1"), StartsWith(timedOut));
}

}  // namespace
}  // namespace velunor::testing
