#include "platform/text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
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
    for (const char* text : {"\x80",
                             "\xBF",
                             "\xBF\xBF",
                             "\xC0\x80",
                             "\xC1\xBF",
                             "\xC3",
                             "\xC3(",
                             "\xE0\x9F\xBF",
                             "\xE2\x82",
                             "\xED\xA0\x80",
                             "\xED\xAF\xBF",
                             "\xED\xB0\x80",
                             "\xED\xBF\xBF",
                             "\xF0\x8F\xBF\xBF",
                             "\xF0\x9F\x98",
                             "\xF4\x90\x80\x80",
                             "\xF5\x80\x80\x80",
                             "\xF8\xBF\xBF\xBF",
                             "\xFE",
                             "\xFF",
                             "ok\xFF",
                             "\xC3\xA9\xA9"}) {
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

struct EscapeCase {
    const char* name;
    std::string message;
    std::string record;

    /// How the test runner prints the case.
    friend void PrintTo(const EscapeCase& escape, std::ostream* out) { *out << escape.name; }
};

class OneLine : public ::testing::TestWithParam<EscapeCase> {};

TEST_P(OneLine, IsHarmless) {
    EXPECT_EQ(inOneLine(GetParam().message), GetParam().record);
}

INSTANTIATE_TEST_SUITE_P(
    Log, OneLine,
    ::testing::Values(
        EscapeCase{"PlainText", "Über 100% – ✓ 🎉", "Über 100% – ✓ 🎉"},
        EscapeCase{"LineFeed", "a\nb", "a\\nb"}, EscapeCase{"CarriageReturn", "a\rb", "a\\rb"},
        EscapeCase{"Tab", "a\tb", "a\\tb"}, EscapeCase{"Nul", std::string("a\0b", 3), "a\\u{0}b"},
        EscapeCase{"Escape", "\x1b[2J", "\\u{1B}[2J"}, EscapeCase{"Delete", "\x7f", "\\u{7F}"},
        EscapeCase{"C1Introducer", "\u009b2J", "\\u{9B}2J"},
        EscapeCase{"NextLine", "a\u0085b", "a\\u{85}b"},
        EscapeCase{"LineSeparator", "a\u2028b", "a\\u{2028}b"},
        EscapeCase{"ParagraphSeparator", "a\u2029b", "a\\u{2029}b"},
        // NOLINTNEXTLINE(misc-misleading-bidirectional): the marks are what is tested.
        EscapeCase{"MarkOfDirection", "a\u202Eb\u2066c", "a\\u{202E}b\\u{2066}c"},
        // NOLINTNEXTLINE(misc-misleading-bidirectional): the marks are what is tested.
        EscapeCase{"InvisibleMarkOfDirection", "a\u200Eb\u200Fc\u061Cd",
                   "a\\u{200E}b\\u{200F}c\\u{61C}d"},
        EscapeCase{"NeighboursOfTheMarksAreText", "\u2027\u202F\u2065\u206A",
                   "\u2027\u202F\u2065\u206A"},
        EscapeCase{"JoinersAreText", "\u200C\u200D", "\u200C\u200D"},
        EscapeCase{"LoneByteOfAC1Control", "\x9b", "\uFFFD"},
        EscapeCase{"CutSequence", "a\xE2\x80", "a\uFFFD\uFFFD"},
        EscapeCase{"LineFeedInsideOfASequence", "\xE2\n\x80", "\uFFFD\\n\uFFFD"}),
    [](const auto& information) { return std::string(information.param.name); });

TEST(OneLineOfALog, EscapesControlCharactersAsAListDoes) {
    for (char32_t code = 0; code < 0x20U; ++code) {
        const std::vector<std::string> list{encodedUtf8(code)};
        EXPECT_EQ("[\"" + inOneLine(list.front()) + "\"]", listDescription(list));
    }
}

TEST(OneLineOfJson, StaysTheSameValue) {
    // NOLINTNEXTLINE(misc-misleading-bidirectional): the marks are what is tested.
    EXPECT_EQ(inOneLine("{\n\t\"a\":\"\x7F\u0080\u2028\u202E\u2069\\n\u00A0\"}", EscapeStyle::json),
              "{  \"a\":\"\\u007F\\u0080\\u2028\\u202E\\u2069\\n\u00A0\"}");
}

TEST(EncodedUtf8Test, WritesEveryLength) {
    EXPECT_EQ(encodedUtf8(U'a'), "a");
    EXPECT_EQ(encodedUtf8(U'\u00e9'), "\u00e9");
    EXPECT_EQ(encodedUtf8(U'\u20ac'), "\u20ac");
    EXPECT_EQ(encodedUtf8(U'\U0001F600'), "\U0001F600");
}

TEST(FirstCodePointTest, ReadsEveryLengthAndRefusesWhatIsNotWellFormed) {
    for (const char32_t code : {U'\0', U'a', U'\u007F', U'\u0080', U'\u07FF', U'\u0800', U'\uD7FF',
                                U'\uE000', U'\uFFFF', U'\U00010000', U'\U0010FFFF'}) {
        const std::string text = encodedUtf8(code);
        const auto first = firstCodePoint(text + "rest");
        ASSERT_TRUE(first) << static_cast<std::uint32_t>(code);
        EXPECT_EQ(first->value, code);
        EXPECT_EQ(first->length, text.size());
    }
    for (const std::string_view text :
         {"\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
          "\xF4\x90\x80\x80", "\xF8", "\xE2\x82", "\xC3\x61"}) {
        EXPECT_FALSE(firstCodePoint(text));
    }
}

TEST(Utf16Test, IsReadInBothOrders) {
    using namespace std::string_view_literals;
    EXPECT_EQ(utf8FromUtf16("\0a\xD8\x3C\xDF\x89"sv, std::endian::big), "a\U0001F389");
    EXPECT_EQ(utf8FromUtf16("a\0\x3C\xD8\x89\xDF"sv, std::endian::little), "a\U0001F389");
    EXPECT_EQ(utf8FromUtf16("", std::endian::big), "");
    EXPECT_EQ(utf8FromUtf16("\0a"sv, std::endian::big), "a");
    EXPECT_FALSE(utf8FromUtf16("\0a\0"sv, std::endian::big));
    // The first pair and the last one.
    EXPECT_EQ(utf8FromUtf16("\xD8\0\xDC\0"sv, std::endian::big), "\U00010000");
    EXPECT_EQ(utf8FromUtf16("\xDB\xFF\xDF\xFF"sv, std::endian::big), "\U0010FFFF");
    for (const std::string_view half : {"\0"sv, "\xD8\0"sv, "\xDC\0"sv, "\xD8\0\0a"sv}) {
        EXPECT_FALSE(utf8FromUtf16(half, std::endian::big));
    }
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
    for (std::string_view text : {"12", "xyzw", "DE00", "D83D", "D83D\\u0041", "D83D\\n",
                                  "D83D\\nDE00", "D83D\\~DE00", "D83DxuDE00"}) {
        EXPECT_FALSE(takeEscapedCodePoint(text).has_value());
    }
}

}  // namespace
}  // namespace velunor::testing
