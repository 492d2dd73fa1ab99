// A revealed password, as it is drawn.

#include <QFontMetricsF>
#include <QImage>
#include <QPainter>
#include <QStringList>

#include "platform/qt/password_field/secret_text.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

constexpr QRect area(10, 8, 120, 30);
constexpr int endOfArea = 130;

/// What `draw` leaves on a picture that is larger than the area.
template <class Draw>
QImage picture(Draw draw) {
    QImage image(160, 60, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QFont font = painter.font();
    font.setPixelSize(16);
    painter.setFont(font);
    draw(painter);
    return image;
}

QImage drawn(std::u32string_view text, std::size_t caret,
             Qt::LayoutDirection direction = Qt::LeftToRight) {
    return picture([&](QPainter& painter) {
        painter.setLayoutDirection(direction);
        drawSecret(painter, area, text, caret);
    });
}

double widthOf(const QStringList& characters) {
    double width = 0;
    picture([&](QPainter& painter) {
        for (const QString& character : characters) {
            width += QFontMetricsF(painter.font()).horizontalAdvance(character);
        }
    });
    return width;
}

/// These characters side by side in the middle of the line, the first one from `left` on.
QImage sideBySide(const QStringList& characters, double left) {
    return picture([&](QPainter& painter) {
        const QFontMetricsF metrics(painter.font());
        painter.setClipRect(area);
        // Half of what a line leaves of the area's height is above it.
        const double baseline =
            QRectF(area).center().y() + (metrics.ascent() - metrics.descent()) / 2;
        for (const QString& character : characters) {
            painter.drawText(QPointF(left, baseline), character);
            left += metrics.horizontalAdvance(character);
        }
    });
}

QStringList letters(int count) {
    QStringList all;
    for (int index = 0; index < count; ++index) {
        all.append(QChar(u'a' + index % 26));
    }
    return all;
}

TEST(DrawnSecretTest, BeginsAtTheLeadingEdge) {
    const QStringList both{"p", "w"};
    EXPECT_EQ(drawn(U"pw", 2), sideBySide(both, area.left()));
    EXPECT_EQ(drawn(U"pw", 2, Qt::RightToLeft), sideBySide(both, endOfArea - widthOf(both)));
    EXPECT_NE(drawn(U"pw", 2), drawn(U"", 0));
}

TEST(DrawnSecretTest, KeepsMarksWithTheirLetters) {
    EXPECT_EQ(drawn(U"e\u0301\u0323x", 0), sideBySide({"e\u0301\u0323", "x"}, area.left()));
    EXPECT_EQ(drawn(U"\u0647\u200D\u0647\u0647", 0),
              sideBySide({"\u0647\u200D\u0647", "\u0647"}, area.left()));
}

TEST(DrawnSecretTest, IsShiftedAsFarAsTheCaretAsks) {
    const QStringList all = letters(60);
    const std::u32string text = all.join("").toStdU32String();
    const double width = widthOf(all);
    ASSERT_GT(width, 2.0 * area.width());

    EXPECT_EQ(drawn(text, 0), sideBySide(all, area.left()));
    EXPECT_EQ(drawn(text, 60), sideBySide(all, endOfArea - width));
    EXPECT_EQ(drawn(text, 60, Qt::RightToLeft), sideBySide(all, endOfArea - width));
    // The characters before the caret end where the area does.
    EXPECT_EQ(drawn(text, 40), sideBySide(all, endOfArea - widthOf(letters(40))));
    // These few are in sight anyway.
    EXPECT_EQ(drawn(text, 3), sideBySide(all, area.left()));
}

TEST(DrawnSecretTest, StaysWithinItsAreaAndLeavesThePainterAsItWas) {
    const QImage image = picture([](QPainter& painter) {
        drawSecret(painter, area, U"wwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwww", 20);
        EXPECT_FALSE(painter.hasClipping());
    });
    QImage outside = image;
    QPainter(&outside).fillRect(area, Qt::white);
    EXPECT_EQ(outside, picture([](QPainter&) {}));
    EXPECT_NE(image, outside);
}

}  // namespace
}  // namespace velunor
