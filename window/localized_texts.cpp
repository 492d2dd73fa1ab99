#include "window/view_controller.h"

namespace velunor {

void ViewController::setLocalizationText() {
    constexpr std::string_view titleKey = "tarn.agent.msghand.os_reboot.reboot_title";
    constexpr std::string_view messageKey = "tarn.agent.msghand.os_reboot.reboot_text";
    constexpr std::string_view credentialsKey = "tarn.agent.msghand.os_reboot.credentials_text";
    constexpr std::string_view changeUserKey = "tarn.agent.msghand.os_reboot.change_username_text";
    constexpr std::string_view unsupportedKey =
        "tarn.agent.msghand.os_reboot.credentials_not_sufficient";
    constexpr std::string_view postponeKey = "tarn.agent.msghand.postpone";
    constexpr std::string_view updateNowKey = "tarn.agent.msghand.update_now";

    Outlets& out = outlets();
    out.titleLabel->setStringValue(localizedText(titleKey));
    out.messageLabel->setStringValue(localizedText(messageKey));
    out.credentailsInfoTextLabel->setStringValue(localizedText(credentialsKey));
    out.usernameChangeButton->setTitle(localizedText(changeUserKey));
    out.unsupportedUserCredentailInfoTextLabel->setStringValue(localizedText(unsupportedKey));
    out.postponeButton->setTitle(localizedText(postponeKey));
    out.updateNowButton->setTitle(localizedText(updateNowKey));

    SystemLog& log = services_.log;
    log.write("Title : " + out.titleLabel->stringValue());
    log.write("Message : " + out.messageLabel->stringValue());
    log.write("Credentails Info : " + out.credentailsInfoTextLabel->stringValue());
    log.write("Unspported Credentails Info : " +
              out.unsupportedUserCredentailInfoTextLabel->stringValue());
    log.write("Postpone Button : " + out.postponeButton->title());
    log.write("Update Now Button : " + out.updateNowButton->title());
    log.write("Username Change Button : " + out.usernameChangeButton->title());
}

}  // namespace velunor
