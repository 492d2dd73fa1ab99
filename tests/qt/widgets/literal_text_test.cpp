#include "platform/qt/widgets/literal_text.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "tests/qt/support/widget_events.h"
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
    EXPECT_EQ(heightOf("\na"), heightOf("a\n"));
}

TEST(LiteralTextTest, TakesALineForAnEmptyText) {
    EXPECT_EQ(heightOf(""), heightOf("a"));
    LiteralText empty;
    empty.setFont(QFont());
    EXPECT_EQ(empty.naturalWidth(), 0);
    EXPECT_EQ(empty.widestWord(), 0);
}

TEST(LiteralTextTest, LeavesSomeRoomBetweenLines) {
    const int one = heightOf("a");
    const int between = qRound(0.12 * QFontMetricsF(QFont()).height());
    ASSERT_GT(between, 0);
    EXPECT_NEAR(heightOf("a\nb"), 2 * one + between, 1);
    EXPECT_NEAR(heightOf("a\nb\nc\nd"), 4 * one + 3 * between, 3);
    // Letters that another font has to lend take no less.
    EXPECT_GE(heightOf("\u05D0"), one);
    EXPECT_GE(heightOf("\u0E01"), one);
}

TEST(LiteralTextTest, TellsItsWidestWord) {
    LiteralText literal;
    literal.setFont(QFont());
    const auto widthOf = [](const QString& word) {
        return static_cast<int>(std::ceil(QFontMetricsF(QFont()).horizontalAdvance(word)));
    };
    literal.setText({"a wwwww mm", {}});
    EXPECT_EQ(literal.widestWord(), widthOf("wwwww"));
    literal.setText({"wwwww a", {}});
    EXPECT_EQ(literal.widestWord(), widthOf("wwwww"));
    literal.setText({"a b", {}});
    EXPECT_EQ(literal.widestWord(), std::max(widthOf("a"), widthOf("b")));
}

