#include "platform/fatal_stop.h"
#include "window/view_controller.h"

namespace velunor {

std::string ViewController::localizedText(std::string_view key) const {
    auto text = globals_.i18nDefault.getValueForKeyString(key);
    if (!text) {
        fatalStop();
    }
    return std::move(*text);
}

void ViewController::setLocalizationText() {
    Outlets& out = outlets();
    out.titleLabel->setStringValue(localizedText("tarn.agent.msghand.os_reboot.reboot_title"));
    out.messageLabel->setStringValue(localizedText("tarn.agent.msghand.os_reboot.reboot_text"));
    out.credentailsInfoTextLabel->setStringValue(
        localizedText("tarn.agent.msghand.os_reboot.credentials_text"));
    out.usernameChangeButton->setTitle(
        localizedText("tarn.agent.msghand.os_reboot.change_username_text"));
    out.unsupportedUserCredentailInfoTextLabel->setStringValue(
        localizedText("tarn.agent.msghand.os_reboot.credentials_not_sufficient"));
    out.postponeButton->setTitle(localizedText("tarn.agent.msghand.postpone"));
    out.updateNowButton->setTitle(localizedText("tarn.agent.msghand.update_now"));

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

AttributedString ViewController::buildAttributedUpdateString(
    std::string_view templateText, std::span<const std::string> values) const {
    constexpr std::string_view placeholder = "%s";
    constexpr TextAttributes valueAttributes{FontWeight::bold, 17.0, TextColor::standard};
    AttributedString styled;
    bool moreSegments = true;
    for (std::size_t index = 0; moreSegments; ++index) {
        const std::size_t end = templateText.find(placeholder);
        moreSegments = end != std::string_view::npos;
        styled.push_back({std::string(templateText.substr(0, end)), std::nullopt, 0});
        if (moreSegments) {
            templateText.remove_prefix(end + placeholder.size());
        }
        if (index < values.size()) {
            const std::string& value = values[index];
            styled.push_back({value, valueAttributes, services_.segmenter.characterCount(value)});
        }
    }
    return styled;
}

}  // namespace velunor
