#include <QAccessible>

#include "platform/qt/text_label.h"
#include "tests/qt/prompt_window_fixture.h"

namespace velunor {
namespace {

using PromptSpeechTest = PromptWindowTest;

TEST_F(PromptSpeechTest, HasItsTitleForTheDesktop) {
    prompt.title = "Update [*] & <b>restart</b>";
    show();

    EXPECT_EQ(window.windowTitle(), "Update [*][*] & <b>restart</b>");
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&window);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->text(QAccessible::Name), "Update [*] & <b>restart</b>");
}

TEST_F(PromptSpeechTest, NamesItsFieldsForAScreenReader) {
    for (const char* name : {"userNameTextField", "passwordTextFiled"}) {
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&find(name));
        ASSERT_NE(accessible, nullptr);
        EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty()) << name;
    }
    QAccessibleInterface* password =
        QAccessible::queryAccessibleInterface(&find("passwordTextFiled"));
    EXPECT_TRUE(password->state().passwordEdit);
}

}  // namespace
}  // namespace velunor
