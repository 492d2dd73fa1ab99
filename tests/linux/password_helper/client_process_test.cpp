// The client where it starts the program itself.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

#include "platform/linux/directory/credential_checker_protocol.h"
#include "platform/posix/file_descriptor.h"
#include "tests/linux/password_helper/helper_support.h"
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

/// Whether a process of the group is at work; one that has ended may wait for its parent forever.
bool isAtWork(pid_t group) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream status(entry.path() / "stat");
        std::string line;
        if (!std::getline(status, line) || line.rfind(')') == std::string::npos) {
            continue;
        }
        char state = 0;
        pid_t parent = 0;
        pid_t leader = 0;
        std::istringstream(line.substr(line.rfind(')') + 1)) >> state >> parent >> leader;
        if (leader == group && state != 'Z') {
            return true;
        }
    }
    return false;
}

bool endsSoon(pid_t group) {
    constexpr int tries = 500;
    for (int count = 0; count < tries && isAtWork(group); ++count) {
        std::this_thread::sleep_for(milliseconds{10});
    }
    return !isAtWork(group);
}

class ClientProcess : public ::testing::Test {
  protected:
    /// What a check tells with a helper that runs these commands of the shell.
    std::string answerOf(const std::string& commands,
                         milliseconds timeout = std::chrono::seconds{10}) {
        return checked(settings(commands, timeout));
    }

    PasswordHelperSettings settings(const std::string& commands,
                                    milliseconds timeout = std::chrono::seconds{10}) {
        return {directory_.file("none.socket"), script(directory_.file("helper"), commands),
                timeout};
    }

    /// Expects that a check with such a helper ends by its limit and no later.
    void expectTimeOut(const std::string& commands) {
        std::string answer;
        const auto duration = durationOf([&] { answer = answerOf(commands, shortLimit); });
        EXPECT_THAT(answer, MatchesRegex("Helper 110 .*: Connection timed out")) << commands;
        EXPECT_GE(duration, shortLimit) << commands;
        EXPECT_LT(duration, shortLimit + milliseconds{2000}) << commands;
    }

    /// Settings with the real program. In a private namespace its owner must be the one user whom
    /// it knows.
    PasswordHelperSettings realSettings(milliseconds timeout = std::chrono::seconds{10}) {
        std::filesystem::copy_file(HELPER_PROGRAM, directory_.file("real"));
        chmod(directory_.file("real").c_str(), S_IRWXU);
        return {directory_.file("none.socket"), directory_.file("real"), timeout};
    }

    [[nodiscard]] const TemporaryDirectory& directory() const { return directory_; }

  private:
    TemporaryDirectory directory_;
};

TEST_F(ClientProcess, RealHelperAcceptsAndRefuses) {
    const auto settings = realSettings();
    const std::string answers = withPam(stackOf("accept"), [&] {
        return checked(settings) + ", " + checked(settings, "alice", "wrong");
    });
    EXPECT_EQ(answers, "accepted, PAM 7 Authentication failure");
}

TEST_F(ClientProcess, RealHelperOfAStuckPamEndsBeforeTheClientsLimit) {
    const auto settings = realSettings();
    EXPECT_EQ(withPam(stackOf("hang"), [&] { return checked(settings); }),
              "PAM 26 Critical error - immediate abort");
}

TEST_F(ClientProcess, NothingOfTheRealHelperOutlivesTheClientsLimit) {
    const auto settings = realSettings(shortLimit);
    const std::string answer = withPam(stackOf("hang-deaf"), [&] {
        // What a process leaves behind becomes a child of this one.
        prctl(PR_SET_CHILD_SUBREAPER, 1);
        std::string told = checked(settings);
        while (waitpid(-1, nullptr, 0) > 0) {
        }
        return told;
    });
    EXPECT_EQ(answer, "Helper 110 answer: Connection timed out");
}

TEST_F(ClientProcess, RequestHasBothTextsAndAnEnd) {
    EXPECT_EQ(answerOf("cat >" + directory().file("request") + "; echo accepted"), "accepted");
    EXPECT_EQ(directory().read("request"), requestFor("alice", "right"));
}

TEST_F(ClientProcess, LongestRequestFits) {
    const std::string name(password_helper_protocol::longestUserName, 'n');
    const std::string password(password_helper_protocol::longestPassword, 'p');
    const auto helper = settings("cat >" + directory().file("request") + "; echo accepted");
    EXPECT_EQ(checked(helper, name, password), "accepted");
    EXPECT_EQ(directory().read("request"), requestFor(name, password));
}

TEST_F(ClientProcess, UnusableTextsAskNobody) {
    const auto helper = settings("touch " + directory().file("asked") + "; echo accepted");
    const std::string name(password_helper_protocol::longestUserName + 1, 'n');
    const std::string password(password_helper_protocol::longestPassword + 1, 'p');
    EXPECT_EQ(checked(helper, ""), "Helper 22 user name: Invalid argument");
    EXPECT_EQ(checked(helper, name), "Helper 22 user name: Invalid argument");
    EXPECT_EQ(checked(helper, std::string("a\0b", 3)), "Helper 22 user name: Invalid argument");
    EXPECT_EQ(checked(helper, "alice", ""), "Helper 22 password: Invalid argument");
    EXPECT_EQ(checked(helper, "alice", password), "Helper 22 password: Invalid argument");
    EXPECT_EQ(checked(helper, "alice", std::string("a\0b", 3)),
              "Helper 22 password: Invalid argument");
    EXPECT_FALSE(std::filesystem::exists(directory().file("asked")));
}

