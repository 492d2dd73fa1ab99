// The client where it starts the program itself.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <security/_pam_types.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

#include "platform/posix/file_descriptor.h"
#include "tests/linux/credential_checker/checker_support.h"
#include "tests/support/forked_copy.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

using std::chrono::milliseconds;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;

constexpr milliseconds shortLimit{1000};
constexpr std::size_t longestName = 1024;

class ClientProcess : public ::testing::Test {
  protected:
    /// What a check tells with a checker that runs these commands of the shell.
    std::string answerOf(const std::string& commands,
                         milliseconds timeout = std::chrono::seconds{10}) {
        return checked(settings(commands, timeout));
    }

    CredentialCheckerSettings settings(const std::string& commands,
                                       milliseconds timeout = std::chrono::seconds{10}) {
        return {directory_.file("none.socket"), script(directory_.file("checker"), commands),
                timeout};
    }

    /// Expects that a check with such a checker ends by its limit and no later.
    void expectTimeOut(const std::string& commands) {
        std::string answer;
        const auto duration = durationOf([&] { answer = answerOf(commands, shortLimit); });
        EXPECT_THAT(answer, MatchesRegex("Checker 110 .*: Connection timed out")) << commands;
        EXPECT_GE(duration, shortLimit) << commands;
        EXPECT_LT(duration, shortLimit + milliseconds{2000}) << commands;
    }

    /// Settings with the real program. For private namespaces.
    CredentialCheckerSettings realSettings(milliseconds timeout = std::chrono::seconds{10},
                                           const char* program = CHECKPASS_PROGRAM) {
        return {directory_.file("none.socket"), ownCopyOf(program), timeout};
    }

    [[nodiscard]] const TemporaryDirectory& directory() const { return directory_; }

  private:
    TemporaryDirectory directory_;
};

TEST_F(ClientProcess, RealCheckerAcceptsAndRefuses) {
    const std::string answers = withPam(stackOf("accept"), [&] {
        const auto settings = realSettings();
        return checked(settings) + ", " + checked(settings, "alice", "wrong");
    });
    EXPECT_EQ(answers, "accepted, PAM 7 Authentication failure");
}

TEST_F(ClientProcess, RealCheckerOfAStuckPamEndsBeforeTheClientsLimit) {
    EXPECT_EQ(withPam(stackOf("hang"),
                      [&] {
                          return checked(
                              realSettings(std::chrono::seconds{10}, IMPATIENT_CHECKER_PROGRAM));
                      }),
              "PAM 26 Critical error - immediate abort");
}

TEST_F(ClientProcess, NothingOfTheRealCheckerOutlivesTheClientsLimit) {
    const std::string answer = withPam(stackOf("hang-deaf"), [&] {
        // What a process leaves behind becomes a child of this one.
        prctl(PR_SET_CHILD_SUBREAPER, 1);
        std::string told = checked(realSettings(shortLimit));
        while (waitpid(-1, nullptr, 0) > 0) {
        }
        return told;
    });
    EXPECT_EQ(answer, "Checker 110 no answer: Connection timed out");
}

TEST_F(ClientProcess, RequestHasBothTextsAndAnEnd) {
    EXPECT_EQ(answerOf("cat >" + directory().file("request") + "; echo accepted"), "accepted");
    EXPECT_EQ(directory().read("request"), requestFor("alice", "right"));
}

TEST_F(ClientProcess, LongestRequestFits) {
    const std::string name(longestName, 'n');
    const std::string password(PAM_MAX_RESP_SIZE, 'p');
    const auto checker = settings("cat >" + directory().file("request") + "; echo accepted");
    EXPECT_EQ(checked(checker, name, password), "accepted");
    EXPECT_EQ(directory().read("request"), requestFor(name, password));
}

TEST_F(ClientProcess, UnusableTextsAskNobody) {
    const auto checker = settings("touch " + directory().file("asked") + "; echo accepted");
    const std::string name(longestName + 1, 'n');
    const std::string password(PAM_MAX_RESP_SIZE + 1, 'p');
    EXPECT_EQ(checked(checker, ""), "Checker 22 user name: Invalid argument");
    EXPECT_EQ(checked(checker, name), "Checker 22 user name: Invalid argument");
    EXPECT_EQ(checked(checker, std::string("a\0b", 3)), "Checker 22 user name: Invalid argument");
    EXPECT_EQ(checked(checker, "alice", ""), "Checker 22 password: Invalid argument");
    EXPECT_EQ(checked(checker, "alice", password), "Checker 22 password: Invalid argument");
    EXPECT_EQ(checked(checker, "alice", std::string("a\0b", 3)),
              "Checker 22 password: Invalid argument");
    EXPECT_FALSE(std::filesystem::exists(directory().file("asked")));
}

