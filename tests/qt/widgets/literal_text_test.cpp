#include "platform/qt/widgets/literal_text.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <array>

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

/// A countdown of `texts`: before the minutes, between them and the seconds, and after these.
ShownText countdown(const std::array<std::string, 3>& texts, const std::string& minutes,
                    const std::string& seconds) {
    return shownText({{texts[0], std::nullopt, 0},
                      {minutes, bold(), minutes.size()},
                      {texts[1], std::nullopt, 0},
                      {seconds, bold(), seconds.size()},
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
    for (const QString& family : QFontDatabase::families()) {
        const QFont font(family, 11);
        for (const auto& texts : languages) {
            const int first = countdownWidth(font, texts, "1", "59");
            for (const auto& [minutes, seconds] :
                 {std::pair{"1", "48"}, std::pair{"0", "11"}, std::pair{"7", "10"}}) {
                EXPECT_EQ(countdownWidth(font, texts, minutes, seconds), first)
                    << family.toStdString() << ": " << minutes << ":" << seconds;
            }
        }
    }
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
    const auto picture = [](bool measuredBetween) {
        LiteralText literal;
        literal.setFont(QFont());
        literal.setText({QString("word ").repeated(20), {}});
        QImage image(lineWidth, literal.heightForWidth(lineWidth), QImage::Format_RGB32);
        image.fill(Qt::white);
        if (measuredBetween) {
            static_cast<void>(literal.heightForWidth(50));
        }
        QPainter painter(&image);
        literal.draw(painter, image.rect(), Qt::black);
        return image;
    };
    EXPECT_EQ(picture(true), picture(false));
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
    QTextLayout::FormatRange format{static_cast<int>(mostUnits) - 2, 10, {}};
    const ShownText bounded = boundedText({QString(mostUnits + 10, 'w'), {format, format}});
    ASSERT_EQ(bounded.formats.size(), 2);
    EXPECT_EQ(bounded.formats.at(0).length, 2);
}

}  // namespace
}  // namespace velunor
