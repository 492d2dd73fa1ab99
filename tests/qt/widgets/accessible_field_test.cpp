#include <QAccessible>
#include <utility>

#include "platform/qt/widgets/text_fields.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

class AccessibleFieldTest : public testing::Test {
  protected:
    AccessibleFieldTest() {
        field.resize(300, 40);
        field.setText("ada lovelace");
    }
    [[nodiscard]] QAccessibleInterface& accessible() {
        return *QAccessible::queryAccessibleInterface(&field);
    }
    [[nodiscard]] QAccessibleTextInterface& text() { return *accessible().textInterface(); }

    CustomTextField field;
};

TEST_F(AccessibleFieldTest, IsOfOneLookFromItsFirstCharacterToItsLast) {
    for (const int offset : {0, 5, 11}) {
        int start = -1;
        int end = -1;
        EXPECT_EQ(text().attributes(offset, &start, &end), "");
        EXPECT_EQ(start, 0) << offset;
        EXPECT_EQ(end, 12) << offset;
    }
}

TEST_F(AccessibleFieldTest, IsTextThatCanBeSelectedAndEdited) {
    EXPECT_EQ(accessible().role(), QAccessible::EditableText);
    EXPECT_TRUE(accessible().state().editable);
    EXPECT_TRUE(accessible().state().selectableText);
    EXPECT_FALSE(accessible().state().passwordEdit);
    EXPECT_EQ(accessible().text(QAccessible::Value), "ada lovelace");
    EXPECT_EQ(text().text(4, 8), "love");

    text().setSelection(0, 0, 4);
    EXPECT_EQ(field.cursorPosition(), 4);
    int start = -1;
    int end = -1;
    text().selection(0, &start, &end);
    EXPECT_EQ(start, 0);
    EXPECT_EQ(end, 4);
    accessible().editableTextInterface()->replaceText(0, 3, "Ada");
    EXPECT_EQ(field.text(), "Ada lovelace");
    accessible().setText(QAccessible::Value, "eve");
    EXPECT_EQ(field.text(), "eve");
}

TEST_F(AccessibleFieldTest, ItsCharactersStandSideBySideInsideOfIt) {
    const QRect inside(field.mapToGlobal(QPoint(0, 0)), field.size());
    for (int offset = 0; offset < 12; ++offset) {
        const QRect place = text().characterRect(offset);
        EXPECT_TRUE(inside.contains(place)) << offset;
        if (offset > 0) {
            EXPECT_EQ(place.left(), text().characterRect(offset - 1).right() + 1) << offset;
        }
    }
    EXPECT_EQ(text().characterRect(12), QRect());

    field.setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(text().characterRect(1).right() + 1, text().characterRect(0).left());
}

TEST_F(AccessibleFieldTest, ItsSelectionAndCaretAreMovedFromOutside) {
    int start = -1;
    int end = -1;
    text().selection(0, &start, &end);
    EXPECT_EQ(std::pair(start, end), std::pair(0, 0));
    EXPECT_EQ(text().selectionCount(), 0);
    text().addSelection(2, 7);
    EXPECT_EQ(text().selectionCount(), 1);
    EXPECT_EQ(field.selectedText(), "a lov");
    text().selection(0, &start, &end);
    EXPECT_EQ(std::pair(start, end), std::pair(2, 7));
    // There is no second one.
    text().selection(1, &start, &end);
    EXPECT_EQ(std::pair(start, end), std::pair(0, 0));
    text().removeSelection(0);
    EXPECT_FALSE(field.hasSelectedText());
    text().setCursorPosition(3);
    EXPECT_EQ(text().cursorPosition(), 3);
    EXPECT_EQ(field.cursorPosition(), 3);
    text().scrollToSubstring(9, 11);
    EXPECT_EQ(field.cursorPosition(), 9);
    EXPECT_EQ(text().characterCount(), 12);
}

TEST_F(AccessibleFieldTest, EditsWithinItsTextWhateverItIsTold) {
    QAccessibleEditableTextInterface& edited = *accessible().editableTextInterface();
    edited.insertText(3, "!");
    EXPECT_EQ(field.text(), "ada! lovelace");
    edited.deleteText(3, 4);
    EXPECT_EQ(field.text(), "ada lovelace");
    edited.deleteText(-5, 4);
    EXPECT_EQ(field.text(), "lovelace");
    edited.replaceText(4, 99, "ly");
    EXPECT_EQ(field.text(), "lovely");
    // The end is before the beginning: nothing is replaced.
    edited.replaceText(4, 1, "-");
    EXPECT_EQ(field.text(), "love-ly");
    field.selectAll();
    edited.insertText(99, "?");
    EXPECT_EQ(field.text(), "love-ly?");
}

TEST_F(AccessibleFieldTest, NameIsNotItsText) {
    field.setAccessibleName("User name");
    EXPECT_EQ(accessible().text(QAccessible::Name), "User name");
    accessible().setText(QAccessible::Name, "forged");
    EXPECT_EQ(field.text(), "ada lovelace");
    EXPECT_NE(accessible().interface_cast(QAccessible::ActionInterface), nullptr);
    EXPECT_EQ(accessible().interface_cast(QAccessible::TableInterface), nullptr);
    EXPECT_TRUE(accessible().state().focusable);
}

TEST_F(AccessibleFieldTest, ItsCharactersAreWhereTheyAreClicked) {
    EXPECT_EQ(text().characterRect(-1), QRect());
    const int height = field.fontMetrics().height();
    const QPoint middle = field.mapToGlobal(field.rect().center());
    for (const int offset : {0, 5, 11}) {
        const QRect place = text().characterRect(offset);
        EXPECT_EQ(place.height(), height);
        EXPECT_NEAR(place.center().y(), middle.y(), 1);
        // The caret goes before or behind the character.
        const int found = text().offsetAtPoint(place.center());
        EXPECT_TRUE(found == offset || found == offset + 1) << offset << ": " << found;
    }
}

}  // namespace
}  // namespace velunor
