#include "tests/qt/sample_prompt.h"

namespace velunor {

namespace {

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
                                                      figure("14"),
                                                      {countdownMiddle, std::nullopt, 0},
                                                      figure("59"),
                                                      {countdownEnd, std::nullopt, 0}});
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

    outlets.updateGearBackground->setWantsLayer(true);
    Layer& disc = *outlets.updateGearBackground->layer();
    disc.setBackgroundColor({7.0 / 255, 18.0 / 255, 41.0 / 255, 1});
    disc.setCornerRadius(outlets.updateGearBackground->frame().size.height / 2);
    outlets.updateNowButton->activateWidthConstraint(outlets.updateNowButton->frame().size.width +
                                                     10);
}

}  // namespace velunor
