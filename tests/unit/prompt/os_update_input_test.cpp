#include "prompt/os_update_input.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "tests/support/doubles/fakes.h"
#include "tests/support/doubles/recording_log.h"

namespace velunor::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class InputTest : public ::testing::Test {
  protected:
    OSUpdateInput read(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "/opt/prompt");
        return readPromptData(arguments, log, processExit);
    }

    RecordingLog log;
    ThrowingExit processExit;
};
using InputDeathTest = InputTest;

TEST_F(InputTest, CompletePromptWithCredentials) {
    const OSUpdateInput input =
        read({"OSUpdateWithCred", "macOS-14.5", "false", "30", "false", "3"});
    EXPECT_EQ(input,
              (OSUpdateInput{UpdateType::withCredentials, "macOS-14.5", false, 30, false, 3}));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(InputTest, TextsWithoutMeaningGiveTheDefaults) {
    EXPECT_EQ(read({"X", "Y", "Z", "W", "V", "U"}),
              (OSUpdateInput{UpdateType::withoutCredentials, "Y", true, 15, true, -1}));
}

TEST_F(InputTest, KindInLowerCaseIsWithoutCredentials) {
    EXPECT_EQ(read({"osupdatewithcred", "n", "true", "1", "true", "1"}).updateType,
              UpdateType::withoutCredentials);
}

TEST_F(InputTest, KindWithATrailingBlankIsWithoutCredentials) {
    EXPECT_EQ(read({"OSUpdateWithCred ", "n", "true", "1", "true", "1"}).updateType,
              UpdateType::withoutCredentials);
}

TEST_F(InputTest, EmptyTextsGiveTheDefaults) {
    EXPECT_EQ(read({"", "", "", "", "", ""}),
              (OSUpdateInput{UpdateType::withoutCredentials, "", true, 15, true, -1}));
}

TEST_F(InputTest, RecordThatNobodyHasFilledHoldsTheDefaults) {
    EXPECT_EQ(OSUpdateInput{}, read({"", "", "", "", "", ""}));
}

TEST_F(InputTest, OnlyLowerCaseFalseIsFalse) {
    for (const char* text : {"FALSE", "False", "0", "no", " false", "false "}) {
        const OSUpdateInput input = read({"k", "n", text, "1", text, "1"});
        EXPECT_TRUE(input.defaultToProceed) << text;
        EXPECT_TRUE(input.isPosponeButtonDisabled) << text;
    }
    const OSUpdateInput input = read({"k", "n", "false", "1", "false", "1"});
    EXPECT_FALSE(input.defaultToProceed);
    EXPECT_FALSE(input.isPosponeButtonDisabled);
}

TEST_F(InputTest, PostponeCountZeroIsKept) {
    EXPECT_EQ(read({"k", "n", "true", "1", "true", "0"}).remainingPostponeCount, 0);
}

TEST_F(InputTest, NegativePostponeCountIsKept) {
    EXPECT_EQ(read({"k", "n", "true", "1", "true", "-5"}).remainingPostponeCount, -5);
}

TEST_F(InputTest, PostponeCountThatIsNoNumberIsUnknown) {
    EXPECT_EQ(read({"k", "n", "true", "1", "true", "abc"}).remainingPostponeCount, -1);
}

TEST_F(InputTest, NegativeAndZeroTimersAreKept) {
    EXPECT_EQ(read({"k", "n", "true", "-3", "true", "1"}).timer, -3);
    EXPECT_EQ(read({"k", "n", "true", "0", "true", "1"}).timer, 0);
}

TEST_F(InputTest, ArgumentsAfterTheSixthAreIgnored) {
    EXPECT_EQ(read({"k", "n", "true", "1", "true", "1", "more", "and more"}).timer, 1);
}

TEST_F(InputTest, FourElementsAndFewerEndWithStatus1) {
    for (std::size_t count = 0; count <= 4; ++count) {
        RecordingLog own;
        const std::vector<std::string> arguments(count, "x");
        int status = -1;
        try {
            static_cast<void>(readPromptData(arguments, own, processExit));
        } catch (const ExitCalled& exit) {
            status = exit.status;
        }
        EXPECT_EQ(status, 1) << count;
        EXPECT_THAT(own.lines(), ElementsAre("Args are less")) << count;
    }
}

TEST_F(InputDeathTest, FiveElementsAreAFatalStopWithoutAMessage) {
    EXPECT_EXIT(static_cast<void>(read({"k", "n", "true", "1"})),
                ::testing::KilledBySignal(SIGABRT), "^$");
}

TEST_F(InputDeathTest, SixElementsAreAFatalStopWithoutAMessage) {
    EXPECT_EXIT(static_cast<void>(read({"k", "n", "true", "1", "true"})),
                ::testing::KilledBySignal(SIGABRT), "^$");
}

TEST(UpdateTypeTest, HasTheStatedOrderAndDescriptions) {
    EXPECT_EQ(static_cast<int>(UpdateType::withoutCredentials), 0);
    EXPECT_EQ(static_cast<int>(UpdateType::withCredentials), 1);
    EXPECT_EQ(sizeof(UpdateType), 1U);
    EXPECT_EQ(description(UpdateType::withoutCredentials), "Without Credentials");
    EXPECT_EQ(description(UpdateType::withCredentials), "With Credentials");
}

struct IntegerCase {
    const char* name;
    std::string text;
    std::optional<std::int64_t> value;
};

/// Names the case in test output; its bytes say nothing.
void PrintTo(const IntegerCase& integer, std::ostream* out) {
    *out << integer.name;
}

class IntegerTest : public ::testing::TestWithParam<IntegerCase> {};

TEST_P(IntegerTest, ParsesAsStated) {
    EXPECT_EQ(parseInteger(GetParam().text), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Parsing, IntegerTest,
    ::testing::Values(
        IntegerCase{"PlusSign", "+20", 20}, IntegerCase{"MinusSign", "-3", -3},
        IntegerCase{"TrailingBlank", "20 ", std::nullopt},
        IntegerCase{"LeadingBlank", " 20", std::nullopt}, IntegerCase{"Empty", "", std::nullopt},
        IntegerCase{"TwentyDigits", "12345678901234567890", std::nullopt},
        IntegerCase{"LeadingZeros", "0000000000000000000000015", 15},
        IntegerCase{"Greatest", "9223372036854775807", std::numeric_limits<std::int64_t>::max()},
        IntegerCase{"OneTooGreat", "9223372036854775808", std::nullopt},
        IntegerCase{"Lowest", "-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
        IntegerCase{"OneTooLow", "-9223372036854775809", std::nullopt},
        IntegerCase{"SignAlone", "-", std::nullopt}, IntegerCase{"PlusAlone", "+", std::nullopt},
        IntegerCase{"TwoSigns", "--3", std::nullopt},
        IntegerCase{"MixedSigns", "+-3", std::nullopt},
        IntegerCase{"SignBehind", "3-", std::nullopt}, IntegerCase{"Fraction", "1.5", std::nullopt},
        IntegerCase{"Hexadecimal", "0x10", std::nullopt},
        IntegerCase{"Exponent", "1e3", std::nullopt}, IntegerCase{"Grouped", "1,000", std::nullopt},
        IntegerCase{"OtherScriptsDigits", "\u0661\u0662", std::nullopt},
        IntegerCase{"NewlineBehind", "5\n", std::nullopt},
        IntegerCase{"NulInside", std::string("1\0", 2), std::nullopt},
        IntegerCase{"MinusZero", "-0", 0}, IntegerCase{"Zero", "0", 0}),
    [](const auto& integer) { return integer.param.name; });

}  // namespace
}  // namespace velunor::testing
