// The launcher that starts a prompt, as a process on a bus of the test's own.

#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>

#include "platform/text.h"
#include "tests/linux/agent/launcher_fixture.h"

namespace velunor::testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using AgentPrompt = AgentLauncher;

TEST_F(AgentPrompt, ProceedIsPrintedAloneAndEndsWithZero) {
    startBus();
    const std::string json = R"({"proceed":{"userName":"alice","passwd":"p\/4\\ss ü"}})";
    EXPECT_EQ(startPrompt("answer", json).wait(), exited(AgentExit::proceed)) << errors();
    EXPECT_EQ(output(), json + "\n");
    EXPECT_THAT(errors(), HasSubstr("chatter on standard output"));
    EXPECT_THAT(errors(), HasSubstr("the reply is OK\n"));
}

TEST_F(AgentPrompt, PostponementEndsWithTen) {
    startBus();
    const Ending ten{10, 0};
    EXPECT_EQ(startPrompt("answer", R"({"postponse":{"userName":"bob"}})").wait(), ten) << errors();
    EXPECT_EQ(output(), "{\"postponse\":{\"userName\":\"bob\"}}\n");
}

TEST_F(AgentPrompt, FirstAnswerCounts) {
    startBus();
    EXPECT_EQ(startPrompt("two-answers", R"({"postponse":{}})").wait(), exited(AgentExit::postpone))
        << errors();
    EXPECT_EQ(output(), "{\"postponse\":{}}\n");
}

TEST_F(AgentPrompt, ControlCharactersAreEscapedAndTheAnswerStaysTheSame) {
    startBus();
    std::string controls = "\x7f";
    for (const char32_t code : {0x80U, 0x9BU, 0x2028U, 0x202EU, 0x2069U}) {
        controls += encodedUtf8(code);
    }
    const std::string around = "\u00A0\u20AC\u2027";
    EXPECT_EQ(startPrompt("answer", "{\n\t\"proceed\":{\"passwd\":\"" + controls + around + "\"}}")
                  .wait(),
              exited(AgentExit::proceed))
        << errors();
    EXPECT_EQ(output(), "{  \"proceed\":{\"passwd\":\"\\u007F\\u0080\\u009B\\u2028\\u202E\\u2069" +
                            around + "\"}}\n");
}

TEST_F(AgentPrompt, MalformedAnswerEndsWithFourAndIsNotPrinted) {
    startBus();
    EXPECT_EQ(startPrompt("answer", "\x1b]0;title\x07").wait(), exited(AgentExit::noAnswer));
    EXPECT_EQ(output(), "");
    EXPECT_THAT(errors(), HasSubstr("ostrel-agent: the answer is malformed: "));
    EXPECT_EQ(errors().find('\x1b'), std::string::npos);
}

TEST_F(AgentPrompt, AnswerWithTwoCasesEndsWithFour) {
    startBus();
    EXPECT_EQ(startPrompt("answer", R"({"proceed":{},"postponse":{}})").wait(),
              exited(AgentExit::noAnswer));
    EXPECT_EQ(output(), "");
}

TEST_F(AgentPrompt, RequestUnderAnotherKeyIsNoAnswer) {
    startBus();
    EXPECT_EQ(startPrompt("other-key", R"({"proceed":{}})").wait(), exited(AgentExit::noAnswer));
    EXPECT_EQ(output(), "");
}

TEST_F(AgentPrompt, AnswerOfAProgramThatWasNotStartedHereDoesNotCount) {
    startBus();
    initialiseLibrary();
    ChildProcess& process = startPrompt("stay", "");
    ASSERT_TRUE(waitForPrompt());
    EXPECT_EQ(request(statusKey, R"({"proceed":{"passwd":"planted"}})"), "Not the prompt");
    process.sendSignal(SIGTERM);
    EXPECT_EQ(process.wait(), exited(AgentExit::noAnswer)) << errors();
    EXPECT_EQ(output(), "");
    EXPECT_THAT(errors(), HasSubstr("another program sent an answer"));
}

TEST_F(AgentPrompt, AnswerOfAPromptThatTheProgramStartsCounts) {
    startBus();
    const auto wrapper = directory() / "wrapper";
    writeFile(wrapper, std::string("#!/bin/sh\n'") + FAKE_PROMPT_PROGRAM + "' \"$@\"\nexit $?\n");
    std::filesystem::permissions(wrapper, std::filesystem::perms::owner_all);
    EXPECT_EQ(
        start({"prompt", "--program", wrapper, "--", "answer", R"({"proceed":{}})", "", "", "", ""})
            .wait(),
        exited(AgentExit::proceed))
        << errors();
    EXPECT_EQ(output(), "{\"proceed\":{}}\n");
}

