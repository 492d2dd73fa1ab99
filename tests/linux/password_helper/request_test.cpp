// Requests to the helper, from its standard input.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ostream>
#include <string>

#include "platform/linux/directory/credential_checker_protocol.h"
#include "tests/linux/password_helper/helper_support.h"

namespace velunor::testing {
namespace {

constexpr const char* accepted = "accepted\n0";
constexpr const char* malformed = "refused 19 Conversation error\n1";

/// The helper's answer where the password "right" is that of every account.
std::string answerTo(const std::string& input) {
    return withPam(stackOf("accept"), [&] { return helperAnswer(input); });
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
    EXPECT_EQ(answerTo(requestFor(bytes(password_helper_protocol::longestUserName), "right")),
              accepted);
}

TEST(Request, PasswordOfTheGreatestLengthIsTaken) {
    EXPECT_EQ(answerTo(requestFor("alice", bytes(password_helper_protocol::longestPassword))),
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
    EXPECT_EQ(helperAnswer(GetParam().input), malformed);
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
                      requestFor(bytes(password_helper_protocol::longestUserName + 1), "right")},
        MalformedCase{"PasswordTooLong",
                      requestFor("alice", bytes(password_helper_protocol::longestPassword + 1))},
        MalformedCase{"Huge", bytes(60'000)}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(Request, WithoutAnEndIsRefusedInTime) {
    std::string answer;
    const auto duration =
        durationOf([&] { answer = helperAnswerWithoutEnd(requestFor("alice", "right")); });
    EXPECT_EQ(answer, malformed);
    EXPECT_GE(duration, std::chrono::seconds{8});
    EXPECT_LT(duration, std::chrono::seconds{10});
}

TEST(Request, ClosedStandardStreamsAreARefusal) {
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        const pid_t helper = fork();
        if (helper == 0) {
            dup2(open("/dev/null", O_RDWR), STDOUT_FILENO);
            for (int closed = STDIN_FILENO; closed <= standard; ++closed) {
                close(closed);
            }
            execl(HELPER_PROGRAM, HELPER_PROGRAM, nullptr);
            _exit(EXIT_FAILURE);
        }
        int status = 0;
        ASSERT_EQ(waitpid(helper, &status, 0), helper);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 1);
    }
}

TEST(Request, ArgumentsAreWrongUsage) {
    const pid_t helper = fork();
    if (helper == 0) {
        close(STDERR_FILENO);
        execl(HELPER_PROGRAM, HELPER_PROGRAM, "alice", nullptr);
        _exit(EXIT_FAILURE);
    }
    int status = 0;
    ASSERT_EQ(waitpid(helper, &status, 0), helper);
    EXPECT_EQ(WEXITSTATUS(status), 2);
}

}  // namespace
}  // namespace velunor::testing
