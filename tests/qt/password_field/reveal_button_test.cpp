// The eye itself: what holds it, where it stands and how it looks.

#include <QAccessible>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTest>
#include <QVBoxLayout>

#include "platform/qt/desktop/appearance.h"
#include "platform/qt/password_field/secure_text_field.h"
#include "tests/qt/support/widget_events.h"
#include "tests/qt/support/widget_test.h"

/// Makes the drawings known, which the linker would drop.
static void initializeResources() {
    Q_INIT_RESOURCE(prompt_window);
}

namespace velunor {
namespace {

class RevealButtonTest : public testing::Test {
  protected:
    RevealButtonTest() {
        initializeResources();
        auto* layout = new QVBoxLayout(&window);
        layout->addWidget(field = new CustomSecureTextField);
        layout->addWidget(neighbour = new CustomTextField);
        eye = &field->revealButton();
        window.resize(400, 200);
        window.show();
        window.activateWindow();
        EXPECT_TRUE(waitUntil([&] { return window.isActiveWindow(); }));
        neighbour->setFocus();
        field->type(u"zqxj");
        QCoreApplication::processEvents();
    }
    void TearDown() override { setHighContrast(false); }
    bool press(Qt::Key key, bool isRepeated = false) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, QString(), isRepeated);
        static_cast<QObject*>(eye)->event(&event);
        return event.isAccepted();
    }
    [[nodiscard]] QImage look() const { return eye->grab().toImage(); }
    /// Room between the eye and the field's edge at that side.
    [[nodiscard]] int roomAtTheRight() const {
        return field->width() - eye->geometry().right() - 1;
    }

    QWidget window;
    CustomSecureTextField* field = nullptr;
    CustomTextField* neighbour = nullptr;
    RevealButton* eye = nullptr;
};

