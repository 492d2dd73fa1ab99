#include "credentials/os_update_util.h"
#include "window/view_controller.h"

namespace velunor {

void ViewController::updateNow() {
    services_.log.write("Update Now Clicked");
    if (!promptData_ || promptData_->updateType == UpdateType::withoutCredentials) {
        services_.log.write("Updating Now without Credentials");
        finish({Proceed{}}, "Update Now Clicked");
    } else if (auto answer = checkedCredentials()) {
        finish({std::move(*answer)}, "Update Now Clicked");
    }
}

std::optional<Proceed> ViewController::checkedCredentials() {
    EditableField& userNameField = *outlets().userNameTextField;
    const std::string typedUser = userNameField.stringValue();
    if (secureTokenStatus(typedUser) == SecureTokenStatus::disabled) {
        credentialsPanel_.setSecureTokenDisabledUser(typedUser);
        services_.log.write("Secure Token not enabled for " + typedUser);
        return std::nullopt;
    }
    credentialsPanel_.setSecureTokenDisabledUser(std::nullopt);
    SecureField& passwordField = *outlets().passwordTextFiled;
    const std::string userName = userNameField.stringValue();
    const Secret password = passwordField.secretValue();
    if (OSUpdateUtil::validatePasswordForDomain("/Local/Default", userName, password,
                                                services_.directory, services_.log)) {
        services_.log.write("Local Validation Success");
    } else if (OSUpdateUtil::validatePasswordForAllDomain(userName, password, services_.directory,
                                                          services_.log)) {
        services_.log.write("Domain Validation Success");
    } else {
        shake(passwordField);
        services_.log.write("Failed to validate credentials " + typedUser);
        return std::nullopt;
    }
    Proceed answer{userNameField.stringValue(), passwordField.secretValue()};
    passwordField.clear();
    services_.log.write("Updating Now with Credentials " + *answer.userName);
    return answer;
}

void ViewController::postponeDeployment() {
    services_.log.write("User Clicked Postpone now - Disabled user " +
                        lastSecureTokenDisabledUser().value_or("--"));
    finish({Postponse{lastSecureTokenDisabledUser()}}, "Postpone Clicked");
}

void ViewController::changeUserName() {
    credentialsPanel_.changeUserName();
}

void ViewController::controlTextDidEndEditing() {
    credentialsPanel_.controlTextDidEndEditing();
}

void ViewController::showCredentailsView(bool status) {
    credentialsPanel_.showCredentailsView(status);
}

void ViewController::showUnspportedCredentailsAlert(bool status) {
    credentialsPanel_.showUnspportedCredentailsAlert(status);
}

void ViewController::setInitialUserData() {
    credentialsPanel_.setInitialUserData();
}

SecureTokenStatus ViewController::secureTokenStatus(std::string_view forUser) {
    return credentialsPanel_.tokenStatus(forUser);
}

}  // namespace velunor