TEST_F(ClientProcess, OtherAnswersAreNone) {
    for (const char* commands : {":",
                                 "echo",
                                 "printf accepted",
                                 "echo Accepted",
                                 "echo ' accepted'",
                                 "echo accepted 1",
                                 "echo accepted; echo",
                                 "echo accepted; echo accepted",
                                 "printf 'accepted\\0\\n'",
                                 "printf 'accepted\\r\\n'",
                                 "echo refused",
                                 "echo 'refused '",
                                 "echo 'refused x y'",
                                 "echo 'refused 7'",
                                 "printf 'refused 7 Authentication failure'",
                                 "echo 'refused 0 Success'",
                                 "echo 'refused -7 x'",
                                 "echo 'refused 99999999999 x'",
                                 "echo 'refused 7x y'",
                                 "printf '\\377\\376'"}) {
        EXPECT_EQ(answerOf(commands), "Helper 71 answer: Protocol error") << commands;
    }
}

TEST_F(ClientProcess, OverlongAnswersAreNone) {
    EXPECT_EQ(answerOf("head -c 100000 /dev/zero"), "Helper 90 answer: Message too long");
    EXPECT_EQ(answerOf("yes accepted"), "Helper 90 answer: Message too long");
}

TEST_F(ClientProcess, TextOfARefusalIsPrintableAndShort) {
    EXPECT_EQ(answerOf("printf 'refused 7 a\\033[1mb\\nc\\303\\274\\n'"),
              "PAM 7 a\\x1B[1mb\\x0Ac\\xC3\\xBC");
    EXPECT_EQ(answerOf("printf 'refused 7 %0200d\\n' 0"), "PAM 7 " + std::string(120, '0') + "...");
}

TEST_F(ClientProcess, AcceptedWithAnotherStatusThanZeroIsNone) {
    EXPECT_THAT(answerOf("echo accepted; exit 1"), StartsWith("Helper 71 "));
    EXPECT_THAT(answerOf("echo accepted; kill -SEGV $$"), StartsWith("Helper 71 "));
}

TEST_F(ClientProcess, RefusalCountsWhateverTheStatus) {
    EXPECT_EQ(answerOf("echo refused 6 Permission denied; exit 1"), "PAM 6 Permission denied");
    EXPECT_EQ(answerOf("echo refused 6 Permission denied"), "PAM 6 Permission denied");
}

TEST_F(ClientProcess, HelperThatCrashesIsAnError) {
    EXPECT_EQ(answerOf("kill -SEGV $$"), "Helper 71 answer: Protocol error");
}

TEST_F(ClientProcess, HelperThatReadsNothingDoesNoHarm) {
    EXPECT_EQ(answerOf("exec <&-; echo accepted"), "accepted");
}

TEST_F(ClientProcess, HangingHelperIsKilledAtTheLimit) {
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
    EXPECT_EQ(kill(grandchild, SIGKILL), 0) << "it has left the helper's group";
}

TEST_F(ClientProcess, HelperGetsASmallEnvironmentAndNoOtherDescriptor) {
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
        const auto helper = settings("touch " + directory().file("asked") + "; echo accepted");
        ASSERT_EQ(chmod(helper.program.c_str(), mode), 0);
        EXPECT_THAT(checked(helper), StartsWith("Helper 1 "));
    }
    EXPECT_FALSE(std::filesystem::exists(directory().file("asked")));
}

TEST_F(ClientProcess, ProgramThatCannotBeStartedIsAnError) {
    const auto withProgram = [&](const std::string& program) {
        return checked({directory().file("none"), program, std::chrono::seconds{10}});
    };
    EXPECT_EQ(withProgram("/nonexistent"), "Helper 2 /nonexistent: No such file or directory");
    EXPECT_THAT(withProgram(directory().path()), StartsWith("Helper 1 "));
    EXPECT_THAT(withProgram("/dev/null"), StartsWith("Helper 1 "));
    directory().write("plain", "text");
    ASSERT_EQ(chmod(directory().file("plain").c_str(), 0600), 0);
    EXPECT_THAT(withProgram(directory().file("plain")), StartsWith("Helper 13 "));
}

TEST_F(ClientProcess, IgnoredChildrenDoNotChangeTheAnswer) {
    const auto helper = settings("echo accepted");
    const auto outcome = inChild([&] {
        static_cast<void>(std::signal(SIGCHLD, SIG_IGN));
        return checked(helper);
    });
    EXPECT_EQ(outcome.text, "accepted");
}

TEST_F(ClientProcess, SomebodyElsesWaitDoesNotChangeTheAnswer) {
    const auto helper = settings("echo accepted");
    const auto outcome = inChild([&] {
        std::jthread reaper([](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                waitpid(-1, nullptr, WNOHANG);
            }
        });
        return checked(helper);
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
    const auto helper = settings("cat >" + directory().file("request") + "; echo accepted");
    const auto outcome = inChild([&] {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        close(STDERR_FILENO);
        return checked(helper);
    });
    EXPECT_EQ(outcome.text, "accepted");
    EXPECT_EQ(directory().read("request"), requestFor("alice", "right"));
}

TEST_F(ClientProcess, ChecksInSeveralThreadsAtOnce) {
    const auto helper = settings("grep -qz right && echo accepted || echo refused 7 no");
    constexpr std::size_t count = 8;
    std::vector<std::string> answers(count);
    {
        std::vector<std::jthread> threads;
        for (std::size_t index = 0; index < count; ++index) {
            threads.emplace_back([&, index] {
                answers[index] = checked(helper, "alice", index % 2 == 0 ? "right" : "wrong");
            });
        }
    }
    for (std::size_t index = 0; index < count; ++index) {
        EXPECT_EQ(answers[index], index % 2 == 0 ? "accepted" : "PAM 7 no");
    }
}

}  // namespace
}  // namespace velunor::testing
