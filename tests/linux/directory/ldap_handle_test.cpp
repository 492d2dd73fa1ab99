// Connections to directory servers, and what the library is told of them.

#include "tools/osupdate_checkpass/ldap/ldap_handle.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "tests/linux/directory/ldap_peers.h"
#include "tests/support/forked_copy.h"

namespace velunor::testing {
namespace {

const StepLimit limit{STDOUT_FILENO, std::chrono::seconds{30}};

TEST(LdapConnection, BlocksSendsAtOnceAndIsNotInherited) {
    const SilentListener listener;
    const auto connection =
        connectToServer("ldaps://127.0.0.1:" + std::to_string(listener.port()), limit);
    ASSERT_TRUE(connection);
    EXPECT_TRUE(connection->beginsWithTls);
    const int socket = connection->socket.get();
    EXPECT_EQ(fcntl(socket, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(fcntl(socket, F_GETFD), FD_CLOEXEC);
    int isAtOnce = 0;
    socklen_t size = sizeof isAtOnce;
    ASSERT_EQ(getsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &isAtOnce, &size), 0);
    EXPECT_NE(isAtOnce, 0);
}

/// Numbers that the library keeps, with what is weak or lame and what every handle has to have.
struct Option {
    const char* name;
    int option;
    int weak;
    int wanted;
};

const std::vector<Option>& options() {
    static const std::vector<Option> all{
        {"require certificate", LDAP_OPT_X_TLS_REQUIRE_CERT, LDAP_OPT_X_TLS_NEVER,
         LDAP_OPT_X_TLS_DEMAND},
        {"require name", LDAP_OPT_X_TLS_REQUIRE_SAN, LDAP_OPT_X_TLS_NEVER, LDAP_OPT_X_TLS_TRY},
        {"oldest TLS", LDAP_OPT_X_TLS_PROTOCOL_MIN, LDAP_OPT_X_TLS_PROTOCOL_SSL3,
         LDAP_OPT_X_TLS_PROTOCOL_TLS1_2},
        {"newest TLS", LDAP_OPT_X_TLS_PROTOCOL_MAX, LDAP_OPT_X_TLS_PROTOCOL_TLS1_0, 0},
        {"version", LDAP_OPT_PROTOCOL_VERSION, LDAP_VERSION2, LDAP_VERSION3},
        {"aliases", LDAP_OPT_DEREF, LDAP_DEREF_ALWAYS, LDAP_DEREF_NEVER},
        {"most entries", LDAP_OPT_SIZELIMIT, 1, LDAP_NO_LIMIT},
        {"longest time", LDAP_OPT_TIMELIMIT, 1, LDAP_NO_LIMIT}};
    return all;
}

TEST(LdapHandle, KeepsToItsOwnWhateverTheLibraryIsToldElsewhere) {
    const auto outcome = inChild([]() -> std::string {
        for (const Option& option : options()) {
            ldap_set_option(nullptr, option.option, &option.weak);
        }
        ldap_set_option(nullptr, LDAP_OPT_REFERRALS, LDAP_OPT_ON);
        ldap_set_option(nullptr, LDAP_OPT_RESTART, LDAP_OPT_OFF);
        const SilentListener listener;
        const auto handle = newLdapHandle(connectToPort(listener.port()), {});
        if (!handle) {
            return handle.error().description();
        }
        std::string wrong;
        for (const Option& option : options()) {
            int value = -1;
            ldap_get_option(handle->get(), option.option, &value);
            wrong +=
                value == option.wanted ? "" : option.name + (" " + std::to_string(value)) + ",";
        }
        int follows = -1;
        int goesOn = -1;
        Sockbuf* buffer = nullptr;
        ber_len_t longest = 0;
        ldap_get_option(handle->get(), LDAP_OPT_REFERRALS, &follows);
        ldap_get_option(handle->get(), LDAP_OPT_RESTART, &goesOn);
        ldap_get_option(handle->get(), LDAP_OPT_SOCKBUF, static_cast<void*>(&buffer));
        ber_sockbuf_ctrl(buffer, LBER_SB_OPT_GET_MAX_INCOMING, &longest);
        return wrong + (follows == 0 ? "stays" : "follows referrals") +
               (goesOn != 0 ? ", goes on" : ", ends at signals") + ", takes " +
               std::to_string(longest);
    });
    EXPECT_EQ(outcome.text, "stays, goes on, takes 262144");
}

TEST(LdapLibrary, LeavesNothingInTheEnvironmentOnceItIsPrepared) {
    const auto outcome = inChild([]() -> std::string {
        clearenv();
        prepareDirectoryLibrary();
        return environ == nullptr || *environ == nullptr ? "empty" : *environ;
    });
    EXPECT_EQ(outcome.text, "empty");
}

TEST(LdapHandle, AuthoritiesThatCannotBeReadAreNamed) {
    const SilentListener listener;
    DirectoryNodeSettings settings;
    settings.certificateAuthorities = "/nonexistent/ca.pem";
    const auto handle = newLdapHandle(connectToPort(listener.port()), settings);
    ASSERT_FALSE(handle);
    EXPECT_EQ(handle.error().message,
              "TLS cannot be set up with the trusted authorities: Local error "
              "(/nonexistent/ca.pem)");
}

}  // namespace
}  // namespace velunor::testing