TEST(LiteralTextTest, BeginsAnewWithAnotherTextOrFont) {
    LiteralText literal;
    literal.setFont(QFont());
    literal.setText({"word", {}});
    const int width = literal.naturalWidth();
    const int height = literal.heightForWidth(lineWidth);
    literal.setText({"word word", {}});
    EXPECT_GT(literal.naturalWidth(), width);
    literal.setText({"word", {}});
    QFont large;
    large.setPixelSize(60);
    literal.setFont(large);
    EXPECT_GT(literal.naturalWidth(), width);
    EXPECT_GT(literal.heightForWidth(lineWidth), height);
    EXPECT_EQ(literal.font(), large);
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

/// The text in lines of this width, black on white.
QImage drawn(const LiteralText& literal, int width = lineWidth) {
    QImage picture(width, literal.heightForWidth(width), QImage::Format_RGB32);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    literal.draw(painter, picture.rect(), Qt::black);
    painter.end();
    return picture;
}

TEST(LiteralTextTest, PutsARightToLeftTextAtTheRight) {
    LiteralText literal;
    literal.setFont(QFont());
    literal.setText({QString::fromUtf8("\u05D0\u05D1"), {}});
    const QRect ink = inkOn(drawn(literal), Qt::white);
    EXPECT_FALSE(ink.isEmpty());
    EXPECT_GE(ink.left(), lineWidth / 2);
}

TEST(LiteralTextTest, LinesThatHangBeginInTheMiddleAtMost) {
    constexpr int width = 120;
    LiteralText literal;
    literal.setFont(QFont());
    literal.setText({QString(20, u'w') + QString(200, u'i'), {}}, 20);
    const QImage picture = drawn(literal, width);
    const QRect lowerHalf(0, picture.height() / 2, width, picture.height() / 2);
    EXPECT_NEAR(inkOn(picture.copy(lowerHalf), Qt::white).left(), width / 2.0, 3);
}

TEST(LiteralTextTest, LinesOfSmallLettersTakeNoLessRoom) {
    LiteralText literal;
    literal.setFont(QFont("DejaVu Sans", 40));
    literal.setText({"M", {}});
    const QImage large = drawn(literal);
    QTextCharFormat small;
    small.setFontPointSize(8);
    literal.setText({"M\nM", {{0, 3, small}}});
    const QImage picture = drawn(literal);
    EXPECT_GE(picture.height(), 2 * large.height() - 1);
    // The first stands on the same line as a large one.
    const QRect ink = inkOn(picture.copy(large.rect()), Qt::white);
    EXPECT_LT(ink.height(), inkOn(large, Qt::white).height() / 2);
    EXPECT_NEAR(ink.bottom(), inkOn(large, Qt::white).bottom(), 1);
}

/// A countdown of `texts`: before the minutes, between them and the seconds, and after these.
ShownText countdown(const std::array<std::string, 3>& texts, const std::string& minutes,
                    const std::string& seconds, const TextAttributes& ofSeconds = bold()) {
    return shownText({{texts[0], std::nullopt, 0},
                      {minutes, bold(), minutes.size()},
                      {texts[1], std::nullopt, 0},
                      {seconds, ofSeconds, seconds.size()},
                      {texts[2], std::nullopt, 0}});
}

int countdownWidth(const QFont& font, const std::array<std::string, 3>& texts,
                   const std::string& minutes, const std::string& seconds) {
    LiteralText text;
    text.setFont(font);
    text.setText(countdown(texts, minutes, seconds));
    return text.naturalWidth();
}

TEST(LiteralTextTest, KeepsItsWidthWhileACountdownRuns) {
    // Not every font has digits of one width, and some scripts run the other way.
    const std::array<std::array<std::string, 3>, 2> languages{
        {{"In ", ":", " left"}, {"\u0628\u0639\u062F ", " \u062F \u0648", " \u062B."}}};
    const TextAttributes small{FontWeight::regular, 9.0, TextColor::standard};
    for (const auto& texts : languages) {
        LiteralText running;
        for (const QString& family : QFontDatabase::families()) {
            running.setFont(QFont(family, 11));
            running.setText(countdown(texts, "1", "59", small));
            const int first = running.naturalWidth();
            for (const auto& [minutes, seconds] :
                 {std::pair{"1", "48"}, std::pair{"0", "11"}, std::pair{"7", "10"}}) {
                running.setText(countdown(texts, minutes, seconds, small));
                EXPECT_EQ(running.naturalWidth(), first)
                    << family.toStdString() << ": " << minutes << ":" << seconds;
            }
        }
    }
}

TEST(LiteralTextTest, KeepsTheStyleOfAWordBesideAFigure) {
    const auto widthWith = [](std::optional<TextAttributes> attributes) {
        LiteralText text;
        text.setFont(QFont());
        text.setText(shownText({{"now ", attributes, 4}, {"5", bold(), 1}}));
        return text.naturalWidth();
    };
    EXPECT_GT(widthWith(bold()), widthWith(std::nullopt));
}

TEST(LiteralTextTest, GivesTheFiguresOfACountdownTheRoomOfTheirDigits) {
    const QFont font;
    for (const auto& texts : std::array<std::array<std::string, 3>, 2>{
             {{"In ", ":", " left"}, {"\u0628\u0639\u062F ", " \u062F \u0648", " \u062B."}}}) {
        const int digits = countdownWidth(font, texts, "14", "59");
        const int letters = countdownWidth(font, texts, "", "");

        // Four bold digits, each narrower than the bold letter m.
        QFont large = font;
        large.setBold(true);
        large.setPointSizeF(QFontInfo(font).pointSizeF() * 17 / 13);
        EXPECT_GT(digits, letters);
        EXPECT_LT(digits, letters + 4 * QFontMetricsF(large).horizontalAdvance('m'));
    }
}

TEST(LiteralTextTest, GoesOnWithTheSameCountdownAsAFreshOne) {
    const std::array<std::string, 3> texts{"In ", " min ", " s"};
    LiteralText running;
    running.setFont(QFont());
    for (const auto& [minutes, seconds] :
         {std::pair{"10", "00"}, std::pair{"9", "59"}, std::pair{"9", "58"}, std::pair{"9", "9"}}) {
        running.setText(countdown(texts, minutes, seconds));
        EXPECT_EQ(running.naturalWidth(), countdownWidth(QFont(), texts, minutes, seconds))
            << minutes << ":" << seconds;
    }
}

TEST(LiteralTextTest, MeasuresAWidthTheSameAfterAnother) {
    LiteralText literal;
    literal.setFont(QFont());
    literal.setText({QString("word ").repeated(40), {}});
    const int narrow = literal.heightForWidth(100);
    const int wide = literal.heightForWidth(lineWidth);

    EXPECT_GT(narrow, wide);
    EXPECT_EQ(literal.heightForWidth(100), narrow);
    EXPECT_EQ(literal.usedWidth(lineWidth), literal.usedWidth(lineWidth));
    EXPECT_LE(literal.usedWidth(lineWidth), lineWidth);
    EXPECT_GT(literal.naturalWidth(), lineWidth);
}

TEST(LiteralTextTest, DrawsTheSameAfterItWasMeasuredForAnotherWidth) {
    LiteralText literal;
    literal.setFont(QFont());
    literal.setText({QString("word ").repeated(20), {}});
    const QImage before = drawn(literal);
    EXPECT_GT(literal.heightForWidth(50), before.height());
    EXPECT_EQ(drawn(literal), before);
}

}  // namespace
}  // namespace velunor
