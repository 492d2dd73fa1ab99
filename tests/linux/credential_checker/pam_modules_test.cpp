// The checker with PAM modules that do more than tell whether a password is right.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/linux/credential_checker/checker_support.h"

namespace velunor::testing {
namespace {

constexpr const char* accepted = "accepted\n0";
constexpr const char* aborted = "refused 26 Critical error - immediate abort\n1";

/// The answer to the right password where PAM's modules behave like this.
std::string answerOf(const std::string& authentication, const std::string& account = "succeed") {
    return withPam(stackOf(authentication, account),
                   [] { return checkerAnswer(requestFor("alice", "right")); });
}

/// The same from a checker with a short limit.
std::string impatientAnswerOf(const std::string& authentication) {
    return withPam(stackOf(authentication),
                   [] { return impatientAnswer(requestFor("alice", "right")); });
}

TEST(PamModules, NoticesAreDropped) {
    EXPECT_EQ(answerOf("talk"), accepted);
}

TEST(PamModules, ModuleThatCrashesIsARefusal) {
    EXPECT_EQ(answerOf("crash"), aborted);
    EXPECT_EQ(answerOf("accept", "crash"), aborted);
}

TEST(PamModules, ModuleThatEndsTheProcessWellIsARefusal) {
    EXPECT_EQ(answerOf("exit"), aborted);
    EXPECT_EQ(answerOf("accept", "exit"), aborted);
}

TEST(PamModules, ModuleThatHangsIsARefusalInTime) {
    for (const char* behaviour : {"hang", "hang-deaf"}) {
        std::string answer;
        const auto duration = durationOf([&] { answer = impatientAnswerOf(behaviour); });
        EXPECT_EQ(answer, aborted) << behaviour;
        EXPECT_LT(duration, std::chrono::seconds{5}) << behaviour;
    }
}

TEST(PamModules, ModuleCannotWriteTheAnswer) {
    EXPECT_EQ(answerOf("print"), "refused 7 Authentication failure\n1");
}

TEST(PamModules, ProcessLeftBehindDoesNotDelayTheAnswerAndIsEnded) {
    std::string answer;
    const auto duration = durationOf([&] {
        answer = withPam(stackOf("leave-process"), [] {
            // What a process leaves behind becomes a child of this one.
            prctl(PR_SET_CHILD_SUBREAPER, 1);
            std::string told = checkerAnswer(requestFor("alice", "right"));
            while (waitpid(-1, nullptr, 0) > 0) {
            }
            return told;
        });
    });
    EXPECT_EQ(answer, accepted);
    EXPECT_LT(duration, std::chrono::seconds{5});
}

TEST(PamModules, SecondQuestionIsNotAnsweredWithThePassword) {
    EXPECT_EQ(answerOf("ask-twice"), "refused 7 Authentication failure\n1");
    EXPECT_EQ(answerOf("ask-twice-at-once"), "refused 7 Authentication failure\n1");
    EXPECT_EQ(answerOf("accept", "accept"), "refused 7 Authentication failure\n1");
}

TEST(PamModules, AsManyMessagesAsPamAllowsAreTaken) {
    EXPECT_EQ(answerOf("accept-among-32"), accepted);
    EXPECT_EQ(answerOf("accept-among-33"), "refused 7 Authentication failure\n1");
    EXPECT_EQ(answerOf("accept-nothing-as-an-error"), accepted);
}

TEST(PamModules, AreToldToShowNothingAndToTakeNoEmptyPassword) {
    EXPECT_EQ(answerOf("accept-silently", "succeed-silently"), accepted);
}

TEST(PamModules, VisibleQuestionIsNotAnsweredWithThePassword) {
    EXPECT_EQ(answerOf("ask-visibly"), "refused 7 Authentication failure\n1");
}

TEST(PamModules, SuccessWithoutAskingForThePasswordIsARefusal) {
    EXPECT_EQ(answerOf("succeed"), "refused 7 Authentication failure\n1");
}

TEST(PamModules, PasswordOfAnotherAccountIsARefusal) {
    constexpr const char* unknown =
        "refused 10 User not known to the underlying authentication module\n1";
    EXPECT_EQ(answerOf("change-user"), unknown);
    EXPECT_EQ(answerOf("forget-user"), unknown);
    EXPECT_EQ(answerOf("accept", "rename"), unknown);
}

TEST(PamModules, PasswordThatMustBeChangedIsARefusal) {
    EXPECT_EQ(answerOf("accept", "must-change"),
              "refused 12 Authentication token is no longer valid; new one required\n1");
}

TEST(PamModules, AccountIsJudgedAfterThePassword) {
    // Whoever does not know the password learns nothing about the account.
    EXPECT_EQ(withPam(stackOf("accept", "must-change"),
                      [] { return checkerAnswer(requestFor("alice", "wrong")); }),
              "refused 7 Authentication failure\n1");
}

TEST(PamModules, MissingModuleIsARefusal) {
    EXPECT_NE(withPam("auth required /nonexistent.so\naccount required /nonexistent.so\n",
                      [] { return checkerAnswer(requestFor("alice", "right")); }),
              accepted);
}

TEST(PamModules, ServiceThatPamDoesNotKnowIsARefusal) {
    EXPECT_NE(withPam(stackOf("accept"),
                      [] {
                          std::filesystem::remove("/etc/pam.d/velunor-osupdate");
                          return checkerAnswer(requestFor("alice", "right"));
                      }),
              accepted);
}

/// Gives the process a controlling terminal, to which a module could turn behind the program's
/// back.
void takeTerminal() {
    setsid();
    const int terminal = posix_openpt(O_RDWR | O_CLOEXEC);
    if (unlockpt(terminal) != 0 || ioctl(terminal, TIOCGPTPEER, O_RDWR | O_CLOEXEC) < 0 ||
        open("/dev/tty", O_RDWR | O_CLOEXEC) < 0) {
        std::abort();
    }
}

TEST(PamModules, NothingOfTheCallersReachesThem) {
    const std::string answer = withPam(stackOf("inspect"), [] {
        setenv("HOME", "/home/alice", 1);
        umask(0);
        takeTerminal();
        std::ifstream kept("/dev/zero");
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
        for (int number = 1; number <= SIGRTMAX; ++number) {
            // A child whose end is ignored could not be waited for.
            static_cast<void>(std::signal(number, number == SIGCHLD ? SIG_DFL : SIG_IGN));
        }
        return checkerAnswer(requestFor("alice", "right"));
    });
    EXPECT_EQ(answer, accepted);
}

}  // namespace
}  // namespace velunor::testing
