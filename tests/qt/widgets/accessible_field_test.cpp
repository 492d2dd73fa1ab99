#include <QAccessible>

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
    EXPECT_TRUE(text().characterRect(12).isEmpty());

    field.setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(text().characterRect(1).right() + 1, text().characterRect(0).left());
}

}  // namespace
}  // namespace velunor
