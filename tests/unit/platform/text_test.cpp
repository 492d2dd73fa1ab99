#include "platform/text.h"

#include <gtest/gtest.h>

#include <vector>

namespace velunor::testing {
namespace {

TEST(Utf8Test, AcceptsEveryLength) {
    for (const char* text : {"", "a", "\x7F", "\u0080", "\u07FF", "\u0800", "\uD7FF", "\uE000",
                             "\uFFFF", "\U00010000", "\U0010FFFF"}) {
        EXPECT_TRUE(isValidUtf8(text)) << text;
    }
    EXPECT_TRUE(isValidUtf8({"a\0b", 3}));
}

TEST(Utf8Test, RefusesWhatIsMalformed) {
    for (const char* text :
         {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC3", "\xC3(", "\xE0\x9F\xBF", "\xE2\x82",
          "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x8F\xBF\xBF", "\xF0\x9F\x98", "\xF4\x90\x80\x80",
          "\xF5\x80\x80\x80", "\xFE", "\xFF", "ok\xFF", "\xC3\xA9\xA9"}) {
        EXPECT_FALSE(isValidUtf8(text)) << text;
    }
}

TEST(ListDescriptionTest, PrintsBracketsQuotesAndCommas) {
    EXPECT_EQ(listDescription({}), "[]");
    EXPECT_EQ(listDescription(std::vector<std::string>{"a"}), R"(["a"])");
    EXPECT_EQ(listDescription(std::vector<std::string>{"a", "", "b c"}), R"(["a", "", "b c"])");
}

TEST(ListDescriptionTest, EscapesInsideAnElement) {
    EXPECT_EQ(listDescription(std::vector<std::string>{"\"\\\n\r\t", std::string("\0\x1B\x7F", 3)}),
              R"(["\"\\\n\r\t", "\u{0}\u{1B}\u{7F}"])");
}

TEST(ListDescriptionTest, LeavesOtherScriptsAlone) {
    EXPECT_EQ(listDescription(std::vector<std::string>{"Zoë"}), "[\"Zoë\"]");
}

TEST(DecimalTest, HasNoLeadingZeros) {
    EXPECT_EQ(decimal(0), "0");
    EXPECT_EQ(decimal(5), "5");
    EXPECT_EQ(decimal(-3), "-3");
    EXPECT_EQ(decimal(120), "120");
}

TEST(EncodedUtf8Test, WritesEveryLength) {
    EXPECT_EQ(encodedUtf8(U'a'), "a");
    EXPECT_EQ(encodedUtf8(U'\u00e9'), "\u00e9");
    EXPECT_EQ(encodedUtf8(U'\u20ac'), "\u20ac");
    EXPECT_EQ(encodedUtf8(U'\U0001F600'), "\U0001F600");
}

TEST(EscapedCodePointTest, TakesOneUnitOrAPair) {
    std::string_view text = "00e9rest";
    EXPECT_EQ(takeEscapedCodePoint(text), U'\u00e9');
    EXPECT_EQ(text, "rest");
    text = "D83D\\uDE00!";
    EXPECT_EQ(takeEscapedCodePoint(text), U'\U0001F600');
    EXPECT_EQ(text, "!");
}

TEST(EscapedCodePointTest, RefusesHalvesAndShortOnes) {
    for (std::string_view text : {"12", "xyzw", "DE00", "D83D", "D83D\\u0041", "D83D\\n"}) {
        EXPECT_FALSE(takeEscapedCodePoint(text).has_value());
    }
}

}  // namespace
}  // namespace velunor::testing
