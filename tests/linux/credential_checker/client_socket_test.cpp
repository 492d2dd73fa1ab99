// The client where a service listens.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/posix/local_socket.h"
#include "tests/linux/credential_checker/checker_support.h"
#include "tests/linux/credential_checker/listening_socket.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

constexpr milliseconds shortLimit{400};

class ClientSocket : public ::testing::Test {
  protected:
    /// Settings with a program that would accept, so that a fall back to it is seen.
    CredentialCheckerSettings settings(milliseconds timeout = seconds{10}) {
        return {path(), script(directory_.file("checker"), "echo accepted"), timeout};
    }

    /// What a check tells whose connection is served like this.
    std::string answerOf(const std::function<void(int)>& serve,
                         milliseconds timeout = seconds{10}) {
        const ListeningSocket listener(path());
        std::jthread service([&] {
            const FileDescriptor connection = listener.accept();
            serve(connection.get());
        });
        return checked(settings(timeout));
    }

    /// The same where each connection is served so.
    std::string answerOfEach(const std::function<void(int)>& serve,
                             milliseconds timeout = seconds{1}) {
        const ListeningSocket listener(path());
        std::jthread service([&](const std::stop_token& stop) {
            while (true) {
                const FileDescriptor connection = listener.accept();
                if (stop.stop_requested()) {
                    return;
                }
                serve(connection.get());
            }
        });
        std::string answer = checked(settings(timeout));
        service.request_stop();
        // Ends its wait.
        const FileDescriptor last = connectLocalSocket(SOCK_STREAM, path());
        service.join();
        return answer;
    }

    [[nodiscard]] std::string path() const { return directory_.file("service.socket"); }
    [[nodiscard]] const TemporaryDirectory& directory() const { return directory_; }

  private:
    TemporaryDirectory directory_;
};

void say(int connection, const std::string& text) {
    send(connection, text.data(), text.size(), MSG_NOSIGNAL);
}

/// Everything up to the end of the stream.
std::string hear(int connection) {
    std::string text;
    char byte = 0;
    while (recv(connection, &byte, 1, 0) > 0) {
        text += byte;
    }
    return text;
}

TEST_F(ClientSocket, RequestHasBothTextsAndAnEnd) {
    std::string request;
    EXPECT_EQ(answerOf([&](int connection) {
                  request = hear(connection);
                  say(connection, "accepted\n");
              }),
              "accepted");
    EXPECT_EQ(request, requestFor("alice", "right"));
}

TEST_F(ClientSocket, RefusalIsTold) {
    EXPECT_EQ(answerOf([](int connection) {
                  hear(connection);
                  say(connection, "refused 7 Authentication failure\n");
              }),
              "PAM 7 Authentication failure");
}

TEST_F(ClientSocket, RefusalBeforeTheRequestIsReadIsTold) {
    EXPECT_EQ(answerOf([](int connection) { say(connection, "refused 6 Permission denied\n"); }),
              "PAM 6 Permission denied");
}

TEST_F(ClientSocket, AnswerThatNeverComesIsNoneAtTheLimit) {
    // The end of a request that was read, and a reset.
    EXPECT_EQ(answerOfEach([](int connection) { hear(connection); }),
              "Checker 61 no answer: No data available");
    EXPECT_EQ(answerOfEach([](int connection) {
                  char byte = 0;
                  recv(connection, &byte, 1, 0);
              }),
              "Checker 104 no answer: Connection reset by peer");
    // The end is there before the request is sent, or behind it.
    EXPECT_THAT(answerOfEach([](int) {}), MatchesRegex("Checker (32 no answer: Broken pipe|"
                                                       "104 no answer: Connection reset by peer)"));
}

TEST_F(ClientSocket, AnswerThatDoesNotComeIsAskedForAgain) {
    int connections = 0;
    const auto turnAwayFirst = [&](int connection) {
        constexpr int first = 4;
        ++connections;
        if (connections % 2 == 0) {
            hear(connection);
        }
        if (connections > first) {
            hear(connection);
            say(connection, "accepted\n");
        }
    };
    EXPECT_EQ(answerOfEach(turnAwayFirst, seconds{10}), "accepted");
    EXPECT_EQ(connections, 5);
}

