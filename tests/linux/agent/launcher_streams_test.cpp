// The launcher where its streams are closed or nobody reads them, and what it leaves of an answer
// in its memory.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <thread>

#include "agent/linux/agent_bus.h"
#include "platform/posix/file_descriptor.h"
#include "tests/linux/agent/launcher_fixture.h"
#include "tests/support/forked_copy.h"
#include "tests/support/memory_search.h"
#include "tools/ostrel_agent/prompt_session.h"

namespace velunor::testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

/// Starts a program whose standard output nobody reads any more; the pipe's path is the first
/// argument.
constexpr const char* unreadOutput = R"(mkfifo "$0" && exec 3<>"$0" 4>"$0" 3<&- && exec "$@" >&4)";
constexpr const char* closedOutput = R"(exec "$@" >&-)";
constexpr const char* closedErrors = R"(exec "$@" 2>&-)";

class AgentStreams : public AgentLauncher {
  protected:
    AgentStreams() {
        startBus();
        initialiseLibrary();
    }

    /// Starts the launcher from a shell, as `script` says.
    ChildProcess& startFrom(const char* script, const std::vector<std::string>& arguments) {
        std::vector<std::string> command{"/bin/sh", "-c", script, directory() / "pipe",
                                         LAUNCHER_PROGRAM};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return startCommand(command);
    }

    ChildProcess& startPromptFrom(const char* script) {
        return startFrom(script, {"prompt", "--program", FAKE_PROMPT_PROGRAM, "--", "answer",
                                  R"({"proceed":{}})", "", "", "", ""});
    }
};

TEST_F(AgentStreams, AnswerThatNobodyReadsEndsWithFour) {
    EXPECT_EQ(startPromptFrom(unreadOutput).wait(), exited(AgentExit::noAnswer)) << errors();
    EXPECT_THAT(errors(), EndsWith("ostrel-agent: the answer cannot be written\n"));
}

TEST_F(AgentStreams, ClosedOutputEndsWithFour) {
    EXPECT_EQ(startPromptFrom(closedOutput).wait(), exited(AgentExit::noAnswer)) << errors();
    EXPECT_THAT(errors(), EndsWith("ostrel-agent: the answer cannot be written\n"));
}

TEST_F(AgentStreams, PromptIsShownWithClosedErrors) {
    EXPECT_EQ(startPromptFrom(closedErrors).wait(), exited(AgentExit::proceed));
    EXPECT_EQ(output(), "{\"proceed\":{}}\n");
}

TEST_F(AgentStreams, RequestThatNobodyReadsIsAnsweredAllTheSame) {
    ChildProcess& process = startFrom(unreadOutput, {"serve"});
    ASSERT_TRUE(eventually([this] { return errors().find("serving") != std::string::npos; }));
    EXPECT_EQ(request(statusKey, R"({"proceed":{}})"), "OK");
    EXPECT_THAT(errors(), HasSubstr("ostrel-agent: a request cannot be written\n"));
    process.sendSignal(SIGTERM);
    EXPECT_EQ(process.wait(), exited(AgentExit::proceed));
}

class AgentMemory : public AgentStreams {
  protected:
    /// A file with an answer that holds the password and grows when it is escaped. No stream's
    /// buffer may keep it.
    [[nodiscard]] std::string answerWith(const Needle& needle) const {
        std::string path = directory() / "answer";
        const FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        Secret answer(R"({"proceed":{"passwd":")");
        answer.append(needle.password().reveal());
        answer.append(std::string(300, '\x7f') + "\"}}");
        EXPECT_EQ(write(file.get(), answer.reveal().data(), answer.size()),
                  static_cast<ssize_t>(answer.size()));
        return path;
    }

    /// Has a program of its own send the answer of this file as soon as the service has its name.
    void sendOnceServed(const std::string& answer) {
        EXPECT_TRUE(eventually([this] { return bus().hasName(agentBusName); }));
        ChildProcess prompt(
            {.arguments = {FAKE_PROMPT_PROGRAM, "answer-of-file", answer, "", "", "", ""},
             .environment = environment()});
        EXPECT_TRUE(prompt.wait());
    }

    /// How often the password is in the memory of a process that has printed it by `work`.
    std::string leftAfter(const Needle& needle, const std::function<AgentExit()>& work) {
        const std::string printed = directory() / "printed";
        const auto outcome = inChild([&] {
            const FileDescriptor file(open(printed.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
            dup2(file.get(), STDOUT_FILENO);
            const AgentExit status = work();
            return std::to_string(static_cast<int>(status)) + ", left " +
                   std::to_string(occurrencesOf(needle));
        });
        std::ifstream stream(printed);
        const std::string text{std::istreambuf_iterator<char>(stream), {}};
        EXPECT_GT(text.size(), std::string_view(R"(\u007F)").size() * 300);
        return outcome.text;
    }
};

TEST_F(AgentMemory, AnswerIsNowhereAfterThePromptHasEnded) {
    const Needle needle;
    const PromptCommand command{
        .program = FAKE_PROMPT_PROGRAM,
        .timeout = {},
        .arguments = {"answer-of-file", answerWith(needle), "", "", "", ""}};
    AgentSettings settings;
    settings.bus = ServiceBus::session;
    EXPECT_EQ(leftAfter(needle, [&] { return runPrompt(command, settings); }), "0, left 0");
}

TEST_F(AgentMemory, RequestIsNowhereAfterItIsServed) {
    const Needle needle;
    const std::string answer = answerWith(needle);
    EXPECT_EQ(leftAfter(needle,
                        [&] {
                            const std::jthread sender([&] { sendOnceServed(answer); });
                            return runService({.once = true, .reply = "OK"}, ServiceBus::session);
                        }),
              "0, left 0");
}

}  // namespace
}  // namespace velunor::testing
