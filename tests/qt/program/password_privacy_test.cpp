#include <algorithm>

#include "tests/qt/program/accessibility_events.h"
#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

// Numbers of the registry's protocol.
constexpr std::uint32_t passwordTextRole = 40;
constexpr unsigned pressedState = 20;

class PasswordOnTheBus : public PromptTest {
  protected:
    /// Shows a prompt with a password field and puts the caret into that field by a click.
    void enterPasswordField() {
        events_ = std::make_unique<AccessibilityEvents>(bus().accessibilityAddress());
        start({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
        window_ = waitForWindow();
        ASSERT_TRUE(window_) << systemLog();
        ASSERT_TRUE(waitForControl("text", "Password")) << systemLog();
        ASSERT_TRUE(eventually([&] {
            const auto field = findControl(controls(), "text", "Password");
            if (field && !field->focused) {
                display().screen().click(*window_, field->extents);
            }
            return field && field->focused;
        }));
    }
    [[nodiscard]] AccessibilityEvents& events() { return *events_; }

    void typeKeys(const std::string& keys) {
        for (const char key : keys) {
            display().screen().pressKey(std::string(1, key));
        }
    }

    /// None of the events so far, of whichever control, came with one of these letters alone or of
    /// the password field with any of them.
    void expectNoEventTells(const std::string& letters) {
        const auto field = events().last("TextChanged", "insert", "Password");
        ASSERT_TRUE(field);
        for (const AccessibilityEvent& event : events().all()) {
            if (event.path == field->path || event.text.size() == 1) {
                EXPECT_EQ(event.text.find_first_of(letters), std::string::npos)
                    << event.member << ':' << event.detail << " tells " << event.text;
            }
        }
    }

  private:
    std::unique_ptr<AccessibilityEvents> events_;
    std::optional<WindowId> window_;
};

TEST_F(PasswordOnTheBus, TellsHowMuchIsTypedButNotWhat) {
    enterPasswordField();
    const std::string typed = "zqxjz";

    typeKeys(typed);
    ASSERT_TRUE(events().waitUntil([&] {
        return events().count("TextChanged", "insert") == typed.size();
    })) << events().count("TextChanged", "insert");
    display().screen().pressKey("BackSpace");
    ASSERT_TRUE(events().waitUntil([&] { return events().count("TextChanged", "delete") == 1; }));

    const auto field =
        std::find_if(events().all().begin(), events().all().end(),
                     [](const AccessibilityEvent& event) { return event.member == "TextChanged"; });
    ASSERT_NE(field, events().all().end());
    EXPECT_EQ(events().roleOf(*field), passwordTextRole);
    const std::string bullets = events().textOf(*field);
    std::string expected;
    for (std::size_t index = 0; index + 1 < typed.size(); ++index) {
        expected += "\u25CF";
    }
    EXPECT_EQ(bullets, expected);
    EXPECT_EQ(events().propertyOf(*field, "Name"), "Password");
    EXPECT_EQ(events().propertyOf(*field, "Description").find_first_of(typed), std::string::npos);
    expectNoEventTells(typed);
}

TEST_F(PasswordOnTheBus, TellsNothingWhileThePasswordIsShown) {
    enterPasswordField();
    const std::string typed = "zqxjz";
    typeKeys(typed);
    ASSERT_TRUE(events().waitUntil(
        [&] { return events().count("TextChanged", "insert") == typed.size(); }));
    const auto field = events().last("TextChanged", "insert", "Password");
    ASSERT_TRUE(field);

    display().screen().pressKey("Tab");
    std::optional<AccessibilityEvent> eye;
    ASSERT_TRUE(events().waitUntil([&] {
        eye = events().last("StateChanged", "focused", "Show password while held");
        return eye.has_value();
    }));
    display().screen().holdKey("space", true);
    ASSERT_TRUE(eventually([&] { return events().hasState(*eye, pressedState); }));
    EXPECT_EQ(events().textOf(*field).find_first_of(typed), std::string::npos);
    display().screen().holdKey("space", false);
    ASSERT_TRUE(eventually([&] { return !events().hasState(*eye, pressedState); }));

    expectNoEventTells(typed);
}

}  // namespace
}  // namespace velunor::testing
