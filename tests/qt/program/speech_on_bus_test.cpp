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
    /// Everything that was said so far, in its order.
    [[nodiscard]] std::vector<std::string> said() const {
        std::vector<std::string> texts;
        for (const AccessibilityEvent& event : events_->all()) {
            if (event.member == "Announcement") {
                texts.push_back(event.text);
            } else if (isNotification(event)) {
                texts.push_back(events_->propertyOf(event, "Name"));
            }
        }
        return texts;
    }
    /// Waits until something was said that has this part.
    [[nodiscard]] bool hears(const std::string& part) {
        return events().waitUntil([&] {
            const std::vector<std::string> texts = said();
            return std::any_of(texts.begin(), texts.end(), [&](const std::string& text) {
                return text.find(part) != std::string::npos;
            });
        });
    }

  private:
    /// Where the toolkit has no announcements, a screen reader reads a notification out when it
    /// comes into sight.
    [[nodiscard]] bool isNotification(const AccessibilityEvent& event) const {
        return event.member == "StateChanged" && event.detail == "showing" && event.first == 1 &&
               events_->roleOf(event) == notificationRole;
    }

    std::unique_ptr<AccessibilityEvents> events_;
};

TEST_F(SpeechOnTheBus, SaysItsTitleAndMessageOnOpening) {
    startListening(patientPrompt());

    EXPECT_TRUE(hears("An update is ready\nThe computer restarts afterwards."));
}

TEST_F(SpeechOnTheBus, IsOnABusThatTheEnvironmentNames) {
    environment()["AT_SPI_BUS_ADDRESS"] = bus().accessibilityAddress();
    environment().erase("QT_LINUX_ACCESSIBILITY_ALWAYS_ON");

    start(patientPrompt());

    EXPECT_TRUE(waitForControl("dialog", "An update is ready")) << systemLog();
}

TEST_F(SpeechOnTheBus, SaysTheCountdownThirtySecondsBeforeTheEndAndNotEachSecond) {
    startListening({"OSUpdate", "Debian 12.9", "false", "1", "false", "2"});
    ASSERT_TRUE(hears("An update is ready"));

    ASSERT_TRUE(hears("Waits for 0 min 30 sec."));

    EXPECT_EQ(said().size(), 2U);
    EXPECT_EQ(events().count("PropertyChange", "accessible-name"), 1U);
}

TEST_F(SpeechOnTheBus, SaysTheNoticeForAnAccountWithoutToken) {
    writeFile(directory() / "token-tool", "#!/bin/sh\necho DISABLED\n");
    startListening({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
    ASSERT_TRUE(hears("An update is ready"));

    ASSERT_TRUE(clickButton("Go ahead"));

    EXPECT_TRUE(hears("Not allowed to update."));
}

TEST_F(SpeechOnTheBus, SaysTheNoticeAgainAtEachAttempt) {
    writeFile(directory() / "token-tool", "#!/bin/sh\necho DISABLED\n");
    startListening({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
    ASSERT_TRUE(hears("An update is ready"));
    ASSERT_TRUE(clickButton("Go ahead"));
    ASSERT_TRUE(events().waitUntil([&] { return said().size() == 2; }));
    EXPECT_EQ(said().back(), "Not allowed to update.");

    // Pressing it at once again counts as the same attempt.
    EXPECT_TRUE(events().waitUntil([&] { return clickButton("Go ahead") && said().size() == 3; }));
    EXPECT_EQ(said().back(), "Not allowed to update.");
}

TEST_F(SpeechOnTheBus, SaysThatThePasswordWasRefused) {
    startListening({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
    ASSERT_TRUE(hears("An update is ready"));

    ASSERT_TRUE(clickButton("Go ahead"));

    EXPECT_TRUE(hears("The password was not accepted.")) << systemLog();
}

}  // namespace
}  // namespace velunor::testing
