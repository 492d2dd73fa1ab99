#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QMimeData>
#include <QTest>

#include "platform/qt/controls/control_adapters.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

class SecureFieldTest : public testing::Test {
  protected:
    [[nodiscard]] std::string typed() const { return std::string(widget.secret().reveal()); }
    [[nodiscard]] QAccessibleInterface& accessible() {
        return *QAccessible::queryAccessibleInterface(&widget);
    }
    void expectOnlyBullets() const {
        EXPECT_EQ(widget.text(), QString(widget.length(), QChar(0x25CF)));
    }

    CustomSecureTextField widget;
};

TEST_F(SecureFieldTest, GivesTheTypedBytesAndKeepsThem) {
    const QtSecureField field(widget);

    widget.type(u"p\u00E4ss \u20AC\U0001F511");

    EXPECT_EQ(field.secretValue().reveal(), "p\u00E4ss \u20AC\U0001F511");
    EXPECT_EQ(field.secretValue().reveal(), "p\u00E4ss \u20AC\U0001F511");
    EXPECT_EQ(widget.length(), 7);
}

TEST_F(SecureFieldTest, TakesTheKeysOfItsCharactersAndNoOthers) {
    QTest::keyClicks(&widget, "pass WORD");
    QTest::keyClick(&widget, Qt::Key_B, Qt::ControlModifier);
    QTest::keyClick(&widget, Qt::Key_Escape);
    QTest::keyClick(&widget, Qt::Key_F5);

    EXPECT_EQ(typed(), "pass WORD");
    expectOnlyBullets();
}

TEST_F(SecureFieldTest, FollowsEveryWayOfRemovingText) {
    struct Case {
        Qt::Key key = Qt::Key_unknown;
        Qt::KeyboardModifiers held;
        int caret = 0;
        const char* left = nullptr;
    };
    for (const Case& one : {Case{Qt::Key_Backspace, Qt::NoModifier, 3, "abdef"},
                            Case{Qt::Key_Delete, Qt::NoModifier, 3, "abcef"},
                            Case{Qt::Key_Delete, Qt::ControlModifier, 2, "ab"},
                            Case{Qt::Key_Backspace, Qt::NoModifier, 0, "abcdef"}}) {
        widget.wipeText();
        widget.type(u"abcdef");
        widget.setCursorPosition(one.caret);
        QTest::keyClick(&widget, one.key, one.held);
        EXPECT_EQ(typed(), one.left);
        expectOnlyBullets();
    }
}

TEST_F(SecureFieldTest, PutsTypingInPlaceOfTheSelection) {
    widget.type(u"abcdef");
    widget.setSelection(1, 3);

    QTest::keyClick(&widget, Qt::Key_X);
    EXPECT_EQ(typed(), "axef");
    widget.setSelection(2, -1);
    QTest::keyClick(&widget, Qt::Key_Delete);
    EXPECT_EQ(typed(), "aef");
    widget.setCursorPosition(1);
    QTest::keyClick(&widget, Qt::Key_Y);
    EXPECT_EQ(typed(), "ayef");
    widget.selectAll();
    QTest::keyClick(&widget, Qt::Key_Backspace);
    EXPECT_EQ(typed(), "");
    expectOnlyBullets();
}

TEST_F(SecureFieldTest, RemovesACharacterBeyondTheBasicPlaneAsOne) {
    widget.type(u"a\U0001F511");

    QTest::keyClick(&widget, Qt::Key_Backspace);

    EXPECT_EQ(typed(), "a");
}

TEST_F(SecureFieldTest, LeavesLineBreaksOfAPastedTextOut) {
    QGuiApplication::clipboard()->setText("pasted\r\n");

    QTest::keySequence(&widget, QKeySequence::Paste);

    EXPECT_EQ(typed(), "pasted");
    expectOnlyBullets();
    QGuiApplication::clipboard()->clear();
}

TEST_F(SecureFieldTest, HandsNothingToTheClipboard) {
    QGuiApplication::clipboard()->setText("before");
    widget.type(u"secret");
    widget.selectAll();

    for (const auto key : {QKeySequence::Copy, QKeySequence::Cut}) {
        QTest::keySequence(&widget, key);
    }
    widget.copy();

    EXPECT_EQ(QGuiApplication::clipboard()->text(), "before");
    EXPECT_EQ(typed(), "secret");
    QGuiApplication::clipboard()->clear();
}

TEST_F(SecureFieldTest, TakesNothingThatIsDropped) {
    QMimeData dragged;
    dragged.setText("elsewhere");
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
    EXPECT_FALSE(widget.acceptDrops());

    QCoreApplication::sendEvent(&widget, &drop);

    EXPECT_EQ(typed(), "");
    expectOnlyBullets();
}

TEST_F(SecureFieldTest, BringsNothingBackByUndo) {
    QTest::keyClicks(&widget, "password");
    QTest::keySequence(&widget, QKeySequence::Undo);
    EXPECT_EQ(typed(), "password");
    widget.undo();
    expectOnlyBullets();

    widget.wipeText();
    widget.undo();
    widget.redo();

    EXPECT_EQ(typed(), "");
    expectOnlyBullets();
}

