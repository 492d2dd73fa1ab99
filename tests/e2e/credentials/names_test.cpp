// User names that could mean something else to one of the programs that get them.

#include <grp.h>

#include <fstream>

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::e2e {
namespace {

struct UserName {
    const char* name;
    std::string text;
};

std::ostream& operator<<(std::ostream& stream, const UserName& name) {
    return stream << name.name;
}

class UnusualName : public CredentialsTest, public ::testing::WithParamInterface<UserName> {
  protected:
    /// An account of that name, which may authorise updates, sits at the machine. The usual tools
    /// would not make it.
    void seatAccount(const std::string& name) {
        const world::AsRoot root;
        const group* administrators = ::getgrnam("sudo");
        ASSERT_NE(administrators, nullptr);
        const world::Account account{
            .name = name, .user = 4242, .group = administrators->gr_gid, .home = "/"};
        std::ofstream("/etc/passwd", std::ios::app)
            << name << ":x:" << account.user << ":" << account.group << "::/:/bin/sh\n";
        world::Machine::seat(account);
    }
};

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
    updateNowUntil("Failed to validate credentials " + name + "\n");
    const std::string log = systemLog();
    EXPECT_TRUE(waitForControl("label", name));
    EXPECT_TRUE(logged("Output Secure token is ENABLED for user\\n\n")) << log;
    const std::size_t local = log.find("Validating /Local/Default Username " + name + "\n");
    ASSERT_NE(local, std::string::npos) << log;
    const std::size_t network = log.find("Validating /LDAPv3/corp Username " + name + "\n", local);
    ASSERT_NE(network, std::string::npos) << log;
    const std::string localPart = log.substr(local, network - local);
    EXPECT_NE(localPart.find("Credentails Error Error Domain="), std::string::npos) << log;
    EXPECT_NE(log.find("Credentails Error Error Domain=LDAP Code=", network), std::string::npos)
        << log;
    EXPECT_EQ(server.binds(), 0);
    EXPECT_TRUE(requests().empty());
    clickToTheEnd("Later");
    EXPECT_EQ(delivered(), R"({"postponse":{}})");
}

INSTANTIATE_TEST_SUITE_P(
    Names, UnusualName,
    ::testing::Values(UserName{"Blanks", "two  words"}, UserName{"Quotes", "a\"b'c`d"},
                      UserName{"Filter", "e*)(uid=*"}, UserName{"Parentheses", "(eve)"},
                      UserName{"Backslash", "\\65ve\\n"}, UserName{"Option", "-x"},
                      UserName{"Command", "$(id);id|id&"}, UserName{"Markup", "<b>eve</b>&amp;"},
                      UserName{"Greek", "Ωμέγα"}, UserName{"Chinese", "用户"},
                      UserName{"RightToLeft", "مستخدم"}, UserName{"BeyondTheBasicPlane", "🦊"},
                      UserName{"TenThousandCharacters", std::string(10'000, 'a')}),
    [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace velunor::e2e