TEST_F(RevealButtonTest, OnlyTheLeftButtonHoldsIt) {
    for (const auto button : {Qt::RightButton, Qt::MiddleButton}) {
        QTest::mousePress(eye, button);
        EXPECT_FALSE(eye->isHeld());
        QTest::mouseRelease(eye, button);
    }
    QTest::mousePress(eye, Qt::LeftButton);
    EXPECT_TRUE(eye->isHeld());
    // The field gets the caret with it.
    EXPECT_TRUE(field->hasFocus());
    const QPoint inside = eye->rect().center() + QPoint(1, 1);
    QMouseEvent within(QEvent::MouseMove, inside, eye->mapToGlobal(inside), Qt::NoButton,
                       Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(eye, &within);
    EXPECT_TRUE(eye->isHeld());
    QTest::mouseRelease(eye, Qt::LeftButton);
    EXPECT_FALSE(eye->isHeld());
}

TEST_F(RevealButtonTest, OnlySpaceHoldsItAndOnlyOnceItIsPressedThere) {
    eye->setFocus();
    EXPECT_TRUE(press(Qt::Key_Space, true));
    EXPECT_FALSE(eye->isHeld()) << "pressed elsewhere and still held";
    EXPECT_TRUE(press(Qt::Key_Space));
    EXPECT_TRUE(eye->isHeld());
    EXPECT_TRUE(eye->hasFocus());
    EXPECT_TRUE(press(Qt::Key_Space, true));
    EXPECT_TRUE(eye->isHeld());
    // Another key ends it, and is the window's.
    EXPECT_FALSE(press(Qt::Key_Escape));
    EXPECT_FALSE(eye->isHeld());
}

TEST_F(RevealButtonTest, EachWayToDistractItsUserEndsIt) {
    for (const auto kind : {QEvent::FocusOut, QEvent::WindowDeactivate, QEvent::Hide,
                            QEvent::EnabledChange, QEvent::Leave, QEvent::UngrabMouse}) {
        press(Qt::Key_Space);
        ASSERT_TRUE(eye->isHeld()) << kind;
        if (kind == QEvent::FocusOut) {
            QFocusEvent event(kind);
            static_cast<QObject*>(eye)->event(&event);
        } else {
            QEvent event(kind);
            static_cast<QObject*>(eye)->event(&event);
        }
        EXPECT_FALSE(eye->isHeld()) << kind;
    }
}

TEST_F(RevealButtonTest, TellsOfEachChangeOnce) {
    std::vector<bool> told;
    QObject::connect(eye, &RevealButton::heldChanged, [&](bool held) { told.push_back(held); });
    eye->letGo();
    press(Qt::Key_Space);
    press(Qt::Key_Space);
    EXPECT_TRUE(eye->isDown());
    eye->letGo();
    eye->letGo();
    EXPECT_FALSE(eye->isDown());
    EXPECT_EQ(told, (std::vector<bool>{true, false}));
}

TEST_F(RevealButtonTest, FieldIsPaintedAnewWhenTheTextIsShownAndWhenItIsHidden) {
    eye->setFocus();
    QCoreApplication::processEvents();
    const Paints paints(*field, field->rect().center());
    press(Qt::Key_Space);
    EXPECT_TRUE(waitUntil([&] { return paints.count() == 1; }));
    eye->letGo();
    EXPECT_TRUE(waitUntil([&] { return paints.count() == 2; }));
}

TEST_F(RevealButtonTest, StandsAtTheTrailingEdgeWithRoomForNoText) {
    EXPECT_EQ(eye->size(), eye->sizeHint());
    EXPECT_EQ(roomAtTheRight(), 6);
    EXPECT_NEAR(eye->geometry().center().y(), field->rect().center().y(), 1);
    EXPECT_GE(field->textMargins().right(), eye->width() + 6);

    window.setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(eye->geometry().left(), 6);
    EXPECT_GE(field->textMargins().left(), eye->width() + 6);
    window.setLayoutDirection(Qt::LeftToRight);
    window.resize(500, 200);
    QCoreApplication::processEvents();
    EXPECT_EQ(roomAtTheRight(), 6);
}

TEST_F(RevealButtonTest, HasItsRoomBeforeTheFieldIsShown) {
    const CustomSecureTextField unseen;
    EXPECT_GE(unseen.textMargins().right(), unseen.revealButton().sizeHint().width() + 6);
    EXPECT_EQ(unseen.revealButton().size(), unseen.revealButton().sizeHint());
}

TEST_F(RevealButtonTest, GrowsWithLargeText) {
    QFont font = field->font();
    font.setPixelSize(8);
    field->setFont(font);
    EXPECT_EQ(eye->size(), QSize(28, 28));
    font.setPixelSize(60);
    field->setFont(font);
    QCoreApplication::processEvents();
    EXPECT_GT(eye->width(), eye->fontMetrics().height());
    EXPECT_LT(eye->width(), 2 * eye->fontMetrics().height());
    EXPECT_GT(eye->width(), eye->fontMetrics().height() * 5 / 4);
    EXPECT_EQ(eye->width(), eye->height());
    EXPECT_EQ(roomAtTheRight(), 6);
}

TEST_F(RevealButtonTest, LooksDifferentWhereItHasTheFocusIsHeldOrHasNothingToShow) {
    const QImage resting = look();
    eye->setFocus();
    const QImage focused = look();
    press(Qt::Key_Space);
    const QImage held = look();
    eye->letGo();
    EXPECT_EQ(look(), focused);
    neighbour->setFocus();
    field->wipeText();
    const QImage disabled = look();
    EXPECT_NE(resting, focused);
    EXPECT_NE(focused, held);
    EXPECT_NE(resting, disabled);
    // The same glyph, fainter.
    const QColor ground = currentTheme().field;
    QImage blank = disabled;
    blank.fill(ground);
    EXPECT_NE(disabled, blank);
}

TEST_F(RevealButtonTest, HasAPlateWhileItIsHeld) {
    const auto hasPlate = [this](const QColor& colour) {
        const QImage image = look();
        const int middle = image.width() / 2;
        const int last = image.width() - 1;
        return image.pixelColor(middle, 2) == colour &&
               image.pixelColor(middle, last - 2) == colour &&
               image.pixelColor(2, middle) == colour &&
               image.pixelColor(last - 2, middle) == colour &&
               image.pixelColor(0, middle) != colour && image.pixelColor(last, middle) != colour;
    };
    EXPECT_FALSE(hasPlate(currentTheme().buttonPressed));
    QTest::mousePress(eye, Qt::LeftButton);
    EXPECT_TRUE(hasPlate(currentTheme().buttonPressed));
    EXPECT_FALSE(hasPlate(currentTheme().buttonHover));
    QTest::mouseRelease(eye, Qt::LeftButton);
}

TEST_F(RevealButtonTest, HasARingWhileItHasTheFocus) {
    eye->setFocus();
    const QImage focused = look();
    const int middle = focused.height() / 2;
    for (const int x : {0, 1, focused.width() - 2, focused.width() - 1}) {
        EXPECT_EQ(focused.pixelColor(x, middle), currentTheme().link) << x;
    }
    EXPECT_NE(focused.pixelColor(2, middle), currentTheme().link);
}

TEST_F(RevealButtonTest, NoticesThePointerWhateverTheStyle) {
    EXPECT_TRUE(RevealButton(nullptr).testAttribute(Qt::WA_Hover));
}

TEST_F(RevealButtonTest, FieldKeepsItsOutlineWhileItsTextIsShown) {
    field->setFocus();
    const QPoint onOutline(field->width() / 2, 0);
    const QColor outline = field->grab().toImage().pixelColor(onOutline);
    const QColor ground = field->grab().toImage().pixelColor(field->width() / 2, 4);
    ASSERT_NE(outline, ground);
    QTest::mousePress(eye, Qt::LeftButton);
    ASSERT_TRUE(field->isRevealed());
    EXPECT_EQ(field->grab().toImage().pixelColor(onOutline), outline);
    EXPECT_EQ(field->grab().toImage().pixelColor(field->width() / 2, 4), ground);
    QTest::mouseRelease(eye, Qt::LeftButton);
}

TEST_F(RevealButtonTest, HasNothingToShowUntilSomethingWasTyped) {
    EXPECT_FALSE(RevealButton(nullptr).isHeld());
    field->wipeText();
    field->type(u"\r\n");
    EXPECT_FALSE(eye->isEnabled());
    field->type(u"ab");
    QTest::keyClick(field, Qt::Key_Backspace);
    EXPECT_EQ(field->length(), 1);
    EXPECT_TRUE(eye->isEnabled());
}

TEST_F(RevealButtonTest, HasNoFaintGlyphInHighContrast) {
    field->wipeText();
    setHighContrast(true);
    const QImage disabled = look();
    for (int y = 0; y < disabled.height(); ++y) {
        for (int x = 0; x < disabled.width(); ++x) {
            ASSERT_EQ(disabled.pixelColor(x, y), disabled.pixelColor(0, 0)) << x << ", " << y;
        }
    }
    field->type(u"x");
    EXPECT_NE(look(), disabled);
}

TEST_F(RevealButtonTest, IsNamedForAScreenReader) {
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(eye);
    EXPECT_EQ(accessible->text(QAccessible::Name), "Show password while held");
    EXPECT_EQ(eye->focusPolicy(), Qt::TabFocus);
    EXPECT_EQ(eye->cursor().shape(), Qt::ArrowCursor);
}

}  // namespace
}  // namespace velunor
