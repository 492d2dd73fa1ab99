// What the secure-token tool may answer, and what the prompt makes of it.

#include <csignal>

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::testing {
namespace {

struct Answer {
    const char* name;
    /// The shell's commands that give it.
    const char* commands;
    bool noticeShows;
};

std::ostream& operator<<(std::ostream& stream, const Answer& answer) {
    return stream << answer.name;
}

class TokenTool : public CredentialsTest {};

class TokenAnswer : public TokenTool, public ::testing::WithParamInterface<Answer> {};

TEST_P(TokenAnswer, DecidesAboutTheNotice) {
    answerTokensWith(GetParam().commands);
    startService();
    startPrompt();
    ASSERT_TRUE(waitForControl("push button", "Later")) << systemLog();
    EXPECT_EQ(noticeShows(), GetParam().noticeShows) << systemLog();
    clickToTheEnd("Later");
    EXPECT_EQ(delivered(), GetParam().noticeShows ? R"({"postponse":{"userName":"ada"}})"
                                                  : R"({"postponse":{}})");
}

INSTANTIATE_TEST_SUITE_P(
    TokenTool, TokenAnswer,
    ::testing::Values(Answer{"Enabled", "echo status=ENABLED", false},
                      Answer{"EnabledOnStandardError", "echo ENABLED >&2", false},
                      Answer{"EnabledWithAnotherStatus", "echo ENABLED; exit 3", false},
                      Answer{"EnabledInsideARepeatedName", "echo no token: xENABLEDx", false},
                      Answer{"EnabledInLowerCase", "echo enabled", true},
                      Answer{"Disabled", "echo DISABLED", true},
                      Answer{"UnknownUser", "echo Unknown user; exit 1", false},
                      Answer{"UnknownUserInLowerCase", "echo unknown user", true},
                      Answer{"UnknownUserAndEnabled", "echo Unknown user; echo ENABLED", false},
                      Answer{"Nothing", ":", true}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(TokenTool, BothStreamsAreLoggedInTheOrderOfWriting) {
    answerTokensWith("echo one; echo two >&2; echo three; echo ENABLED >&2");
    startPrompt();
    EXPECT_TRUE(logged("Output one\\ntwo\\nthree\\nENABLED\\n\n")) << systemLog();
}

TEST_F(TokenTool, ProcessThatItLeavesBehindDoesNotHoldThePromptUp) {
    answerTokensWith(R"(sleep 600 & echo $! >"$(dirname "$0")/left"; echo ENABLED)");
    startPrompt();
    EXPECT_TRUE(logged("Output ENABLED\\n\n")) << systemLog();
    const pid_t left = std::stoi(readFile(directory() / "left"));
    EXPECT_EQ(::kill(left, SIGKILL), 0) << "it had ended before the prompt went on";
}

TEST_F(TokenTool, UserNameWithBlanksIsOneArgument) {
    answerTokensWith("[ $# = 2 ] && [ \"$2\" = 'two  words' ] && echo ENABLED");
    startPrompt();
    ASSERT_TRUE(waitForControl("label", "Not allowed to update.")) << systemLog();
    typeUserName("two  words");
    display().screen().pressKey("Tab");
    EXPECT_TRUE(waitForLog("-secureTokenStatus\", \"two  words\"]\n")) << systemLog();
    EXPECT_TRUE(eventually([&] { return !noticeShows(); })) << systemLog();
}

TEST_F(TokenTool, AnswerThatIsNotUtf8StopsThePromptAtItsStart) {
    answerTokensWith("printf 'ENABLED \\377'");
    startService();
    startProgram({testing::reachable(PROMPT_PROGRAM), "OSUpdateWithCred", "Debian 12.9", "false",
                  "15", "false", "2"});
    EXPECT_EQ(process().wait(), (Ending{-1, SIGABRT})) << systemLog();
    EXPECT_FALSE(logged("Output "));
    EXPECT_TRUE(requests().empty());
}

TEST_F(TokenTool, AnswerThatIsNotUtf8StopsThePromptAtUpdateNow) {
    const std::string marker = (directory() / "broken").string();
    answerTokensWith("[ -e " + marker + " ] && printf 'ENABLED \\377' || echo ENABLED");
    startService();
    startPrompt();
    typePassword(password);
    writeFile(marker, "");
    ASSERT_TRUE(clickButton("Go ahead"));
    EXPECT_EQ(process().wait(), (Ending{-1, SIGABRT})) << systemLog();
    EXPECT_FALSE(logged("Validating "));
    EXPECT_TRUE(requests().empty());
}

}  // namespace
}  // namespace velunor::testing
