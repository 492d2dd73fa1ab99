// Names and passwords against a real directory server.

#include <gmock/gmock.h>

#include "platform/linux/ldap_node.h"
#include "tests/linux/ldap_server.h"

namespace velunor::testing {
namespace {

using ::testing::HasSubstr;

class LdapNode : public ::testing::Test {
  protected:
    static std::string answer(DirectoryNode& node, const std::string& user,
                              std::string_view password) {
        const auto error = node.setCredentials(user, Secret(password));
        return error ? error->description() : "accepted";
    }
};

TEST_F(LdapNode, RightPasswordIsAccepted) {
    LdapServer server;
    server.addAccount("alice", "Blauer Käse");
    LdapNodeSettings settings;
    settings.uri = server.tlsUri();
    settings.userBase = LdapServer::accounts();
    settings.certificateAuthorities = server.authorities();
    auto node = openLdapNode(settings);
    auto* error = std::get_if<DirectoryError>(&node);
    ASSERT_EQ(error, nullptr) << error->description() << server.log();
    auto& open = *std::get<DirectoryNodePointer>(node);
    EXPECT_EQ(answer(open, "alice", "Blauer Käse"), "accepted") << server.log();
    EXPECT_EQ(answer(open, "alice", "Blauer Kase"), "accepted") << server.log();
}

}  // namespace
}  // namespace velunor::testing