TEST_F(SecureFieldTest, KeepsNothingOfACompositionButItsResult) {
    QInputMethodEvent composing("nihao", {});
    QCoreApplication::sendEvent(&widget, &composing);
    EXPECT_EQ(typed(), "");
    EXPECT_EQ(widget.displayText(), "");
    EXPECT_EQ(widget.inputMethodQuery(Qt::ImSurroundingText).toString(), "");

    QInputMethodEvent done;
    done.setCommitString(QString(QChar(0x00E9)));
    QCoreApplication::sendEvent(&widget, &done);
    EXPECT_EQ(typed(), "\u00E9");

    QInputMethodEvent replaced;
    replaced.setCommitString("e", -1, 1);
    QCoreApplication::sendEvent(&widget, &replaced);
    EXPECT_EQ(typed(), "e");
    EXPECT_EQ(widget.inputMethodQuery(Qt::ImSurroundingText).toString(), QString(QChar(0x25CF)));
}

TEST_F(SecureFieldTest, ShowsAndSharesNothing) {
    EXPECT_EQ(widget.echoMode(), QLineEdit::Password);
    EXPECT_FALSE(widget.dragEnabled());
    EXPECT_EQ(widget.contextMenuPolicy(), Qt::NoContextMenu);
    const auto wanted =
        Qt::ImhHiddenText | Qt::ImhSensitiveData | Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase;
    EXPECT_EQ(widget.inputMethodHints() & wanted, wanted);
}

TEST_F(SecureFieldTest, IsAPasswordOfBulletsToAScreenReader) {
    widget.setAccessibleName("Password");
    widget.type(u"abc");
    const QString bullets(3, QChar(0x25CF));

    EXPECT_EQ(accessible().role(), QAccessible::EditableText);
    EXPECT_TRUE(accessible().state().passwordEdit);
    EXPECT_TRUE(accessible().state().focusable);
    EXPECT_EQ(accessible().text(QAccessible::Name), "Password");
    EXPECT_EQ(accessible().text(QAccessible::Value), bullets);
    QAccessibleTextInterface& text = *accessible().textInterface();
    EXPECT_EQ(text.characterCount(), 3);
    EXPECT_EQ(text.text(0, 3), bullets);
    EXPECT_EQ(text.cursorPosition(), 3);
}

TEST_F(SecureFieldTest, CanBeFilledByAnAssistiveTechnology) {
    QAccessibleEditableTextInterface& text = *accessible().editableTextInterface();

    text.insertText(0, "abef");
    text.insertText(2, "cd");
    EXPECT_EQ(typed(), "abcdef");
    text.deleteText(0, 2);
    EXPECT_EQ(typed(), "cdef");
    text.replaceText(3, 99, "xy");
    EXPECT_EQ(typed(), "cdexy");
    accessible().setText(QAccessible::Value, "new");
    EXPECT_EQ(typed(), "new");
    expectOnlyBullets();
}

TEST(SecretTextTest, KeepsItsTextWhileItGrows) {
    SecretText text;
    std::string expected;
    for (int index = 0; index < 3000; ++index) {
        const char letter = static_cast<char>('a' + index % 26);
        text.insert(static_cast<std::size_t>(index) / 2, static_cast<char32_t>(letter));
        expected.insert(static_cast<std::size_t>(index) / 2, 1, letter);
    }
    EXPECT_EQ(text.utf8().reveal(), expected);

    text.erase(10, 2000);
    expected.erase(10, 2000);
    EXPECT_EQ(text.utf8().reveal(), expected);
    text.erase(900, 500);
    expected.erase(900, 500);
    EXPECT_EQ(text.utf8().reveal(), expected);
}

TEST(SecretTextTest, IsEmptyOnceItIsCleared) {
    SecretText text;
    for (const char32_t letter : {U'a', U'b', U'c'}) {
        text.insert(0, letter);
    }
    EXPECT_EQ(text.reveal(), U"cba");
    text.clear();
    EXPECT_EQ(text.size(), 0U);
    EXPECT_EQ(text.utf8().reveal(), "");
}

TEST(SecretTextTest, EncodesEveryLengthAndReplacesWhatIsNoCharacter) {
    SecretText text;
    for (const char32_t codePoint : {U'a', U'\u00E9', U'\u20AC', U'\U0001F511'}) {
        text.insert(text.size(), codePoint);
    }
    for (const unsigned invalid : {0xD800U, 0xDFFFU, 0x110000U, 0x10FFFFU}) {
        text.insert(text.size(), static_cast<char32_t>(invalid));
    }

    EXPECT_EQ(text.utf8().reveal(), "a\u00E9\u20AC\U0001F511\uFFFD\uFFFD\uFFFD\U0010FFFF");
}

}  // namespace
}  // namespace velunor
