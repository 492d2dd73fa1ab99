#include "platform/qt/widgets/text_fields.h"

#include <QApplication>
#include <QPicture>
#include <QTemporaryDir>
#include <QVBoxLayout>

#include "platform/qt/desktop/appearance.h"
#include "tests/qt/support/widget_events.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

/// A field of 200 by 50 points, and a glyph that fills its square.
class TextFieldTest : public testing::Test {
  protected:
    TextFieldTest() : glyph(directory.filePath("square.picture")) {
        QPicture picture;
        QPainter painter(&picture);
        painter.fillRect(QRect(0, 0, 64, 64), Qt::black);
        painter.end();
        EXPECT_TRUE(picture.save(glyph));
        field.resize(200, 50);
        useFontOf(12);
    }
    void useFontOf(int pixels) {
        QFont font = field.font();
        font.setPixelSize(pixels);
        field.setFont(font);
    }
    void takeFocus(Qt::FocusReason reason) {
        QFocusEvent event(QEvent::FocusIn, reason);
        QCoreApplication::sendEvent(&field, &event);
    }
    [[nodiscard]] QColor at(int x, int y) { return colourAt(field, {x, y}); }
    /// All that has the colour of glyphs.
    [[nodiscard]] QRect placeOfGlyph() {
        QImage image = field.grab().toImage();
        QRect place;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixelColor(x, y) == currentTheme().secondaryText) {
                    place |= QRect(x, y, 1, 1);
                }
            }
        }
        return place;
    }

    const QTemporaryDir directory;
    const QString glyph;
    CustomTextField field;
};

TEST_F(TextFieldTest, KeepsItsTextClearOfTheGlyphAtEitherSide) {
    EXPECT_EQ(CustomTextField().textMargins(), QMargins(10, 0, 10, 0));
    field.setGlyph(glyph);
    EXPECT_EQ(field.textMargins(), QMargins(34, 0, 10, 0));
    EXPECT_EQ(field.alignment(), Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter);
    field.setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(field.textMargins(), QMargins(10, 0, 34, 0));
    EXPECT_EQ(field.alignment(), Qt::AlignRight | Qt::AlignAbsolute | Qt::AlignVCenter);
    useFontOf(60);
    const int side = qRound(0.8 * field.fontMetrics().height());
    EXPECT_EQ(field.textMargins(), QMargins(10, 0, 18 + side, 0));
}

TEST_F(TextFieldTest, GlyphStandsAtTheLeadingEdge) {
    EXPECT_TRUE(placeOfGlyph().isEmpty());
    field.setGlyph(glyph);
    EXPECT_EQ(placeOfGlyph(), QRect(10, 17, 16, 16));
    field.setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(placeOfGlyph(), QRect(174, 17, 16, 16));
}

TEST_F(TextFieldTest, IsAsHighAsItsTextAsksAndAsWideAsItsRowAllows) {
    EXPECT_EQ(field.sizeHint().height(), 40);
    EXPECT_EQ(field.minimumSizeHint().height(), 40);
    EXPECT_LT(field.minimumSizeHint().width(), field.sizeHint().width());
    useFontOf(40);
    EXPECT_EQ(field.sizeHint().height(), field.fontMetrics().height() + 20);
    EXPECT_EQ(field.minimumSizeHint().height(), field.fontMetrics().height() + 20);
    EXPECT_EQ(field.sizePolicy(), QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed));
    EXPECT_FALSE(field.hasFrame());
    EXPECT_EQ(field.maxLength(), 1 << 20);
}

