// Accounts of network directories: a real LDAP server over TLS, asked after the machine's own
// accounts.

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::testing {
namespace {

using testing::LdapServer;

class Nodes : public CredentialsTest {
  protected:
    /// Starts a prompt and types the credentials of somebody.
    void fill(const std::string& name, const std::string& text) {
        startService();
        startPrompt();
        typeUserName(name);
        typePassword(text);
    }

    void expectRefused(const std::string& name) {
        updateNowUntil("Failed to validate credentials " + name + "\n");
        EXPECT_TRUE(process().isRunning());
        EXPECT_TRUE(requests().empty());
        EXPECT_FALSE(logged("Validation Success"));
    }

    const std::string networkPassword = testing::newPassword();
};

TEST_F(Nodes, AccountOfTheDirectoryAloneProceedsThoughTheMachineDoesNotKnowIt) {
    LdapServer server;
    server.addAccount("eve", networkPassword);
    search(R"("/Local/Default", "/LDAPv3/corp")");
    addNode("corp", server);
    fill("eve", networkPassword);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("eve", networkPassword)) << delivered();
    EXPECT_TRUE(logged("Output Unknown user"));
    EXPECT_TRUE(logged("Node Details [\"/Local/Default\", \"/LDAPv3/corp\"]\n"));
    EXPECT_EQ(timesLogged("Validating /Local/Default Username eve\n"), 1U);
    EXPECT_EQ(timesLogged("Validating /LDAPv3/corp Username eve\n"), 1U);
    EXPECT_TRUE(logged("Domain Validation Success\n"));
    EXPECT_FALSE(logged("Local Validation Success"));
}

TEST_F(Nodes, AccountWithTokenProceedsWithItsPasswordInTheDirectory) {
    LdapServer server;
    server.addAccount("ada", networkPassword);
    search(R"("/Local/Default", "/LDAPv3/corp")");
    addNode("corp", server);
    fill("ada", networkPassword);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("ada", networkPassword)) << delivered();
    EXPECT_TRUE(logged("Output Secure token is ENABLED for user"));
    EXPECT_TRUE(logged("Domain Validation Success\n"));
}

TEST_F(Nodes, LocalPasswordEndsTheCheckBeforeTheDirectoryIsAsked) {
    LdapServer server;
    server.addAccount("ada", networkPassword);
    search(R"("/LDAPv3/corp")");
    addNode("corp", server);
    fill("ada", password);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("ada", password)) << delivered();
    EXPECT_TRUE(logged("Local Validation Success\n"));
    EXPECT_FALSE(logged("Node Details "));
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(Nodes, WrongPasswordIsRefusedByEveryNode) {
    LdapServer server;
    server.addAccount("ada", networkPassword);
    search(R"("/Local/Default", "/LDAPv3/corp")");
    addNode("corp", server);
    fill("ada", "wrong");
    expectRefused("ada");
    EXPECT_TRUE(logged("Credentails Error Error Domain=PAM Code="));
    EXPECT_TRUE(logged("Credentails Error Error Domain=LDAP Code=49 "));
}

TEST_F(Nodes, EmptyPasswordIsRefusedThoughTheServerWouldBindAsNobody) {
    LdapServer server;
    server.addAccount("eve", networkPassword);
    search(R"("/LDAPv3/corp")");
    addNode("corp", server);
    fill("eve", "");
    expectRefused("eve");
    EXPECT_EQ(server.binds(), 0);
}

TEST_F(Nodes, NameThatIsAFilterIsNobody) {
    LdapServer server;
    server.addAccount("eve", networkPassword);
    search(R"("/LDAPv3/corp")");
    addNode("corp", server);
    fill("e*)(uid=*", networkPassword);
    expectRefused("e*)(uid=*");
    EXPECT_EQ(server.binds(), 0);
}

TEST_F(Nodes, NameOfSeveralAccountsIsRefusedWithoutABind) {
    const std::string secondName = "uid: eve\n";
    LdapServer server({.entries = LdapServer::accountEntry("eve", networkPassword) +
                                  LdapServer::accountEntry("eva", networkPassword, secondName)});
    search(R"("/LDAPv3/corp")");
    addNode("corp", server);
    fill("eve", networkPassword);
    expectRefused("eve");
    EXPECT_TRUE(logged("Several accounts have that name")) << systemLog();
    EXPECT_EQ(server.binds(), 0);
}

