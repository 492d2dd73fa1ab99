// User names that could mean something else to one of the programs that get them.

#include <grp.h>

#include <fstream>

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::testing {
namespace {

struct UserName {
    const char* name;
    std::string text;
};

std::ostream& operator<<(std::ostream& stream, const UserName& name) {
    return stream << name.name;
}

class Names : public CredentialsTest {
  protected:
    /// An account of that name, which may authorise updates, sits at the machine. The usual tools
    /// would not make it.
    void seatAccount(const std::string& name) {
        const testing::AsRoot root;
        const group* administrators = ::getgrnam("sudo");
        ASSERT_NE(administrators, nullptr);
        const testing::Account account{
            .name = name, .user = 4242, .group = administrators->gr_gid, .home = "/"};
        std::ofstream("/etc/passwd", std::ios::app)
            << name << ":x:" << account.user << ":" << account.group << "::/:/bin/sh\n";
        testing::Machine::seat(account);
    }

    /// Expects that each node was asked about the whole name and refused it, and the user with it.
    void expectRefusedByEachNode(const std::string& name) {
        updateNowUntil("Failed to validate credentials " + name + "\n");
        const std::string log = systemLog();
        EXPECT_TRUE(logged("Output Secure token is ENABLED for user\\n\n")) << log;
        const std::size_t local = log.find("Validating /Local/Default Username " + name + "\n");
        ASSERT_NE(local, std::string::npos) << log;
        const std::size_t network =
            log.find("Validating /LDAPv3/corp Username " + name + "\n", local);
        ASSERT_NE(network, std::string::npos) << log;
        EXPECT_LT(log.find("Credentails Error Error Domain=", local), network) << log;
        EXPECT_NE(log.find("Credentails Error Error Domain=LDAP Code=", network), std::string::npos)
            << log;
        EXPECT_TRUE(requests().empty());
    }
};

class UnusualName : public Names, public ::testing::WithParamInterface<UserName> {};

TEST_P(UnusualName, IsOneTextToEveryPartAndRefused) {
    const std::string& name = GetParam().text;
    seatAccount(name);
    testing::LdapServer server;
    server.addAccount("eve", password);
    search(R"("/LDAPv3/corp")");
    addNode("corp", server);
    startService();
    startPrompt();
    typePassword(password);
    EXPECT_TRUE(waitForControl("label", name)) << systemLog();
    expectRefusedByEachNode(name);
    EXPECT_EQ(server.binds(), 0);
    clickToTheEnd("Later");
    EXPECT_EQ(delivered(), R"({"postponse":{}})");
}

INSTANTIATE_TEST_SUITE_P(
    Names, UnusualName,
    ::testing::Values(UserName{"Blanks", "two  words"}, UserName{"Quotes", "a\"b'c`d"},
                      UserName{"Filter", "e*)(uid=*"}, UserName{"Parentheses", "(eve)"},
                      UserName{"Backslash", "\\65ve\\n"}, UserName{"Command", "$(id);id|id&"},
                      UserName{"Markup", "<b>eve</b>&amp;"}, UserName{"Greek", "Ωμέγα"},
                      UserName{"Chinese", "用户"}, UserName{"RightToLeft", "مستخدم"},
                      UserName{"BeyondTheBasicPlane", "🦊"}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(Names, TenThousandCharactersAreRefusedWhole) {
    const std::string name(10'000, 'a');
    seatAccount(name);
    testing::LdapServer server;
    search(R"("/LDAPv3/corp")");
    addNode("corp", server);
    startService();
    startPrompt();
    expectRefusedByEachNode(name);
    EXPECT_EQ(server.searches(), 0);
    clickToTheEnd("Later");
}

}  // namespace
}  // namespace velunor::testing
