#include "tests/support/doubles/plain_controls.h"

namespace velunor::testing {

PlainControls::PlainControls() {
    updateGearBackground.rect = {{0, 0}, {56, 56}};
    updateNowButton.rect = {{0, 0}, {112, 32}};
}

PromptView PlainControls::view() {
    PromptView view;
    Outlets& out = view.outlets;
    out.productNameLabel.connect(&productNameLabel);
    out.osUpdateInfoView.connect(&osUpdateInfoView);
    out.titleLabel.connect(&titleLabel);
    out.messageLabel.connect(&messageLabel);
    out.updateDescription.connect(&updateDescription);
    out.credentailsRequiredView.connect(&credentailsRequiredView);
    out.credentailsInfoTextLabel.connect(&credentailsInfoTextLabel);
    out.userStackView.connect(&userStackView);
    out.userIcon.connect(&userIcon);
    out.userNameLabel.connect(&userNameLabel);
    out.usernameChangeButton.connect(&usernameChangeButton);
    out.userNameTextField.connect(&userNameTextField);
    out.unsupportedUserCredentailsView.connect(&unsupportedUserCredentailsView);
    out.unsupportedInfoStackView.connect(&unsupportedInfoStackView);
    out.passwordTextFiled.connect(&passwordTextFiled);
    out.unsupportedUserCredentailInfoTextLabel.connect(&unsupportedUserCredentailInfoTextLabel);
    out.passwordToUnspportedInfoConstraint.connect(&passwordToUnspportedInfoConstraint);
    out.passwordToUserNameConstraint.connect(&passwordToUserNameConstraint);
    out.timerInfoLabel.connect(&timerInfoLabel);
    out.postponeAttemptsRemainingLabel.connect(&postponeAttemptsRemainingLabel);
    out.postponeButton.connect(&postponeButton);
    out.updateNowButton.connect(&updateNowButton);
    out.updateGearBackground.connect(&updateGearBackground);
    out.updateGearIcon.connect(&updateGearIcon);
    out.appIcon.connect(&appIcon);
    view.constraints = {&timerViewToCredentailsBottom, &timerViewToOSInfoBottom};
    view.window = &window;
    return view;
}

}  // namespace velunor::testing
