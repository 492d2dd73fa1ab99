#include "platform/linux/directory/directory_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velunor {
namespace {

using ::testing::HasSubstr;

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
        EXPECT_THAT(openingError({}, name), HasSubstr("No node of this name")) << name;
    }
}

TEST(LinuxDirectory, ConfiguredNodeIsKnownByItsWholeNameOnly) {
    LinuxDirectorySettings settings;
    settings.checker.program = CHECKPASS_PROGRAM;
    settings.nodes["/LDAPv3/corp"].uri = "no address";
    EXPECT_THAT(openingError(settings, "/LDAPv3/corp"), HasSubstr("Domain=LDAP"));
    EXPECT_THAT(openingError(settings, "/LDAPv3/Corp"), HasSubstr("No node of this name"));
    EXPECT_THAT(openingError(settings, "/LDAPv3"), HasSubstr("No node of this name"));
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
    const auto node = searchNode({"/Local/Default"});
    EXPECT_TRUE(node->setCredentials("root", Secret("x")));
    EXPECT_FALSE(node->usersNamed("root", 1).has_value());
}

TEST(LinuxDirectory, LocalNodeHasNoSearchPath) {
    const auto node = *sessionOf({})->openNode("/Local/Default");
    constexpr std::array keys{attributeSearchPath};
    EXPECT_FALSE(node->nodeDetails(keys));
}

}  // namespace
}  // namespace velunor