TEST_F(AgentPrompt, IsTheOneBesideTheLauncherUnlessAnotherIsNamed) {
    startBus();
    const auto launcher = directory() / "ostrel-agent";
    const auto prompt = directory() / "VelunorOSUpdate";
    std::filesystem::copy_file(LAUNCHER_PROGRAM, launcher);
    std::filesystem::create_symlink(FAKE_PROMPT_PROGRAM, prompt);
    EXPECT_EQ(
        startCommand({launcher, "prompt", "--", "answer", R"({"proceed":{}})", "", "", "", ""})
            .wait(),
        exited(AgentExit::proceed))
        << errors();
    EXPECT_EQ(output(), "{\"proceed\":{}}\n");
}

TEST_F(AgentPrompt, PromptThatEndsWithoutAnAnswerEndsWithFour) {
    startBus();
    EXPECT_EQ(startPrompt("silent", "").wait(), exited(AgentExit::noAnswer));
    EXPECT_THAT(errors(), EndsWith("the prompt ended without an answer\n"));
}

TEST_F(AgentPrompt, PromptThatCannotStartEndsWithFour) {
    startBus();
    EXPECT_EQ(start({"prompt", "--program", "/nowhere/prompt", "--", "1", "2", "3", "4", "5", "6"})
                  .wait(),
              exited(AgentExit::noAnswer));
    EXPECT_THAT(errors(), HasSubstr("/nowhere/prompt: No such file or directory"));
}

TEST_F(AgentPrompt, TimeOutTellsThePromptToEndAndEndsWithFive) {
    startBus();
    EXPECT_EQ(startPrompt("stay", "", {"--timeout", "1"}).wait(), exited(AgentExit::timeout));
    EXPECT_THAT(errors(), EndsWith("ostrel-agent: no answer in time\n"));
    EXPECT_EQ(readFile(marker()), "told to end");
    EXPECT_EQ(output(), "");
}

TEST_F(AgentPrompt, PromptThatStaysAfterTheTimeOutIsKilled) {
    startBus();
    EXPECT_EQ(startPrompt("stubborn", "", {"--timeout", "1"}).wait(), exited(AgentExit::timeout));
    EXPECT_EQ(readFile(marker()), "");
}

TEST_F(AgentPrompt, AnswerCountsWhereThePromptStaysAndIsToldToEnd) {
    startBus();
    ChildProcess& process = startPrompt("answer-and-stay", R"({"proceed":{}})");
    ASSERT_TRUE(waitForPrompt());
    process.sendSignal(SIGTERM);
    EXPECT_EQ(process.wait(), exited(AgentExit::proceed)) << errors();
    EXPECT_EQ(output(), "{\"proceed\":{}}\n");
    EXPECT_EQ(readFile(marker()), "told to end");
}

TEST_F(AgentPrompt, PromptEndsWhereTheLauncherIsKilled) {
    startBus();
    ChildProcess& process = startPrompt("stay", "");
    ASSERT_TRUE(waitForPrompt());
    process.sendSignal(SIGKILL);
    EXPECT_TRUE(eventually([this] { return !readFile(marker()).empty(); }));
    EXPECT_EQ(readFile(marker()), "told to end");
}

class AgentPromptSignals : public AgentLauncher, public ::testing::WithParamInterface<int> {};

TEST_P(AgentPromptSignals, EndThePromptToo) {
    startBus();
    ChildProcess& process = startPrompt("stay", "");
    ASSERT_TRUE(waitForPrompt());
    process.sendSignal(GetParam());
    EXPECT_EQ(process.wait(), exited(AgentExit::noAnswer)) << errors();
    EXPECT_EQ(readFile(marker()), "told to end");
}

INSTANTIATE_TEST_SUITE_P(All, AgentPromptSignals, ::testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& test) { return std::string(sigabbrev_np(test.param)); });

