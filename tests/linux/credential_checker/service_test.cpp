// The checker as the system service: its standard streams are a connection.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/linux/credential_checker/checker_support.h"
#include "tests/linux/credential_checker/service_support.h"
#include "tests/support/forked_copy.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

FileDescriptor logSocket() {
    FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const sockaddr_un address{AF_UNIX, "/dev/log"};
    if (bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        std::abort();
    }
    return socket;
}

std::string recordsIn(const FileDescriptor& log) {
    std::string records;
    std::array<char, 4096> block{};
    ssize_t count = 0;
    while ((count = recv(log.get(), block.data(), block.size(), 0)) > 0) {
        records += std::string(block.data(), static_cast<std::size_t>(count)) + "|";
    }
    return records;
}

struct ServiceAnswer {
    std::string answer;
    std::string log;
};

/// What the service answers and logs, asked by `user` on a machine whose login manager has this to
/// say about the user with the number `caller`.
ServiceAnswer answerTo(unsigned user, const std::string& state,
                       const std::string& stack = stackOf("accept"),
                       const std::string& userName = "alice",
                       const std::string& password = "right") {
    const std::string text = onServiceMachine(
        stack,
        [&] {
            mountEmptyOver("/dev");
            const std::ofstream emptyDevice("/dev/null");
            const FileDescriptor log = logSocket();
            const CheckerServiceRunner service;
            const std::string answer =
                checked(CheckerServiceRunner::settings(), userName, password);
            return answer + "\n" + recordsIn(log);
        },
        user, state);
    const std::size_t end = text.find('\n');
    return {text.substr(0, end), end == std::string::npos ? "" : text.substr(end + 1)};
}

constexpr const char* denied = "PAM 6 Permission denied";

TEST(CheckerService, RootIsAnswered) {
    EXPECT_EQ(answerTo(0, "").answer, "accepted");
}

TEST(CheckerService, OwnerOfAnActiveSessionIsAnswered) {
    EXPECT_EQ(answerTo(caller, activeUser).answer, "accepted");
    EXPECT_EQ(answerTo(caller, activeUser, stackOf("accept"), "alice", "wrong").answer,
              "PAM 7 Authentication failure");
}

TEST(CheckerService, UserWithoutASessionIsNotAnswered) {
    EXPECT_EQ(answerTo(caller, "").answer, denied);
    EXPECT_EQ(answerTo(caller, "NAME=alice\nSTATE=lingering\n").answer, denied);
    EXPECT_EQ(answerTo(caller, "NAME=alice\n").answer, denied);
}

TEST(CheckerService, OwnerOfAClosingSessionIsNotAnswered) {
    EXPECT_EQ(
        answerTo(caller, "NAME=alice\nSTATE=closing\nSESSIONS=c1\nACTIVE_SESSIONS=c1\n").answer,
        denied);
}

TEST(CheckerService, OwnerOfASessionInTheBackgroundIsNotAnswered) {
    EXPECT_EQ(
        answerTo(caller, "NAME=alice\nSTATE=online\nSESSIONS=c1\nONLINE_SESSIONS=c1\n").answer,
        denied);
}

TEST(CheckerService, SessionOfAnotherUserDoesNotCount) {
    EXPECT_EQ(answerTo(caller + 1, activeUser).answer, denied);
}

TEST(CheckerService, ModuleCannotWriteTheAnswer) {
    EXPECT_EQ(answerTo(0, "", stackOf("print")).answer, "PAM 7 Authentication failure");
}

TEST(CheckerService, EachAnswerIsALineOfTheLogWithTheCaller) {
    EXPECT_THAT(answerTo(caller, activeUser).log,
                MatchesRegex("<86>[^|]* osupdate-checkpass\\[[0-9]+\\]: password check for uid "
                             "4003: accepted \\(0\\)\\|"));
    EXPECT_THAT(answerTo(caller, "").log,
                MatchesRegex("<85>[^|]* osupdate-checkpass\\[[0-9]+\\]: password check for uid "
                             "4003: refused \\(6\\)\\|"));
}

TEST(CheckerService, LogHasNeitherTheNameNorThePassword) {
    const std::string log = answerTo(0, "", stackOf("accept"), "typedname", "typedpassword").log;
    EXPECT_THAT(log, HasSubstr("password check for uid 0: refused (7)"));
    EXPECT_THAT(log, Not(HasSubstr("typed")));
}

TEST(CheckerService, WithoutItsFileOfLocksRefuses) {
    EXPECT_EQ(onServiceMachine(stackOf("accept"),
                               [] {
                                   std::filesystem::create_directory(
                                       "/run/velunor/osupdate-checkpass.lock");
                                   const CheckerServiceRunner service;
                                   return checked(CheckerServiceRunner::settings());
                               }),
              "PAM 4 System error");
}

TEST(CheckerService, ModulesLearnWhoAsks) {
    const TemporaryDirectory directory;
    directory.write("passwd", "alice:x:4003:4003::/:/bin/sh\n");
    const auto asked = [&](const char* accounts) {
        mountFileOver(accounts, "/etc/passwd");
        const CheckerServiceRunner service;
        return checked(CheckerServiceRunner::settings(), "root");
    };
    EXPECT_EQ(onServiceMachine(stackOf("accept-for-alice"),
                               [&] { return asked(directory.file("passwd").c_str()); }),
              "accepted");
    // Who has no name is told by number.
    EXPECT_EQ(onServiceMachine(stackOf("accept-for-4003"), [&] { return asked("/dev/null"); }),
              "accepted");
}

TEST(CheckerService, DirectoryServersAreNeverAskedForACaller) {
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    const FileDescriptor client(ends[0]);
    FileDescriptor connection(ends[1]);
    const pid_t checker = fork();
    if (checker == 0) {
        dup2(connection.get(), STDIN_FILENO);
        dup2(connection.get(), STDOUT_FILENO);
        execl(CHECKPASS_PROGRAM, CHECKPASS_PROGRAM, "ldap", "ldaps://127.0.0.1:1", "", "(uid=%u)",
              "", "1", nullptr);
        _exit(EXIT_FAILURE);
    }
    connection = FileDescriptor();
    std::array<char, 512> block{};
    const ssize_t count = recv(client.get(), block.data(), block.size(), MSG_WAITALL);
    waitpid(checker, nullptr, 0);
    EXPECT_EQ(std::string(block.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))),
              "refused 50 The system service asks no directory server: Insufficient access\n");
}

TEST(CheckerService, RequestOfACallerWhoIsGoneIsLogged) {
    const auto askAndGo = [] {
        mountEmptyOver("/dev");
        const std::ofstream emptyDevice("/dev/null");
        const FileDescriptor records = logSocket();
        std::array<int, 2> ends{};
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            std::abort();
        }
        const FileDescriptor connection(ends[1]);
        const std::string request = requestFor("alice", "right");
        {
            const FileDescriptor client(ends[0]);
            if (send(client.get(), request.data(), request.size(), 0) < 0) {
                std::abort();
            }
        }
        const pid_t checker = fork();
        if (checker == 0) {
            dup2(connection.get(), STDIN_FILENO);
            dup2(connection.get(), STDOUT_FILENO);
            execl(CHECKPASS_PROGRAM, CHECKPASS_PROGRAM, nullptr);
            _exit(EXIT_FAILURE);
        }
        waitpid(checker, nullptr, 0);
        return recordsIn(records);
    };
    const std::string log = onServiceMachine(stackOf("accept"), askAndGo, 0, "");
    EXPECT_THAT(log, EndsWith("password check for uid 0: accepted (0)|"));
}

}  // namespace
}  // namespace velunor::testing
