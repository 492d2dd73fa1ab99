// Property files and the choice of the language.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/linux/properties.h"
#include "tests/linux/agent_support.h"

namespace velunor::testing {
namespace {

using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

Properties parse(std::string_view text) {
    auto result = parseProperties(text, "F");
    const auto* error = std::get_if<PropertiesError>(&result);
    EXPECT_EQ(error, nullptr) << error->description;
    return error == nullptr ? std::get<Properties>(std::move(result)) : Properties();
}

std::string errorOf(std::string_view text) {
    const auto result = parseProperties(text, "F");
    const auto* error = std::get_if<PropertiesError>(&result);
    return error == nullptr ? "none" : error->description;
}

TEST(AgentProperties, EmptyFileHasNoPairs) {
    EXPECT_THAT(parse(""), IsEmpty());
}

TEST(AgentProperties, KeyAndTextAreSeparatedByEqualsColonOrBlank) {
    EXPECT_THAT(parse("a = 1\nb: 2\nc 3\nd=4\n  e\t=\t5\n"),
                UnorderedElementsAre(Pair("a", "1"), Pair("b", "2"), Pair("c", "3"), Pair("d", "4"),
                                     Pair("e", "5")));
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

TEST(AgentProperties, ShippedEnglishHasTheTenKeysAndNoOther) {
    const Properties texts = parse(readFile(SHIPPED_TEXTS "/application_en.properties"));
    const std::string prefix = "tarn.agent.msghand.";
    std::vector<std::string> keys;
    for (const auto& [key, text] : texts) {
        keys.push_back(key);
    }
    EXPECT_THAT(
        keys, ::testing::UnorderedElementsAre(
                  prefix + "os_reboot.reboot_title", prefix + "os_reboot.reboot_text",
                  prefix + "os_reboot.credentials_text", prefix + "os_reboot.change_username_text",
                  prefix + "os_reboot.credentials_not_sufficient", prefix + "postpone",
                  prefix + "update_now", prefix + "remaining_attempts",
                  prefix + "automatic_install_text", prefix + "automatic_postpone_text"));
}

struct LanguageCase {
    const char* name;
    const char* language;
    const char* lcAll;
    const char* lcMessages;
    const char* lang;
    std::vector<std::string> expected;
};

void PrintTo(const LanguageCase& value, std::ostream* out) {
    *out << value.name;
}

class PreferredLanguages : public ::testing::TestWithParam<LanguageCase> {};

TEST_P(PreferredLanguages, FollowTheSession) {
    const LanguageCase& session = GetParam();
    EXPECT_EQ(preferredLanguages(session.language, session.lcAll, session.lcMessages, session.lang),
              session.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Session, PreferredLanguages,
    ::testing::Values(
        LanguageCase{"NothingSet", "", "", "", "", {}},
        LanguageCase{"LangAlone", "", "", "", "de_CH.UTF-8", {"de_CH", "de"}},
        LanguageCase{"RegionFallsBack", "", "", "", "pt_BR", {"pt_BR", "pt"}},
        LanguageCase{"ModifierIsDropped", "", "", "", "de_DE@euro", {"de_DE", "de"}},
        LanguageCase{"MessagesOverLang", "", "", "fr_FR.UTF-8", "de_DE", {"fr_FR", "fr"}},
        LanguageCase{"AllOverMessages", "", "it_IT", "fr_FR", "de_DE", {"it_IT", "it"}},
        LanguageCase{"LanguageListOverAll",
                     "sv:nb_NO",
                     "it_IT",
                     "",
                     "",
                     {"sv", "nb_NO", "nb", "it_IT", "it"}},
        LanguageCase{"EmptyListElements", ":de::", "", "", "fr", {"de", "fr"}},
        LanguageCase{
            "RepeatedLanguages", "de_DE:de:de_AT", "", "", "de_DE", {"de_DE", "de", "de_AT"}},
        LanguageCase{"ScriptSubtag", "", "", "", "zh_Hans_CN", {"zh_Hans_CN", "zh_Hans", "zh"}},
        LanguageCase{"StandardLocale", "", "", "", "C", {}},
        LanguageCase{"StandardLocaleWithEncoding", "", "C.UTF-8", "", "de_DE", {}},
        LanguageCase{"PosixLocale", "", "", "", "POSIX", {}},
        LanguageCase{"LanguageIgnoredInStandardLocale", "de", "", "", "C", {}},
        LanguageCase{"LanguageIgnoredWithoutLocale", "de", "", "", "", {}},
        LanguageCase{"PathInLang", "", "", "", "../../etc/x", {}},
        LanguageCase{"PathInLanguage", "../../etc/x:de", "", "", "fr", {"de", "fr"}},
        LanguageCase{"AbsolutePath", "", "", "", "/etc/passwd", {}}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace velunor::testing
