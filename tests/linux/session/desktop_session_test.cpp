#include "platform/linux/session/desktop_session.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "tests/support/forked_copy.h"

namespace velunor {
namespace {

constexpr uid_t alice = 4242;

void writeState(const std::string& path, const std::string& content) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << content;
}

/// The state of a session of alice's, as the login manager keeps it.
std::string session(const std::string& type, const std::string& kind = "user",
                    const std::string& state = "active") {
    return "UID=4242\nUSER=alice\nACTIVE=1\nSTATE=" + state + "\nTYPE=" + type + "\nCLASS=" + kind +
           "\n";
}

std::string inWords(const Expected<DesktopSession, NoDesktop>& desktop) {
    if (desktop) {
        return desktop->identifier + " of " + std::to_string(desktop->user);
    }
    return desktop.error() == NoDesktop::nobodyThere ? "nobody" : "not graphical";
}

/// What is found on a machine where alice has these sessions, c1 and c2, all in the foreground.
std::string desktopOfAlice(const std::string& first, const std::string& second = "") {
    return testing::inChild([&] {
               testing::enterPrivateNamespace();
               testing::mountEmptyOver("/run");
               std::string active;
               int number = 0;
               for (const std::string& state : {first, second}) {
                   const std::string name = "c" + std::to_string(++number);
                   if (!state.empty()) {
                       writeState("/run/systemd/sessions/" + name, state);
                       active += (active.empty() ? "" : " ") + name;
                   }
               }
               writeState("/run/systemd/users/4242",
                          "NAME=alice\nSTATE=active\nSESSIONS=" + active +
                              "\nACTIVE_SESSIONS=" + active + "\n");
               return inWords(desktopOf(alice));
           })
        .text;
}

/// What is found where alice's session c1 is the one in the foreground of the first seat.
std::string desktopAtSeatWith(const std::string& state) {
    return testing::inChild([&] {
               testing::enterPrivateNamespace();
               testing::mountEmptyOver("/run");
               writeState("/run/systemd/seats/seat0", "IS_SEAT0=1\nACTIVE=c1\nACTIVE_UID=4242\n");
               writeState("/run/systemd/sessions/c1", state);
               return inWords(desktopAtSeat());
           })
        .text;
}

TEST(DesktopSession, SeatHasTheDesktopInItsForeground) {
    EXPECT_EQ(desktopAtSeatWith(session("wayland")), "c1 of 4242");
}

TEST(DesktopSession, SeatWithATextConsoleIsNotGraphical) {
    EXPECT_EQ(desktopAtSeatWith(session("tty")), "not graphical");
}

TEST(DesktopSession, SeatWithAGreeterHasNobody) {
    EXPECT_EQ(desktopAtSeatWith(session("x11", "greeter")), "nobody");
}

TEST(DesktopSession, UserHasTheDesktopOfTheirGraphicalSession) {
    EXPECT_EQ(desktopOfAlice(session("x11")), "c1 of 4242");
}

TEST(DesktopSession, GraphicalSessionIsFoundBesideATextConsole) {
    EXPECT_EQ(desktopOfAlice(session("tty"), session("wayland")), "c2 of 4242");
}

TEST(DesktopSession, UserOnATextConsoleHasNoDesktop) {
    EXPECT_EQ(desktopOfAlice(session("tty")), "not graphical");
}

TEST(DesktopSession, UserWithoutASessionIsNotThere) {
    EXPECT_EQ(desktopOfAlice(""), "nobody");
}

TEST(DesktopSession, BackgroundSessionIsNoDesktop) {
    EXPECT_EQ(desktopOfAlice(session("x11", "background")), "nobody");
}

TEST(DesktopSession, SessionThatIsAboutToEndIsNobodys) {
    EXPECT_EQ(desktopAtSeatWith(session("x11", "user", "closing")), "nobody");
    EXPECT_EQ(desktopOfAlice(session("x11", "user", "closing")), "nobody");
}

TEST(DesktopSession, SessionIsOpenUntilItGoes) {
    const std::string answers =
        testing::inChild([&] {
            testing::enterPrivateNamespace();
            testing::mountEmptyOver("/run");
            const DesktopSession desktop{"c1", alice};
            std::string open;
            for (const char* state : {"active", "online", "closing"}) {
                writeState("/run/systemd/sessions/c1", session("x11", "user", state));
                open += isOpen(desktop) ? "open " : "closed ";
            }
            std::filesystem::remove("/run/systemd/sessions/c1");
            return open + (isOpen(desktop) ? "open" : "closed");
        }).text;
    EXPECT_EQ(answers, "open open closed closed");
}

}  // namespace
}  // namespace velunor
