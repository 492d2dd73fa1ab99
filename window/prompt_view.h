#pragma once

#include <vector>

#include "platform/application.h"
#include "platform/controls.h"
#include "platform/fatal_stop.h"

namespace velunor {

/// The window's controls, connected from the window's form by name. All are weak: the window's
/// view hierarchy owns them. Main thread only. Names such as `passwordTextFiled` and `Credentails`
/// are interface names, kept on purpose.
struct Outlets {
    WeakReference<Label> productNameLabel;
    WeakReference<View> osUpdateInfoView;
    WeakReference<Label> titleLabel;
    WeakReference<Label> messageLabel;
    WeakReference<Label> updateDescription;
    WeakReference<View> credentailsRequiredView;
    WeakReference<Label> credentailsInfoTextLabel;
    WeakReference<StackView> userStackView;
    WeakReference<ImageView> userIcon;
    WeakReference<Label> userNameLabel;
    WeakReference<Button> usernameChangeButton;
    WeakReference<EditableField> userNameTextField;
    WeakReference<View> unsupportedUserCredentailsView;
    WeakReference<StackView> unsupportedInfoStackView;
    WeakReference<SecureField> passwordTextFiled;
    WeakReference<Label> unsupportedUserCredentailInfoTextLabel;
    WeakReference<LayoutConstraint> passwordToUnspportedInfoConstraint;
    WeakReference<LayoutConstraint> passwordToUserNameConstraint;
    WeakReference<Label> timerInfoLabel;
    WeakReference<Label> postponeAttemptsRemainingLabel;
    WeakReference<Button> postponeButton;
    WeakReference<Button> updateNowButton;
    WeakReference<View> updateGearBackground;
    WeakReference<ImageView> updateGearIcon;
    WeakReference<ImageView> appIcon;
};

inline constexpr int outletCount = 25;

/// Calls `visitor(name, outlet)` for each outlet in declaration order. The visitor must accept a
/// WeakReference to every kind of control.
template <class Visitor>
void forEachOutlet(Outlets& outlets, Visitor&& visitor) {
    visitor("productNameLabel", outlets.productNameLabel);
    visitor("osUpdateInfoView", outlets.osUpdateInfoView);
    visitor("titleLabel", outlets.titleLabel);
    visitor("messageLabel", outlets.messageLabel);
    visitor("updateDescription", outlets.updateDescription);
    visitor("credentailsRequiredView", outlets.credentailsRequiredView);
    visitor("credentailsInfoTextLabel", outlets.credentailsInfoTextLabel);
    visitor("userStackView", outlets.userStackView);
    visitor("userIcon", outlets.userIcon);
    visitor("userNameLabel", outlets.userNameLabel);
    visitor("usernameChangeButton", outlets.usernameChangeButton);
    visitor("userNameTextField", outlets.userNameTextField);
    visitor("unsupportedUserCredentailsView", outlets.unsupportedUserCredentailsView);
    visitor("unsupportedInfoStackView", outlets.unsupportedInfoStackView);
    visitor("passwordTextFiled", outlets.passwordTextFiled);
    visitor("unsupportedUserCredentailInfoTextLabel",
            outlets.unsupportedUserCredentailInfoTextLabel);
    visitor("passwordToUnspportedInfoConstraint", outlets.passwordToUnspportedInfoConstraint);
    visitor("passwordToUserNameConstraint", outlets.passwordToUserNameConstraint);
    visitor("timerInfoLabel", outlets.timerInfoLabel);
    visitor("postponeAttemptsRemainingLabel", outlets.postponeAttemptsRemainingLabel);
    visitor("postponeButton", outlets.postponeButton);
    visitor("updateNowButton", outlets.updateNowButton);
    visitor("updateGearBackground", outlets.updateGearBackground);
    visitor("updateGearIcon", outlets.updateGearIcon);
    visitor("appIcon", outlets.appIcon);
}

/// What the window's form gives the controller and keeps. Main thread only.
struct PromptView {
    Outlets outlets;
    /// The constraints of the root view, in their order.
    std::vector<LayoutConstraint*> constraints;
    /// The window that shows the view; null while there is none.
    Window* window = nullptr;
};

}  // namespace velunor
