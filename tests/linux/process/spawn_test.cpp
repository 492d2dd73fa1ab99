// How programs are started, and accounts that the password database tells of at length.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "platform/posix/password_database.h"
#include "platform/posix/process.h"
#include "tests/support/forked_copy.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

ChildProcessResult shell(const std::string& script) {
    return LinuxChildProcess().run("/bin/sh", std::vector<std::string>{"-c", script});
}

/// The exit status of a script that is started so.
int statusOf(const std::string& script, const StandardStreams& streams,
             ProcessGroup group = ProcessGroup::callers) {
    const std::string program = "/bin/sh";
    const std::vector<std::string> arguments{"-c", script};
    pid_t child = 0;
    if (spawn({.program = program, .arguments = arguments, .streams = streams, .group = group},
              child) != 0) {
        return -1;
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Spawn, ProgramThatIsNotThereHasTheStatusAndTheReasonOfAShell) {
    const auto result = LinuxChildProcess().run("/nonexistent/program", std::vector<std::string>());
    EXPECT_EQ(result.terminationStatus, 126);
    EXPECT_EQ(result.output, "No such file or directory\n");
}

TEST(Spawn, EveryDescriptorFromTheThirdOnIsClosed) {
    std::array<int, 4> leaked{};
    for (int& number : leaked) {
        number = fcntl(STDIN_FILENO, F_DUPFD, 3);
    }
    EXPECT_EQ(shell("for number in 3 4 5 6 7 8 9; do "
                    "[ ! -e /proc/$$/fd/$number ] || echo $number; done")
                  .output,
              "");
    for (const int number : leaked) {
        close(number);
    }
}

TEST(Spawn, SignalsThatTheCallerHasIgnoredOnPurposeStayIgnored) {
    for (const int number : {SIGHUP, SIGINT, SIGQUIT}) {
        const auto outcome = inChild([number] {
            static_cast<void>(std::signal(number, SIG_IGN));
            return shell("kill -" + std::to_string(number) + " $$; echo goes on").output;
        });
        EXPECT_EQ(outcome.text, "goes on\n") << number;
    }
}

TEST(Spawn, EveryOtherSignalHasItsDefaultAgain) {
    const auto outcome = inChild([] {
        for (int number = 1; number <= SIGRTMAX; ++number) {
            static_cast<void>(std::signal(number, SIG_IGN));
        }
        // One that has ended could not be waited for.
        static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
        // A shell would change some by itself.
        const std::vector<std::string> line{"-oP", "^SigIgn:\\s*\\K.*", "/proc/self/status"};
        return LinuxChildProcess().run("/bin/grep", line).output;
    });
    // A bit a signal: the first three, and two that the C library keeps for itself.
    EXPECT_EQ(std::stoull(outcome.text, nullptr, 16) & ~0x180000000ULL, 7U);
}

TEST(Spawn, EmptyStreamsHaveNothingAndTheCallersAreItsOwn) {
    const auto outcome = inChild([] {
        const int null = open("/dev/zero", O_RDWR | O_CLOEXEC);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            dup2(null, stream);
        }
        const int status = statusOf(
            "for number in 0 1 2; do "
            "[ \"$(readlink /proc/$$/fd/$number)\" = /dev/zero ] || exit 1; done",
            {.input = callersStream, .output = callersStream, .error = callersStream});
        const int emptyStatus = statusOf(
            "for number in 0 1 2; do "
            "[ \"$(readlink /proc/$$/fd/$number)\" = /dev/null ] || exit 2; done; read line",
            {});
        return std::to_string(status) + std::to_string(emptyStatus);
    });
    // Nothing can be read.
    EXPECT_EQ(outcome.text, "01");
}

TEST(Spawn, EndIsWaitedForThroughSignals) {
    const auto outcome = inChild([] {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, nullptr);
        // Again and again, so that one comes in the wait however slow the start is.
        ualarm(20'000, 20'000);
        return std::to_string(shell("sleep 0.2; exit 3").terminationStatus);
    });
    EXPECT_EQ(outcome.text, "3");
}

TEST(Spawn, OutputOfOneByteIsKept) {
    EXPECT_EQ(shell("printf x").output, "x");
}

