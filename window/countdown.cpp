#include <algorithm>
#include <array>
#include <chrono>

#include "platform/fatal_stop.h"
#include "window/view_controller.h"

namespace velunor {
namespace {

constexpr std::chrono::seconds tickInterval{1};
constexpr std::int64_t secondsPerMinute = 60;

/// When a listener hears what time is left: they may be at work elsewhere.
constexpr std::array<std::int64_t, 6> spokenSeconds{600, 300, 120, 60, 30, 10};

Announcement announcementAt(std::int64_t secondsLeft) {
    const bool isSpoken = std::ranges::find(spokenSeconds, secondsLeft) != spokenSeconds.end();
    return isSpoken ? Announcement::spoken : Announcement::silent;
}

}  // namespace

void ViewController::showRemainingTime() {
    const std::array values{std::to_string(remainingTimeInSecond_ / secondsPerMinute),
                            std::to_string(remainingTimeInSecond_ % secondsPerMinute)};
    outlets().timerInfoLabel->setAttributedStringValue(
        buildAttributedUpdateString(timerInfoMessage_, values),
        announcementAt(remainingTimeInSecond_));
}

void ViewController::updateTimerInfoLabel() {
    showRemainingTime();
    services_.log.write("Starting with " + outlets().timerInfoLabel->stringValue());
    services_.runLoop.scheduleTimer(tickInterval, TimerKind::repeating,
                                    [this](Timer& timer) { tick(timer); });
}

void ViewController::tick(Timer& timer) {
    remainingTimeInSecond_ = orFatalStop(added(remainingTimeInSecond_, -1));
    if (remainingTimeInSecond_ < 1) {
        timer.invalidate();
        timerFired();
    } else {
        showRemainingTime();
    }
}

void ViewController::timerFired() {
    services_.log.write("Timer Fired");
    if (!promptData_) {
        services_.log.write("Unable to get Prompt Data");
        finish({Postponse{lastSecureTokenDisabledUser()}},
               "Time ran out - Postponing due to Issue");
    } else if (promptData_->defaultToProceed &&
               promptData_->updateType == UpdateType::withoutCredentials) {
        services_.log.write("Sending Data to as proceed with no credentials");
        finish({Proceed{}}, "Time ran out - Proceeding");
    } else {
        services_.log.write("Sending Data to as postpone with disabled user " +
                            lastSecureTokenDisabledUser().value_or("--"));
        finish({Postponse{lastSecureTokenDisabledUser()}}, "Time ran out - Postponing");
    }
}

}  // namespace velunor
