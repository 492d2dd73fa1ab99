#include <QTest>
#include <QVBoxLayout>

#include "platform/qt/password_field/secure_text_field.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

class RevealTest : public testing::Test {
  protected:
    RevealTest() {
        auto* layout = new QVBoxLayout(&window);
        layout->addWidget(field = new CustomSecureTextField);
        layout->addWidget(neighbour = new CustomTextField);
        eye = &field->revealButton();
        window.show();
        window.activateWindow();
        EXPECT_TRUE(waitUntil([&] { return window.isActiveWindow(); }));
        field->setFocus();
        field->type(u"zqxj");
    }
    void pressEye() { QTest::mousePress(eye, Qt::LeftButton); }
    [[nodiscard]] QImage picture() { return field->grab().toImage(); }

    QWidget window;
    CustomSecureTextField* field = nullptr;
    CustomTextField* neighbour = nullptr;
    RevealButton* eye = nullptr;
};

TEST_F(RevealTest, ShowsTheTextOnlyWhileThePointerHoldsTheEye) {
    const QImage hidden = picture();

    pressEye();
    EXPECT_TRUE(field->isRevealed());
    const QImage shown = picture();
    EXPECT_NE(shown, hidden);
    field->type(u"w");
    EXPECT_NE(picture(), shown);
    QTest::keyClick(field, Qt::Key_Backspace);
    EXPECT_EQ(picture(), shown);

    QTest::mouseRelease(eye, Qt::LeftButton);
    EXPECT_FALSE(field->isRevealed());
    EXPECT_TRUE(field->hasFocus());
}

TEST_F(RevealTest, ShowsTheTextOnlyWhileSpaceHoldsTheEye) {
    QTest::keyClick(field, Qt::Key_Tab);
    ASSERT_TRUE(eye->hasFocus());

    QTest::keyPress(eye, Qt::Key_Space);
    EXPECT_TRUE(field->isRevealed());
    QKeyEvent repeated(QEvent::KeyRelease, Qt::Key_Space, Qt::NoModifier, " ", true);
    QCoreApplication::sendEvent(eye, &repeated);
    EXPECT_TRUE(field->isRevealed());
    QTest::keyRelease(eye, Qt::Key_Space);
    EXPECT_FALSE(field->isRevealed());
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        QTest::keyPress(eye, key);
        EXPECT_FALSE(field->isRevealed());
        QTest::keyRelease(eye, key);
    }
}

TEST_F(RevealTest, EndsWhenTheFocusLeaves) {
    pressEye();
    ASSERT_TRUE(field->isRevealed());
    neighbour->setFocus();
    EXPECT_FALSE(field->isRevealed());

    eye->setFocus();
    QTest::keyPress(eye, Qt::Key_Space);
    ASSERT_TRUE(field->isRevealed());
    neighbour->setFocus();
    EXPECT_FALSE(field->isRevealed());
    field->setFocus();
    EXPECT_FALSE(field->isRevealed());
}

TEST_F(RevealTest, EndsWhenAnotherWindowBecomesActive) {
    pressEye();
    ASSERT_TRUE(field->isRevealed());

    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return other.isActiveWindow(); }));
    EXPECT_FALSE(field->isRevealed());

    // Nor does it begin in the background.
    QTest::mouseRelease(eye, Qt::LeftButton);
    pressEye();
    EXPECT_FALSE(field->isRevealed());
}

TEST_F(RevealTest, EndsWhenThePointerLeavesTheFieldIsHiddenOrEmptied) {
    pressEye();
    QTest::mouseMove(eye, QPoint(-40, 10));
    QMouseEvent away(QEvent::MouseMove, QPointF(-40, 10), eye->mapToGlobal(QPointF(-40, 10)),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(eye, &away);
    EXPECT_FALSE(field->isRevealed());
    QTest::mouseRelease(eye, Qt::LeftButton);

    pressEye();
    ASSERT_TRUE(field->isRevealed());
    field->hide();
    EXPECT_FALSE(field->isRevealed());
    field->show();
    QTest::mouseRelease(eye, Qt::LeftButton);

    pressEye();
    ASSERT_TRUE(field->isRevealed());
    field->wipeText();
    EXPECT_FALSE(field->isRevealed());
    EXPECT_FALSE(eye->isEnabled());
}

TEST_F(RevealTest, HasNothingToShowForAnEmptyField) {
    field->wipeText();
    EXPECT_FALSE(eye->isEnabled());
    QTest::keyClick(field, Qt::Key_A);
    EXPECT_TRUE(eye->isEnabled());
    QTest::keyClick(field, Qt::Key_Backspace);
    EXPECT_FALSE(eye->isEnabled());
}

}  // namespace
}  // namespace velunor
