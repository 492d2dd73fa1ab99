#include <gtest/gtest.h>

#include <limits>

#include "platform/fatal_stop.h"

namespace velunor::testing {
namespace {

constexpr auto greatest = std::numeric_limits<std::int64_t>::max();
constexpr auto lowest = std::numeric_limits<std::int64_t>::min();

TEST(FatalStopDeathTest, EndsTheProcessWithoutAMessage) {
    EXPECT_EXIT(fatalStop(), ::testing::KilledBySignal(SIGABRT), "^$");
}

TEST(CheckedArithmeticTest, GivesTheResultThatFits) {
    EXPECT_EQ(multiplied(15, 60), 900);
    EXPECT_EQ(added(1, -1), 0);
    EXPECT_EQ(orFatalStop(added(greatest, -1)), greatest - 1);
}

TEST(CheckedArithmeticTest, GivesNoneForAnOverflow) {
    EXPECT_FALSE(multiplied(greatest, 2).has_value());
    EXPECT_FALSE(multiplied(lowest, -1).has_value());
    EXPECT_FALSE(added(greatest, 1).has_value());
    EXPECT_FALSE(added(lowest, -1).has_value());
}

TEST(CheckedArithmeticDeathTest, OverflowOfTheDecrementIsAFatalStop) {
    EXPECT_EXIT(static_cast<void>(orFatalStop(added(lowest, -1))),
                ::testing::KilledBySignal(SIGABRT), "^$");
}

TEST(WeakReferenceTest, ReachesItsTarget) {
    int target = 5;
    WeakReference<int> reference;
    EXPECT_FALSE(reference.isConnected());
    reference.connect(&target);
    ASSERT_TRUE(reference.isConnected());
    EXPECT_EQ(*reference, 5);
}

TEST(WeakReferenceDeathTest, UseOfAnEmptyOneIsAFatalStop) {
    const WeakReference<int> reference;
    EXPECT_EXIT(static_cast<void>(*reference), ::testing::KilledBySignal(SIGABRT), "^$");
}

}  // namespace
}  // namespace velunor::testing
