#include "tests/unit/window/prompt_fixture.h"

namespace velunor::testing {
namespace {

using ::testing::ElementsAre;

const TextAttributes bold{FontWeight::bold, 17.0, TextColor::standard};

TextRun plain(const std::string& text) {
    return {text, std::nullopt, 0};
}

TextRun value(const std::string& text, std::size_t styledLength) {
    return {text, bold, styledLength};
}

class StyledText : public PromptFixture {
  protected:
    AttributedString build(std::string_view templateText, const std::vector<std::string>& values) {
        makeController({});
        return controller->buildAttributedUpdateString(templateText, values);
    }
};

TEST_F(StyledText, TwoPlaceholdersTakeTwoValues) {
    EXPECT_THAT(
        build("%s min %s sec", {"4", "5"}),
        ElementsAre(plain(""), value("4", 1), plain(" min "), value("5", 1), plain(" sec")));
}

TEST_F(StyledText, SurplusValueIsAppendedAtTheEnd) {
    EXPECT_THAT(build("Restart in %s", {"4", "5"}),
                ElementsAre(plain("Restart in "), value("4", 1), plain(""), value("5", 1)));
}

TEST_F(StyledText, PlaceholdersWithoutAValueDisappear) {
    EXPECT_THAT(build("%s:%s:%s", {"3"}),
                ElementsAre(plain(""), value("3", 1), plain(":"), plain(":"), plain("")));
}

TEST_F(StyledText, TemplateWithoutPlaceholderTakesTheFirstValueOnly) {
    EXPECT_THAT(build("Soon", {"4", "5"}), ElementsAre(plain("Soon"), value("4", 1)));
}

TEST_F(StyledText, EmptyTemplateGivesTheFirstValueOnly) {
    EXPECT_THAT(build("", {"4", "5"}), ElementsAre(plain(""), value("4", 1)));
}

TEST_F(StyledText, AdjacentPlaceholdersGiveEmptySegments) {
    EXPECT_THAT(build("%s%s", {"1", "2"}),
                ElementsAre(plain(""), value("1", 1), plain(""), value("2", 1), plain("")));
}

TEST_F(StyledText, OtherFormatSignsAreLiteral) {
    EXPECT_THAT(build("%d %1$s %%s %S", {"7"}),
                ElementsAre(plain("%d %1$s %"), value("7", 1), plain(" %S")));
}

TEST_F(StyledText, NoValuesLeaveTheSegments) {
    EXPECT_THAT(build("a%sb", {}), ElementsAre(plain("a"), plain("b")));
}

TEST_F(StyledText, StylingCoversAsManyUnitsAsTheValueHasCharacters) {
    const std::string flag = "\U0001F1E9\U0001F1EA";
    segmenter.counts[flag] = 1;
    EXPECT_THAT(build("%s", {flag}), ElementsAre(plain(""), value(flag, 1), plain("")));
}

TEST_F(StyledText, PlainTextJoinsTheRuns) {
    EXPECT_EQ(plainText(build("%s min %s sec", {"4", "5"})), "4 min 5 sec");
}

}  // namespace
}  // namespace velunor::testing
