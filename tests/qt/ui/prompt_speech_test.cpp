#include <QAccessible>

#include "platform/qt/accessibility/accessibility.h"
#include "platform/qt/password_field/secure_text_field.h"
#include "platform/qt/widgets/text_label.h"
#include "tests/qt/ui/prompt_window_fixture.h"

namespace velunor {
namespace {

AttributedString countdown(const std::string& minutes, const std::string& seconds) {
    const TextAttributes bold{FontWeight::bold, 17, TextColor::standard};
    return {{"In ", std::nullopt, 0},
            {minutes, bold, minutes.size()},
            {" min ", std::nullopt, 0},
            {seconds, bold, seconds.size()}};
}

class PromptSpeechTest : public PromptWindowTest {
  protected:
    [[nodiscard]] std::string spoken() {
        return window.findChild<Announcer*>()->lastText().toStdString();
    }
    QAccessibleInterface& accessible(const char* name) {
        return *QAccessible::queryAccessibleInterface(&find(name));
    }
};

TEST_F(PromptSpeechTest, SaysItsTextsWhenItOpens) {
    EXPECT_EQ(spoken(), "");

    show();
    ASSERT_TRUE(waitUntil([&] { return !spoken().empty(); }));

    for (const std::string& text : {prompt.title, prompt.message, prompt.updateName}) {
        EXPECT_NE(spoken().find(text), std::string::npos) << text;
    }
    EXPECT_EQ(spoken().find(prompt.noticeText), std::string::npos);
}

TEST_F(PromptSpeechTest, SaysTheCountdownNowAndThen) {
    show();
    PromptView view = window.view();

    view.outlets.timerInfoLabel->setAttributedStringValue(countdown("2", "0"),
                                                          Announcement::spoken);
    EXPECT_EQ(spoken(), "In 2 min 0");
    view.outlets.timerInfoLabel->setAttributedStringValue(countdown("1", "59"),
                                                          Announcement::silent);
    EXPECT_EQ(spoken(), "In 2 min 0");
    view.outlets.timerInfoLabel->setAttributedStringValue(countdown("0", "10"),
                                                          Announcement::spoken);
    EXPECT_EQ(spoken(), "In 0 min 10");
}

TEST_F(PromptSpeechTest, SaysTheNoticeWhenItAppears) {
    prompt.credentials = true;
    show();
    EXPECT_EQ(spoken().find(prompt.noticeText), std::string::npos);

    prompt.notice = true;
    prompt.fill(window);

    EXPECT_EQ(spoken(), prompt.noticeText);
}

TEST_F(PromptSpeechTest, SaysThatThePasswordWasRefusedAndSelectsIt) {
    prompt.credentials = true;
    show();
    window.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return window.isActiveWindow(); }));
    auto& password = find<CustomSecureTextField>("passwordTextFiled");
    password.type(u"wrong");
    find("updateNowButton").setFocus();

    window.view().outlets.passwordTextFiled->layer()->addAnimation(
        {"transform", {-10, 10}, true, 2, std::chrono::milliseconds(70)});

    EXPECT_EQ(spoken(), "The password was not accepted.");
    EXPECT_TRUE(waitUntil([&] { return password.hasFocus(); }));
    EXPECT_EQ(password.selectionLength(), 5);
}

TEST_F(PromptSpeechTest, WhatItSaysStandsOutsideOfTheDialogue) {
    show();
    ASSERT_TRUE(waitUntil([&] { return !spoken().empty(); }));

    QAccessibleInterface* said = QAccessible::queryAccessibleInterface(
        window.findChild<Announcer*>()->children().constLast());
    ASSERT_NE(said, nullptr);
    EXPECT_EQ(said->role(), QAccessible::Notification);
    EXPECT_EQ(said->text(QAccessible::Name).toStdString(), spoken());
    EXPECT_EQ(said->parent(), QAccessible::queryAccessibleInterface(qApp));
}

TEST_F(PromptSpeechTest, FieldsHaveNamesOfTheirOwnAndNothingElse) {
    prompt.credentials = true;
    show();

    for (const char* field : {"userNameTextField", "passwordTextFiled"}) {
        EXPECT_EQ(accessible(field).relations(QAccessible::Label).size(), 0) << field;
        EXPECT_EQ(accessible(field).text(QAccessible::Description), "") << field;
    }
}

TEST_F(PromptSpeechTest, IsADialogueWhoseTextsAreReadOnce) {
    show();

    QAccessibleInterface& dialogue = *QAccessible::queryAccessibleInterface(&window);
    EXPECT_EQ(dialogue.role(), QAccessible::Dialog);
    EXPECT_EQ(dialogue.text(QAccessible::Description), "");
}

TEST_F(PromptSpeechTest, HasItsTitleForTheDesktop) {
    prompt.title = "Update [*] & <b>restart</b>";
    show();

    EXPECT_EQ(window.windowTitle(), "Update [*][*] & <b>restart</b>");
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&window);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->text(QAccessible::Name), "Update [*] & <b>restart</b>");
}

TEST_F(PromptSpeechTest, TakesItsOwnTextsFromTheLanguageFiles) {
    const auto given = [](std::string_view key) -> std::optional<std::string> {
        return key.ends_with("user_name") ? std::nullopt
                                          : std::optional("<" + std::string(key) + ">");
    };
    window.localize(given);
    prompt.credentials = true;
    show();
    const std::string prefix = "<tarn.agent.msghand.prompt.";
    auto& password = find<CustomSecureTextField>("passwordTextFiled");

    EXPECT_EQ(accessible("passwordTextFiled").text(QAccessible::Name).toStdString(),
              prefix + "password>");
    EXPECT_EQ(password.placeholderText().toStdString(), prefix + "password>");
    EXPECT_EQ(password.revealButton().accessibleName().toStdString(), prefix + "show_password>");
    EXPECT_EQ(password.capsLockText().toStdString(), prefix + "caps_lock_on>");
    window.view().outlets.passwordTextFiled->layer()->addAnimation(
        {"transform", {-10, 10}, true, 2, std::chrono::milliseconds(70)});
    EXPECT_EQ(spoken(), prefix + "password_refused>");
    // A text that is missing: the English name, and nothing in the field.
    EXPECT_EQ(accessible("userNameTextField").text(QAccessible::Name), "User name");
    EXPECT_EQ(find<QLineEdit>("userNameTextField").placeholderText(), "");
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
