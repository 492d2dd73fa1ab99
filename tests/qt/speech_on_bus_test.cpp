#include <algorithm>

#include "tests/e2e/support/prompt_test.h"
#include "tests/qt/accessibility_events.h"

namespace velunor::e2e {
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
    /// Texts that notifications came up with so far, in order.
    [[nodiscard]] std::vector<std::string> notifications() const {
        std::vector<std::string> texts;
        for (const AccessibilityEvent& event : events_->all()) {
            if (isNamedNotification(event)) {
                texts.push_back(event.text);
            }
        }
        return texts;
    }
    [[nodiscard]] bool hears(const std::string& text) {
        return events().waitUntil([&] {
            const std::vector<std::string> heard = notifications();
            return std::any_of(heard.begin(), heard.end(), [&](const std::string& one) {
                return one.find(text) != std::string::npos;
            });
        });
    }

  private:
    [[nodiscard]] bool isNamedNotification(const AccessibilityEvent& event) const {
        return event.member == "PropertyChange" && event.detail == "accessible-name" &&
               events_->roleOf(event) == notificationRole;
    }

    std::unique_ptr<AccessibilityEvents> events_;
};

TEST_F(SpeechOnTheBus, SaysItsTitleAndMessageOnOpening) {
    startListening(patientPrompt());

    EXPECT_TRUE(hears("An update is ready\nThe computer restarts afterwards."));
    // A screen reader reads it out when it comes into sight.
    EXPECT_TRUE(events().waitUntil([&] {
        return std::any_of(
            events().all().begin(), events().all().end(), [&](const AccessibilityEvent& event) {
                return event.member == "StateChanged" && event.detail == "showing" &&
                       event.first == 1 && events().roleOf(event) == notificationRole;
            });
    }));
}

TEST_F(SpeechOnTheBus, SaysTheCountdownAtTheMinuteAndNotEachSecond) {
    startListening({"OSUpdate", "Debian 12.9", "false", "1", "false", "2"});
    ASSERT_TRUE(hears("Waits for 1 min 0 sec."));

    ASSERT_TRUE(hears("Waits for 0 min 30 sec."));
    for (const AccessibilityEvent& event : events().all()) {
        EXPECT_EQ(event.text.find("Waits for 0 min 4"), std::string::npos) << event.text;
    }
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
}  // namespace velunor::e2e
