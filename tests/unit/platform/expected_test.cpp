#include "platform/expected.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <optional>

namespace velunor {
namespace {

Expected<int> half(int number) {
    if (number % 2 != 0) {
        return Error{"odd"};
    }
    return number / 2;
}

struct Reason {
    int code = 0;
};

TEST(ExpectedTest, HoldsTheValue) {
    const auto result = half(8);
    EXPECT_TRUE(result);
    EXPECT_TRUE(result.has_value());
    EXPECT_EQ(*result, 4);
}

TEST(ExpectedTest, HoldsTheError) {
    const auto result = half(7);
    EXPECT_FALSE(result);
    EXPECT_FALSE(result.has_value());
    EXPECT_EQ(result.error(), Error{"odd"});
}

TEST(ExpectedTest, ValueCanBeChangedInPlace) {
    Expected<std::string> text = "one";
    *text += " line";
    EXPECT_EQ(text->size(), 8U);
    EXPECT_EQ(*text, "one line");
}

TEST(ExpectedTest, ValueCanBeTakenOut) {
    Expected<std::unique_ptr<int>> number = std::make_unique<int>(5);
    const std::unique_ptr<int> taken = *std::move(number);
    EXPECT_EQ(*taken, 5);
    EXPECT_EQ(*number, nullptr);  // NOLINT(bugprone-use-after-move): the state is what is tested.
}

TEST(ExpectedTest, ErrorCanBeOfAnotherTypeAndTakenOut) {
    Expected<std::string, std::unique_ptr<Reason>> failed = std::make_unique<Reason>(Reason{3});
    ASSERT_FALSE(failed);
    EXPECT_EQ(std::move(failed).error()->code, 3);
}

TEST(ExpectedTest, NothingIsAValueOfAnOptional) {
    const Expected<std::optional<int>> nothing = std::optional<int>();
    EXPECT_TRUE(nothing);
    EXPECT_FALSE(*nothing);
}

TEST(ExpectedTest, TextIsAValueAndNotAnError) {
    const Expected<std::string> text = std::string("text");
    ASSERT_TRUE(text);
    EXPECT_EQ(*text, "text");
}

TEST(ExpectedDeathTest, WhatIsNotThereEndsTheProcess) {
    EXPECT_EXIT(static_cast<void>(*half(7)), ::testing::KilledBySignal(SIGABRT), "^$");
    EXPECT_EXIT(static_cast<void>(half(8).error()), ::testing::KilledBySignal(SIGABRT), "^$");
}

}  // namespace
}  // namespace velunor
