#include "credentials/credentials_panel.h"

#include <utility>

#include "credentials/os_update_util.h"

namespace velunor {
namespace {

constexpr std::string_view timerBelowCredentials = "TimerViewToCredentailsBottomConstraint";
constexpr std::string_view timerBelowUpdateInfo = "TimerViewToOSInfoBottomConstraint";

constexpr int priorityOf(bool wins) {
    return wins ? layoutPriorityDefaultHigh : layoutPriorityDefaultLow;
}

/// The account's picture inside an ellipse of its own size, or null.
ImagePointer roundedPicture(const std::string& userName, const CredentialsPanelServices& services) {
    const ImagePointer picture =
        OSUpdateUtil::getUserPicture(userName, services.directory, services.images, services.log);
    if (!picture) {
        return nullptr;
    }
    const Size size = picture->size();
    return services.images.clippedToRoundedRectangle(picture, size.width / 2, size.height / 2);
}

}  // namespace

CredentialsPanel::CredentialsPanel(const CredentialsPanelOutlets& outlets,
                                   std::vector<LayoutConstraint*> constraints,
                                   CredentialsPanelServices services)
    : outlets_(std::make_shared<const CredentialsPanelOutlets>(outlets)),
      constraints_(std::move(constraints)),
      services_(std::move(services)) {}

void CredentialsPanel::showCredentailsView(bool status) {
    for (LayoutConstraint* constraint : constraints_) {
        const std::string identifier = constraint->identifier();
        if (identifier == timerBelowCredentials) {
            constraint->setPriority(priorityOf(status));
            services_.log.write(status ? "Showing Timer Below Credentails"
                                       : "Unshowing Timer Below Credentails");
        } else if (identifier == timerBelowUpdateInfo) {
            constraint->setPriority(priorityOf(!status));
            services_.log.write(status ? "Unshowing Timer Below OS Info"
                                       : "Showing Timer Below OS Info");
        }
    }
    outlets_->credentailsRequiredView->setHidden(!status);
}

void CredentialsPanel::showUnspportedCredentailsAlert(bool status) {
    if (!outlets_->unsupportedInfoStackView.isConnected()) {
        return;
    }
    outlets_->unsupportedInfoStackView->setHidden(!status);
    if (!outlets_->passwordToUnspportedInfoConstraint.isConnected()) {
        return;
    }
    outlets_->passwordToUnspportedInfoConstraint->setPriority(priorityOf(status));
    outlets_->passwordToUserNameConstraint->setPriority(priorityOf(!status));
}

void CredentialsPanel::setInitialUserData() {
    const auto userName = OSUpdateUtil::getUserName(services_.consoleUsers, services_.log);
    if (!userName) {
        changeUserName();
        return;
    }
    outlets_->userNameLabel->setStringValue(*userName);
    outlets_->userNameTextField->setStringValue(*userName);
    loadPicture(*userName);
    checkSecureToken(outlets_->userNameTextField->stringValue(), *userName);
}

void CredentialsPanel::changeUserName() {
    outlets_->userStackView->setHidden(true);
    outlets_->userNameTextField->setHidden(false);
}

void CredentialsPanel::controlTextDidEndEditing() {
    const std::string typedUser = outlets_->userNameTextField->stringValue();
    checkSecureToken(typedUser, typedUser);
}

SecureTokenStatus CredentialsPanel::tokenStatus(std::string_view forUser) {
    return secureTokenStatus(forUser, services_.secureTokenTool, services_.childProcess,
                             services_.log);
}

void CredentialsPanel::setSecureTokenDisabledUser(std::optional<std::string> userName) {
    showUnspportedCredentailsAlert(userName.has_value());
    lastSecureTokenDisabledUser_ = std::move(userName);
}

void CredentialsPanel::checkSecureToken(const std::string& askedUser,
                                        const std::string& disabledUser) {
    setSecureTokenDisabledUser(tokenStatus(askedUser) == SecureTokenStatus::disabled
                                   ? std::optional<std::string>(disabledUser)
                                   : std::nullopt);
}

void CredentialsPanel::loadPicture(const std::string& userName) {
    // The panel may be gone before the work is done, so the work holds copies, never the panel. Its
    // controls are asked for on the main thread, which alone lets them go.
    services_.runLoop.performInBackground(
        [services = services_, userName, panelOutlets = std::weak_ptr(outlets_)] {
            const ImagePointer rounded = roundedPicture(userName, services);
            if (!rounded) {
                return;
            }
            services.runLoop.performOnMainThread([rounded, panelOutlets] {
                if (const auto outlets = panelOutlets.lock()) {
                    outlets->userIcon->setImage(rounded);
                }
            });
        });
}

}  // namespace velunor
