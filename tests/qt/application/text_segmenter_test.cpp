#include "platform/qt/application/text_segmenter.h"

#include <gtest/gtest.h>

namespace velunor {
namespace {

std::size_t count(const char* text) {
    return QtTextSegmenter().characterCount(text);
}

TEST(TextSegmenterTest, CountsNothingInAnEmptyText) {
    EXPECT_EQ(count(""), 0U);
}

TEST(TextSegmenterTest, CountsDigitsOneByOne) {
    EXPECT_EQ(count("120"), 3U);
}

TEST(TextSegmenterTest, CountsABaseAndItsMarksAsOne) {
    EXPECT_EQ(count("e\u0301\u0323x"), 2U);
}

TEST(TextSegmenterTest, CountsALineEndOfTwoUnitsAsOne) {
    EXPECT_EQ(count("a\r\nb"), 3U);
}

TEST(TextSegmenterTest, CountsACharacterBeyondTheFirstPlaneAsOne) {
    EXPECT_EQ(count("\U0001F600"), 1U);
}

TEST(TextSegmenterTest, CountsAnEmojiOfSeveralPeopleAsOne) {
    EXPECT_EQ(count("\U0001F469\u200D\U0001F469\u200D\U0001F467"), 1U);
}

TEST(TextSegmenterTest, CountsAnEmojiWithASkinToneAsOne) {
    EXPECT_EQ(count("\U0001F44D\U0001F3FD"), 1U);
}

TEST(TextSegmenterTest, CountsFlagsByPairs) {
    EXPECT_EQ(count("\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7"), 2U);
}

TEST(TextSegmenterTest, CountsAHangulSyllableOfThreeLettersAsOne) {
    EXPECT_EQ(count("\u1112\u1161\u11AB"), 1U);
}

}  // namespace
}  // namespace velunor
