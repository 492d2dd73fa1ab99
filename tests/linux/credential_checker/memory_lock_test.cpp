// The checker's memory, which holds a password for a moment, is kept out of swap: the part of it
// that everybody may.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <fstream>
#include <iterator>
#include <string>

#include "tests/linux/credential_checker/checker_memory.h"
#include "tests/linux/credential_checker/checker_support.h"
#include "tests/support/forked_copy.h"

namespace velunor::testing {
namespace {

constexpr rlim_t someKilobytes = rlim_t{64} * 1024;

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

TEST(CheckerMemory, OfTheServiceHasNoLimit) {
    std::ifstream unit(CHECKPASS_UNIT);
    const std::string text((std::istreambuf_iterator<char>(unit)),
                           std::istreambuf_iterator<char>());
    EXPECT_NE(text.find("\nLimitMEMLOCK=infinity\n"), std::string::npos);
}

}  // namespace
}  // namespace velunor::testing