TEST_F(Nodes, ReferralToAnotherServerIsARefusal) {
    LdapServer elsewhere;
    // An entry whose bind the server answers with another server's address.
    LdapServer server({.configuration = "overlay retcode\nretcode-parent \"" +
                                        LdapServer::accounts() +
                                        "\"\nretcode-item \"cn=eve\" 0x0a op=bind ref=\"" +
                                        elsewhere.plainUri() + "/\"\n"});
    search(R"("/LDAPv3/corp")");
    addNode("corp", server);
    addSettings("user_filter = \"(cn=%u)\"\n");
    fill("eve", networkPassword);
    expectRefused("eve");
    EXPECT_TRUE(logged("Credentails Error Error Domain=LDAP Code=10 ")) << systemLog();
    EXPECT_EQ(elsewhere.connections(), 0);
}

struct Unusable {
    const char* name;
    /// What makes it unusable, as LDIF: attributes of its own, then entries beside it.
    const char* attributes;
    const char* entries;
};

std::ostream& operator<<(std::ostream& stream, const Unusable& account) {
    return stream << account.name;
}

class UnusableDirectoryAccount : public Nodes, public ::testing::WithParamInterface<Unusable> {};

TEST_P(UnusableDirectoryAccount, IsRefusedWithItsRightPassword) {
    LdapServer server(
        {.entries = LdapServer::accountEntry("eve", networkPassword, GetParam().attributes) +
                    GetParam().entries});
    search(R"("/LDAPv3/corp")");
    addNode("corp", server);
    fill("eve", networkPassword);
    expectRefused("eve");
    EXPECT_TRUE(logged("Credentails Error Error Domain=LDAP Code=")) << systemLog();
    EXPECT_EQ(server.binds(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Nodes, UnusableDirectoryAccount,
    ::testing::Values(Unusable{"Locked", "pwdAccountLockedTime: 000001010000Z\n", ""},
                      Unusable{"Expired",
                               "pwdPolicySubentry: cn=short,dc=example,dc=org\n"
                               "pwdChangedTime: 20200101000000Z\n",
                               "dn: cn=short,dc=example,dc=org\nobjectClass: applicationProcess\n"
                               "objectClass: pwdPolicy\ncn: short\npwdAttribute: userPassword\n"
                               "pwdMaxAge: 60\n\n"},
                      Unusable{"MustChangeItsPassword", "pwdReset: TRUE\n", ""}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(Nodes, SecondNodeOfTheSearchPathMayAccept) {
    LdapServer first;
    LdapServer second;
    second.addAccount("eve", networkPassword);
    search(R"("/LDAPv3/first", "/LDAPv3/second")");
    addNode("first", first);
    addNode("second", second);
    fill("eve", networkPassword);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("eve", networkPassword)) << delivered();
    EXPECT_LT(systemLog().find("Validating /LDAPv3/first "),
              systemLog().find("Validating /LDAPv3/second "));
}

TEST_F(Nodes, NodesAfterTheOneThatAcceptsAreNeverContacted) {
    LdapServer first;
    LdapServer second;
    first.addAccount("eve", networkPassword);
    second.addAccount("eve", networkPassword);
    search(R"("/LDAPv3/first", "/LDAPv3/second")");
    addNode("first", first);
    addNode("second", second);
    fill("eve", networkPassword);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("eve", networkPassword)) << delivered();
    EXPECT_FALSE(logged("Validating /LDAPv3/second "));
    EXPECT_EQ(second.connections(), 0);
}

TEST_F(Nodes, NodeListedTwiceIsTriedTwice) {
    LdapServer server;
    server.addAccount("eve", networkPassword);
    search(R"("/LDAPv3/corp", "/LDAPv3/corp")");
    addNode("corp", server);
    fill("eve", "wrong");
    expectRefused("eve");
    EXPECT_EQ(timesLogged("Validating /LDAPv3/corp Username eve\n"), 2U);
    EXPECT_EQ(server.binds(), 2);
}

class LocalEntry : public Nodes, public ::testing::WithParamInterface<std::string> {};

TEST_P(LocalEntry, IsSkippedWhereverItStands) {
    LdapServer server;
    server.addAccount("eve", networkPassword);
    search(GetParam());
    addNode("a", server);
    addNode("b", server);
    fill("eve", "wrong");
    expectRefused("eve");
    EXPECT_EQ(timesLogged("Validating /Local/Default Username eve\n"), 1U);
    EXPECT_EQ(timesLogged("Validating /LDAPv3/a Username eve\n"), 1U);
    EXPECT_EQ(timesLogged("Validating /LDAPv3/b Username eve\n"), 1U);
    EXPECT_LT(systemLog().find("Validating /LDAPv3/a "), systemLog().find("Validating /LDAPv3/b "));
}

INSTANTIATE_TEST_SUITE_P(Nodes, LocalEntry,
                         ::testing::Values(R"("/Local/Default", "/LDAPv3/a", "/LDAPv3/b")",
                                           R"("/LDAPv3/a", "/Local/Default", "/LDAPv3/b")",
                                           R"("/LDAPv3/a", "/LDAPv3/b", "/Local/Default")"),
                         [](const auto& instance) {
                             return "Position" + std::to_string(instance.index + 1);
                         });

TEST_F(Nodes, LocalEntryInOtherLettersIsNotSkippedAndNoNode) {
    search(R"("/local/default")");
    fill("ada", "wrong");
    expectRefused("ada");
    EXPECT_TRUE(logged("Validating /local/default Username ada\n"));
    EXPECT_TRUE(logged("Node Error Error Domain=Directory Code="));
}

TEST_F(Nodes, EmptySearchPathLeavesItsOneLine) {
    search("");
    fill("ada", "wrong");
    expectRefused("ada");
    EXPECT_TRUE(logged("Node Details []\n"));
    EXPECT_EQ(timesLogged("Validating "), 1U);
}

TEST_F(Nodes, NodeThatNobodyDescribedIsPassedOver) {
    LdapServer server;
    server.addAccount("eve", networkPassword);
    search(R"("/LDAPv3/unknown", "/LDAPv3/corp")");
    addNode("corp", server);
    fill("eve", networkPassword);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("eve", networkPassword)) << delivered();
    EXPECT_TRUE(logged("Node Error Error Domain=Directory Code="));
}

TEST_F(Nodes, ServerThatIsDownIsPassedOver) {
    LdapServer server;
    server.addAccount("eve", networkPassword);
    search(R"("/LDAPv3/down", "/LDAPv3/corp")");
    // Nobody listens on the port of the discard service here.
    addNode("down", "ldaps://127.0.0.1:9", server.authorities());
    addNode("corp", server);
    fill("eve", networkPassword);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("eve", networkPassword)) << delivered();
    EXPECT_TRUE(logged("Node Error Error Domain=LDAP Code="));
}

TEST_F(Nodes, ServerThatNeverSpeaksCostsARefusalAndNotTheWindow) {
    const int silent = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(::bind(silent, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(silent, 1), 0);
    ASSERT_EQ(::getsockname(silent, reinterpret_cast<sockaddr*>(&address), &size), 0);
    const LdapServer authority;
    search(R"("/LDAPv3/silent")");
    addNode("silent", "ldaps://127.0.0.1:" + std::to_string(ntohs(address.sin_port)),
            authority.authorities());
    fill("ada", "wrong");
    expectRefused("ada");
    EXPECT_TRUE(logged("Node Error Error Domain=LDAP Code="));
    clickToTheEnd("Later");
    ::close(silent);
}

TEST_F(Nodes, ServerWithACertificateOfAnotherAuthorityGetsNoPassword) {
    LdapServer server;
    const LdapServer stranger;
    server.addAccount("eve", networkPassword);
    search(R"("/LDAPv3/corp")");
    addNode("corp", server.tlsUri(), stranger.authorities());
    fill("eve", networkPassword);
    expectRefused("eve");
    EXPECT_TRUE(logged("Node Error Error Domain=LDAP Code="));
    EXPECT_EQ(server.binds(), 0);
}

}  // namespace
}  // namespace velunor::testing
