#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

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
    [[nodiscard]] bool hasFocus(const std::string& name) {
        return eventually([&] {
            for (const Accessible& control : controls()) {
                if (control.focused && control.name == name) {
                    return true;
                }
            }
            return false;
        });
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
    startWithCredentials();
    clickTheCard();
    ASSERT_TRUE(hasFocus("User name"));
    display().screen().pressKey("Tab");
    ASSERT_TRUE(hasFocus("Password"));
    const auto description = [&] {
        const auto field = findControl(controls(), "text", "Password");
        return field ? field->description : "no field";
    };
    const std::string text = "Who authorises this?";
    const std::string hint = "Caps Lock is on\n" + text;
    EXPECT_EQ(description(), text);

    display().screen().pressKey("Caps_Lock");
    EXPECT_TRUE(eventually([&] { return description() == hint; }));
    display().screen().pressKey("Caps_Lock");
    EXPECT_TRUE(eventually([&] { return description() == text; }));
    // It may change while the focus is elsewhere.
    display().screen().pressKey("Tab");
    ASSERT_TRUE(hasFocus("Later"));
    display().screen().pressKey("Caps_Lock");
    display().screen().pressKey("Tab");
    display().screen().pressKey("Tab");
    ASSERT_TRUE(hasFocus("User name"));
    EXPECT_EQ(description(), text);
    display().screen().pressKey("Tab");
    EXPECT_TRUE(eventually([&] { return description() == hint; }));
    display().screen().pressKey("Caps_Lock");
    EXPECT_TRUE(eventually([&] { return description() == text; }));
}

}  // namespace
}  // namespace velunor::testing
