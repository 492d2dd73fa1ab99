#include <algorithm>

#include "tests/qt/program/accessibility_events.h"
#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

// Number of the kind in the registry's protocol.
constexpr std::uint32_t popupMenuRole = 41;

/// The whole program with a real window manager, pressed by real keys.
class KeyboardOnTheDesktop : public PromptTest {
  protected:
    void startWithCredentials() {
        static_cast<void>(bus());
        start({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
        window_ = waitForWindow();
        ASSERT_TRUE(window_) << systemLog();
        ASSERT_TRUE(waitForControl("text", "Password")) << systemLog();
    }
    /// Presses beside all controls.
    void clickTheCard() { display().screen().click(*window_, {200, 4, 4, 4}); }
    [[nodiscard]] WindowId window() const { return *window_; }

  private:
    std::optional<WindowId> window_;
};

TEST_F(KeyboardOnTheDesktop, StaysWithTheWindowThatWasBeingTypedIn) {
    const WindowId other = display().screen().addWindow({100, 100, 300, 200});
    ASSERT_TRUE(eventually([&] { return display().screen().activeWindow() == other; }));

    startWithCredentials();

    EXPECT_EQ(display().screen().activeWindow(), other);
    for (const char* key : {"Return", "space", "Escape"}) {
        display().screen().pressKey(key);
    }
    clickTheCard();
    ASSERT_TRUE(eventually([&] { return display().screen().activeWindow() == window(); }));
    EXPECT_TRUE(hasFocus("User name"));
    EXPECT_TRUE(process().isRunning());
}

TEST_F(KeyboardOnTheDesktop, TypesIntoTheFirstEmptyFieldAndGoesOnByTab) {
    startWithCredentials();
    clickTheCard();
    ASSERT_TRUE(hasFocus("User name"));
    display().screen().pressKey("a");
    for (const char* next : {"Password", "Later", "Go ahead", "User name"}) {
        display().screen().pressKey("Tab");
        EXPECT_TRUE(hasFocus(next)) << next;
    }
    display().screen().pressKey("Tab");
    display().screen().pressKey("b");
    display().screen().pressKey("Tab");
    EXPECT_TRUE(hasFocus("Show password while held"));
}

TEST_F(KeyboardOnTheDesktop, HintsAtCapsLockWhileItIsOn) {
    AccessibilityEvents events(bus().accessibilityAddress());
    startWithCredentials();
    clickTheCard();
    ASSERT_TRUE(hasFocus("User name"));
    display().screen().pressKey("Tab");
    ASSERT_TRUE(hasFocus("Password"));
    const auto description = [&] {
        const auto field = findControl(controls(), "text", "Password");
        return field ? field->description : "no field";
    };
    const auto isTold = [&](std::size_t times) {
        return events.waitUntil(
            [&] { return events.count("PropertyChange", "accessible-description") == times; });
    };
    const std::string hint = "Caps Lock is on";
    EXPECT_EQ(description(), "");

    display().screen().pressKey("Caps_Lock");
    EXPECT_TRUE(isTold(1));
    EXPECT_TRUE(eventually([&] { return description() == hint; }));
    display().screen().pressKey("Caps_Lock");
    EXPECT_TRUE(isTold(2));
    EXPECT_TRUE(eventually([&] { return description().empty(); }));
    // It may change while the focus is elsewhere.
    display().screen().pressKey("Tab");
    ASSERT_TRUE(hasFocus("Later"));
    display().screen().pressKey("Caps_Lock");
    display().screen().pressKey("Tab");
    display().screen().pressKey("Tab");
    ASSERT_TRUE(hasFocus("User name"));
    EXPECT_EQ(description(), "");
    display().screen().pressKey("Tab");
    EXPECT_TRUE(eventually([&] { return description() == hint; }));
    display().screen().pressKey("Caps_Lock");
    EXPECT_TRUE(eventually([&] { return description().empty(); }));
}

TEST_F(KeyboardOnTheDesktop, HintsAtCapsLockThatWasOnBefore) {
    startWithCredentials();
    display().screen().pressKey("Caps_Lock");
    ASSERT_TRUE(clickControl("text", "Password"));
    EXPECT_TRUE(eventually([&] {
        const auto field = findControl(controls(), "text", "Password");
        return field && field->description == "Caps Lock is on";
    }));
}

TEST_F(KeyboardOnTheDesktop, FindsNamesAndMenuInTheLanguageOfTheSession) {
    const std::string prefix = "tarn.agent.msghand.prompt.";
    Texts texts = testTexts();
    texts[prefix + "user_name"] = "Wer";
    texts[prefix + "password"] = "Womit";
    texts[prefix + "caps_lock_on"] = "Lauter Grosse";
    writeTexts(texts);
    environment()["LC_ALL"] = "de_DE.UTF-8";
    // A menu is no window for screen readers: they hear which entry is chosen.
    AccessibilityEvents events(bus().accessibilityAddress());
    start({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
    ASSERT_TRUE(waitForWindow()) << systemLog();
    ASSERT_TRUE(waitForControl("text", "Womit")) << systemLog();

    ASSERT_TRUE(clickControl("text", "Womit"));
    ASSERT_TRUE(hasFocus("Womit"));
    display().screen().pressKey("Caps_Lock");
    EXPECT_TRUE(eventually([&] {
        const auto field = findControl(controls(), "text", "Womit");
        return field && field->description == "Lauter Grosse";
    }));
    display().screen().pressKey("Caps_Lock");
    ASSERT_TRUE(clickControl("text", "Wer"));
    ASSERT_TRUE(hasFocus("Wer"));
    // With nothing in the field no entry could be chosen.
    display().screen().pressKey("a");
    ASSERT_TRUE(events.waitUntil([&] { return events.count("TextChanged", "insert") == 1; }));
    display().screen().pressKey("Menu");
    ASSERT_TRUE(events.waitUntil([&] {
        return std::ranges::any_of(events.all(), [&](const AccessibilityEvent& event) {
            return event.detail == "showing" && events.roleOf(event) == popupMenuRole;
        });
    }));
    display().screen().pressKey("Up");
    EXPECT_TRUE(events.waitUntil([&] {
        return events.last("StateChanged", "focused", "Alles ausw\u00E4hlen\tStrg+A").has_value();
    }));
}

}  // namespace
}  // namespace velunor::testing
