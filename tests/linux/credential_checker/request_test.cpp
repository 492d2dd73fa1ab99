// Requests to the checker, from its standard input.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ostream>
#include <string>
#include <vector>

#include "platform/linux/directory/credential_checker_protocol.h"
#include "platform/posix/file_descriptor.h"
#include "tests/linux/credential_checker/checker_support.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

constexpr const char* accepted = "accepted\n0";
constexpr const char* malformed = "refused 19 Conversation error\n1";

/// The checker's answer where the password "right" is that of every account.
std::string answerTo(const std::string& input) {
    return withPam(stackOf("accept"), [&] { return checkerAnswer(input); });
}

std::string bytes(std::size_t size) {
    return std::string().append(size, 'x');
}

TEST(Request, RightPasswordIsAccepted) {
    EXPECT_EQ(answerTo(requestFor("alice", "right")), accepted);
}

TEST(Request, WrongPasswordIsRefusedWithPamsNumberAndText) {
    EXPECT_EQ(answerTo(requestFor("alice", "wrong")), "refused 7 Authentication failure\n1");
}

TEST(Request, NameOfTheGreatestLengthIsTaken) {
    EXPECT_EQ(answerTo(requestFor(bytes(credential_checker_protocol::longestUserName), "right")),
              accepted);
}

TEST(Request, PasswordOfTheGreatestLengthIsTaken) {
    EXPECT_EQ(answerTo(requestFor("alice", bytes(credential_checker_protocol::longestPassword))),
              "refused 7 Authentication failure\n1");
}

TEST(Request, LineEndsAndOtherBytesArePartOfThePassword) {
    EXPECT_EQ(answerTo(requestFor("alice", "right\n")), "refused 7 Authentication failure\n1");
    EXPECT_EQ(answerTo(requestFor("alice", "right\xFF")), "refused 7 Authentication failure\n1");
}

struct MalformedCase {
    const char* name;
    std::string input;

    friend std::ostream& operator<<(std::ostream& out, const MalformedCase& test) {
        return out << test.name;
    }
};

class MalformedRequest : public ::testing::TestWithParam<MalformedCase> {};

TEST_P(MalformedRequest, IsRefused) {
    EXPECT_EQ(checkerAnswer(GetParam().input), malformed);
}

INSTANTIATE_TEST_SUITE_P(
    Request, MalformedRequest,
    ::testing::Values(
        MalformedCase{"Nothing", ""}, MalformedCase{"NoNul", "alice"},
        MalformedCase{"NameAlone", std::string("alice\0", 6)},
        MalformedCase{"NoNulBehindThePassword", std::string("alice\0right", 11)},
        MalformedCase{"ByteBehindTheEnd", requestFor("alice", "right") + "x"},
        MalformedCase{"NulBehindTheEnd", requestFor("alice", "right") + '\0'},
        MalformedCase{"SecondRequest", requestFor("alice", "right") + requestFor("alice", "right")},
        MalformedCase{"EmptyName", requestFor("", "right")},
        MalformedCase{"EmptyPassword", requestFor("alice", "")},
        MalformedCase{"NameTooLong",
                      requestFor(bytes(credential_checker_protocol::longestUserName + 1), "right")},
        MalformedCase{"PasswordTooLong",
                      requestFor("alice", bytes(credential_checker_protocol::longestPassword + 1))},
        MalformedCase{"Huge", bytes(60'000)}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(Request, WithoutAnEndIsRefusedInTime) {
    std::string answer;
    const auto duration =
        durationOf([&] { answer = impatientAnswerWithoutEnd(requestFor("alice", "right")); });
    EXPECT_EQ(answer, malformed);
    EXPECT_GE(duration, std::chrono::milliseconds{700});
    EXPECT_LT(duration, std::chrono::seconds{5});
}

TEST(Request, ClosedStandardStreamsAreARefusalAtOnce) {
    const auto begin = std::chrono::steady_clock::now();
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        const pid_t checker = fork();
        if (checker == 0) {
            dup2(open("/dev/null", O_RDWR), STDOUT_FILENO);
            for (int closed = STDIN_FILENO; closed <= standard; ++closed) {
                close(closed);
            }
            execl(CHECKPASS_PROGRAM, CHECKPASS_PROGRAM, nullptr);
            _exit(EXIT_FAILURE);
        }
        int status = 0;
        ASSERT_EQ(waitpid(checker, &status, 0), checker);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 1);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds{8});
}

TEST(Request, StandardErrorMayBeClosed) {
    EXPECT_EQ(withPam(stackOf("accept"),
                      [] {
                          close(STDERR_FILENO);
                          return checkerAnswer(requestFor("alice", "right"));
                      }),
              accepted);
}

/// The exit status of the checker with these arguments and nothing on its standard input; what it
/// complains of goes to `errors`, and where the service manager passes a socket it has `passed`.
int statusWith(std::vector<const char*> arguments, const char* errors = "/dev/null",
               const FileDescriptor& passed = FileDescriptor()) {
    arguments.insert(arguments.begin(), CHECKPASS_PROGRAM);
    arguments.push_back(nullptr);
    const pid_t checker = fork();
    if (checker == 0) {
        const int nothing = open("/dev/null", O_RDWR);
        for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            dup2(nothing, standard);
        }
        dup2(open(errors, O_WRONLY | O_CREAT, S_IRUSR | S_IWUSR), STDERR_FILENO);
        if (passed.isOpen()) {
            constexpr int firstPassedDescriptor = 3;
            dup2(passed.get(), firstPassedDescriptor);
            fcntl(firstPassedDescriptor, F_SETFD, 0);
        }
        execv(arguments.front(), const_cast<char**>(arguments.data()));
        _exit(EXIT_FAILURE);
    }
    int status = 0;
    waitpid(checker, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST(Request, OtherArgumentsAreWrongUsage) {
    EXPECT_EQ(statusWith({"alice"}), 2);
    EXPECT_EQ(statusWith({"ldap"}), 2);
    // Without a listening socket.
    EXPECT_EQ(statusWith({"serve"}), 2);
    EXPECT_EQ(statusWith({"pam", "ldaps://127.0.0.1:1", "", "(uid=%u)", "", "1"}), 2);
    for (const char* seconds : {"", "0", "61", "-1", "1s", " 1", "99999999999"}) {
        EXPECT_EQ(statusWith({"ldap", "ldaps://127.0.0.1:1", "", "(uid=%u)", "", seconds}), 2)
            << seconds;
    }
    // These are right ones, of a server that is not there.
    for (const char* seconds : {"1", "60"}) {
        EXPECT_EQ(statusWith({"ldap", "ldaps://127.0.0.1:1", "", "(uid=%u)", "", seconds}), 1)
            << seconds;
    }
}

TEST(Request, ServiceWantsASocketThatListens) {
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(statusWith({"serve"}, "/dev/null", socket), 2);
}

TEST(Request, WrongUsageIsExplained) {
    const TemporaryDirectory directory;
    EXPECT_EQ(statusWith({"alice"}, directory.file("errors").c_str()), 2);
    EXPECT_TRUE(directory.read("errors").starts_with("Usage: osupdate-checkpass ["))
        << directory.read("errors");
}

}  // namespace
}  // namespace velunor::testing
