// Who waits for whom before PAM is asked.

#include "tools/osupdate_checkpass/service/turns.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "tests/linux/credential_checker/service_support.h"
#include "tests/support/forked_copy.h"
#include "tests/support/temporary_directory.h"
#include "tools/osupdate_checkpass/service/caller.h"

namespace velunor::testing {
namespace {

/// More than a check that waits for nobody takes on a busy machine.
constexpr unsigned longTime = 30;

/// A process of a user who has a password of an account checked.
struct Check {
    uid_t caller;
    std::string account;
};

/// A machine of its own, with the service's directory alone in /run.
void enterMachine() {
    enterPrivateNamespace();
    mountEmptyOver("/run");
    std::filesystem::create_directory("/run/velunor");
}

/// The number that stands for an account's name where the password database does not know it.
std::string numberFor(const std::string& account) {
    return std::to_string(static_cast<std::uint32_t>(std::hash<std::string>()(account)));
}

/// Whether a check waits for another one that goes on, on a machine where "alice" has the number
/// 4001, "bob" 4000 and "eve" that which stands for "ghost"; whoever waits so many seconds does.
std::string behind(const Check& first, const Check& second, unsigned patience = 1) {
    const TemporaryDirectory directory;
    directory.write("passwd",
                    "alice:x:4001:4001::/:/bin/sh\nbob:x:4000:4000::/:/bin/sh\n"
                    "eve:x:" +
                        numberFor("ghost") + ":4003::/:/bin/sh\n");
    return inChild([&]() -> std::string {
               enterMachine();
               mountFileOver(directory.file("passwd"), "/etc/passwd");
               const Turns turns(first.caller);
               if (!turns.isOpen() || !turns.wait(first.account)) {
                   return "no turn";
               }
               const ChildOutcome outcome = inChild([&]() -> std::string {
                   const Turns others(second.caller);
                   // Nobody gives the turn back, so that who waits is ended by this.
                   static_cast<void>(std::signal(SIGALRM, SIG_DFL));
                   alarm(patience);
                   const bool hasTurn = others.wait(second.account);
                   alarm(0);
                   return hasTurn ? "goes on" : "no turn";
               });
               return outcome.status == -SIGALRM ? "waits" : outcome.text;
           })
        .text;
}

TEST(Turns, OneCallersChecksWaitForEachOther) {
    EXPECT_EQ(behind({4003, "alice"}, {4003, "bob"}), "waits");
    EXPECT_EQ(behind({4003, "ghost"}, {4003, "phantom"}), "waits");
}

TEST(Turns, ChecksOfOneAccountWaitForEachOther) {
    EXPECT_EQ(behind({4003, "alice"}, {4004, "alice"}), "waits");
    EXPECT_EQ(behind({4003, "ghost"}, {4004, "ghost"}), "waits");
}

TEST(Turns, ChecksOfAnotherCallerAndAccountDoNotWait) {
    EXPECT_EQ(behind({4003, "alice"}, {4004, "bob"}, longTime), "goes on");
    EXPECT_EQ(behind({4003, "ghost"}, {4004, "phantom"}, longTime), "goes on");
    EXPECT_EQ(behind({4003, "alice"}, {4004, "ghost"}, longTime), "goes on");
    // The same number of a caller and of an account are two things.
    EXPECT_EQ(behind({4003, "alice"}, {4001, "bob"}, longTime), "goes on");
    EXPECT_EQ(behind({4001, "bob"}, {4003, "alice"}, longTime), "goes on");
    // So is an account's beside what stands for a name that nobody has.
    EXPECT_EQ(behind({4003, "eve"}, {4004, "ghost"}, longTime), "goes on");
}

/// The turn of a check that ends at the third signal.
std::optional<Turns> untilTheThirdSignal;
int signalsSoFar = 0;

TEST(Turns, AreWaitedForWhateverSignalsCome) {
    const auto outcome = inChild([]() -> std::string {
        enterMachine();
        untilTheThirdSignal.emplace(4003);
        if (!untilTheThirdSignal->wait("ghost")) {
            return "no turn";
        }
        struct sigaction action {};
        action.sa_handler = [](int) {
            if (++signalsSoFar == 3) {
                untilTheThirdSignal.reset();
            }
        };
        sigaction(SIGALRM, &action, nullptr);
        constexpr suseconds_t pause = 20'000;
        const itimerval timer{{0, pause}, {0, pause}};
        setitimer(ITIMER_REAL, &timer, nullptr);
        const bool hasTurn = Turns(4003).wait("ghost");
        return std::string(hasTurn ? "a turn" : "no turn") +
               (signalsSoFar >= 3 ? " after three" : " before");
    });
    EXPECT_EQ(outcome.text, "a turn after three");
}

TEST(Turns, CannotBeHadWithoutTheirFile) {
    const auto outcome = inChild([]() -> std::string {
        enterPrivateNamespace();
        mountEmptyOver("/run");
        const Turns turns(4003);
        return turns.isOpen() || turns.wait("ghost") ? "a turn" : "none";
    });
    EXPECT_EQ(outcome.text, "none");
}

TEST(Turns, AreInAFileOfTheServicesOwnThatIsNoLink) {
    const auto outcome = inChild([]() -> std::string {
        enterMachine();
        const std::string file = "/run/velunor/osupdate-checkpass.lock";
        umask(0);
        struct stat status {};
        if (!Turns(0).isOpen() || stat(file.c_str(), &status) != 0) {
            return "no file";
        }
        std::filesystem::remove(file);
        std::filesystem::create_symlink("/run/elsewhere", file);
        return std::to_string(status.st_mode & ~static_cast<mode_t>(S_IFMT)) +
               (Turns(0).isOpen() ? ", follows" : ", refuses");
    });
    EXPECT_EQ(outcome.text, std::to_string(S_IRUSR | S_IWUSR) + ", refuses");
}

TEST(Caller, IsKnownOfLocalSocketsAlone) {
    const FileDescriptor remote(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_TRUE(remote.isOpen());
    EXPECT_TRUE(isSocket(remote));
    EXPECT_FALSE(callerOf(remote));
    const FileDescriptor file(open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_FALSE(isSocket(file));
    EXPECT_FALSE(callerOf(file));
}

}  // namespace
}  // namespace velunor::testing
