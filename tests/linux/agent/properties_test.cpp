// Property files.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/linux/texts.h"

namespace velunor::testing {
namespace {

using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

Properties parse(std::string_view text) {
    auto result = parseProperties(text, "F");
    EXPECT_TRUE(result) << result.error().description;
    return result ? *std::move(result) : Properties();
}

std::string errorOf(std::string_view text) {
    const auto result = parseProperties(text, "F");
    return result ? "none" : result.error().description;
}

TEST(AgentProperties, EmptyFileHasNoPairs) {
    EXPECT_THAT(parse(""), IsEmpty());
}

TEST(AgentProperties, KeyAndTextAreSeparatedByEqualsColonOrBlank) {
    EXPECT_THAT(parse("a = 1\nb: 2\nc 3\nd=4\n  e\t=\t5\n"),
                UnorderedElementsAre(Pair("a", "1"), Pair("b", "2"), Pair("c", "3"), Pair("d", "4"),
                                     Pair("e", "5")));
}

TEST(AgentProperties, TildesArePlainText) {
    EXPECT_THAT(parse("a~b = ~c~d~\n~e = 1\n"),
                UnorderedElementsAre(Pair("a~b", "~c~d~"), Pair("~e", "1")));
}

TEST(AgentProperties, KeyMayBeEmpty) {
    EXPECT_THAT(parse("= 1\n"), UnorderedElementsAre(Pair("", "1")));
}

TEST(AgentProperties, TextKeepsLaterSeparatorsAndBlanksAtItsEnd) {
    EXPECT_THAT(parse("a = b = c : d \n"), UnorderedElementsAre(Pair("a", "b = c : d ")));
}

TEST(AgentProperties, KeyWithoutTextHasAnEmptyText) {
    EXPECT_THAT(parse("a\nb =\n"), UnorderedElementsAre(Pair("a", ""), Pair("b", "")));
}

TEST(AgentProperties, CommentsAndBlankLinesAreSkipped) {
    EXPECT_THAT(parse("# a = 1\n  ! b = 2\n\n \t\nc = 3 # not a comment\n"),
                UnorderedElementsAre(Pair("c", "3 # not a comment")));
}

TEST(AgentProperties, CommentIsNotContinued) {
    EXPECT_THAT(parse("# comment \\\na = 1\n"), UnorderedElementsAre(Pair("a", "1")));
}

TEST(AgentProperties, EscapesStandForTheirCharacters) {
    EXPECT_THAT(parse(R"(a = one\ttwo\nthree\\four\rfive\ffix\"x)"),
                UnorderedElementsAre(Pair("a", "one\ttwo\nthree\\four\rfive\ffix\"x")));
}

TEST(AgentProperties, EscapedSeparatorsBelongToTheKey) {
    EXPECT_THAT(parse(R"(a\ b\=c\:d = 1)"), UnorderedElementsAre(Pair("a b=c:d", "1")));
}

TEST(AgentProperties, UnicodeEscapesStandForTheirCharacters) {
    EXPECT_THAT(parse(R"(a = gr\u00fcn \ud83d\ude00)"),
                UnorderedElementsAre(Pair("a", "gr\u00fcn \U0001F600")));
}

TEST(AgentProperties, MalformedUnicodeEscapeIsAnErrorThatNamesTheLine) {
    EXPECT_EQ(errorOf("a = 1\nb = \\u12\n"), R"(F:2: malformed "\u" escape)");
    EXPECT_EQ(errorOf("a = \\uzzzz"), R"(F:1: malformed "\u" escape)");
    EXPECT_EQ(errorOf("a = x\\\n  y\n\nb = \\ud800 alone"), R"(F:4: malformed "\u" escape)");
}

TEST(AgentProperties, LineEndingInABackslashGoesOnWithoutTheNextLinesIndent) {
    EXPECT_THAT(parse("a = one \\\n    two \\\r\n\tthree\nb = 1\n"),
                UnorderedElementsAre(Pair("a", "one two three"), Pair("b", "1")));
}

TEST(AgentProperties, LineOfABackslashAloneGoesOn) {
    EXPECT_THAT(parse("\\\n  a = 1\n"), UnorderedElementsAre(Pair("a", "1")));
}

TEST(AgentProperties, EscapedBackslashAtTheEndDoesNotContinue) {
    EXPECT_THAT(parse("a = one\\\\\nb = two\\\\\\\n  three\n"),
                UnorderedElementsAre(Pair("a", "one\\"), Pair("b", "two\\three")));
}

TEST(AgentProperties, BackslashAtTheEndOfTheFileIsDropped) {
    EXPECT_THAT(parse("a = one\\"), UnorderedElementsAre(Pair("a", "one")));
}

TEST(AgentProperties, AllLineEndsAreTaken) {
    EXPECT_THAT(
        parse("a=1\r\nb=2\rc=3\nd=4"),
        UnorderedElementsAre(Pair("a", "1"), Pair("b", "2"), Pair("c", "3"), Pair("d", "4")));
}

TEST(AgentProperties, LaterPairWinsOverAnEarlierOne) {
    EXPECT_THAT(parse("a = 1\na = 2\n"), UnorderedElementsAre(Pair("a", "2")));
}

TEST(AgentProperties, ByteOrderMarkIsSkipped) {
    EXPECT_THAT(parse("\xEF\xBB\xBF"
                      "a = 1\n"),
                UnorderedElementsAre(Pair("a", "1")));
}

TEST(AgentProperties, TextOtherThanUtf8IsAnError) {
    EXPECT_EQ(errorOf("a = gr\xFCn\n"), "F: is not UTF-8");
}

}  // namespace
}  // namespace velunor::testing
