// Names and passwords against a real directory server.

#include <gmock/gmock.h>

#include <array>

#include "tests/linux/directory/ldap_node_fixture.h"
#include "tools/osupdate_checkpass/ldap/ldap_step.h"

namespace velunor::testing {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* accepted = "accepted";

/// A server with accounts, of which "alice" has the password "Blauer Käse".
class LdapNodeAccounts : public LdapNode {
  protected:
    static void SetUpTestSuite() {
        LdapServerSettings settings;
        settings.entries = LdapServer::accountEntry("alice", "Blauer Käse");
        for (const char* name : {"bob", "bert", "ben"}) {
            settings.entries += LdapServer::accountEntry(name, "pw", "description: twin\n");
        }
        settings.entries += LdapServer::accountEntry("reset", "pw", "pwdReset: TRUE\n");
        settings.entries +=
            LdapServer::accountEntry("locked", "pw", "pwdAccountLockedTime: 000001010000Z\n");
        settings.entries +=
            LdapServer::accountEntry("expired", "pw",
                                     "pwdPolicySubentry: cn=short,dc=example,dc=org\n"
                                     "pwdChangedTime: 20200101000000Z\n");
        settings.entries += R"(dn: cn=short,dc=example,dc=org
objectClass: applicationProcess
objectClass: pwdPolicy
cn: short
pwdAttribute: userPassword
pwdMaxAge: 60

dn: ou=elsewhere,ou=people,dc=example,dc=org
objectClass: referral
objectClass: extensibleObject
ou: elsewhere
ref: ldap://127.0.0.1:1/ou=elsewhere,dc=example,dc=org

)";
        // Entries that refuse a bind in ways of their own.
        settings.configuration = R"(overlay retcode
retcode-parent "ou=special,dc=example,dc=org"
retcode-item "cn=told" 0x31 op=bind text="is not so-secret!"
retcode-item "cn=refers" 0x0a op=bind ref="ldap://127.0.0.1:1/"
)";
        server = new LdapServer(settings);
    }
    static void TearDownTestSuite() {
        delete server;
        server = nullptr;
    }

    static DirectoryNodeSettings node() { return nodeAt(*server, server->tlsUri()); }

    static std::string answer(const std::string& user, std::string_view password) {
        return LdapNode::answer(node(), user, password);
    }

    /// What is told of a name or a password that no server is asked about.
    static std::string refusal(const std::string& reason) {
        return "Error Domain=LDAP Code=49 \"" + reason + ": Invalid credentials\"";
    }

    static inline LdapServer* server = nullptr;
};

TEST_F(LdapNodeAccounts, RightPasswordIsAccepted) {
    EXPECT_EQ(answer("alice", "Blauer Käse"), accepted);
}

TEST_F(LdapNodeAccounts, RightPasswordIsAcceptedAfterStartTls) {
    EXPECT_EQ(LdapNode::answer(nodeAt(*server, server->plainUri()), "alice", "Blauer Käse"),
              accepted);
}

TEST_F(LdapNodeAccounts, WrongPasswordIsRefusedAndNotTold) {
    for (const char* wrong : {"Blauer Kase", "blauer käse", "Blauer Käse ", "x"}) {
        EXPECT_THAT(answer("alice", wrong),
                    AllOf(HasSubstr("Error Domain=LDAP Code=49 "), HasSubstr("Invalid credentials"),
                          Not(HasSubstr("lauer"))));
    }
}

TEST_F(LdapNodeAccounts, OneNodeChecksSeveralTimes) {
    const auto open = opened(node());
    ASSERT_NE(open, nullptr);
    EXPECT_NE(LdapNode::answer(*open, "alice", "wrong"), accepted);
    EXPECT_EQ(LdapNode::answer(*open, "alice", "Blauer Käse"), accepted);
    EXPECT_NE(LdapNode::answer(*open, "alice", "wrong"), accepted);
}

