// The checker's memory, which holds a password for a moment, is kept out of swap as a whole where
// its limit may be lifted, as root may on most machines.

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

#include "tests/linux/credential_checker/checker_memory.h"
#include "tests/linux/credential_checker/checker_support.h"
#include "tests/support/forked_copy.h"

namespace velunor::testing {
namespace {

/// Has the kernel say that the limit is lifted, here and in what is started, on a machine that lets
/// nobody lift it. Root needs no more: it may lock what there is under any limit. The filter sees
/// the lower half of each argument.
bool isToldThatTheLimitIsLifted() {
    constexpr std::uint32_t load = BPF_LD | BPF_W | BPF_ABS;
    constexpr std::uint32_t equal = BPF_JMP | BPF_JEQ | BPF_K;
    constexpr std::uint32_t end = BPF_RET | BPF_K;
    std::array<sock_filter, 8> steps{
        {BPF_STMT(load, offsetof(seccomp_data, nr)), BPF_JUMP(equal, SYS_prlimit64, 0, 4),
         BPF_STMT(load, offsetof(seccomp_data, args[1])), BPF_JUMP(equal, RLIMIT_MEMLOCK, 0, 2),
         // Who hands in no new limit asks for the present one.
         BPF_STMT(load, offsetof(seccomp_data, args[2])), BPF_JUMP(equal, 0, 0, 1),
         BPF_STMT(end, SECCOMP_RET_ALLOW),
         // Nothing is done, and the error is none.
         BPF_STMT(end, SECCOMP_RET_ERRNO | 0U)}};
    const sock_fprog filter{steps.size(), steps.data()};
    return prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

/// Whether all memory may be locked, now that the limit is lifted.
bool mayLockEverything() {
    const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
    return (setrlimit(RLIMIT_MEMLOCK, &none) == 0 || isToldThatTheLimitIsLifted()) &&
           mlockall(MCL_CURRENT) == 0;
}

/// Whether a checker that may lock everything holds most of its memory; another one holds
/// something. With a request it is the process that asks PAM.
std::string holdsWhatItMay(const std::string& request = {}) {
    std::ofstream("/etc/pam.d/velunor-osupdate") << stackOf("hang") << std::flush;
    return inChild([&] {
               const auto isAwaited = mayLockEverything() ? holdsMost : holdsSomething;
               const Memory memory = memoryOfAWaitingChecker(isAwaited, request);
               return isAwaited(memory)
                          ? std::string("yes")
                          : std::to_string(memory.locked) + " of " + std::to_string(memory.whole);
           })
        .text;
}

TEST(CheckerMemory, IsLockedAsAWholeForWhoeverMayLiftTheLimit) {
    EXPECT_EQ(holdsWhatItMay(), "yes");
}

TEST(CheckerMemory, OfTheProcessThatAsksPamIsSoToo) {
    EXPECT_EQ(holdsWhatItMay(requestFor("alice", "right")), "yes");
}

}  // namespace
}  // namespace velunor::testing