TEST_F(ClientProcess, OtherAnswersAreNone) {
    for (const char* commands :
         {"echo", "printf accepted", "echo Accepted", "echo ' accepted'", "echo accepted 1",
          "echo accepted; echo", "echo accepted; echo accepted", "printf 'accepted\\0\\n'",
          "printf 'accepted\\r\\n'", "echo refused", "echo 'refused '", "echo 'refused x y'",
          "echo 'refused 7'", "printf 'refused 7 Authentication failure'",
          "echo 'refused 0 Success'", "echo 'refused -7 x'", "echo 'refused 99999999999 x'",
          "echo 'refused 7x y'", "printf '\\377\\376'"}) {
        EXPECT_EQ(answerOf(commands), "Checker 71 answer: Protocol error") << commands;
    }
}

TEST_F(ClientProcess, OverlongAnswersAreNone) {
    EXPECT_EQ(answerOf("head -c 100000 /dev/zero"), "Checker 90 answer: Message too long");
    EXPECT_EQ(answerOf("yes accepted"), "Checker 90 answer: Message too long");
    // "refused 7 ", a text and the end of the line, of 512 bytes and of one more.
    EXPECT_THAT(answerOf("printf 'refused 7 %0501d\\n' 0"), StartsWith("PAM 7 000"));
    EXPECT_EQ(answerOf("printf 'refused 7 %0502d\\n' 0"), "Checker 90 answer: Message too long");
}

TEST_F(ClientProcess, TextOfARefusalIsPrintableAndShort) {
    EXPECT_EQ(answerOf("printf 'refused 7 a\\033[1mb\\nc\\303\\274\\n'"),
              "PAM 7 a\\u{1B}[1mb\\ncü");
    EXPECT_EQ(answerOf("printf 'refused 7 a%0119d\\n' 0"), "PAM 7 a" + std::string(119, '0'));
    EXPECT_EQ(answerOf("printf 'refused 7 a%0120d\\n' 0"),
              "PAM 7 a" + std::string(119, '0') + "...");
}

TEST_F(ClientProcess, AcceptedWithAnotherStatusThanZeroIsNone) {
    EXPECT_THAT(answerOf("echo accepted; exit 1"), StartsWith("Checker 71 "));
    EXPECT_THAT(answerOf("echo accepted; kill -SEGV $$"), StartsWith("Checker 71 "));
}

TEST_F(ClientProcess, RefusalCountsWhateverTheStatus) {
    EXPECT_EQ(answerOf("echo refused 6 Permission denied; exit 1"), "PAM 6 Permission denied");
    EXPECT_EQ(answerOf("echo refused 6 Permission denied"), "PAM 6 Permission denied");
    EXPECT_EQ(answerOf("echo refused 1 Failed to load module"), "PAM 1 Failed to load module");
}

TEST_F(ClientProcess, CheckerThatEndsWithoutAnAnswerIsAnError) {
    EXPECT_EQ(answerOf("kill -SEGV $$"), "Checker 61 no answer: No data available");
    EXPECT_EQ(answerOf(":"), "Checker 61 no answer: No data available");
}

TEST_F(ClientProcess, CheckerThatReadsNothingDoesNoHarm) {
    EXPECT_EQ(answerOf("exec <&-; echo accepted"), "accepted");
}

TEST_F(ClientProcess, HangingCheckerIsKilledAtTheLimit) {
    const std::string tell = "echo $$ >" + directory().file("pid") + ";";
    for (const char* commands :
         {"sleep 600", "trap '' TERM INT HUP; sleep 600; sleep 600", "echo accepted; sleep 600",
          "echo accepted; exec >&-; sleep 600", "while :; do printf a; sleep 0.05; done"}) {
        expectTimeOut(tell + commands);
        EXPECT_TRUE(endsSoon(std::stoi(directory().read("pid")))) << commands;
    }
}

TEST_F(ClientProcess, GrandchildThatHoldsTheAnswerOpenDoesNotPassTheLimit) {
    expectTimeOut("(sleep 600 & ) ; echo accepted");
    expectTimeOut("setsid sleep 600 & echo $! >" + directory().file("pid") + "; echo accepted");
    const pid_t grandchild = std::stoi(directory().read("pid"));
    EXPECT_EQ(kill(grandchild, SIGKILL), 0) << "it has left the checker's group";
}

TEST_F(ClientProcess, CheckerGetsASmallEnvironmentAndNoOtherDescriptor) {
    const std::string file = directory().file("seen");
    setenv("VELUNOR_TEST_SECRET", "x", 1);
    const FileDescriptor leaked(open("/dev/null", O_RDONLY));
    EXPECT_EQ(answerOf("cat /proc/$$/environ >" + file + "; ls /proc/$$/fd >>" + file +
                       "; echo accepted"),
              "accepted");
    unsetenv("VELUNOR_TEST_SECRET");
    const std::string seen = directory().read("seen");
    EXPECT_THAT(seen, StartsWith(std::string("PATH=/usr/sbin:/usr/bin:/sbin:/bin\0", 35)));
    EXPECT_THAT(seen, Not(HasSubstr("VELUNOR")));
    EXPECT_THAT(seen, Not(HasSubstr("\n" + std::to_string(leaked.get()) + "\n")));
}

