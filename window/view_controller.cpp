#include "window/view_controller.h"

#include <array>
#include <chrono>
#include <ctime>
#include <utility>

#include "platform/fatal_stop.h"
#include "prompt/delivery.h"

namespace velunor {
namespace {

constexpr double screenMargin = 30;
constexpr double updateButtonExtraWidth = 10;
constexpr std::chrono::seconds attentionDelay{5};

constexpr std::chrono::milliseconds shakePass{70};

constexpr Color gearDiscLight{234.0 / 255, 240.0 / 255, 252.0 / 255, 1};
constexpr Color gearDiscDark{7.0 / 255, 18.0 / 255, 41.0 / 255, 1};

/// The moment in UTC, such as 2024-05-02 12:03:11 +0000.
std::string universalTimeDescription(const Clock& clock) {
    const std::time_t moment = std::chrono::system_clock::to_time_t(clock.now());
    std::tm parts{};
    const std::tm* universal = gmtime_r(&moment, &parts);
    std::array<char, 64> text{};
    const std::size_t length =
        universal == nullptr
            ? 0
            : std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S +0000", universal);
    return {text.data(), length};
}

CredentialsPanelOutlets panelOutlets(const Outlets& outlets) {
    return {.credentailsRequiredView = outlets.credentailsRequiredView,
            .userStackView = outlets.userStackView,
            .userIcon = outlets.userIcon,
            .userNameLabel = outlets.userNameLabel,
            .userNameTextField = outlets.userNameTextField,
            .unsupportedInfoStackView = outlets.unsupportedInfoStackView,
            .passwordToUnspportedInfoConstraint = outlets.passwordToUnspportedInfoConstraint,
            .passwordToUserNameConstraint = outlets.passwordToUserNameConstraint};
}

}  // namespace

ViewController::ViewController(std::vector<std::string> arguments, const Globals& globals,
                               PromptServices services, PromptView view)
    : arguments_(std::move(arguments)),
      globals_(globals),
      services_(std::move(services)),
      view_(std::move(view)),
      accessLog_(globals_.accessLogPath, services_.processInfo, services_.clock, services_.log),
      credentialsPanel_(panelOutlets(view_.outlets), view_.constraints,
                        {.log = services_.log,
                         .runLoop = services_.runLoop,
                         .images = services_.images,
                         .childProcess = services_.childProcess,
                         .consoleUsers = services_.consoleUsers,
                         .directory = services_.directory,
                         .secureTokenTool = services_.secureTokenTool}) {}

void ViewController::viewDidLoad() {
    services_.log.write("Opened Application " + listDescription(arguments_));
    promptData_ = getOSUpdatePromptData();
    printStartingAccessLog(*promptData_);
    setLocalizationText();
    setInitialData(*promptData_);
    processRebranding();
    setCustomizedText();
    outlets().userNameTextField->setEditingEnded([this] { controlTextDidEndEditing(); });
    Button& updateNowButton = *outlets().updateNowButton;
    updateNowButton.setTranslatesAutoresizingMask(false);
    updateNowButton.activateWidthConstraint(updateNowButton.frame().size.width +
                                            updateButtonExtraWidth);
    services_.runLoop.scheduleTimer(attentionDelay, TimerKind::once,
                                    [this](Timer&) { bounceDock(); });
}

void ViewController::viewDidAppear() {
    moveWindowToBottomRight();
}

void ViewController::moveWindowToBottomRight() {
    const auto visible = services_.screens.mainScreenVisibleFrame();
    if (view_.window == nullptr || !visible) {
        return;
    }
    const double width = view_.window->frame().size.width;
    view_.window->setFrameOrigin({visible->origin.x + visible->size.width - width - screenMargin,
                                  visible->origin.y + screenMargin});
}

OSUpdateInput ViewController::getOSUpdatePromptData() {
    return readPromptData(arguments_, services_.log, services_.processExit);
}

void ViewController::setInitialData(const OSUpdateInput& data) {
    constexpr std::int64_t secondsPerMinute = 60;
    remainingTimeInSecond_ = orFatalStop(multiplied(data.timer, secondsPerMinute));
    outlets().productNameLabel->setStringValue(globals_.productName);
    services_.log.write("Product Name : " + outlets().productNameLabel->stringValue());
    showCredentailsView(data.updateType == UpdateType::withCredentials);
    showUnspportedCredentailsAlert(false);
    setInitialUserData();
    setUpdateGear();
    outlets().updateDescription->setStringValue("\u2022  " + data.updateName);
    showPostponeCount(data.remainingPostponeCount);
    if (data.isPosponeButtonDisabled) {
        outlets().postponeButton->setHidden(true);
    }
    timerInfoMessage_ =
        localizedText(data.defaultToProceed ? "tarn.agent.msghand.automatic_install_text"
                                            : "tarn.agent.msghand.automatic_postpone_text");
    updateTimerInfoLabel();
}

void ViewController::showPostponeCount(std::int64_t remainingPostponeCount) {
    Label& label = *outlets().postponeAttemptsRemainingLabel;
    if (remainingPostponeCount < 1) {
        label.setHidden(true);
        return;
    }
    const std::string count = std::to_string(remainingPostponeCount);
    const auto text =
        globals_.i18nDefault.getValueForKeyString("tarn.agent.msghand.remaining_attempts");
    label.setStringValue(count + " " + text.value_or("attempt(s) remaining"));
    services_.log.write("Remaining Postpone Count: " + count);
}

void ViewController::setUpdateGear() {
    View& disc = *outlets().updateGearBackground;
    disc.setWantsLayer(true);
    Layer* layer = disc.layer();
    if (layer == nullptr) {
        return;
    }
    // The light colour is replaced at once; the dark one is what people see.
    layer->setBackgroundColor(gearDiscLight);
    layer->setBackgroundColor(gearDiscDark);
    layer->setCornerRadius(disc.frame().size.height / 2);
}

void ViewController::shake(View& field) {
    Layer* layer = field.layer();
    if (layer != nullptr) {
        layer->addAnimation({.keyPath = "transform",
                             .translationsX = {-10, 10},
                             .autoreverses = true,
                             .repeatCount = 2,
                             .duration = shakePass});
    }
}

void ViewController::bounceDock() {
    services_.application->requestCriticalAttention();
    services_.log.write("Dock bounce (critical) triggered at " +
                        universalTimeDescription(services_.clock));
}

void ViewController::printStartingAccessLog(const OSUpdateInput& input) {
    accessLog_.printStartingEntry(input);
}

void ViewController::printEndingAccessLog(const OSUpdateNotificationResponse& response,
                                          std::string_view reason) {
    accessLog_.printEndingEntry(response, reason);
}

void ViewController::sendDataToService(OSUpdateNotificationResponse status) {
    deliverToService(std::move(status), services_.log, services_.replyLimit);
}

void ViewController::finish(OSUpdateNotificationResponse response, std::string_view reason) {
    printEndingAccessLog(response, reason);
    sendDataToService(std::move(response));
    services_.processExit.exit(0);
}

}  // namespace velunor