TEST(RoomForMore, IsThereUntilALimitIsMetAndGivenBack) {
    const auto outcome = inChild([] {
        const int lowest = dup(STDIN_FILENO);
        close(lowest);
        // Whoever runs the test may have left it some that are open beyond that.
        rlim_t end = 0;
        for (int left = 5; left > 0; ++end) {
            left -= fcntl(static_cast<int>(end), F_GETFD) < 0 ? 1 : 0;
        }
        const rlimit limit{end, end};
        setrlimit(RLIMIT_NOFILE, &limit);
        std::string text = std::to_string(lackOf({.descriptors = 5, .threads = 3}));
        text += "," + std::to_string(lackOf({.descriptors = 6, .threads = 0}));
        const rlimit none{0, end};
        setrlimit(RLIMIT_NOFILE, &none);
        text += "," + std::to_string(lackOf({}));
        setrlimit(RLIMIT_NOFILE, &limit);
        const bool isBack = dup(STDIN_FILENO) == lowest;
        return text + (isBack ? ",back" : ",kept");
    });
    EXPECT_EQ(outcome.text, "0," + std::to_string(EMFILE) + ",0,back");
}

TEST(Spawn, LeadsAGroupOfItsOwnOnlyWhereItIsTold) {
    const std::string leads = "set -- $(cat /proc/$$/stat); [ $5 = $$ ]";
    EXPECT_EQ(statusOf(leads, {}, ProcessGroup::own), 0);
    EXPECT_EQ(statusOf(leads, {}, ProcessGroup::callers), 1);
}

TEST(RoomForMore, IsNotThereForThreadsBeyondTheUsersLimit) {
    const auto outcome = inChild([]() -> std::string {
        constexpr uid_t nobody = 65534;
        if (geteuid() == 0 && setresuid(nobody, nobody, nobody) != 0) {
            return "not that user";
        }
        const rlimit none{0, 0};
        setrlimit(RLIMIT_NPROC, &none);
        return std::to_string(lackOf({})) + "," + std::to_string(lackOf({.threads = 1}));
    });
    EXPECT_EQ(outcome.text, "0," + std::to_string(EAGAIN));
}

/// What `look` sees on a machine with these accounts and groups.
std::string onMachineWith(const std::string& accounts, const std::string& groups,
                          const std::function<std::string()>& look) {
    const TemporaryDirectory directory;
    directory.write("passwd", accounts);
    directory.write("group", groups);
    return inChild([&] {
               enterPrivateNamespace(4001);
               mountFileOver(directory.file("passwd"), "/etc/passwd");
               mountFileOver(directory.file("group"), "/etc/group");
               return look();
           })
        .text;
}

TEST(PasswordDatabase, EntriesOfAnyLengthAreRead) {
    const std::string longName(3000, 'n');
    std::string members = "first";
    for (int count = 0; count < 2000; ++count) {
        members += ",member" + std::to_string(count);
    }
    EXPECT_EQ(onMachineWith("alice:x:4001:4002:" + longName + ":/home/alice:/bin/sh\n",
                            "staff:x:4100:" + members + "\n",
                            [] {
                                const auto account = localAccountNamed("alice").account;
                                const auto entry = passwordEntryOf(4001);
                                const auto group = groupNamed("staff");
                                return account->name + " " + account->homeDirectory + " " +
                                       std::to_string(account->user) + " " +
                                       std::to_string(account->group) + " " + *entry->name + " " +
                                       std::to_string(group.value_or(0));
                            }),
              "alice /home/alice 4001 4002 alice 4100");
}

TEST(PasswordDatabase, NobodyIsNoError) {
    EXPECT_EQ(
        onMachineWith(
            "alice:x:4001:4002::/:/bin/sh\n", "",
            [] {
                std::string found;
                for (const std::string& name : {std::string("bob"), std::string("alice\0x", 7)}) {
                    const LocalAccountResult result = localAccountNamed(name);
                    found +=
                        (result.account ? "found " : "none ") + std::to_string(result.error) + ",";
                }
                found += passwordEntryOf(4242) ? "found" : "none";
                found += groupNamed("staff") ? ",found" : ",none";
                return found;
            }),
        "none 0,none 0,none,none");
}

}  // namespace
}  // namespace velunor::testing