TEST_F(AgentPrompt, HangUpThatIsIgnoredAtTheStartStaysSo) {
    startBus();
    ChildProcess& process =
        startCommand({"/usr/bin/env", "--ignore-signal=HUP", LAUNCHER_PROGRAM, "prompt",
                      "--program", FAKE_PROMPT_PROGRAM, "--", "stay", "", marker(), "", "", ""});
    ASSERT_TRUE(waitForPrompt());
    process.sendSignal(SIGHUP);
    initialiseLibrary();
    // Whoever answers so often has dealt with the signal.
    for (int count = 0; count < 20; ++count) {
        ASSERT_EQ(request(statusKey, "{}"), "Not the prompt");
    }
    EXPECT_EQ(readFile(marker()), "");
    process.sendSignal(SIGTERM);
    EXPECT_EQ(process.wait(), exited(AgentExit::noAnswer)) << errors();
}

TEST_F(AgentPrompt, AbsentBusEndsWithThree) {
    EXPECT_EQ(startPrompt("answer", R"({"proceed":{}})").wait(), exited(AgentExit::noService));
    EXPECT_THAT(errors(), EndsWith("ostrel-agent: no message bus: No such file or directory\n"));
}

TEST_F(AgentPrompt, BusThatGoesAwayEndsThePromptAndEndsWithThree) {
    startBus();
    ChildProcess& process = startPrompt("stay", "");
    ASSERT_TRUE(waitForPrompt());
    bus().stop();
    EXPECT_EQ(process.wait(), exited(AgentExit::noService)) << errors();
    EXPECT_TRUE(eventually([this] { return readFile(marker()) == "told to end"; }));
}

TEST_F(AgentPrompt, TakenNameEndsWithThree) {
    startBus();
    const FakeService other(directory(), bus().address(), "answer");
    EXPECT_EQ(startPrompt("answer", R"({"proceed":{}})").wait(), exited(AgentExit::noService));
    EXPECT_THAT(errors(), EndsWith(nameIsTaken));
    EXPECT_THAT(other.requests(), IsEmpty());
}

TEST_F(AgentPrompt, WrongSettingsEndWithThreeAndNameTheKey) {
    startBus();
    writeFile(settingsFile(), readFile(settingsFile()) + "[directory]\nsearch_path = 1\n");
    EXPECT_EQ(startPrompt("answer", R"({"proceed":{}})").wait(), exited(AgentExit::noService));
    EXPECT_THAT(errors(), HasSubstr(settingsFile().string() + ":10: directory.search_path"));
}

TEST_F(AgentPrompt, SettingsPathThatIsNotAbsoluteEndsWithOneAndNoPrompt) {
    startBus();
    setVariable("VELUNOR_AGENT_SETTINGS", std::filesystem::relative(settingsFile()));
    EXPECT_EQ(startPrompt("answer", R"({"proceed":{}})").wait(), (Ending{1, 0}));
    EXPECT_EQ(errors(), "ostrel-agent: VELUNOR_AGENT_SETTINGS is not an absolute path\n");
    EXPECT_EQ(output(), "");
}

TEST_F(AgentPrompt, OutputThatCannotBeWrittenEndsWithFour) {
    startBus();
    ChildProcess process(
        Command{.arguments = {LAUNCHER_PROGRAM, "prompt", "--program", FAKE_PROMPT_PROGRAM, "--",
                              "answer", R"({"proceed":{}})", "", "", "", ""},
                .environment = environment(),
                .output = "/dev/full",
                .errors = directory() / "err"});
    EXPECT_EQ(process.wait(), exited(AgentExit::noAnswer));
    EXPECT_THAT(errors(), EndsWith("ostrel-agent: the answer cannot be written\n"));
}

TEST_F(AgentPrompt, OtherUserIsAskedByRootAlone) {
    const Ending ending =
        start({"prompt", "--user", "no such user", "--", "", "", "", "", "", ""}).wait().value();
    if (geteuid() == 0) {
        EXPECT_EQ(ending, exited(AgentExit::unknownUser));
        EXPECT_EQ(errors(), "ostrel-agent: there is no user no such user\n");
    } else {
        EXPECT_EQ(ending, exited(AgentExit::usage));
        EXPECT_EQ(errors(), "ostrel-agent: only root can ask another user\n");
    }
    EXPECT_EQ(output(), "");
}

TEST_F(AgentPrompt, UserWhoIsNotLoggedInIsNobodyToAsk) {
    const Ending ending =
        start({"prompt", "--user", "nobody", "--", "", "", "", "", "", ""}).wait().value();
    EXPECT_EQ(ending, exited(geteuid() == 0 ? AgentExit::nobodyThere : AgentExit::usage));
    EXPECT_EQ(output(), "");
}

}  // namespace
}  // namespace velunor::testing
