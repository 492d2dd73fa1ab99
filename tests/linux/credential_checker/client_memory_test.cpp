// What is left of a password in the process that had it checked.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "platform/linux/directory/credential_checker.h"
#include "platform/linux/directory/directory_service.h"
#include "tests/linux/credential_checker/checker_support.h"
#include "tests/linux/credential_checker/listening_socket.h"
#include "tests/support/memory_search.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

TEST(ClientMemory, SearchFindsAPasswordThatIsThere) {
    const Needle needle;
    {
        const Secret password = needle.password();
        EXPECT_EQ(occurrencesOf(needle), 1);
    }
    EXPECT_EQ(occurrencesOf(needle), 0);
}

TEST(ClientMemory, NothingIsLeftAfterAskingTheProgram) {
    const TemporaryDirectory directory;
    const Needle needle;
    for (const char* commands : {"cat >/dev/null; echo accepted", "exit 1", "sleep 600"}) {
        const CredentialCheckerSettings settings{directory.file("none"),
                                                 script(directory.file("checker"), commands),
                                                 std::chrono::milliseconds{400}};
        static_cast<void>(checkLocalPassword(settings, "alice", needle.password()));
        EXPECT_EQ(occurrencesOf(needle), 0) << commands;
    }
}

TEST(ClientMemory, NothingIsLeftAfterAskingANetworkNode) {
    const TemporaryDirectory directory;
    const Needle needle;
    DirectoryNodeSettings settings;
    settings.timeout = std::chrono::seconds{0};
    for (const char* commands : {"cat >/dev/null; echo accepted", "exit 1", "sleep 600"}) {
        const auto node = openNetworkNode(
            script(directory.file("checker"), std::string("echo ready; ") + commands), settings);
        ASSERT_TRUE(node) << commands;
        static_cast<void>((*node)->setCredentials("alice", needle.password()));
        EXPECT_EQ(occurrencesOf(needle), 0) << commands;
    }
}

TEST(ClientMemory, NothingIsLeftAfterAskingTheService) {
    const TemporaryDirectory directory;
    const Needle needle;
    const CredentialCheckerSettings settings{directory.file("socket"), "/nonexistent",
                                             std::chrono::milliseconds{400}};
    const ListeningSocket listener(settings.socketPath);
    const auto error = checkLocalPassword(settings, "alice", needle.password());
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, ETIMEDOUT);
    EXPECT_EQ(occurrencesOf(needle), 0);
}

}  // namespace
}  // namespace velunor::testing
