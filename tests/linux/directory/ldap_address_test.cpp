// Addresses of directory servers.

#include "tools/osupdate_checkpass/ldap/ldap_address.h"

#include <gtest/gtest.h>

#include <string>

namespace velunor::testing {
namespace {

/// Host, port and whether TLS comes first, or "none".
std::string parsed(const std::string& uri) {
    const auto address = parseLdapAddress(uri);
    return address ? address->host + " " + std::to_string(address->port) +
                         (address->beginsWithTls ? " at once" : " later")
                   : "none";
}

TEST(LdapAddress, HasThePortOfItsSchemeUnlessItNamesOne) {
    EXPECT_EQ(parsed("ldaps://ldap.example.org"), "ldap.example.org 636 at once");
    EXPECT_EQ(parsed("ldap://ldap.example.org/"), "ldap.example.org 389 later");
    EXPECT_EQ(parsed("ldaps://ldap.example.org:3269"), "ldap.example.org 3269 at once");
    EXPECT_EQ(parsed("LDAP://10.0.0.1:10389/"), "10.0.0.1 10389 later");
}

TEST(LdapAddress, MayBeInBracketsAndHasNoneThen) {
    EXPECT_EQ(parsed("ldaps://[2001:db8::1]"), "2001:db8::1 636 at once");
    EXPECT_EQ(parsed("ldap://[::1]:1389"), "::1 1389 later");
    EXPECT_EQ(parsed("ldap://::1"), "none");
}

TEST(LdapAddress, PortIsFromOneTo65535) {
    EXPECT_EQ(parsed("ldap://host:0"), "none");
    EXPECT_EQ(parsed("ldap://host:1"), "host 1 later");
    EXPECT_EQ(parsed("ldap://host:65535"), "host 65535 later");
    EXPECT_EQ(parsed("ldap://host:65536"), "none");
}

TEST(LdapAddress, HasAtMost512Characters) {
    const std::string scheme = "ldaps://";
    const std::string longest(512 - scheme.size(), 'h');
    EXPECT_EQ(parsed(scheme + longest), longest + " 636 at once");
    EXPECT_EQ(parsed(scheme + longest + "h"), "none");
}

}  // namespace
}  // namespace velunor::testing
