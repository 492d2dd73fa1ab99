// The client where a service listens.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/linux/password_helper/helper_support.h"
#include "tests/linux/password_helper/listening_socket.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

using std::chrono::milliseconds;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

constexpr milliseconds shortLimit{400};

class ClientSocket : public ::testing::Test {
  protected:
    /// Settings with a program that would accept, so that a fall back to it is seen.
    PasswordHelperSettings settings(milliseconds timeout = std::chrono::seconds{10}) {
        return {path(), script(directory_.file("helper"), "echo accepted"), timeout};
    }

    /// What a check tells whose connection is served like this.
    std::string answerOf(const std::function<void(int)>& serve,
                         milliseconds timeout = std::chrono::seconds{10}) {
        const ListeningSocket listener(path());
        std::jthread service([&] {
            const FileDescriptor connection = listener.accept();
            serve(connection.get());
        });
        return checked(settings(timeout));
    }

    [[nodiscard]] std::string path() const { return directory_.file("service.socket"); }
    [[nodiscard]] const TemporaryDirectory& directory() const { return directory_; }

  private:
    TemporaryDirectory directory_;
};

bool isListening(const std::string& path) {
    std::ifstream sockets("/proc/net/unix");
    for (std::string line; std::getline(sockets, line);) {
        if (line.ends_with(" " + path) && line.find(" 00010000 ") != std::string::npos) {
            return true;
        }
    }
    return false;
}

/// A service of the user "nobody", until the first connection.
class OtherUsersService {
  public:
    explicit OtherUsersService(const std::string& path) : process_(fork()) {
        if (process_ == 0) {
            std::vector<const char*> command{"setpriv",
                                             "--reuid=65534",
                                             "--regid=65534",
                                             "--clear-groups",
                                             "systemd-socket-activate",
                                             "--listen",
                                             path.c_str(),
                                             "--inetd",
                                             "/bin/true"};
            if (geteuid() != 0) {
                command.insert(command.begin(), {"sudo", "-n"});
            }
            command.push_back(nullptr);
            execvp(command.front(), const_cast<char**>(command.data()));
            _exit(EXIT_FAILURE);
        }
        // The file is there shortly before somebody listens.
        constexpr std::size_t tries = 1000;
        for (std::size_t count = 0; count < tries && !isListening(path); ++count) {
            std::this_thread::sleep_for(milliseconds{10});
        }
    }
    OtherUsersService(const OtherUsersService&) = delete;
    OtherUsersService& operator=(const OtherUsersService&) = delete;
    ~OtherUsersService() { waitpid(process_, nullptr, 0); }

  private:
    pid_t process_;
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

TEST_F(ClientSocket, NoAnswerIsNone) {
    EXPECT_EQ(answerOf([](int connection) { hear(connection); }),
              "Helper 71 answer: Protocol error");
    // With the request unread, the end is a reset.
    EXPECT_THAT(answerOf([](int connection) {
                    char byte = 0;
                    recv(connection, &byte, 1, 0);
                }),
                StartsWith("Helper "));
}

TEST_F(ClientSocket, IncompleteAndOverlongAnswersAreNone) {
    EXPECT_EQ(answerOf([](int connection) {
                  hear(connection);
                  say(connection, "accepted");
              }),
              "Helper 71 answer: Protocol error");
    EXPECT_EQ(answerOf([](int connection) {
                  hear(connection);
                  say(connection, std::string(100'000, 'a'));
              }),
              "Helper 90 answer: Message too long");
}

TEST_F(ClientSocket, AcceptedBeforeTheRequestIsReadIsNone) {
    // The service's end is there before the request is sent, or behind it.
    EXPECT_THAT(answerOf([](int connection) { say(connection, "accepted\n"); }),
                MatchesRegex("Helper (32 send: Broken pipe|104 answer: Connection reset by peer)"));
}

TEST_F(ClientSocket, SilentServiceCostsTheLimit) {
    const ListeningSocket listener(path());
    FileDescriptor connection;
    std::string answer;
    const auto duration = durationOf([&] {
        const std::jthread service([&] { connection = listener.accept(); });
        answer = checked(settings(shortLimit));
    });
    EXPECT_EQ(answer, "Helper 110 answer: Connection timed out");
    EXPECT_GE(duration, shortLimit);
    EXPECT_LT(duration, shortLimit + milliseconds{2000});
}

TEST_F(ClientSocket, ServiceThatTakesNoConnectionCostsTheLimit) {
    const ListeningSocket listener(path());
    EXPECT_EQ(checked(settings(shortLimit)), "Helper 110 answer: Connection timed out");
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
    EXPECT_EQ(answer, "Helper 110 connect: Connection timed out");
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
              "Helper 110 answer: Connection timed out");
}

TEST_F(ClientSocket, NothingThereStartsTheProgram) {
    EXPECT_EQ(checked(settings()), "accepted");
}

TEST_F(ClientSocket, SocketThatNobodyListensToStartsTheProgram) {
    { const ListeningSocket gone(path()); }
    ASSERT_TRUE(std::filesystem::exists(path()));
    EXPECT_EQ(checked(settings()), "accepted");
}

TEST_F(ClientSocket, ServiceOfAnotherUserGetsNothing) {
    chmod(directory().path().c_str(), S_IRWXU | S_IRWXG | S_IRWXO);
    const OtherUsersService service(path());
    EXPECT_EQ(checked(settings()), "Helper 1 a service of another user: Operation not permitted");
}

TEST_F(ClientSocket, UnusablePathIsAnError) {
    auto wrong = settings();
    wrong.socketPath = "/" + std::string(200, 'x');
    EXPECT_THAT(checked(wrong), StartsWith("Helper 36 "));
    wrong.socketPath = wrong.program + "/service.socket";
    EXPECT_THAT(checked(wrong), StartsWith("Helper 20 "));
    wrong.socketPath = "";
    EXPECT_THAT(checked(wrong), StartsWith("Helper 22 "));
    wrong.socketPath = std::string("\0abstract", 9);
    EXPECT_THAT(checked(wrong), StartsWith("Helper 22 "));
}

}  // namespace
}  // namespace velunor::testing
