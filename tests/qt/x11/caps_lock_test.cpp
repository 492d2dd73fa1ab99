// What a password field does at a real keyboard.

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QTest>
#include <QVBoxLayout>

#include "platform/qt/password_field/secure_text_field.h"
#include "tests/qt/support/widget_events.h"
#include "tests/qt/x11/x11_test.h"

namespace velunor {
namespace {

class CapsLockTest : public X11Test {
  protected:
    CapsLockTest() {
        auto* layout = new QVBoxLayout(&window);
        layout->addWidget(field = new CustomSecureTextField);
        layout->addWidget(neighbour = new CustomTextField);
        EXPECT_TRUE(isShown(window));
        window.activateWindow();
        field->setFocus();
        EXPECT_TRUE(becomes([&] { return field->hasFocus() && window.isActiveWindow(); }));
    }
    void TearDown() override {
        if (isOn_) {
            press();
        }
        X11Test::TearDown();
    }
    void press() {
        screen().pressKey("Caps_Lock");
        isOn_ = !isOn_;
    }
    [[nodiscard]] bool becomesHint(bool hint) {
        return becomes([&] { return field->hintsAtCapsLock() == hint; });
    }
    [[nodiscard]] QString description() {
        return QAccessible::queryAccessibleInterface(field)->text(QAccessible::Description);
    }

    QWidget window;
    CustomSecureTextField* field = nullptr;
    CustomTextField* neighbour = nullptr;

  private:
    bool isOn_ = false;
};

TEST_F(CapsLockTest, IsHintedAtWhileTheFieldHasTheFocus) {
    EXPECT_EQ(field->capsLockText(), "Caps Lock is on");
    field->setCapsLockText("Feststelltaste");
    EXPECT_EQ(description(), "");
    const int room = field->textMargins().right();
    const QImage before = field->grab().toImage();
    press();
    ASSERT_TRUE(becomesHint(true));
    EXPECT_EQ(description(), "Feststelltaste");
    EXPECT_NE(field->grab().toImage(), before);
    // Text keeps clear of the glyph, which is beside the eye.
    EXPECT_GE(field->textMargins().right(), room + 16);

    neighbour->setFocus();
    EXPECT_TRUE(becomesHint(false));
    EXPECT_EQ(description(), "");
    field->setFocus();
    EXPECT_TRUE(becomesHint(true));
    press();
    EXPECT_TRUE(becomesHint(false));
    EXPECT_EQ(field->textMargins().right(), room);
    EXPECT_TRUE(becomes([&] { return field->grab().toImage() == before; }));
}

TEST_F(CapsLockTest, GlyphStandsBetweenTheTextAndTheEye) {
    const auto changed = [&](const QImage& one, const QImage& other) {
        QRect place;
        for (int y = 0; y < one.height(); ++y) {
            for (int x = 0; x < one.width(); ++x) {
                if (one.pixel(x, y) != other.pixel(x, y)) {
                    place |= QRect(x, y, 1, 1);
                }
            }
        }
        return place;
    };
    const QImage before = field->grab().toImage();
    press();
    ASSERT_TRUE(becomesHint(true));
    const QRect glyph = changed(before, field->grab().toImage());
    const QRect eye = field->revealButton().geometry();
    ASSERT_FALSE(glyph.isEmpty());
    EXPECT_LT(glyph.right(), eye.left());
    EXPECT_GE(glyph.left(), field->width() - field->textMargins().right());
    EXPECT_NEAR(glyph.center().y(), field->rect().center().y(), 3);
}

TEST_F(CapsLockTest, ChangeIsShownAtOnce) {
    const QPoint besideTheEye(field->revealButton().x() - 12, field->height() / 2);
    for (const bool hint : {true, false}) {
        QCoreApplication::processEvents();
        const Paints paints(*field, besideTheEye);
        press();
        ASSERT_TRUE(becomesHint(hint));
        EXPECT_TRUE(becomes([&] { return paints.count() > 0; }));
    }
}

TEST_F(CapsLockTest, NothingIsPastedByTheMiddleButton) {
    QGuiApplication::clipboard()->setText("elsewhere", QClipboard::Selection);
    field->type(u"ab");
    QTest::mouseClick(field, Qt::MiddleButton, Qt::NoModifier, QPoint(20, field->height() / 2));
    EXPECT_EQ(field->secret().reveal(), "ab");
    EXPECT_EQ(field->length(), 2);
    // Nor has the editor had it for a moment, which would have moved the caret to the end.
    EXPECT_LT(field->cursorPosition(), 2);
    EXPECT_EQ(field->text(), QString(2, QChar(0x25CF)));
    QGuiApplication::clipboard()->clear(QClipboard::Selection);
}

}  // namespace
}  // namespace velunor