TEST_F(TextFieldTest, OutlineShowsHowStronglyItWasRefused) {
    const auto outline = [this] {
        int width = 0;
        while (at(100, width) != currentTheme().field) {
            ++width;
        }
        EXPECT_EQ(at(width - 1, 25), at(100, 0));
        EXPECT_EQ(at(width, 25), currentTheme().field);
        EXPECT_EQ(at(199, 25), at(100, 49));
        return std::pair(width, at(100, 0));
    };
    EXPECT_EQ(outline(), std::pair(1, currentTheme().fieldBorder));
    field.setRefusal(1);
    EXPECT_EQ(outline(), std::pair(2, currentTheme().refused));
    field.setRefusal(0.25);
    const QColor from = currentTheme().fieldBorder;
    const QColor to = currentTheme().refused;
    const auto quarter = [](int one, int other) { return qRound(one + (other - one) / 4.0); };
    EXPECT_EQ(outline(),
              std::pair(2, QColor(quarter(from.red(), to.red()), quarter(from.green(), to.green()),
                                  quarter(from.blue(), to.blue()))));
    field.setRefusal(0);
    field.show();
    field.activateWindow();
    field.setFocus();
    ASSERT_TRUE(waitUntil([&] { return field.hasFocus() && field.isActiveWindow(); }));
    EXPECT_EQ(outline(), std::pair(2, currentTheme().link));
}

TEST_F(TextFieldTest, CornersAreRound) {
    EXPECT_NE(at(0, 0), currentTheme().fieldBorder);
    EXPECT_NE(at(1, 1), currentTheme().field);
    EXPECT_EQ(at(0, 8), currentTheme().fieldBorder);
    EXPECT_EQ(at(1, 9), currentTheme().field);
    EXPECT_EQ(at(5, 5), currentTheme().field);
}

TEST_F(TextFieldTest, IsPaintedAnewWhenItIsRefusedOrGetsAGlyph) {
    field.show();
    Events paints(field, QEvent::Paint);
    paints.take();
    field.setRefusal(0.5);
    EXPECT_GT(paints.take(), 0);
    field.setGlyph(glyph);
    EXPECT_GT(paints.take(), 0);
}

TEST_F(TextFieldTest, TextIsNotSelectedByTheKeyThatBringsTheFocus) {
    field.setText("ada");
    for (const auto reason : {Qt::TabFocusReason, Qt::BacktabFocusReason}) {
        takeFocus(reason);
        EXPECT_FALSE(field.hasSelectedText()) << reason;
    }
    // A label's key is the toolkit's own matter.
    takeFocus(Qt::ShortcutFocusReason);
    EXPECT_EQ(field.selectedText(), "ada");
    QFocusEvent leaves(QEvent::FocusOut, Qt::TabFocusReason);
    QCoreApplication::sendEvent(&field, &leaves);
    EXPECT_FALSE(field.hasSelectedText());
}

TEST_F(TextFieldTest, HasTheColoursOfTheTheme) {
    const QPalette before = QApplication::palette();
    QPalette dark(QColor(0x30, 0x30, 0x30), QColor(0x20, 0x20, 0x20));
    dark.setColor(QPalette::WindowText, Qt::white);
    for (const QPalette& palette : {QPalette(QColor(0xF0, 0xF0, 0xF0)), dark}) {
        QApplication::setPalette(palette);
        QCoreApplication::processEvents();
        const QPalette own = field.palette();
        const Theme& theme = currentTheme();
        EXPECT_EQ(own.color(QPalette::Text), theme.text);
        EXPECT_EQ(own.color(QPalette::PlaceholderText), theme.secondaryText);
        EXPECT_EQ(own.color(QPalette::Base).alpha(), 0);
        EXPECT_EQ(own.color(QPalette::Highlight), theme.accent);
        EXPECT_EQ(own.color(QPalette::HighlightedText), theme.onAccent);
    }
    QApplication::setPalette(before);
}

TEST_F(TextFieldTest, ShowsItsText) {
    useFontOf(30);
    const QImage empty = field.grab().toImage();
    field.setText("M");
    EXPECT_NE(field.grab().toImage(), empty);
    // The second letter begins where the first one ends.
    field.setText("MMMM");
    const int letter = field.fontMetrics().horizontalAdvance('M');
    EXPECT_EQ(field.cursorPositionAt(QPoint(field.textMargins().left() + letter, 25)), 1);
}

}  // namespace
}  // namespace velunor