TEST_F(LdapNodeAccounts, EmptyNameAndEmptyPasswordNeverReachTheServer) {
    const int before = server->searches();
    EXPECT_EQ(answer("alice", ""), refusal("There is no password"));
    EXPECT_EQ(answer("", "Blauer Käse"), refusal("There is no user name"));
    EXPECT_EQ(answer("", ""), refusal("There is no user name"));
    EXPECT_EQ(answer("alice", "Blauer Käse"), accepted);
    EXPECT_EQ(server->searches(), before + 1);
}

TEST_F(LdapNodeAccounts, WhatIsNoTextNeverReachesTheServer) {
    using namespace std::string_literals;
    const int before = server->searches();
    EXPECT_THAT(answer("alice\0"s, "Blauer Käse"), HasSubstr("is not a text"));
    EXPECT_THAT(answer("alice\0)(uid=*"s, "Blauer Käse"), HasSubstr("is not a text"));
    EXPECT_THAT(answer("alice", "Blauer Käse\0"s), HasSubstr("is not a text"));
    EXPECT_EQ(answer("alic\xFF", "Blauer Käse"), refusal("User name or password is not a text"));
    EXPECT_EQ(answer("alice", "Blauer Käse"), accepted);
    EXPECT_EQ(server->searches(), before + 1);
}

TEST_F(LdapNodeAccounts, EndlessNameOrPasswordIsRefused) {
    constexpr std::size_t endless = 10000;
    EXPECT_THAT(answer(std::string(endless, 'a'), "Blauer Käse"), HasSubstr("is too long"));
    EXPECT_THAT(answer(std::string(endless, '*'), "Blauer Käse"), HasSubstr("is too long"));
    EXPECT_THAT(answer("alice", std::string(endless, 'a')), HasSubstr("is too long"));
}

TEST_F(LdapNodeAccounts, LongestNameAndPasswordAreAccepted) {
    constexpr std::size_t longest = 1024;
    // The server's own limit is lower.
    constexpr std::size_t longestName = 200;
    server->addAccount(std::string(longestName, 'n'), std::string(longest, 'p'));
    EXPECT_EQ(answer(std::string(longestName, 'n'), std::string(longest, 'p')), accepted);
    EXPECT_THAT(answer(std::string(longest, 'n'), "p"), HasSubstr("\"No account has that name"));
    EXPECT_THAT(answer(std::string(longest + 1, 'n'), "p"), HasSubstr("is too long"));
    EXPECT_EQ(answer("alice", std::string(longest + 1, 'p')),
              refusal("User name or password is too long"));
}

TEST_F(LdapNodeAccounts, NobodysNameIsRefusedWithoutABind) {
    const int before = server->binds();
    EXPECT_THAT(answer("nobody", "Blauer Käse"), HasSubstr("\"No account has that name"));
    EXPECT_EQ(server->binds(), before);
}

TEST_F(LdapNodeAccounts, NameIsNeverReadAsAPartOfTheFilter) {
    const int before = server->binds();
    for (const char* name :
         {"*", "al*", "*)(uid=*", "alice)(objectClass=*", "alice)", "(alice", "\\61lice", "a\nb",
          "alice\n", "%u", "alice)(|(uid=*", "uid=alice,ou=people,dc=example,dc=org"}) {
        EXPECT_THAT(answer(name, "Blauer Käse"), HasSubstr("\"No account has that name")) << name;
    }
    EXPECT_EQ(server->binds(), before);
}

TEST_F(LdapNodeAccounts, AccountsWithSpecialNamesAreFound) {
    for (const char* name : {"a*c", "(x)", "b\\c", "*)(uid=*", "line\nbreak", "%u", "a,b=c+d\"<>;#",
                             "Ωμέγα", "用户", "имя", "مستخدم", "🦊", "two  words"}) {
        server->addAccount(name, "pw of " + std::string(name));
        EXPECT_EQ(answer(name, "pw of " + std::string(name)), accepted) << name;
        EXPECT_THAT(answer(name, "pw"), HasSubstr("Invalid credentials")) << name;
    }
}

