#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/linux/session/session.h"
#include "tests/support/forked_copy.h"

namespace velunor {
namespace {

void writeState(const std::string& path, const std::string& content) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << content;
}

/// What the console user is on a machine whose seat and session are in this state.
std::string consoleUser(const std::string& seat, const std::string& session) {
    return testing::inChild([&] {
               testing::enterPrivateNamespace();
               testing::mountEmptyOver("/run");
               std::filesystem::create_directories("/run/systemd/seats");
               if (!seat.empty()) {
                   writeState("/run/systemd/seats/seat0", seat);
               }
               if (!session.empty()) {
                   writeState("/run/systemd/sessions/c1", session);
               }
               const auto user = LinuxConsoleUsers().consoleUserIdentifier();
               return user ? std::to_string(*user) : std::string("none");
           })
        .text;
}

const std::string seatInUse = "IS_SEAT0=1\nACTIVE=c1\nACTIVE_UID=4242\n";

std::string session(const std::string& type, const std::string& kind) {
    return "UID=4242\nUSER=alice\nACTIVE=1\nSTATE=active\nTYPE=" + type + "\nCLASS=" + kind + "\n";
}

TEST(ConsoleUsers, OwnerOfAnX11SessionOfTheSeat) {
    EXPECT_EQ(consoleUser(seatInUse, session("x11", "user")), "4242");
}

TEST(ConsoleUsers, OwnerOfAWaylandSessionOfTheSeat) {
    EXPECT_EQ(consoleUser(seatInUse, session("wayland", "user")), "4242");
}

TEST(ConsoleUsers, OwnerOfAMirSessionOfTheSeat) {
    EXPECT_EQ(consoleUser(seatInUse, session("mir", "user")), "4242");
}

TEST(ConsoleUsers, NobodyAtTheLoginWindow) {
    EXPECT_EQ(consoleUser(seatInUse, session("x11", "greeter")), "none");
}

TEST(ConsoleUsers, NobodyOnATextConsole) {
    EXPECT_EQ(consoleUser(seatInUse, session("tty", "user")), "none");
}

TEST(ConsoleUsers, NobodyWithoutAnActiveSession) {
    EXPECT_EQ(consoleUser("IS_SEAT0=1\n", session("x11", "user")), "none");
}

TEST(ConsoleUsers, NobodyWhoseSessionIsGone) {
    EXPECT_EQ(consoleUser(seatInUse, ""), "none");
}

TEST(ConsoleUsers, NobodyWithoutALoginManager) {
    EXPECT_EQ(consoleUser("", ""), "none");
}

TEST(ConsoleUsers, PasswordEntryHasTheAccountsName) {
    const auto entry = LinuxConsoleUsers().passwordEntry(0);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->name, "root");
}

TEST(ConsoleUsers, NoPasswordEntryForAnUnknownUser) {
    constexpr std::uint32_t unused = 4'123'456'789;
    EXPECT_FALSE(LinuxConsoleUsers().passwordEntry(unused));
}

}  // namespace
}  // namespace velunor
