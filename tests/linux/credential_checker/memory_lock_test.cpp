// The checker's memory, which holds a password for a moment, is kept out of swap.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include "platform/posix/file_descriptor.h"
#include "tests/linux/credential_checker/checker_support.h"
#include "tests/support/forked_copy.h"

namespace velunor::testing {
namespace {

/// The kilobytes that a line of the process's status tells; 0 when it has no such line.
long kilobytes(pid_t process, const std::string& name) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name + ":")) {
            return std::stol(line.substr(name.size() + 1));
        }
    }
    return 0;
}

/// A process that this one has started; 0 when there is none.
pid_t childOf(pid_t process) {
    const std::string number = std::to_string(process);
    std::ifstream children("/proc/" + number + "/task/" + number + "/children");
    pid_t child = 0;
    return children >> child ? child : 0;
}

constexpr rlim_t someKilobytes = rlim_t{64} * 1024;

struct Memory {
    long whole = 0;
    long locked = 0;
};

bool holdsSomething(const Memory& memory) {
    return memory.locked > 0;
}

bool holdsMost(const Memory& memory) {
    return memory.locked > memory.whole / 2;
}

/// The memory of a checker that waits for its request, once it is as awaited; or, where it has got
/// one and PAM hangs, that of the process which asks PAM.
Memory memoryOfAWaitingChecker(bool (*isAwaited)(const Memory&), const std::string& request = {}) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {};
    }
    const FileDescriptor reader(ends[0]);
    FileDescriptor writer(ends[1]);
    const pid_t checker = fork();
    if (checker == 0) {
        dup2(reader.get(), STDIN_FILENO);
        execl(CHECKPASS_PROGRAM, CHECKPASS_PROGRAM, nullptr);
        _exit(EXIT_FAILURE);
    }
    if (!request.empty()) {
        static_cast<void>(writeWhole(writer.get(), request));
        writer = FileDescriptor();
    }
    constexpr int tries = 500;
    constexpr std::chrono::milliseconds pause{10};
    Memory memory;
    for (int count = 0; count < tries && !isAwaited(memory); ++count) {
        std::this_thread::sleep_for(pause);
        const pid_t process = request.empty() ? checker : childOf(checker);
        memory = {kilobytes(process, "VmSize"), kilobytes(process, "VmLck")};
    }
    kill(checker, SIGKILL);
    waitpid(checker, nullptr, 0);
    return memory;
}

TEST(CheckerMemory, OfAnOrdinaryUserHasThePagesOfTheRequestLocked) {
    constexpr unsigned ordinaryUser = 4003;
    const ChildOutcome outcome = inChild([] {
        enterPrivateNamespace(ordinaryUser);
        const rlimit limit{someKilobytes, someKilobytes};
        setrlimit(RLIMIT_MEMLOCK, &limit);
        return std::to_string(memoryOfAWaitingChecker(holdsSomething).locked);
    });
    ASSERT_EQ(outcome.status, 0);
    EXPECT_GT(std::stol(outcome.text), 0);
    EXPECT_LE(std::stol(outcome.text), 64);
}

TEST(CheckerMemory, OfTheProcessThatAsksPamHasTheseLockedToo) {
    constexpr unsigned ordinaryUser = 4003;
    const std::string locked = withPam(
        stackOf("hang"),
        [] {
            const rlimit limit{someKilobytes, someKilobytes};
            setrlimit(RLIMIT_MEMLOCK, &limit);
            return std::to_string(
                memoryOfAWaitingChecker(holdsSomething, requestFor("alice", "right")).locked);
        },
        ordinaryUser);
    EXPECT_GT(std::stol(locked), 0);
    EXPECT_LE(std::stol(locked), 64);
}

/// Whether this process may lift the limit, and has.
bool liftsTheLimit() {
    const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
    return setrlimit(RLIMIT_MEMLOCK, &none) == 0;
}

/// Whether a checker whose limit may be lifted holds most of its memory; that of another one holds
/// something. With a request it is the process that asks PAM.
std::string holdsWhatItMay(const std::string& request = {}) {
    return inChild([&] {
               const auto isAwaited = liftsTheLimit() ? holdsMost : holdsSomething;
               return withPam(stackOf("hang"), [&] {
                   const Memory memory = memoryOfAWaitingChecker(isAwaited, request);
                   return isAwaited(memory) ? std::string("yes")
                                            : std::to_string(memory.locked) + " of " +
                                                  std::to_string(memory.whole);
               });
           })
        .text;
}

TEST(CheckerMemory, IsLockedAsAWholeForWhoeverMayLiftTheLimit) {
    EXPECT_EQ(holdsWhatItMay(), "yes");
}

TEST(CheckerMemory, OfTheProcessThatAsksPamIsSoToo) {
    EXPECT_EQ(holdsWhatItMay(requestFor("alice", "right")), "yes");
}

TEST(CheckerMemory, OfTheServiceHasNoLimit) {
    std::ifstream unit(CHECKPASS_UNIT);
    const std::string text((std::istreambuf_iterator<char>(unit)),
                           std::istreambuf_iterator<char>());
    EXPECT_NE(text.find("\nLimitMEMLOCK=infinity\n"), std::string::npos);
}

}  // namespace
}  // namespace velunor::testing
