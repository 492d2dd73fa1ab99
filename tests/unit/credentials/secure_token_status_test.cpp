#include "credentials/secure_token_status.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <ostream>

#include "tests/support/doubles/recording_log.h"
#include "tests/unit/credentials/scripted_machine.h"

namespace velunor::testing {

namespace {

using ::testing::ElementsAre;

using Command = ScriptedChildProcess::Command;

TEST(Shell, RunsTheListUnchangedThroughEnv) {
    ScriptedChildProcess childProcess;
    const std::vector<std::string> list{"/bin/echo", "", "two words", "$HOME", "\"quoted\""};
    EXPECT_EQ(shell(list, childProcess).terminationStatus, 0);
    EXPECT_THAT(childProcess.runs, ElementsAre(Command{"/usr/bin/env", list}));
}

TEST(Shell, AnswersStatusAndOutputUnchangedWithTheTrailingNewline) {
    ScriptedChildProcess childProcess;
    childProcess.answer = {-3, " first\nsecond \u2713\n"};
    const ChildProcessResult result = shell(std::vector<std::string>{"/bin/tool"}, childProcess);
    EXPECT_EQ(result.terminationStatus, -3);
    EXPECT_EQ(result.output, " first\nsecond \u2713\n");
}

class ShellDeathTest : public ::testing::TestWithParam<std::string> {};

TEST_P(ShellDeathTest, StopsSilentlyOnOutputThatIsNotUtf8) {
    ScriptedChildProcess childProcess;
    childProcess.answer = {0, GetParam()};
    EXPECT_EXIT(static_cast<void>(shell(std::vector<std::string>{"/bin/tool"}, childProcess)),
                ::testing::KilledBySignal(SIGABRT), "^$");
}

INSTANTIATE_TEST_SUITE_P(Outputs, ShellDeathTest,
                         ::testing::Values("ENABLED \xFF", "caf\xE9\n", "cut \xE2\x82",
                                           "overlong \xC0\xAF", "surrogate \xED\xA0\x80"));

struct Answer {
    std::string name;
    std::string output;
    SecureTokenStatus status;

