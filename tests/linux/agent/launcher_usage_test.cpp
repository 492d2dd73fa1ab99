// What the launcher says to a wrong command line, its help and its version.

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/linux/agent/launcher_fixture.h"

namespace velunor::testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

struct UsageCase {
    const char* name;
    std::vector<std::string> arguments;
    const char* expected;
};

void PrintTo(const UsageCase& value, std::ostream* out) {
    *out << value.name;
}

class AgentUsage : public AgentLauncher, public ::testing::WithParamInterface<UsageCase> {};

TEST_P(AgentUsage, EndsWithTwoAndSaysWhy) {
    EXPECT_EQ(start(GetParam().arguments).wait(), exited(AgentExit::usage));
    EXPECT_EQ(output(), "");
    EXPECT_THAT(errors(), EndsWith(std::string("ostrel-agent: ") + GetParam().expected + "\n"));
    EXPECT_THAT(errors(), HasSubstr("Usage: "));
}

UsageCase timeoutCase(const char* name, const char* seconds) {
    return {name,
            {"prompt", "--timeout", seconds},
            "--timeout takes a whole number of seconds up to a week"};
}

INSTANTIATE_TEST_SUITE_P(
    Wrong, AgentUsage,
    ::testing::Values(
        UsageCase{"Nothing", {}, "no command given"},
        UsageCase{"UnknownCommand", {"show\x1b[31m"}, "unknown command show\\u{1B}[31m"},
        UsageCase{"ServeArgument", {"serve", "extra"}, "unknown argument extra"},
        UsageCase{"ReplyWithoutText", {"serve", "--reply"}, "--reply needs a text"},
        UsageCase{
            "NoPromptArguments", {"prompt"}, "the prompt's six arguments are missing after --"},
        UsageCase{"FivePromptArguments",
                  {"prompt", "--", "1", "2", "3", "4", "5"},
                  "the prompt takes six arguments after --"},
        UsageCase{"SevenPromptArguments",
                  {"prompt", "--", "1", "2", "3", "4", "5", "6", "7"},
                  "the prompt takes six arguments after --"},
        timeoutCase("TimeoutIsNoNumber", "soon"), timeoutCase("TimeoutIsZero", "0"),
        timeoutCase("TimeoutIsNegative", "-5"),
        timeoutCase("TimeoutIsHuge", "99999999999999999999"),
        timeoutCase("TimeoutIsBeyondAWeek", "604801"),
        UsageCase{"TimeoutIsAWeek",
                  {"prompt", "--timeout", "604800"},
                  "the prompt's six arguments are missing after --"},
        timeoutCase("TimeoutHasAUnit", "5s"),
        UsageCase{"ProgramWithoutPath", {"prompt", "--program"}, "--program needs a value"},
        UsageCase{"UnknownOption", {"prompt", "--colour", "red"}, "unknown argument --colour"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(AgentLauncher, HelpNamesTheStatuses) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--help"},
                                                      {"help"},
                                                      {"serve", "--help"},
                                                      {"prompt", "--help"}}) {
        std::filesystem::remove(directory() / "out");
        EXPECT_EQ(start(arguments).wait(), exited(AgentExit::proceed));
        EXPECT_THAT(output(), HasSubstr("\n   0  The answer was to proceed.\n"));
        EXPECT_THAT(output(), HasSubstr("\n  10  The answer was to postpone.\n"));
        for (int status = 1; status < 10; ++status) {
            EXPECT_THAT(output(), HasSubstr("\n   " + std::to_string(status) + "  "));
        }
    }
}

TEST_F(AgentLauncher, VersionIsOneLine) {
    EXPECT_EQ(start({"--version"}).wait(), exited(AgentExit::proceed));
    EXPECT_THAT(output(), ::testing::MatchesRegex("ostrel-agent [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

}  // namespace
}  // namespace velunor::testing