TEST_F(ClientSocket, AnswerThatDoesNotComeIsAskedForLessAndLessOften) {
    int connections = 0;
    EXPECT_EQ(answerOfEach([&](int connection) {
                  ++connections;
                  hear(connection);
              }),
              "Checker 61 no answer: No data available");
    EXPECT_LE(connections, 5);
}

TEST_F(ClientSocket, RefusalIsNotAskedForAgain) {
    int connections = 0;
    EXPECT_EQ(answerOfEach(
                  [&](int connection) {
                      ++connections;
                      hear(connection);
                      say(connection, "refused 7 Authentication failure\n");
                  },
                  seconds{10}),
              "PAM 7 Authentication failure");
    EXPECT_EQ(connections, 1);
}

TEST_F(ClientSocket, IncompleteAndOverlongAnswersAreNone) {
    EXPECT_EQ(answerOf([](int connection) {
                  hear(connection);
                  say(connection, "accepted");
              }),
              "Checker 71 answer: Protocol error");
    EXPECT_EQ(answerOf([](int connection) {
                  hear(connection);
                  say(connection, std::string(100'000, 'a'));
              }),
              "Checker 90 answer: Message too long");
}

TEST_F(ClientSocket, AcceptedBeforeTheRequestIsReadIsNone) {
    // The service's end is there before the request is sent, or behind it.
    EXPECT_THAT(answerOfEach([](int connection) { say(connection, "accepted\n"); }),
                MatchesRegex("Checker (32 no answer: Broken pipe|"
                             "104 no answer: Connection reset by peer)"));
}

TEST_F(ClientSocket, SilentServiceCostsTheLimit) {
    const ListeningSocket listener(path());
    FileDescriptor connection;
    std::string answer;
    const auto duration = durationOf([&] {
        const std::jthread service([&] { connection = listener.accept(); });
        answer = checked(settings(shortLimit));
    });
    EXPECT_EQ(answer, "Checker 110 no answer: Connection timed out");
    EXPECT_GE(duration, shortLimit);
    EXPECT_LT(duration, shortLimit + milliseconds{2000});
}

TEST_F(ClientSocket, ServiceThatTakesNoConnectionCostsTheLimit) {
    const ListeningSocket listener(path());
    EXPECT_EQ(checked(settings(shortLimit)), "Checker 110 no answer: Connection timed out");
}

TEST_F(ClientSocket, ServiceWithAFullQueueCostsTheLimit) {
    const ListeningSocket listener(path());
    std::vector<FileDescriptor> waiting;
    for (FileDescriptor next = listener.connectAtOnce(); next.isOpen();
         next = listener.connectAtOnce()) {
        waiting.push_back(std::move(next));
    }
    std::string answer;
    const auto duration = durationOf([&] { answer = checked(settings(shortLimit)); });
    EXPECT_EQ(answer, "Checker 110 connect: Connection timed out");
    EXPECT_LT(duration, shortLimit + milliseconds{2000});
}

TEST_F(ClientSocket, AnswerThatNeverEndsCostsTheLimit) {
    EXPECT_EQ(answerOf(
                  [](int connection) {
                      say(connection, "accepted\n");
                      hear(connection);
                      std::this_thread::sleep_for(2 * shortLimit);
                  },
                  shortLimit),
              "Checker 110 no answer: Connection timed out");
}

TEST_F(ClientSocket, NothingThereStartsTheProgram) {
    EXPECT_EQ(checked(settings()), "accepted");
}

TEST_F(ClientSocket, SocketThatNobodyListensToStartsTheProgram) {
    { const ListeningSocket gone(path()); }
    ASSERT_TRUE(std::filesystem::exists(path()));
    EXPECT_EQ(checked(settings()), "accepted");
}

TEST_F(ClientSocket, UnusablePathIsAnError) {
    auto wrong = settings();
    wrong.socketPath = "/" + std::string(200, 'x');
    EXPECT_THAT(checked(wrong), StartsWith("Checker 36 "));
    wrong.socketPath = wrong.program + "/service.socket";
    EXPECT_THAT(checked(wrong), StartsWith("Checker 20 "));
    wrong.socketPath = "";
    EXPECT_THAT(checked(wrong), StartsWith("Checker 22 "));
    wrong.socketPath = std::string("\0abstract", 9);
    EXPECT_THAT(checked(wrong), StartsWith("Checker 22 "));
}

}  // namespace
}  // namespace velunor::testing
