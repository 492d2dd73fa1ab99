#include "platform/qt/widgets/literal_text.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QGuiApplication>

#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

constexpr int lineWidth = 300;

TextAttributes bold() {
    return {FontWeight::bold, 17.0, TextColor::standard};
}

int heightOf(const QString& text) {
    LiteralText literal;
    literal.setFont(QFont());
    literal.setText({text, {}});
    return literal.heightForWidth(lineWidth);
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

TEST(LiteralTextTest, GrowsWithEveryKindOfLineBreak) {
    const int one = heightOf("a");

    for (const char* text : {"a\nb", "a\rb", "a\r\nb", "a\u2028b", "a\u2029b"}) {
        EXPECT_GT(heightOf(text), one) << text;
        EXPECT_EQ(heightOf(text), heightOf("a\nb")) << text;
    }
}

TEST(LiteralTextTest, KeepsEmptyLines) {
    EXPECT_GT(heightOf("a\n\n\nb"), heightOf("a\nb"));
    EXPECT_GT(heightOf("a\n"), heightOf("a"));
}

TEST(LiteralTextTest, TakesALineForAnEmptyText) {
    EXPECT_GT(heightOf(""), 0);
}

TEST(LiteralTextTest, BreaksAWordThatIsWiderThanTheLine) {
    const QString word(10000, u'w');
    LiteralText literal;
    literal.setFont(QFont());
    literal.setText({word, {}});

    const int lines = literal.naturalWidth() / lineWidth;
    ASSERT_GT(lines, 10);
    EXPECT_GE(literal.heightForWidth(lineWidth), lines * heightOf("w"));
}

TEST(LiteralTextTest, DrawsMarkupAsItsCharacters) {
    LiteralText literal;
    literal.setFont(QFont());
    literal.setText({"<b>a</b>", {}});
    const int markup = literal.naturalWidth();
    literal.setText({"a", {}});

    EXPECT_GT(markup, 3 * literal.naturalWidth());
}

TEST(LiteralTextTest, PutsARightToLeftTextAtTheRight) {
    LiteralText literal;
    literal.setFont(QFont());
    literal.setText({QString::fromUtf8("\u05D0\u05D1"), {}});
    QImage picture(lineWidth, literal.heightForWidth(lineWidth), QImage::Format_RGB32);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    literal.draw(painter, picture.rect(), Qt::black);
    painter.end();

    const auto isBlank = [&](int from, int to) {
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = from; x < to; ++x) {
                if (picture.pixelColor(x, y) != Qt::white) {
                    return false;
                }
            }
        }
        return true;
    };
    EXPECT_TRUE(isBlank(0, lineWidth / 2));
    EXPECT_FALSE(isBlank(lineWidth / 2, lineWidth));
}

TEST(LiteralTextTest, KeepsItsWidthWhileACountdownRuns) {
    const auto width = [](const QFont& font, const std::string& minutes,
                          const std::string& seconds) {
        const TextAttributes bold{FontWeight::bold, 17, TextColor::standard};
        LiteralText text;
        text.setFont(font);
        text.setText(shownText({{"In ", std::nullopt, 0},
                                {minutes, bold, minutes.size()},
                                {":", std::nullopt, 0},
                                {seconds, bold, seconds.size()},
                                {" left", std::nullopt, 0}}));
        return text.naturalWidth();
    };
    // Not every font has digits of one width.
    for (const QString& family : QFontDatabase::families()) {
        const QFont font(family, 11);
        const int first = width(font, "1", "59");
        for (const auto& [minutes, seconds] :
             {std::pair{"1", "48"}, std::pair{"0", "11"}, std::pair{"7", "10"}}) {
            EXPECT_EQ(width(font, minutes, seconds), first)
                << family.toStdString() << ": " << minutes << ":" << seconds;
        }
    }
}

}  // namespace
}  // namespace velunor
