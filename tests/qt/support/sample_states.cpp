#include "tests/qt/support/sample_states.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPalette>

#include "platform/qt/password_field/secure_text_field.h"

namespace velunor {

namespace {

CustomSecureTextField& passwordField(PromptWindow& window) {
    return *window.findChild<CustomSecureTextField*>("passwordTextFiled");
}

void holdDown(QWidget& button) {
    const QPointF middle = QRectF(button.rect()).center();
    QMouseEvent press(QEvent::MouseButtonPress, middle, button.mapToGlobal(middle), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&button, &press);
}

void goToPassword(PromptWindow& window) {
    passwordField(window).setFocus();
}

void askForPassword(SamplePrompt& prompt) {
    prompt.credentials = true;
}

void refuseOtherUser(SamplePrompt& prompt) {
    prompt.credentials = true;
    prompt.notice = true;
    prompt.otherUser = true;
}

}  // namespace

const std::vector<SampleState>& sampleStates() {
    static const std::vector<SampleState> states{
        {.name = "plain"},
        {.name = "credentials",
         .prepare = askForPassword,
         .act =
             [](PromptWindow& window) {
                 passwordField(window).type(u"a password");
                 passwordField(window).setFocus();
             }},
        {.name = "other_user",
         .prepare =
             [](SamplePrompt& prompt) {
                 prompt.credentials = true;
                 prompt.otherUser = true;
             },
         .act =
             [](PromptWindow& window) {
                 window.findChild<QWidget*>("userNameTextField")->setFocus();
             },
         .proceeds = true},
        {.name = "notice", .prepare = refuseOtherUser, .act = goToPassword},
        {.name = "last_minute",
         .prepare =
             [](SamplePrompt& prompt) {
                 prompt.minutes = "0";
                 prompt.seconds = "9";
             },
         .proceeds = true},
        {.name = "long_texts",
         .prepare =
             [](SamplePrompt& prompt) {
                 prompt.lengthen();
                 prompt.credentials = true;
                 prompt.notice = true;
             },
         .proceeds = true},
        {.name = "rebranded",
         .prepare =
             [](SamplePrompt& prompt) {
                 prompt.productName = "Northwind Device Care";
                 prompt.rebranded = true;
                 prompt.postponeOffered = false;
             },
         .proceeds = true},
    };
    return states;
}

const std::vector<SampleState>& specialStates() {
    static const std::vector<SampleState> states{
        {.name = "keyboard_focus",
         .act =
             [](PromptWindow& window) {
                 window.findChild<QWidget*>("updateNowButton")->setFocus();
             }},
        {.name = "revealed",
         .prepare = askForPassword,
         .act =
             [](PromptWindow& window) {
                 passwordField(window).type(u"correct horse battery");
                 holdDown(passwordField(window).revealButton());
             }},
        {.name = "refused",
         .prepare = askForPassword,
         .act =
             [](PromptWindow& window) {
                 passwordField(window).type(u"a password");
                 passwordField(window).setFocus();
                 passwordField(window).selectAll();
                 passwordField(window).setRefusal(1);
             }},
        {.name = "large_text", .prepare = refuseOtherUser, .act = goToPassword, .textScale = 2},
        {.name = "high_contrast",
         .prepare = refuseOtherUser,
         .act = goToPassword,
         .highContrast = true},
        {.name = "high_contrast_button",
         .prepare = askForPassword,
         .act =
             [](PromptWindow& window) { window.findChild<QWidget*>("postponeButton")->setFocus(); },
         .highContrast = true},
        {.name = "long_captions",
         .prepare =
             [](SamplePrompt& prompt) {
                 prompt.makeLong();
                 prompt.credentials = true;
             }},
        {.name = "ten_thousand",
         .prepare = [](SamplePrompt& prompt) { prompt.message.assign(10000, 'w'); }},
        {.name = "literal", .prepare = [](SamplePrompt& prompt) { prompt.makeLiteral(); }},
    };
    return states;
}

void setDesktopLook(bool dark) {
    QPalette palette(QColor(0xF0, 0xF0, 0xF0));
    if (dark) {
        palette = QPalette(QColor(0x30, 0x34, 0x3C), QColor(0x24, 0x28, 0x30));
        palette.setColor(QPalette::WindowText, Qt::white);
        palette.setColor(QPalette::Text, Qt::white);
    }
    QApplication::setPalette(palette);
}

void setDesktopTextScale(double scale) {
    static const QFont usual = QApplication::font();
    QFont font = usual;
    font.setPointSizeF(usual.pointSizeF() * scale);
    QApplication::setFont(font);
}

bool showState(PromptWindow& window, const SampleState& state, const std::string& language) {
    SamplePrompt prompt;
    if (!prompt.useShippedTexts(language, state.proceeds)) {
        return false;
    }
    state.prepare(prompt);
    prompt.fill(window);
    window.present();
    window.activateWindow();
    QApplication::processEvents();
    state.act(window);
    QApplication::processEvents();
    return true;
}

}  // namespace velunor
