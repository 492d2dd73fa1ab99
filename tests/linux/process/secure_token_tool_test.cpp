#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/posix/process.h"
#include "tests/support/forked_copy.h"
#include "tests/support/temporary_directory.h"

namespace velunor {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// The tool's answer, with its exit status in front, on a machine with a few known accounts. The
/// tool finds the settings, where there are any, as `file` in its working directory if that is
/// given.
std::string answerTo(const std::vector<std::string>& arguments, const std::string& settings = "",
                     const std::string& file = "") {
    const testing::TemporaryDirectory directory;
    directory.write("passwd",
                    "root:x:0:0::/:/bin/sh\n"
                    "alice:x:4001:4001::/:/bin/sh\n"
                    "bob:x:4002:27::/:/bin/sh\n"
                    "carol:x:4003:4003::/:/bin/sh\n"
                    "dora:x:4004:4004::/:/bin/sh\n"
                    "ENABLED:x:4005:4005::/:/bin/sh\n");
    directory.write("group",
                    "root:x:0:\nsudo:x:27:\nwheel:x:28:alice\nhelpdesk:x:4100:dora\n"
                    "carol:x:4003:\ndora:x:4004:\n");
    if (!settings.empty()) {
        directory.write("agent.toml", settings);
    }
    return testing::inChild([&] {
               testing::enterPrivateNamespace(4003);
               testing::mountFileOver(directory.file("passwd"), "/etc/passwd");
               testing::mountFileOver(directory.file("group"), "/etc/group");
               std::filesystem::current_path(directory.path());
               const std::string path = file.empty() ? directory.file("agent.toml") : file;
               setenv("VELUNOR_AGENT_SETTINGS", path.c_str(), 1);
               const auto result = LinuxChildProcess().run(SYSADMINCTL_PROGRAM, arguments);
               return std::to_string(result.terminationStatus) + " " + result.output;
           })
        .text;
}

std::string statusOf(const std::string& user, const std::string& settings = "") {
    return answerTo({"-secureTokenStatus", user}, settings);
}

constexpr const char* enabledAnswer = "0 Secure token is ENABLED for user\n";
constexpr const char* disabledAnswer = "0 Secure token is DISABLED for user\n";
constexpr const char* unknownAnswer = "1 Unknown user\n";

std::string settingsWith(const std::string& credentials) {
    return "[agent]\nbase_path = \"/b\"\ndata_path = \"/d\"\nlog_path = \"/l\"\n[credentials]\n" +
           credentials + "\n";
}

TEST(SecureTokenTool, RootHoldsAToken) {
    EXPECT_EQ(statusOf("root"), enabledAnswer);
}

TEST(SecureTokenTool, SupplementaryMemberOfAnAdministratorGroupHoldsAToken) {
    EXPECT_EQ(statusOf("alice"), enabledAnswer);
}

TEST(SecureTokenTool, PrimaryMemberOfAnAdministratorGroupHoldsAToken) {
    EXPECT_EQ(statusOf("bob"), enabledAnswer);
}

TEST(SecureTokenTool, OrdinaryAccountHoldsNone) {
    EXPECT_EQ(statusOf("carol"), disabledAnswer);
}

TEST(SecureTokenTool, GroupsOfTheSettingsReplaceTheUsualOnes) {
    const std::string settings = settingsWith("admin_groups = [\"helpdesk\"]");
    EXPECT_EQ(statusOf("dora", settings), enabledAnswer);
    EXPECT_EQ(statusOf("alice", settings), disabledAnswer);
}

TEST(SecureTokenTool, UsualGroupsWhereTheSettingsNameNone) {
    EXPECT_EQ(statusOf("alice", settingsWith("")), enabledAnswer);
}

TEST(SecureTokenTool, EmptyListOfGroupsLeavesRootAlone) {
    const std::string settings = settingsWith("admin_groups = []");
    EXPECT_EQ(statusOf("root", settings), enabledAnswer);
    EXPECT_EQ(statusOf("alice", settings), disabledAnswer);
}

TEST(SecureTokenTool, UnusableSettingsGiveNobodyAToken) {
    EXPECT_EQ(statusOf("root", "[agent"), "3 The agent's settings cannot be used\n");
}

TEST(SecureTokenTool, SettingsPathThatIsNotAbsoluteIsRefusedWithStatusOne) {
    EXPECT_EQ(answerTo({"-secureTokenStatus", "root"}, settingsWith(""), "agent.toml"),
              "1 VELUNOR_AGENT_SETTINGS is not an absolute path\n");
}

TEST(SecureTokenTool, UnknownAccount) {
    EXPECT_EQ(statusOf("nobody-of-that-name"), unknownAnswer);
    EXPECT_EQ(statusOf(""), unknownAnswer);
    EXPECT_EQ(statusOf("two words"), unknownAnswer);
}

TEST(SecureTokenTool, UnusualNamesAreUnknownAccounts) {
    for (const std::string& name :
         {std::string("alice "), std::string("\"alice\""), std::string("'alice'"), std::string("*"),
          std::string("(alice)"), std::string("ali\\ce"), std::string("alice\n"),
          std::string("alice:x"), std::string("-x"), std::string("--help"), std::string("Ωμέγα"),
          std::string("用户"), std::string("аlice"), std::string("4001"), std::string("alic\xFF"),
          std::string(10'000, 'a')}) {
        EXPECT_EQ(statusOf(name), unknownAnswer) << name;
    }
}

TEST(SecureTokenTool, NameThatHoldsAKeyTextIsNeverRepeated) {
    EXPECT_EQ(statusOf("ENABLED"), disabledAnswer);
    EXPECT_EQ(statusOf("Unknown user ENABLED"), unknownAnswer);
}

TEST(SecureTokenTool, WrongUsage) {
    const std::vector<std::vector<std::string>> wrong{
        {}, {"-secureTokenStatus"}, {"-other", "root"}, {"-secureTokenStatus", "root", "more"}};
    for (const auto& arguments : wrong) {
        const std::string answer = answerTo(arguments);
        EXPECT_THAT(answer, HasSubstr("2 Usage: "));
        EXPECT_THAT(answer, Not(HasSubstr("ENABLED")));
    }
}

}  // namespace
}  // namespace velunor
