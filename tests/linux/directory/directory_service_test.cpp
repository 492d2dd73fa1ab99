#include "platform/linux/directory/directory_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "tests/support/files.h"
#include "tests/support/forked_copy.h"

namespace velunor {
namespace {

using ::testing::HasSubstr;
using testing::inChild;

constexpr const char* noSuchNode = "Error Domain=Directory Code=2 \"No node of this name\"";

std::shared_ptr<DirectorySession> sessionOf(LinuxDirectorySettings settings) {
    return LinuxDirectoryService(std::move(settings)).defaultSession();
}

/// The error of opening the node, or an empty text when it opens.
std::string openingError(const LinuxDirectorySettings& settings, const std::string& name) {
    const auto node = sessionOf(settings)->openNode(name);
    return node ? "" : node.error().description();
}

DirectoryNodePointer searchNode(const std::vector<std::string>& searchPath) {
    auto node =
        sessionOf({.searchPath = searchPath, .nodes = {}, .checker = {}})->openNode("/Search");
    return *std::move(node);
}

TEST(LinuxDirectory, LocalAndSearchNodesAreAlwaysThere) {
    EXPECT_EQ(openingError({}, "/Local/Default"), "");
    EXPECT_EQ(openingError({}, "/Search"), "");
    EXPECT_TRUE(sessionOf({})->openNode(DirectoryNodeType::localNodes).has_value());
}

TEST(LinuxDirectory, NodeThatNobodyConfiguredIsAnError) {
    for (const char* name :
         {"/LDAPv3/corp", "/local/default", "/Local/Default ", "/Search/", "", "Local/Default"}) {
        EXPECT_EQ(openingError({}, name), noSuchNode) << name;
    }
}

TEST(LinuxDirectory, ConfiguredNodeIsKnownByItsWholeNameOnly) {
    LinuxDirectorySettings settings;
    settings.checker.program = CHECKPASS_PROGRAM;
    settings.nodes["/LDAPv3/corp"].uri = "no address";
    EXPECT_THAT(openingError(settings, "/LDAPv3/corp"), HasSubstr("Domain=LDAP"));
    EXPECT_EQ(openingError(settings, "/LDAPv3/Corp"), noSuchNode);
    EXPECT_EQ(openingError(settings, "/LDAPv3"), noSuchNode);
}

TEST(LinuxDirectory, SearchNodeTellsTheSearchPathInItsOrder) {
    const auto node = searchNode({"/LDAPv3/b", "/Local/Default", "/LDAPv3/a", "/LDAPv3/b"});
    constexpr std::array keys{attributeSearchPath};
    const auto details = node->nodeDetails(keys);
    ASSERT_TRUE(details);
    EXPECT_EQ(details->at(std::string(attributeSearchPath)),
              (PropertyListValue{PropertyListArray{{std::string("/LDAPv3/b")},
                                                   {std::string("/Local/Default")},
                                                   {std::string("/LDAPv3/a")},
                                                   {std::string("/LDAPv3/b")}}}));
}

TEST(LinuxDirectory, EmptySearchPathIsAnEmptyList) {
    constexpr std::array keys{attributeSearchPath};
    const auto details = searchNode({})->nodeDetails(keys);
    ASSERT_TRUE(details);
    EXPECT_EQ(details->at(std::string(attributeSearchPath)),
              (PropertyListValue{PropertyListArray{}}));
}

TEST(LinuxDirectory, SearchNodeTellsOnlyWhatItIsAsked) {
    constexpr std::array<std::string_view, 1> keys{"dsAttrTypeStandard:Other"};
    EXPECT_EQ(searchNode({"/Local/Default"})->nodeDetails(keys), PropertyListDictionary{});
}

TEST(LinuxDirectory, SearchNodeAcceptsNoPasswordAndHasNoAccounts) {
    constexpr const char* none =
        "Error Domain=Directory Code=95 \"The search node has no accounts of its own\"";
    const auto node = searchNode({"/Local/Default"});
    const auto refusal = node->setCredentials("root", Secret("x"));
    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->description(), none);
    const auto users = node->usersNamed("root", 1);
    ASSERT_FALSE(users);
    EXPECT_EQ(users.error().description(), none);
}

TEST(LinuxDirectory, AccountsThatCannotBeReadAreAnError) {
    const auto node = *sessionOf({})->openNode(DirectoryNodeType::localNodes);
    const auto outcome = inChild([&] {
        const rlimit none{0, 0};
        setrlimit(RLIMIT_NOFILE, &none);
        const auto users = node->usersNamed("root", 1);
        return users ? std::string("no error") : users.error().description();
    });
    EXPECT_EQ(outcome.text, "Error Domain=Password database Code=24 \"Too many open files\"");
}

/// What a machine has that nobody has configured.
TEST(LinuxDirectory, DefaultsAreWhatThePackageInstallsAndItsPagesTell) {
    const CredentialCheckerSettings checker;
    EXPECT_THAT(testing::readFile(CHECKPASS_SOCKET_UNIT),
                HasSubstr("\nListenStream=" + checker.socketPath + "\n"));
    EXPECT_THAT(testing::readFile(CHECKPASS_UNIT),
                HasSubstr("\nExecStart=" + checker.program + " serve\n"));
    EXPECT_EQ(LinuxDirectorySettings().searchPath, std::vector<std::string>{"/Local/Default"});
    EXPECT_THAT(testing::readFile(SHIPPED_SETTINGS),
                HasSubstr("\n# timeout_seconds = " +
                          std::to_string(DirectoryNodeSettings().timeout.count()) + "\n"));
}

TEST(LinuxDirectory, LocalNodeHasNoSearchPath) {
    const auto node = *sessionOf({})->openNode("/Local/Default");
    constexpr std::array keys{attributeSearchPath};
    EXPECT_FALSE(node->nodeDetails(keys));
}

}  // namespace
}  // namespace velunor
