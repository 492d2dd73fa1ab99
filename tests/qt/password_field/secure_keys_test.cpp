// Which keys and other events type into a password field, and which do nothing.

#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTest>
#include <QVBoxLayout>

#include "platform/qt/password_field/secure_text_field.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

constexpr auto altGr = Qt::ControlModifier | Qt::AltModifier;

class SecureKeysTest : public testing::Test {
  protected:
    /// What a key with this text types, held with these modifiers.
    std::string typedBy(const QString& text, Qt::KeyboardModifiers held = Qt::NoModifier) {
        widget.wipeText();
        QKeyEvent press(QEvent::KeyPress, Qt::Key_unknown, held, text);
        QCoreApplication::sendEvent(&widget, &press);
        EXPECT_EQ(widget.text(), QString(widget.length(), QChar(0x25CF)));
        return typed();
    }
    [[nodiscard]] std::string typed() const { return std::string(widget.secret().reveal()); }

    CustomSecureTextField widget;
};

TEST_F(SecureKeysTest, CharactersOfEveryKindAreTyped) {
    EXPECT_EQ(typedBy("a"), "a");
    EXPECT_EQ(typedBy("@", altGr), "@");
    EXPECT_EQ(typedBy("A", Qt::ShiftModifier), "A");
    EXPECT_EQ(typedBy("\uE000"), "\uE000") << "a private one";
    EXPECT_EQ(typedBy("\U0001F511"), "\U0001F511") << "one of two units";
    EXPECT_EQ(typedBy("\u200D"), "\u200D") << "a joiner";
    // Keyboard layouts put these on such keys.
    EXPECT_EQ(typedBy("\u200D", Qt::ControlModifier | Qt::ShiftModifier), "\u200D");
    EXPECT_EQ(typedBy("\u200C", Qt::ControlModifier), "\u200C");
}

TEST_F(SecureKeysTest, CommandsAreNotTyped) {
    EXPECT_EQ(typedBy("b", Qt::ControlModifier), "");
    EXPECT_EQ(typedBy("B", Qt::ControlModifier | Qt::ShiftModifier), "");
    EXPECT_EQ(typedBy("\x02"), "");
    EXPECT_EQ(typedBy("\x1B"), "");
    EXPECT_EQ(typedBy(""), "");
}

TEST_F(SecureKeysTest, HalfOfACharacterIsTypedAsAReplacement) {
    const QChar high(0xD83D);
    const QChar low(0xDD11);
    widget.type(QString(high));
    EXPECT_EQ(typed(), "\uFFFD");
    widget.wipeText();
    widget.type(QString(high) + "x");
    EXPECT_EQ(typed(), "\uFFFDx");
    widget.wipeText();
    widget.type(QString(low) + high + low);
    EXPECT_EQ(typed(), "\uFFFD\U0001F511");
}

TEST_F(SecureKeysTest, NoMoreIsTypedThanTheFieldTakes) {
    widget.setMaxLength(4);
    widget.type(u"abcdef");
    EXPECT_EQ(typed(), "abcd");
    EXPECT_EQ(typedBy("x"), "x");
    widget.type(u"yz1");
    QTest::keyClick(&widget, Qt::Key_W);
    EXPECT_EQ(typed(), "xyz1");
    // What is selected makes room.
    widget.setSelection(1, 2);
    widget.type(u"987");
    EXPECT_EQ(typed(), "x981");
}

TEST_F(SecureKeysTest, KeysThatAreTypedOrForbiddenGoNoFurther) {
    QWidget window;
    int others = 0;
    struct Counting : QObject {
        explicit Counting(int& count) : count_(count) {}
        bool eventFilter(QObject*, QEvent* event) override {
            // The modifier itself is nobody's.
            const bool isKey = event->type() == QEvent::KeyPress &&
                               static_cast<QKeyEvent*>(event)->key() != Qt::Key_Control;
            count_ += isKey ? 1 : 0;
            return false;
        }
        int& count_;
    } counting(others);
    window.installEventFilter(&counting);
    widget.setParent(&window);
    QTest::keyClick(&widget, Qt::Key_A);
    for (const auto key : {QKeySequence::Copy, QKeySequence::Cut, QKeySequence::Undo,
                           QKeySequence::Redo, QKeySequence::Paste}) {
        QTest::keySequence(&widget, key);
    }
    EXPECT_EQ(others, 0);
    // One that means nothing here is the window's.
    QTest::keyClick(&widget, Qt::Key_F5);
    EXPECT_EQ(others, 1);
    widget.setParent(nullptr);
}

TEST_F(SecureKeysTest, ForbiddenShortcutsAreTakenFromTheWindowToo) {
    const auto isClaimed = [&](Qt::Key key) {
        QKeyEvent claim(QEvent::ShortcutOverride, key, Qt::ControlModifier);
        claim.ignore();
        const bool isTaken = QCoreApplication::sendEvent(&widget, &claim);
        return isTaken && claim.isAccepted();
    };
    EXPECT_TRUE(isClaimed(Qt::Key_C));
    EXPECT_TRUE(isClaimed(Qt::Key_X));
    EXPECT_TRUE(isClaimed(Qt::Key_Z));
    EXPECT_FALSE(isClaimed(Qt::Key_Q));
}

TEST_F(SecureKeysTest, InputMethodReplacesFromTheBeginningOnAtMost) {
    widget.type(u"abc");
    QInputMethodEvent replaced;
    replaced.setCommitString("xy", -9, 2);
    QCoreApplication::sendEvent(&widget, &replaced);
    EXPECT_EQ(typed(), "xyc");

    // Nothing in place of something removes it, and nothing in place of nothing leaves all of it.
    widget.setCursorPosition(3);
    QInputMethodEvent removed;
    removed.setCommitString("", -1, 1);
    QCoreApplication::sendEvent(&widget, &removed);
    EXPECT_EQ(typed(), "xy");
    widget.selectAll();
    QInputMethodEvent nothing;
    QCoreApplication::sendEvent(&widget, &nothing);
    EXPECT_EQ(typed(), "xy");
    EXPECT_EQ(widget.selectedText().size(), 2);
}

TEST_F(SecureKeysTest, EditorThatIsFilledBehindItsBackShowsWhatWasTyped) {
    widget.type(u"ab");
    widget.setText("12345");
    EXPECT_EQ(typed(), "ab");
    EXPECT_EQ(widget.text(), QString(2, QChar(0x25CF)));
    EXPECT_TRUE(widget.revealButton().isEnabled());
}

}  // namespace
}  // namespace velunor
