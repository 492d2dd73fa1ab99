// The client where somebody else listens: root, on a machine of its own, can be anybody.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "tests/linux/credential_checker/checker_support.h"
#include "tests/linux/credential_checker/listening_socket.h"
#include "tests/support/forked_copy.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

constexpr uid_t stranger = 4003;
constexpr uid_t caller = 4004;

/// What the client of this user says of a service of another one, and what that service hears.
std::string answerTo(uid_t user, uid_t owner) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("service.socket");
    chmod(directory.path().c_str(), S_IRWXU | S_IRWXG | S_IRWXO);
    const ChildOutcome outcome = inChild([&]() -> std::string {
        if (seteuid(owner) != 0) {
            return "not the service's user";
        }
        // The kernel remembers who began to listen.
        const ListeningSocket listener(path);
        chmod(path.c_str(), S_IRWXU | S_IRWXG | S_IRWXO);
        if (seteuid(0) != 0 || seteuid(user) != 0) {
            return "not the client's user";
        }
        const std::string answer = checked({path, "/nonexistent", std::chrono::milliseconds{400}});
        const FileDescriptor connection = listener.accept();
        std::array<char, 64> bytes{};
        const ssize_t heard = recv(connection.get(), bytes.data(), bytes.size(), 0);
        return answer + ", " + std::to_string(heard) + " bytes";
    });
    return outcome.text;
}

TEST(ForeignService, GetsNothingOfAnOrdinaryUser) {
    EXPECT_EQ(answerTo(caller, stranger),
              "Checker 1 a service of another user: Operation not permitted, 0 bytes");
}

TEST(ForeignService, GetsNothingOfRoot) {
    EXPECT_EQ(answerTo(0, stranger),
              "Checker 1 a service of another user: Operation not permitted, 0 bytes");
}

TEST(ForeignService, OfRootIsAskedByEverybody) {
    const std::string request = requestFor("alice", "right");
    EXPECT_EQ(answerTo(caller, 0), "Checker 110 no answer: Connection timed out, " +
                                       std::to_string(request.size()) + " bytes");
}

}  // namespace
}  // namespace velunor::testing
