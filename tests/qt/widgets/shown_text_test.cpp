#include "platform/qt/widgets/shown_text.h"

#include <QFontInfo>
#include <QGuiApplication>
#include <vector>

#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

TextAttributes bold() {
    return {FontWeight::bold, 17.0, TextColor::standard};
}

TEST(ShownTextTest, StylesTheGivenUnitsOfEachRun) {
    const ShownText shown =
        shownText({{"in ", std::nullopt, 0}, {"15", bold(), 2}, {" min", std::nullopt, 0}});

    EXPECT_EQ(shown.text, "in 15 min");
    ASSERT_EQ(shown.formats.size(), 1);
    EXPECT_EQ(shown.formats.at(0).start, 3);
    EXPECT_EQ(shown.formats.at(0).length, 2);
    EXPECT_EQ(shown.formats.at(0).format.fontWeight(), QFont::Bold);
    const double desktopSize = QFontInfo(QGuiApplication::font()).pointSizeF();
    EXPECT_DOUBLE_EQ(shown.formats.at(0).format.fontPointSize(), desktopSize * 17 / 13);
}

TEST(ShownTextTest, HasTheWeightOfEachRun) {
    const TextAttributes regular{FontWeight::regular, 13.0, TextColor::standard};
    const ShownText shown = shownText({{"a", regular, 1}, {"b", bold(), 1}});
    ASSERT_EQ(shown.formats.size(), 2);
    EXPECT_EQ(shown.formats.at(0).format.fontWeight(), QFont::Normal);
    EXPECT_EQ(shown.formats.at(1).format.fontWeight(), QFont::Bold);
    EXPECT_EQ(shown.formats.at(1).start, 1);
}

TEST(ShownTextTest, WidensAStyleThatWouldCutASurrogatePair) {
    const ShownText shown = shownText({{"\U0001F600\U0001F601", bold(), 1}});

    ASSERT_EQ(shown.formats.size(), 1);
    EXPECT_EQ(shown.formats.at(0).length, 2);
}

TEST(ShownTextTest, KeepsAStyleThatEndsBetweenCodePoints) {
    const ShownText shown = shownText({{"\U0001F600\U0001F601", bold(), 2}});

    ASSERT_EQ(shown.formats.size(), 1);
    EXPECT_EQ(shown.formats.at(0).length, 2);
}

TEST(ShownTextTest, StylesOnlyTheFirstPartOfACombinedCharacter) {
    // One perceived character of two units, styled over one of them.
    const ShownText shown = shownText({{"e\u0301", bold(), 1}});

    ASSERT_EQ(shown.formats.size(), 1);
    EXPECT_EQ(shown.formats.at(0).length, 1);
}

TEST(ShownTextTest, CutsAStyleLongerThanItsRunAtTheRunsEnd) {
    const ShownText shown = shownText({{"4", bold(), 9}, {" left", std::nullopt, 0}});

    ASSERT_EQ(shown.formats.size(), 1);
    EXPECT_EQ(shown.formats.at(0).length, 1);
}

TEST(ShownTextTest, HasNoStyleForAnEmptyRun) {
    const ShownText shown = shownText({{"", bold(), 0}});

    EXPECT_TRUE(shown.text.isEmpty());
    EXPECT_TRUE(shown.formats.isEmpty());
}

TEST(BoundedTextTest, LeavesATextOfTheLimitAlone) {
    const QString most(mostUnits, 'w');
    EXPECT_EQ(boundedText({most, {}}).text, most);
    const QString lines = QString("\r\n").repeated(mostParagraphs - 1) + "last";
    EXPECT_EQ(boundedText({lines, {}}).text, lines);
}

TEST(BoundedTextTest, EndsALongerTextWithAnEllipsis) {
    const QString text(mostUnits + 1, 'w');
    EXPECT_EQ(boundedText({text, {}}).text, QString(mostUnits, 'w') + "\u2026");
}

TEST(BoundedTextTest, EndsAfterTheMostParagraphs) {
    const QString line("a\n");
    EXPECT_EQ(boundedText({line.repeated(1000), {}}).text,
              line.repeated(mostParagraphs - 1) + "a\u2026");
}

TEST(BoundedTextTest, KeepsSurrogatesAndCombinedCharactersTogether) {
    const QString before(mostUnits - 1, 'w');
    EXPECT_EQ(boundedText({before + "\U0001F600", {}}).text, before + "\u2026");
    EXPECT_EQ(boundedText({before + "e\u0301", {}}).text, before + "\u2026");
}

TEST(BoundedTextTest, CutsTheFormatsWithTheText) {
    const QTextLayout::FormatRange whole{0, 5, {}};
    const QTextLayout::FormatRange cut{static_cast<int>(mostUnits) - 2, 10, {}};
    const ShownText bounded = boundedText({QString(mostUnits + 10, 'w'), {whole, cut}});
    ASSERT_EQ(bounded.formats.size(), 2);
    EXPECT_EQ(bounded.formats.at(0), whole);
    EXPECT_EQ(bounded.formats.at(1).length, 2);
}

TEST(LineBreakTest, IsOneSignOrACarriageReturnWithItsLineFeed) {
    const QStringView text = u"a\r\n\n\rb\u2028\u2029";
    const std::vector<qsizetype> expected{0, 2, 1, 1, 1, 0, 1, 1};
    std::vector<qsizetype> found;
    for (qsizetype index = 0; index < text.size(); ++index) {
        found.push_back(lineBreakAt(text, index));
    }
    EXPECT_EQ(found, expected);
}

TEST(FormatsWithinTest, AreCutAtBothEndsAndCountedFromTheFirst) {
    using Formats = QList<QTextLayout::FormatRange>;
    const Formats all{{0, 2, {}}, {2, 5, {}}, {7, 3, {}}};
    EXPECT_EQ(formatsWithin(all, 3, 8), (Formats{{0, 4, {}}, {4, 1, {}}}));
    // Those that only touch an end are not within.
    EXPECT_EQ(formatsWithin(all, 2, 7), (Formats{{0, 5, {}}}));
    EXPECT_EQ(formatsWithin(all, 5, 5), Formats());
}

}  // namespace
}  // namespace velunor
