#include "tests/qt/support/sample_prompt.h"

#include <QImage>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "agent/linux/texts.h"
#include "platform/qt/application/image_reader.h"

namespace velunor {

namespace {

constexpr std::string_view filePrefix = "application_";
constexpr std::string_view fileSuffix = ".properties";

/// The pairs of a shipped file; none when it cannot be read.
Properties shippedTexts(const std::string& language) {
    const std::string name = std::string(filePrefix) + language + std::string(fileSuffix);
    std::ifstream file(std::filesystem::path(SHIPPED_TEXTS) / name, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    auto parsed = parseProperties(text, name);
    return parsed ? *std::move(parsed) : Properties{};
}

TextRun figure(const std::string& digits) {
    return {digits, TextAttributes{FontWeight::bold, 17.0, TextColor::standard}, digits.size()};
}

void showConstraint(PromptView& view, const std::string& identifier, bool wins) {
    for (LayoutConstraint* constraint : view.constraints) {
        if (constraint->identifier() == identifier) {
            constraint->setPriority(wins ? layoutPriorityDefaultHigh : layoutPriorityDefaultLow);
        }
    }
}

}  // namespace

bool SamplePrompt::useShippedTexts(const std::string& language, bool proceeds) {
    texts = shippedTexts(language);
    bool complete = true;
    const auto take = [&](const char* name) -> std::string {
        const auto found = texts.find(std::string("tarn.agent.msghand.") + name);
        complete = complete && found != texts.end() && !found->second.empty();
        return found == texts.end() ? std::string() : found->second;
    };
    title = take("os_reboot.reboot_title");
    message = take("os_reboot.reboot_text");
    credentialsInfo = take("os_reboot.credentials_text");
    changeTitle = take("os_reboot.change_username_text");
    noticeText = take("os_reboot.credentials_not_sufficient");
    postponeTitle = take("postpone");
    updateNowTitle = take("update_now");
    attempts = "2 " + take("remaining_attempts");
    const std::string countdown =
        take(proceeds ? "automatic_install_text" : "automatic_postpone_text");
    const std::size_t first = countdown.find("%s");
    const std::size_t second = first == std::string::npos ? first : countdown.find("%s", first + 2);
    if (second == std::string::npos) {
        return false;
    }
    countdownStart = countdown.substr(0, first);
    countdownMiddle = countdown.substr(first + 2, second - first - 2);
    countdownEnd = countdown.substr(second + 2);
    return complete;
}

void SamplePrompt::makeLong() {
    title = "A required update for the operating system of this computer is waiting for you";
    for (int times = 0; times < 3; ++times) {
        message +=
            " During the installation the computer cannot be used for about twenty minutes; "
            "keep it connected to power and leave the lid open.";
    }
    updateName = "Cumulative_Security_and_Quality_Update_for_Workstations_2024-07_revision_12b";
    userName = "frederica.alexandrina.lindqvist-von-habersburg@corp.example.org";
    changeTitle = "Authorise with another account";
    noticeText += " If you do not have another account, ask your service desk for one.";
    postponeTitle = "Remind me again tomorrow morning";
    updateNowTitle = "Install the update and restart now";
}

void SamplePrompt::lengthen() {
    productName = "Northwind Device Care for Workstations and Laptops";
    title += " – " + message;
    message += " " + noticeText;
    updateName = "Cumulative_Security_and_Quality_Update_for_Workstations_2024-07_revision_12b";
    userName = "frederica.alexandrina.lindqvist-von-habersburg@corp.example.org";
    minutes = "1439";
}

void SamplePrompt::makeRightToLeft() {
    title = "تحديث جاهز للتثبيت";
    message = "يجب تثبيت تحديث نظام التشغيل. سيُعاد تشغيل الكمبيوتر بعد التثبيت، فاحفظ عملك أولاً.";
    credentialsInfo = "أدخل كلمة مرور حساب يُسمح له بالتحديث.";
    userName = "ليلى حداد";
    changeTitle = "تغيير";
    noticeText = "لا يُسمح لهذا الحساب بالموافقة على تحديثات النظام.";
    countdownStart = "يبدأ التحديث خلال ";
    countdownMiddle = " دقيقة و ";
    countdownEnd = " ثانية.";
    attempts = "2 محاولات متبقية";
    postponeTitle = "تأجيل";
    updateNowTitle = "التحديث الآن";
}

void SamplePrompt::makeLiteral() {
    productName = "Smith & Sons <Agents>";
    title = "<b>Update</b> & restart: 100%s 👩‍💻";
    message =
        "First line\nsecond line\n\nAfter an empty one: &amp; <a href=\"x\">no link</a> %1 %s";
    updateName = "Update 🚀 für Größe “XL” 日本語 العربية";
    postponeTitle = "&Postpone && wait";
    updateNowTitle = "&Update <now>";
}

void SamplePrompt::fill(PromptWindow& window) const {
    PromptView view = window.view();
    Outlets& outlets = view.outlets;
    window.localize([this](std::string_view key) -> std::optional<std::string> {
        const auto found = texts.find(key);
        return found == texts.end() ? std::nullopt : std::optional(found->second);
    });
    outlets.productNameLabel->setStringValue(productName);
    outlets.titleLabel->setStringValue(title);
    outlets.messageLabel->setStringValue(message);
    outlets.updateDescription->setStringValue("\u2022  " + updateName);
    outlets.credentailsInfoTextLabel->setStringValue(credentialsInfo);
    outlets.userNameLabel->setStringValue(userName);
    outlets.userNameTextField->setStringValue(userName);
    outlets.usernameChangeButton->setTitle(changeTitle);
    outlets.unsupportedUserCredentailInfoTextLabel->setStringValue(noticeText);
    outlets.timerInfoLabel->setAttributedStringValue({{countdownStart, std::nullopt, 0},
                                                      figure(minutes),
                                                      {countdownMiddle, std::nullopt, 0},
                                                      figure(seconds),
                                                      {countdownEnd, std::nullopt, 0}},
                                                     Announcement::spoken);
    outlets.postponeAttemptsRemainingLabel->setStringValue(attempts);
    outlets.postponeButton->setTitle(postponeTitle);
    outlets.updateNowButton->setTitle(updateNowTitle);

    showConstraint(view, "TimerViewToCredentailsBottomConstraint", credentials);
    showConstraint(view, "TimerViewToOSInfoBottomConstraint", !credentials);
    outlets.credentailsRequiredView->setHidden(!credentials);
    outlets.unsupportedInfoStackView->setHidden(!notice);
    outlets.passwordToUnspportedInfoConstraint->setPriority(notice ? layoutPriorityDefaultHigh
                                                                   : layoutPriorityDefaultLow);
    outlets.passwordToUserNameConstraint->setPriority(notice ? layoutPriorityDefaultLow
                                                             : layoutPriorityDefaultHigh);
    outlets.userStackView->setHidden(otherUser);
    outlets.userNameTextField->setHidden(!otherUser);
    outlets.postponeButton->setHidden(!postponeOffered);

    if (rebranded) {
        QImage logo(560, 96, QImage::Format_ARGB32);
        logo.fill(QColor(0xD2, 0x4A, 0x1F));
        outlets.appIcon->setImage(std::make_shared<QtImage>(logo));
    }

    outlets.updateGearBackground->setWantsLayer(true);
    Layer& disc = *outlets.updateGearBackground->layer();
    disc.setBackgroundColor({7.0 / 255, 18.0 / 255, 41.0 / 255, 1});
    disc.setCornerRadius(outlets.updateGearBackground->frame().size.height / 2);
    outlets.updateNowButton->activateWidthConstraint(outlets.updateNowButton->frame().size.width +
                                                     10);
}

std::vector<std::string> shippedLanguages() {
    std::vector<std::string> languages;
    for (const auto& entry : std::filesystem::directory_iterator(SHIPPED_TEXTS)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with(filePrefix) && name.ends_with(fileSuffix)) {
            languages.push_back(name.substr(filePrefix.size(),
                                            name.size() - filePrefix.size() - fileSuffix.size()));
        }
    }
    std::sort(languages.begin(), languages.end());
    return languages;
}

}  // namespace velunor
