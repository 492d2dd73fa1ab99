// The local agent service and launcher, as a process on a bus of the test's own.

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

constexpr const char* nameIsTaken =
    "ostrel-agent: the name com.velunor.OstrelAgent cannot be had: File exists\n";

using AgentPrompt = AgentLauncher;
using AgentServe = AgentLauncher;

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
        UsageCase{"TimeoutIsNoNumber",
                  {"prompt", "--timeout", "soon"},
                  "--timeout takes a whole number of seconds up to a week"},
        UsageCase{"TimeoutIsZero",
                  {"prompt", "--timeout", "0"},
                  "--timeout takes a whole number of seconds up to a week"},
        UsageCase{"TimeoutIsNegative",
                  {"prompt", "--timeout", "-5"},
                  "--timeout takes a whole number of seconds up to a week"},
        UsageCase{"TimeoutIsHuge",
                  {"prompt", "--timeout", "99999999999999999999"},
                  "--timeout takes a whole number of seconds up to a week"},
        UsageCase{"TimeoutIsBeyondAWeek",
                  {"prompt", "--timeout", "604801"},
                  "--timeout takes a whole number of seconds up to a week"},
        UsageCase{"TimeoutIsAWeek",
                  {"prompt", "--timeout", "604800"},
                  "the prompt's six arguments are missing after --"},
        UsageCase{"TimeoutHasAUnit",
                  {"prompt", "--timeout", "5s"},
                  "--timeout takes a whole number of seconds up to a week"},
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

class AgentServeRequests : public AgentLauncher {
  protected:
    AgentServeRequests() {
        startBus();
        initialiseLibrary();
    }

    /// What the line of a request from this process begins with.
    static std::string thisUser() { return std::to_string(getuid()) + " "; }
};

TEST_F(AgentServeRequests, RequestsArePrintedAndAnsweredWithOK) {
    ChildProcess& process = startService({});
    EXPECT_EQ(request(statusKey, R"({"postponse":{}})"), "OK");
    EXPECT_EQ(request("Other", "plain body"), "OK");
    EXPECT_EQ(errors(), "ostrel-agent: serving\n");
    EXPECT_EQ(output(),
              thisUser() + statusKey + " {\"postponse\":{}}\n" + thisUser() + "Other plain body\n");
    process.sendSignal(SIGTERM);
    EXPECT_EQ(process.wait(), exited(AgentExit::proceed));
}

TEST_F(AgentServeRequests, ReplyIsTheOneGiven) {
    startService({"--reply", "noted, thanks"});
    EXPECT_EQ(request(statusKey, "{}"), "noted, thanks");
}

TEST_F(AgentServeRequests, OnceEndsAfterTheFirstRequest) {
    ChildProcess& process = startService({"--once"});
    EXPECT_EQ(request(statusKey, R"({"proceed":{}})"), "OK");
    EXPECT_EQ(process.wait(), exited(AgentExit::proceed));
    EXPECT_EQ(output(), thisUser() + statusKey + " {\"proceed\":{}}\n");
}

TEST_F(AgentServeRequests, BytesThatAreNoAnswerCannotHarmATerminal) {
    startService({});
    EXPECT_EQ(request("key\x1b[2J", "\x1b[31m\nred\xff\x7f"), "OK");
    EXPECT_EQ(output(), thisUser() + "key\\u{1B}[2J \\u{1B}[31m\\nred\uFFFD\\u{7F}\n");
}

TEST_F(AgentServeRequests, KeyCannotPassForTheUserId) {
    startService({});
    EXPECT_EQ(request("0 PatchOSUpdateNotificationStatus", "{}"), "OK");
    EXPECT_EQ(output(), thisUser() + "0 PatchOSUpdateNotificationStatus {}\n");
}

TEST_F(AgentServeRequests, BusThatGoesAwayEndsWithThree) {
    ChildProcess& process = startService({});
    bus().stop();
    EXPECT_EQ(process.wait(), exited(AgentExit::noService));
    EXPECT_THAT(errors(), EndsWith("the message bus is gone\n"));
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

TEST_F(AgentServe, TakenNameEndsWithThree) {
    startBus();
    const FakeService other(directory(), bus().address(), "answer");
    EXPECT_EQ(start({"serve"}).wait(), exited(AgentExit::noService));
    EXPECT_THAT(errors(), EndsWith(nameIsTaken));
}

}  // namespace
}  // namespace velunor::testing