TEST_F(LdapNodeAccounts, EachPlaceInTheFilterGetsTheName) {
    DirectoryNodeSettings settings = node();
    settings.userFilter = "(&(objectClass=account)(|(uid=%u)(description=%u)))";
    EXPECT_EQ(LdapNode::answer(settings, "alice", "Blauer Käse"), accepted);
    server->addAccount("%u%u", "pw");
    EXPECT_EQ(LdapNode::answer(settings, "%u%u", "pw"), accepted);
}

TEST_F(LdapNodeAccounts, SeveralAccountsWithOneNameAreRefusedWithoutABind) {
    const int before = server->binds();
    DirectoryNodeSettings settings = node();
    settings.userFilter = "(description=%u)";
    EXPECT_THAT(LdapNode::answer(settings, "twin", "pw"),
                HasSubstr("\"Several accounts have that name"));
    settings.userFilter = "(|(uid=%u)(uid=alice))";
    EXPECT_THAT(LdapNode::answer(settings, "bob", "pw"),
                HasSubstr("\"Several accounts have that name"));
    EXPECT_EQ(server->binds(), before);
}

TEST_F(LdapNodeAccounts, FilterWithoutAPlaceForTheNameIsRefusedWithoutASearch) {
    const int before = server->searches();
    DirectoryNodeSettings settings = node();
    for (const char* filter : {"(uid=alice)", "(%u=alice)", "(:dn:2.4.6.8.10:=%u)", ""}) {
        settings.userFilter = filter;
        EXPECT_THAT(LdapNode::answer(settings, "mallory", "Blauer Käse"),
                    HasSubstr("\"The filter for accounts has no place for a name"))
            << filter;
    }
    EXPECT_EQ(server->searches(), before);
}

TEST_F(LdapNodeAccounts, MalformedFilterIsRefused) {
    for (const char* filter : {"(uid=%u", "uid=%u)", "(&(uid=%u)", "%u", "(%u)", "((uid=%u))"}) {
        DirectoryNodeSettings settings = node();
        settings.userFilter = filter;
        EXPECT_THAT(LdapNode::answer(settings, "alice", "Blauer Käse"), Not(accepted)) << filter;
    }
}

TEST_F(LdapNodeAccounts, UnknownBaseIsRefused) {
    DirectoryNodeSettings settings = node();
    settings.userBase = "ou=nowhere,dc=example,dc=org";
    EXPECT_THAT(LdapNode::answer(settings, "alice", "Blauer Käse"),
                HasSubstr("\"The account cannot be looked up: No such object"));
    settings.userBase = "no distinguished name";
    EXPECT_THAT(LdapNode::answer(settings, "alice", "Blauer Käse"),
                HasSubstr("\"The account cannot be looked up: Invalid DN syntax"));
    settings.userBase = "";
    EXPECT_THAT(LdapNode::answer(settings, "alice", "Blauer Käse"),
                HasSubstr("\"The account cannot be looked up: No such object"));
}

TEST_F(LdapNodeAccounts, EntriesElsewhereAreNotAsked) {
    DirectoryNodeSettings settings = node();
    EXPECT_THAT(LdapNode::answer(settings, "elsewhere", "pw"),
                HasSubstr("\"No account has that name"));
    settings.userBase = "ou=elsewhere,ou=people,dc=example,dc=org";
    EXPECT_THAT(LdapNode::answer(settings, "alice", "Blauer Käse"), HasSubstr("Referral"));
}

TEST_F(LdapNodeAccounts, LockedAccountIsRefused) {
    EXPECT_THAT(answer("locked", "pw"), HasSubstr("Invalid credentials"));
}

TEST_F(LdapNodeAccounts, ExpiredPasswordIsRefused) {
    EXPECT_THAT(answer("expired", "pw"), HasSubstr("Invalid credentials"));
}

