// Names that a real directory server takes for those of accounts which are written differently.

#include <gmock/gmock.h>

#include "tests/linux/directory/ldap_node_fixture.h"

namespace velunor::testing {
namespace {

using ::testing::HasSubstr;

constexpr const char* accepted = "accepted";

LdapServerSettings serverSettings() {
    LdapServerSettings settings;
    for (const char* name : {"dave", "José Peña", "hidden"}) {
        settings.entries += LdapServer::accountEntry(name, "pw");
    }
    settings.entries += LdapServer::accountEntry("only", "pw", "description: The Only One\n");
    settings.access =
        "access to dn.exact=\"uid=hidden," + LdapServer::accounts() + "\" attrs=uid by * search\n";
    return settings;
}

class LdapNodeSpelling : public LdapNode {
  protected:
    LdapServer server{serverSettings()};
    DirectoryNodeSettings node = nodeAt(server, server.tlsUri());
};

TEST_F(LdapNodeSpelling, NameThatTheServerTakesForAnotherIsRefusedWithoutABind) {
    const int before = server.binds();
    for (const char* name : {"DAVE", "Dave", "dave ", " dave", "José  Peña", "JOSÉ PEÑA"}) {
        EXPECT_THAT(answer(node, name, "pw"), HasSubstr("\"No account has exactly that name"))
            << name;
    }
    EXPECT_EQ(server.binds(), before);
    EXPECT_EQ(answer(node, "dave", "pw"), accepted);
    EXPECT_EQ(answer(node, "José Peña", "pw"), accepted);
}

TEST_F(LdapNodeSpelling, NameCountsInAnyAttributeThatTheFilterCompares) {
    DirectoryNodeSettings settings = node;
    const auto answerBy = [&](const char* filter, const char* name) {
        settings.userFilter = filter;
        return answer(settings, name, "pw");
    };
    EXPECT_EQ(answerBy("(|(uid=%u)(description=%u))", "The Only One"), accepted);
    EXPECT_THAT(answerBy("(|(uid=%u)(description=%u))", "the only one"),
                HasSubstr("\"No account has exactly"));
    EXPECT_EQ(answerBy("(&(objectClass=account)(description=The %u One))", "Only"), accepted);
    EXPECT_THAT(answerBy("(description=The %u One)", "only"),
                HasSubstr("\"No account has exactly"));
    EXPECT_EQ(answerBy("(uid~=%u)", "only"), accepted);
    EXPECT_EQ(answerBy("(uid:caseIgnoreMatch:=%u)", "only"), accepted);
    EXPECT_THAT(answerBy("(uid:caseIgnoreMatch:=%u)", "ONLY"),
                HasSubstr("\"No account has exactly"));
    EXPECT_THAT(answerBy("(uid=%u*)", "onl"), HasSubstr("\"No account has exactly"));
}

TEST_F(LdapNodeSpelling, NameThatMayNotBeReadIsRefusedWithoutABind) {
    const int before = server.binds();
    EXPECT_THAT(answer(node, "hidden", "pw"), HasSubstr("\"The account's name cannot be read"));
    EXPECT_EQ(server.binds(), before);
}

}  // namespace
}  // namespace velunor::testing
