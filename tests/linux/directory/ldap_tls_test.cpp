// Which servers a directory node trusts, and what cannot change that.

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/linux/directory/ldap_node_fixture.h"
#include "tests/support/files.h"
#include "tests/support/forked_copy.h"

namespace velunor::testing {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* opens = "opened";

class LdapNodeTls : public LdapNode {
  protected:
    /// What opening answers over ldaps and, which must be the same, over StartTLS.
    static std::string openingBothWays(const LdapServer& server, const std::string& host,
                                       const std::string& authorities) {
        DirectoryNodeSettings settings;
        settings.certificateAuthorities = authorities;
        settings.timeout = timeLimit;
        settings.uri = "ldaps://" + host + ":" + std::to_string(server.tlsPort());
        std::string first = opening(settings);
        settings.uri = "ldap://" + host + ":" + std::to_string(server.plainPort());
        EXPECT_EQ(opening(settings), first);
        return first;
    }

    static std::string openingBothWays(const LdapServer& server) {
        return openingBothWays(server, "127.0.0.1", server.authorities());
    }
};

TEST_F(LdapNodeTls, CertificateOfATrustedAuthorityIsTaken) {
    const LdapServer server;
    EXPECT_EQ(openingBothWays(server), opens);
}

TEST_F(LdapNodeTls, CertificateOfAnotherAuthorityIsRefused) {
    const LdapServer server;
    const LdapServer other;
    EXPECT_THAT(openingBothWays(server, "127.0.0.1", other.authorities()),
                AllOf(HasSubstr("\"TLS cannot be established"), Not(HasSubstr("unknown error"))));
    EXPECT_EQ(server.searches() + server.binds(), 0);
}

TEST_F(LdapNodeTls, SystemsAuthoritiesAreTheDefaultAndDoNotKnowTheServer) {
    const LdapServer server;
    EXPECT_THAT(
        openingBothWays(server, "127.0.0.1", ""),
        AnyOf(HasSubstr("\"TLS cannot be established"), HasSubstr("\"TLS cannot be set up")));
}

/// In namespaces of its own, with another store of authorities.
TEST(LdapNodeStore, SystemsAuthoritiesAreTrusted) {
    constexpr const char* store = "/etc/ssl/certs/ca-certificates.crt";
    ASSERT_TRUE(std::filesystem::exists(store));
    const LdapServer server;
    const ChildOutcome outcome = inChild([&]() -> std::string {
        enterPrivateNamespace();
        mountFileOver(server.authorities(), store);
        DirectoryNodeSettings settings;
        settings.uri = server.tlsUri();
        const auto node = openNetworkNode(ownCopyOf(CHECKPASS_PROGRAM), settings);
        return node ? opens : node.error().description();
    });
    EXPECT_EQ(outcome.text, opens);
}

TEST_F(LdapNodeTls, ExpiredCertificateIsRefused) {
    LdapServerSettings settings;
    settings.certificateExpired = true;
    const LdapServer server(settings);
    EXPECT_THAT(openingBothWays(server), HasSubstr("\"TLS cannot be established"));
}

TEST_F(LdapNodeTls, CertificateOfAnotherHostIsRefused) {
    LdapServerSettings settings;
    settings.certificateNames = "DNS:ldap.example.org,IP:127.0.0.2";
    const LdapServer server(settings);
    EXPECT_THAT(openingBothWays(server), HasSubstr("\"TLS cannot be established"));
}

TEST_F(LdapNodeTls, OnlyTheWholeHostNameCounts) {
    LdapServerSettings settings;
    settings.certificateNames = "DNS:127.0.0.1.example.org,DNS:*.0.0.1,DNS:127.0.0";
    const LdapServer server(settings);
    EXPECT_THAT(openingBothWays(server), HasSubstr("\"TLS cannot be established"));
}

TEST_F(LdapNodeTls, VersionsBefore12AreRefused) {
    for (const char* version : {"1.0", "1.1"}) {
        LdapServerSettings settings;
        settings.tlsVersion = version;
        const LdapServer server(settings);
        EXPECT_THAT(openingBothWays(server),
                    AnyOf(HasSubstr("\"TLS cannot be established"),
                          HasSubstr("\"The server's version of TLS is too old")));
    }
}

TEST_F(LdapNodeTls, Version12IsTaken) {
    LdapServerSettings settings;
    settings.tlsVersion = "1.2";
    const LdapServer server(settings);
    EXPECT_EQ(openingBothWays(server), opens);
}

TEST_F(LdapNodeTls, CiphersThatLeavePasswordsBehindAreRefused) {
    LdapServerSettings settings;
    settings.ccmOnly = true;
    const LdapServer server(settings);
    // OpenSSL does not even offer them.
    EXPECT_THAT(openingBothWays(server),
                AnyOf(AllOf(HasSubstr("\"The server's cipher is not supported"),
                            HasSubstr("(AES-128-CCM)")),
                      HasSubstr("\"TLS cannot be established")));
}

TEST_F(LdapNodeTls, AuthoritiesThatCannotBeReadAreAnError) {
    const LdapServer server;
    for (const char* file : {"/nonexistent/ca.pem", "/dev/null", "/etc/passwd", "/"}) {
        EXPECT_THAT(openingBothWays(server, "127.0.0.1", file), Not(opens)) << file;
    }
}

TEST_F(LdapNodeTls, ServerWithoutTlsIsRefused) {
    LdapServerSettings settings;
    settings.offersTls = false;
    const LdapServer server(settings);
    EXPECT_THAT(opening(nodeAt(server, server.plainUri())),
                HasSubstr("\"The server does not offer TLS"));
}

TEST_F(LdapNodeTls, OtherAddressesAreRefusedUnasked) {
    const LdapServer server;
    const std::string plain = server.plainUri();
    const std::string tls = server.tlsUri();
    // Some are in pieces because the whole would hold a trigraph.
    const std::vector<std::string> addresses{std::string(),
                                             "ldaps",
                                             "ldaps://",
                                             "ldaps:///",
                                             "ldapi:///",
                                             "ldapi://%2Frun%2Fslapd%2Fldapi",
                                             "cldap://127.0.0.1",
                                             "http://127.0.0.1",
                                             "127.0.0.1",
                                             "//127.0.0.1",
                                             tls + " " + plain,
                                             tls + "," + tls,
                                             " " + tls,
                                             tls + " ",
                                             tls + "\n",
                                             tls + "/dc=example,dc=org",
                                             tls + "/?uid",
                                             tls + "/??sub",
                                             tls + "/??" + "?(uid=alice)",
                                             tls + "/???" + "?!StartTLS",
                                             tls + "?",
                                             tls + "//",
                                             "<" + tls + ">",
                                             "URL:" + tls,
                                             "ldaps://user@127.0.0.1",
                                             "ldaps://user:pw@127.0.0.1",
                                             "ldaps://127.0.0.1:0",
                                             "ldaps://127.0.0.1:65536",
                                             "ldaps://127.0.0.1:",
                                             "ldaps://127.0.0.1:x",
                                             "ldaps://127.0.0.1:-1",
                                             "ldaps://127.0.0.1:1:2",
                                             "ldaps://[::1",
                                             "ldaps://%31%32%37.0.0.1"};
    for (const std::string& uri : addresses) {
        EXPECT_THAT(opening(nodeAt(server, uri)),
                    HasSubstr("\"The server's address is not understood"))
            << uri;
    }
    EXPECT_THAT(opening(nodeAt(server, tls + std::string(1, '\0'))), HasSubstr("Invalid argument"));
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(LdapNodeTls, SchemeMayBeInCapitalsAndASlashMayEndTheAddress) {
    const LdapServer server;
    const std::string host = "127.0.0.1:";
    EXPECT_EQ(opening(nodeAt(server, "LDAPS://" + host + std::to_string(server.tlsPort()))), opens);
    EXPECT_EQ(opening(nodeAt(server, server.tlsUri() + "/")), opens);
    EXPECT_EQ(opening(nodeAt(server, server.plainUri() + "/")), opens);
}

/// A program of its own, so that the library reads what is around it.
class LdapNodeEnvironment : public LdapNode {
  protected:
    /// What a program prints that finds these variables and works in the directory.
    std::string printed(const std::vector<std::string>& program,
                        const testing::Environment& environment, int status) {
        testing::Command command;
        command.arguments = {"/bin/sh", "-c", R"(cd "$0" && exec "$@")", directory.path()};
        command.arguments.insert(command.arguments.end(), program.begin(), program.end());
        command.environment = environment;
        command.output = directory.path() / "output";
        command.errors = directory.path() / "errors";
        std::filesystem::remove(command.output);
        std::filesystem::remove(command.errors);
        EXPECT_EQ(testing::ChildProcess(command).wait(), (testing::Ending{status, 0}));
        return testing::readFile(command.output);
    }

    std::string probed(const testing::Environment& environment) {
        // The program looks for a file of its own in the working directory as well.
        return printed({LDAP_PROBE_PROGRAM, server.tlsUri(), authorities}, environment, 0);
    }

    testing::TemporaryDirectory directory;
    LdapServer server;
    /// Has an authority that the first server's certificate is not from.
    LdapServer other;
    /// Whom the probe trusts.
    std::string authorities = other.authorities();
};

constexpr const char* weakAndRefused =
    "demands nothing\nError Domain=LDAP Code=-11 \"TLS cannot be established";

TEST_F(LdapNodeEnvironment, CertificateIsCheckedWithoutAnySpecialThing) {
    EXPECT_THAT(probed({}), AllOf(HasSubstr("demands a certificate\n"),
                                  HasSubstr("\"TLS cannot be established")));
}

TEST_F(LdapNodeEnvironment, VariablesDoNotWeakenTheCheck) {
    EXPECT_THAT(
        probed({{"LDAPTLS_REQCERT", "never"},
                {"LDAPTLS_REQSAN", "never"},
                {"LDAPTLS_CACERT", server.authorities()},
                {"LDAPTLS_CACERTDIR", std::filesystem::path(server.authorities()).parent_path()},
                {"LDAPTLS_CIPHER_SUITE", "NORMAL"},
                {"LDAPTLS_PROTOCOL_MIN", "0.0"},
                {"LDAPURI", other.tlsUri()},
                {"LDAPHOST", "127.0.0.1:" + std::to_string(other.tlsPort())}}),
        HasSubstr(weakAndRefused));
    EXPECT_EQ(other.connections(), 0);
}

TEST_F(LdapNodeEnvironment, FilesDoNotWeakenTheCheck) {
    const std::string weak =
        "TLS_REQCERT never\nTLS_CACERT " + server.authorities() + "\nURI " + other.tlsUri() + "\n";
    const auto home = directory.path() / "home";
    for (const char* name : {".ldaprc", "ldaprc"}) {
        testing::writeFile(home / name, weak);
        EXPECT_THAT(probed({{"HOME", home}}), HasSubstr(weakAndRefused)) << name;
        std::filesystem::remove(home / name);
    }
    testing::writeFile(home / "own", weak);
    EXPECT_THAT(probed({{"LDAPCONF", home / "own"}}), HasSubstr(weakAndRefused));
    EXPECT_THAT(probed({{"HOME", home}, {"LDAPRC", "own"}}), HasSubstr(weakAndRefused));
    testing::writeFile(directory.path() / "ldaprc", weak);
    EXPECT_THAT(probed({}), HasSubstr(weakAndRefused));
    EXPECT_EQ(other.connections(), 0);
}

TEST_F(LdapNodeEnvironment, FilesAreNotReadAtAll) {
    // Who opened it would wait for somebody to write to it.
    ASSERT_EQ(mkfifo((directory.path() / "ldaprc").c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_THAT(printed({CHECKPASS_PROGRAM, "ldap", server.tlsUri(), "dc=test", "(uid=%u)",
                         server.authorities(), "5"},
                        {}, 1),
                StartsWith("ready\n"));
}

TEST_F(LdapNodeEnvironment, VariablesDoNotHaveTheKeysWrittenDown) {
    authorities = server.authorities();
    const auto keys = directory.path() / "keys";
    EXPECT_THAT(probed({{"SSLKEYLOGFILE", keys}, {"GNUTLS_DEBUG_LEVEL", "9"}}), HasSubstr("opens"));
    EXPECT_FALSE(std::filesystem::exists(keys));
    EXPECT_THAT(testing::readFile(directory.path() / "errors"), Not(HasSubstr("KEY [")));
}

}  // namespace
}  // namespace velunor::testing