TEST_F(LdapNodeAccounts, PasswordThatMustBeChangedIsRefused) {
    EXPECT_THAT(answer("reset", "pw"), HasSubstr("(Password must be changed)"));
    EXPECT_THAT(answer("reset", "wrong"), Not(HasSubstr("must be changed")));
}

TEST_F(LdapNodeAccounts, ReferralInsteadOfABindIsRefused) {
    DirectoryNodeSettings settings = node();
    settings.userBase = "ou=special,dc=example,dc=org";
    settings.userFilter = "(cn=%u)";
    EXPECT_THAT(LdapNode::answer(settings, "refers", "pw"), HasSubstr("Code=10 "));
}

TEST_F(LdapNodeAccounts, ServersTextThatRepeatsThePasswordIsNotTold) {
    DirectoryNodeSettings settings = node();
    settings.userBase = "ou=special,dc=example,dc=org";
    settings.userFilter = "(cn=%u)";
    EXPECT_THAT(LdapNode::answer(settings, "told", "wrong"),
                HasSubstr("Invalid credentials (is not so-secret!)"));
    EXPECT_THAT(LdapNode::answer(settings, "told", "so-secret"),
                AllOf(HasSubstr("Invalid credentials"), Not(HasSubstr("secret"))));
}

TEST_F(LdapNodeAccounts, RequestThatIsNoneIsRefusedOnceTheServerIsThere) {
    const TemporaryDirectory directory;
    Command command;
    command.arguments = {"/bin/sh",
                         "-c",
                         R"(printf alice | exec "$@")",
                         "sh",
                         CHECKPASS_PROGRAM,
                         "ldap",
                         server->tlsUri(),
                         LdapServer::accounts(),
                         "(uid=%u)",
                         server->authorities(),
                         "30"};
    command.output = directory.file("output");
    EXPECT_EQ(ChildProcess(command).wait(), (Ending{1, 0}));
    EXPECT_THAT(directory.read("output"),
                ::testing::StartsWith("ready\nrefused -9 The request is malformed: "));
}

TEST(LdapNodeError, ServersTextIsToldInOneLineAndNotWithoutEnd) {
    EXPECT_EQ(ldapError(49, "What").domain, "LDAP");
    EXPECT_EQ(ldapError(49, "What").message, "What: Invalid credentials");
    EXPECT_EQ(ldapError(0, "What", "first\nsecond\x1B[1m\x7F Käse").message,
              "What (first\\nsecond\\u{1B}[1m\\u{7F} Käse)");
    EXPECT_EQ(ldapError(0, "What", "K\xE4se").message, "What (K\uFFFDse)");
    std::string endless;
    for (int count = 0; count < 10000; ++count) {
        endless += "ä";
    }
    EXPECT_EQ(ldapError(0, "What", endless).message, "What (" + endless.substr(0, 300) + " ...)");
    // Cut behind the character in which the limit lies; each of these has bytes of its own.
    for (const char* character : {"å", "用", "🦊"}) {
        const std::string whole = std::string(299, 'x') + character;
        EXPECT_EQ(ldapError(0, "What", whole).message, "What (" + whole + ")");
        EXPECT_EQ(ldapError(0, "What", whole + "y").message, "What (" + whole + " ...)");
    }
    const std::string longest(300, 'x');
    EXPECT_EQ(ldapError(0, "What", longest).message, "What (" + longest + ")");
}

TEST_F(LdapNodeAccounts, NodeHasNeitherDetailsNorRecords) {
    const auto open = opened(node());
    ASSERT_NE(open, nullptr);
    EXPECT_EQ(open->nodeDetails(std::array{attributeSearchPath}), std::nullopt);
    const auto users = open->usersNamed("alice", 1);
    ASSERT_FALSE(users);
    EXPECT_EQ(users.error().description(),
              "Error Domain=LDAP Code=-12 \"Records of network accounts are not read: Not "
              "Supported\"");
}

}  // namespace
}  // namespace velunor::testing