    friend void PrintTo(const Answer& answer, std::ostream* stream) { *stream << answer.name; }
};

class SecureTokenAnswer : public ::testing::TestWithParam<Answer> {};

TEST_P(SecureTokenAnswer, IsClassifiedByItsText) {
    ScriptedChildProcess childProcess;
    RecordingLog log;
    childProcess.answer.output = GetParam().output;
    EXPECT_EQ(secureTokenStatus("ada", "/tool", childProcess, log), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    SecureToken, SecureTokenAnswer,
    ::testing::Values(
        Answer{"Enabled", "Secure token is ENABLED for user Ada\n", SecureTokenStatus::enabled},
        Answer{"EnabledAtTheStart", "ENABLED", SecureTokenStatus::enabled},
        Answer{"EnabledInALaterLine", "warning\nnote\nstatus=ENABLED", SecureTokenStatus::enabled},
        Answer{"SpelledWithDisInFront", "Secure token is DISABLED for user Ada\n",
               SecureTokenStatus::disabled},
        Answer{"UnknownUser", "Unknown user ada\n", SecureTokenStatus::unknownUser},
        Answer{"BothWithUnknownUserFirst", "Unknown user\nENABLED\n", SecureTokenStatus::enabled},
        Answer{"BothWithEnabledFirst", "ENABLED\nUnknown user\n", SecureTokenStatus::enabled},
        Answer{"EnabledInLowerCase", "Secure token is enabled\n", SecureTokenStatus::disabled},
        Answer{"UnknownUserInLowerCase", "unknown user ada\n", SecureTokenStatus::disabled},
        Answer{"UnknownUserInUpperCase", "UNKNOWN USER ada\n", SecureTokenStatus::disabled},
        Answer{"Empty", "", SecureTokenStatus::disabled},
        Answer{"EnabledInsideARepeatedUserName", "No token for user ENABLEDbyname\n",
               SecureTokenStatus::enabled},
        Answer{"UnknownUserInsideARepeatedUserName", "No token for Unknown user\n",
               SecureTokenStatus::unknownUser},
        Answer{"ToolThatEnvCannotStart",
               "/usr/bin/env: \u2018/usr/sbin/sysadminctl\u2019: No such file or directory\n",
               SecureTokenStatus::disabled}),
    [](const auto& test) { return test.param.name; });

class SecureToken : public ::testing::Test {
  protected:
    ScriptedChildProcess childProcess;
    RecordingLog log;
};

TEST_F(SecureToken, AsksTheToolThroughEnvAndLogsCommandAndOutput) {
    childProcess.answer.output = "Secure token is ENABLED for user Ada\n";
    EXPECT_EQ(secureTokenStatus("ada", "/usr/sbin/sysadminctl", childProcess, log),
              SecureTokenStatus::enabled);
    EXPECT_THAT(childProcess.runs,
                ElementsAre(Command{"/usr/bin/env",
                                    {"/usr/sbin/sysadminctl", "-secureTokenStatus", "ada"}}));
    EXPECT_THAT(log.lines(), ElementsAre("Command To Be Executed [\"/usr/sbin/sysadminctl\", "
                                         "\"-secureTokenStatus\", \"ada\"]",
                                         "Output Secure token is ENABLED for user Ada\n"));
}

TEST_F(SecureToken, PassesAUserNameWithBlanksAsOneArgument) {
    EXPECT_EQ(secureTokenStatus(" ada  lovelace ", "/tool", childProcess, log),
              SecureTokenStatus::disabled);
    EXPECT_THAT(
        childProcess.runs,
        ElementsAre(Command{"/usr/bin/env", {"/tool", "-secureTokenStatus", " ada  lovelace "}}));
}

TEST_F(SecureToken, PassesAnEmptyUserNameAsAnArgument) {
    EXPECT_EQ(secureTokenStatus("", "/tool", childProcess, log), SecureTokenStatus::disabled);
    EXPECT_THAT(childProcess.runs,
                ElementsAre(Command{"/usr/bin/env", {"/tool", "-secureTokenStatus", ""}}));
    EXPECT_THAT(
        log.lines(),
        ElementsAre("Command To Be Executed [\"/tool\", \"-secureTokenStatus\", \"\"]", "Output "));
}

TEST_F(SecureToken, EscapesAUserNameInTheLogButNotInTheArgument) {
    EXPECT_EQ(secureTokenStatus("a\"b\\c", "/tool", childProcess, log),
              SecureTokenStatus::disabled);
    EXPECT_THAT(childProcess.runs,
                ElementsAre(Command{"/usr/bin/env", {"/tool", "-secureTokenStatus", "a\"b\\c"}}));
    EXPECT_EQ(log.lines().front(),
              R"(Command To Be Executed ["/tool", "-secureTokenStatus", "a\"b\\c"])");
}

TEST_F(SecureToken, PassesAnyUserNameOnUnchangedAndLogsItInOneLine) {
    using namespace std::string_literals;
    for (const std::string& name : {"*"s, "(x)"s, "$(id)"s, "it's"s, "line\nbreak\r"s, "nul\0byte"s,
                                    "Ωμέγα"s, "用户"s, "مستخدم"s, std::string(10'000, 'a')}) {
        childProcess.runs.clear();
        EXPECT_EQ(secureTokenStatus(name, "/tool", childProcess, log), SecureTokenStatus::disabled);
        EXPECT_THAT(childProcess.runs,
                    ElementsAre(Command{"/usr/bin/env", {"/tool", "-secureTokenStatus", name}}));
        const auto lines = log.lines();
        EXPECT_EQ(lines.at(lines.size() - 2).find_first_of("\n\r\0"s), std::string::npos) << name;
    }
}

TEST_F(SecureToken, IgnoresTheTerminationStatus) {
    childProcess.answer = {1, "ENABLED"};
    EXPECT_EQ(secureTokenStatus("ada", "/tool", childProcess, log), SecureTokenStatus::enabled);
    childProcess.answer = {0, "nothing of use"};
    EXPECT_EQ(secureTokenStatus("ada", "/tool", childProcess, log), SecureTokenStatus::disabled);
}

}  // namespace

}  // namespace velunor::testing
