#include <algorithm>

#include "tests/qt/program/accessibility_events.h"
#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

// Number of the kind in the registry's protocol.
constexpr std::uint32_t notificationRole = 101;

class SpeechOnTheBus : public PromptTest {
  protected:
    void startListening(const std::vector<std::string>& arguments) {
        events_ = std::make_unique<AccessibilityEvents>(bus().accessibilityAddress());
        start(arguments);
        ASSERT_TRUE(waitForWindow()) << systemLog();
    }
    [[nodiscard]] AccessibilityEvents& events() { return *events_; }
    /// How often a notification came into sight so far.
    [[nodiscard]] std::size_t notifications() const {
        return static_cast<std::size_t>(
            std::count_if(events_->all().begin(), events_->all().end(),
                          [&](const AccessibilityEvent& event) { return isNotification(event); }));
    }
    /// Waits for a notification, one after those heard before, whose text has this part. Controls
    /// tell the text they have when they are asked: asked for an old notification, the program
    /// would tell the text of one that is still on its way.
    [[nodiscard]] bool hears(const std::string& part) {
        return events().waitUntil([&] {
            const auto& all = events().all();
            const auto next = std::find_if(
                all.begin() + heard_, all.end(),
                [&](const AccessibilityEvent& event) { return isNotification(event); });
            if (next == all.end()) {
                return false;
            }
            heard_ = next - all.begin() + 1;
            return events().propertyOf(*next, "Name").find(part) != std::string::npos;
        });
    }

  private:
    /// A screen reader reads a notification out when it comes into sight.
    [[nodiscard]] bool isNotification(const AccessibilityEvent& event) const {
        return event.member == "StateChanged" && event.detail == "showing" && event.first == 1 &&
               events_->roleOf(event) == notificationRole;
    }

    std::unique_ptr<AccessibilityEvents> events_;
    /// How many events have been gone through for notifications.
    std::ptrdiff_t heard_ = 0;
};

TEST_F(SpeechOnTheBus, SaysItsTitleAndMessageOnOpening) {
    startListening(patientPrompt());

    EXPECT_TRUE(hears("An update is ready\nThe computer restarts afterwards."));
}

TEST_F(SpeechOnTheBus, SaysTheCountdownThirtySecondsBeforeTheEndAndNotEachSecond) {
    startListening({"OSUpdate", "Debian 12.9", "false", "1", "false", "2"});
    ASSERT_TRUE(hears("An update is ready"));

    ASSERT_TRUE(hears("Waits for 0 min 30 sec."));

    EXPECT_EQ(notifications(), 2U);
    EXPECT_EQ(events().count("PropertyChange", "accessible-name"), 3U);
}

TEST_F(SpeechOnTheBus, SaysTheNoticeForAnAccountWithoutToken) {
    writeFile(directory() / "token-tool", "#!/bin/sh\necho DISABLED\n");
    startListening({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
    ASSERT_TRUE(hears("An update is ready"));

    ASSERT_TRUE(clickButton("Go ahead"));

    EXPECT_TRUE(hears("Not allowed to update."));
}

TEST_F(SpeechOnTheBus, SaysThatThePasswordWasRefused) {
    startListening({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
    ASSERT_TRUE(hears("An update is ready"));

    ASSERT_TRUE(clickButton("Go ahead"));

    EXPECT_TRUE(hears("The password was not accepted.")) << systemLog();
}

}  // namespace
}  // namespace velunor::testing
