// Whole prompts without a pointer: read, filled in and answered as by users of a screen reader.

#include <algorithm>

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::testing {
namespace {

// Number of the kind in the registry's protocol.
constexpr std::uint32_t passwordRole = 40;

class Accessibility : public CredentialsTest {
  protected:
    // What a screen reader comes past, as "role: name".
    [[nodiscard]] std::vector<std::string> reading() {
        std::vector<std::string> lines;
        for (const Accessible& control : controls()) {
            if (control.showing && !control.name.empty() && control.role != "notification") {
                lines.push_back(control.role + ": " + control.name);
            }
        }
        return lines;
    }

    [[nodiscard]] std::vector<std::string> namesOfFocusable() {
        std::vector<std::string> names;
        for (const Accessible& control : controls()) {
            if (control.showing && control.focusable) {
                names.push_back(control.name);
            }
        }
        return names;
    }

    [[nodiscard]] std::string focused() {
        for (const Accessible& control : controls()) {
            if (control.focused && control.focusable) {
                return control.name;
            }
        }
        return "";
    }
    [[nodiscard]] bool focuses(const std::string& name) {
        return eventually([&] { return focused() == name; });
    }

    // Goes from another window to the prompt as people do who have no pointer.
    void enterByTaskSwitcher() {
        Screen& screen = display().screen();
        const std::optional<WindowId> prompt = screen.windowOf(process().id());
        ASSERT_TRUE(prompt);
        ASSERT_NE(screen.activeWindow(), *prompt);
        ASSERT_TRUE(screen.comeInto(*prompt));
        // A window manager may do as much by itself; only a key of the user's leads to a field.
        EXPECT_EQ(focused(), "");
        screen.pressKey("Tab");
    }

    void startBesideAnotherWindow() {
        const WindowId other = display().screen().addWindow({100, 100, 300, 200});
        ASSERT_TRUE(eventually([&] { return display().screen().activeWindow() == other; }));
        startService();
        startPrompt();
        ASSERT_TRUE(waitForControl("label", "ada")) << systemLog();
    }

    void pressShiftTab() {
        display().screen().holdKey("Shift_L", true);
        display().screen().pressKey("Tab");
        display().screen().holdKey("Shift_L", false);
    }
};

TEST_F(Accessibility, WindowReadsFromItsTitleToItsButtons) {
    startPrompt();
    ASSERT_TRUE(waitForControl("label", "ada")) << systemLog();
    std::vector<std::string> lines = reading();
    const auto countdown = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.rfind("label: Waits for 1", 0) == 0;
    });
    ASSERT_NE(countdown, lines.end());
    *countdown = "countdown";
    EXPECT_EQ(lines,
              (std::vector<std::string>{
                  "dialog: An update is ready", "label: Test Agent", "label: An update is ready",
                  "label: The computer restarts afterwards.", "label: •  Debian 12.9",
                  "label: Who authorises this?", "label: ada", "push button: Another user",
                  "text: Password", "push button: Show password while held", "countdown",
                  "label: 2 tries left", "push button: Later", "push button: Go ahead"}));
}

TEST_F(Accessibility, FieldsTellWhatTheyAreFor) {
    startPrompt();
    const auto link = waitForControl("push button", "Another user");
    ASSERT_TRUE(link) << systemLog();
    EXPECT_TRUE(reader().act(*link, "Press"));
    ASSERT_TRUE(waitForControl("text", "User name")) << systemLog();
    for (const char* name : {"User name", "Password"}) {
        const auto field = findControl(controls(), "text", name);
        ASSERT_TRUE(field) << name;
        EXPECT_EQ(field->roleNumber == passwordRole, field->name == "Password") << name;
        // A label would be read out in the place of the name.
        EXPECT_EQ(reader().labelsOf(*field), std::vector<std::string>()) << name;
    }
}

TEST_F(Accessibility, KeyboardAloneAnswersThePrompt) {
    startBesideAnotherWindow();
    enterByTaskSwitcher();
    ASSERT_TRUE(focuses("Password")) << focused();
    type(password);
    // Tab goes around in the order of reading.
    std::vector<std::string> order = namesOfFocusable();
    const auto current = std::find(order.begin(), order.end(), "Password");
    ASSERT_NE(current, order.end());
    std::rotate(order.begin(), current + 1, order.end());
    ASSERT_EQ(order.size(), 5U);
    for (const std::string& name : order) {
        display().screen().pressKey("Tab");
        EXPECT_TRUE(focuses(name)) << name << " instead of " << focused();
    }
    for (const char* name : {"Show password while held", "Later", "Go ahead"}) {
        display().screen().pressKey("Tab");
        ASSERT_TRUE(focuses(name)) << focused();
    }
    display().screen().pressKey("space");
    ASSERT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_TRUE(deliveredCredentials("ada", password)) << delivered();
}

TEST_F(Accessibility, KeyboardAloneAnswersForAnotherUser) {
    const std::string itsPassword = testing::newPassword();
    addAccount("eve", itsPassword, {"sudo"});
    addAccount("bob", itsPassword);
    startCheckerService();
    startBesideAnotherWindow();
    enterByTaskSwitcher();
    ASSERT_TRUE(focuses("Password")) << focused();
    pressShiftTab();
    ASSERT_TRUE(focuses("Another user")) << focused();
    display().screen().pressKey("space");
    ASSERT_TRUE(focuses("User name")) << focused();
    type("bob");
    display().screen().pressKey("Tab");
    EXPECT_TRUE(waitForControl("label", "Not allowed to update.")) << systemLog();
    pressShiftTab();
    ASSERT_TRUE(focuses("User name")) << focused();
    type("eve");
    display().screen().pressKey("Tab");
    ASSERT_TRUE(focuses("Password")) << focused();
    EXPECT_TRUE(eventually([&] { return !noticeShows(); })) << systemLog();
    type(itsPassword);
    display().screen().pressKey("Return");
    ASSERT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_TRUE(deliveredCredentials("eve", itsPassword)) << delivered();
}

TEST_F(Accessibility, ActionsOfTheControlsAnswerThePrompt) {
    startBesideAnotherWindow();
    const auto field = waitForControl("text", "Password");
    ASSERT_TRUE(field) << systemLog();
    ASSERT_TRUE(reader().fill(*field, password));
    const auto button = waitForControl("push button", "Go ahead");
    ASSERT_TRUE(button) << systemLog();
    ASSERT_TRUE(reader().act(*button, "Press"));
    ASSERT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_TRUE(deliveredCredentials("ada", password)) << delivered();
}

}  // namespace
}  // namespace velunor::testing
