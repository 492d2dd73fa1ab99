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

}  // namespace

CredentialsPanel::CredentialsPanel(CredentialsPanelOutlets outlets,
                                   std::vector<LayoutConstraint*> constraints,
                                   CredentialsPanelServices services)
    : outlets_(outlets), constraints_(std::move(constraints)), services_(std::move(services)) {}

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
    outlets_.credentailsRequiredView->setHidden(!status);
}

void CredentialsPanel::showUnspportedCredentailsAlert(bool status) {
    if (!outlets_.unsupportedInfoStackView.isConnected()) {
        return;
    }
    outlets_.unsupportedInfoStackView->setHidden(!status);
    if (!outlets_.passwordToUnspportedInfoConstraint.isConnected()) {
        return;
    }
    outlets_.passwordToUnspportedInfoConstraint->setPriority(priorityOf(status));
    outlets_.passwordToUserNameConstraint->setPriority(priorityOf(!status));
}

void CredentialsPanel::setInitialUserData() {
    const auto userName = OSUpdateUtil::getUserName(services_.consoleUsers, services_.log);
    if (!userName) {
        changeUserName();
        return;
    }
    outlets_.userNameLabel->setStringValue(*userName);
    outlets_.userNameTextField->setStringValue(*userName);
    loadPicture(*userName);
    checkTypedUser(*userName);
}

void CredentialsPanel::changeUserName() {
    outlets_.userStackView->setHidden(true);
    outlets_.userNameTextField->setHidden(false);
}

void CredentialsPanel::controlTextDidEndEditing() {
    checkTypedUser(outlets_.userNameTextField->stringValue());
}

SecureTokenStatus CredentialsPanel::tokenStatus(std::string_view forUser) {
    return secureTokenStatus(forUser, services_.secureTokenTool, services_.childProcess,
                             services_.log);
}

void CredentialsPanel::setSecureTokenDisabledUser(std::optional<std::string> userName) {
    showUnspportedCredentailsAlert(userName.has_value());
    lastSecureTokenDisabledUser_ = std::move(userName);
}

void CredentialsPanel::checkTypedUser(const std::string& disabledUser) {
    const SecureTokenStatus status = tokenStatus(outlets_.userNameTextField->stringValue());
    setSecureTokenDisabledUser(status == SecureTokenStatus::disabled
                                   ? std::optional<std::string>(disabledUser)
                                   : std::nullopt);
}

void CredentialsPanel::loadPicture(const std::string& userName) {
    // The work outlives this call, so it takes the name by value; the services live as long as
    // the process and the icon is touched on the main thread only.
    services_.runLoop.performInBackground([this, userName] {
        const ImagePointer picture = OSUpdateUtil::getUserPicture(userName, services_.directory,
                                                                  services_.images, services_.log);
        if (!picture) {
            return;
        }
        const Size size = picture->size();
        ImagePointer rounded =
            services_.images.clippedToRoundedRectangle(picture, size.width / 2, size.height / 2);
        services_.runLoop.performOnMainThread([this, rounded = std::move(rounded)]() mutable {
            outlets_.userIcon->setImage(std::move(rounded));
        });
    });
}

}  // namespace velunor