TEST_F(ClientProcess, ChangeableProgramIsNotStarted) {
    for (const mode_t mode : {0720U, 0702U, 0777U}) {
        const auto checker = settings("touch " + directory().file("asked") + "; echo accepted");
        ASSERT_EQ(chmod(checker.program.c_str(), mode), 0);
        EXPECT_THAT(checked(checker), StartsWith("Checker 1 "));
    }
    EXPECT_FALSE(std::filesystem::exists(directory().file("asked")));
}

TEST_F(ClientProcess, ProgramThatCannotBeStartedIsAnError) {
    const auto withProgram = [&](const std::string& program) {
        return checked({directory().file("none"), program, std::chrono::seconds{10}});
    };
    EXPECT_EQ(withProgram("/nonexistent"), "Checker 2 /nonexistent: No such file or directory");
    EXPECT_THAT(withProgram(directory().path()), StartsWith("Checker 1 "));
    EXPECT_THAT(withProgram("/dev/null"), StartsWith("Checker 1 "));
    directory().write("plain", "text");
    ASSERT_EQ(chmod(directory().file("plain").c_str(), 0600), 0);
    EXPECT_THAT(withProgram(directory().file("plain")), StartsWith("Checker 13 "));
    const std::string program = settings("echo accepted").program;
    ASSERT_EQ(chmod(directory().path().c_str(), 0777), 0);
    EXPECT_EQ(withProgram(program), "Checker 1 " + program + ": Operation not permitted");
}

TEST_F(ClientProcess, WithoutDescriptorsForItsPipesTheCheckIsAnError) {
    const auto checker = settings("touch " + directory().file("asked") + "; echo accepted");
    for (const rlim_t left : {1U, 2U, 3U}) {
        const auto outcome = inChild([&] {
            const FileDescriptor next(open("/dev/null", O_RDONLY));
            // With `next` itself, which is closed by then.
            const rlim_t limit = static_cast<rlim_t>(next.get()) + left;
            const rlimit few{limit, limit};
            setrlimit(RLIMIT_NOFILE, &few);
            close(next.get());
            return checked(checker);
        });
        EXPECT_EQ(outcome.text, "Checker 24 pipe: Too many open files") << left;
    }
    EXPECT_FALSE(std::filesystem::exists(directory().file("asked")));
}

TEST_F(ClientProcess, IgnoredChildrenDoNotChangeTheAnswer) {
    const auto checker = settings("echo accepted");
    const auto outcome = inChild([&] {
        static_cast<void>(std::signal(SIGCHLD, SIG_IGN));
        return checked(checker);
    });
    EXPECT_EQ(outcome.text, "accepted");
}

TEST_F(ClientProcess, SomebodyElsesWaitDoesNotChangeTheAnswer) {
    const auto checker = settings("echo accepted");
    const auto outcome = inChild([&] {
        std::jthread reaper([](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                waitpid(-1, nullptr, WNOHANG);
            }
        });
        return checked(checker);
    });
    EXPECT_EQ(outcome.text, "accepted");
}

TEST_F(ClientProcess, NoChildIsLeftBehind) {
    const auto outcome = inChild([&] {
        answerOf("echo accepted");
        answerOf("sleep 600", shortLimit);
        answerOf("exit 1");
        return std::string(waitpid(-1, nullptr, WNOHANG) < 0 ? "none" : "some");
    });
    EXPECT_EQ(outcome.text, "none");
}

TEST_F(ClientProcess, WorksWhereTheCallersStandardStreamsAreClosed) {
    const auto checker = settings("cat >" + directory().file("request") + "; echo accepted");
    const auto outcome = inChild([&] {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        close(STDERR_FILENO);
        return checked(checker);
    });
    EXPECT_EQ(outcome.text, "accepted");
    EXPECT_EQ(directory().read("request"), requestFor("alice", "right"));
}

TEST_F(ClientProcess, ChecksInSeveralThreadsAtOnce) {
    const auto checker = settings("grep -qz right && echo accepted || echo refused 7 no");
    constexpr std::size_t count = 8;
    std::vector<std::string> answers(count);
    {
        std::vector<std::jthread> threads;
        for (std::size_t index = 0; index < count; ++index) {
            threads.emplace_back([&, index] {
                answers[index] = checked(checker, "alice", index % 2 == 0 ? "right" : "wrong");
            });
        }
    }
    for (std::size_t index = 0; index < count; ++index) {
        EXPECT_EQ(answers[index], index % 2 == 0 ? "accepted" : "PAM 7 no");
    }
}

}  // namespace
}  // namespace velunor::testing
