#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/desktop/accessible.h"
#include "tests/support/files.h"
#include "tests/support/prompt/agent_service.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {

/// The texts of the prompt under test, by key.
using Texts = std::map<std::string, std::string>;

/// A whole set of localised texts, short and told apart easily.
[[nodiscard]] Texts testTexts();

/// The six arguments of a prompt without credentials that waits long enough for any test.
[[nodiscard]] std::vector<std::string> patientPrompt();

/// A desktop with an agent's directories on it, where the real program is started as the agent
/// would start it. Nothing is shared with another test.
class PromptTest : public ::testing::Test {
  protected:
    PromptTest();

    Display& display();
    /// Makes the display in another way than the usual one; to be called before anything else.
    void makeDisplay(const DisplaySetup& setup);
    Bus& bus();
    [[nodiscard]] std::filesystem::path directory() const { return directory_.path(); }
    [[nodiscard]] std::filesystem::path dataPath() const { return directory() / "data"; }
    [[nodiscard]] std::filesystem::path accessLogPath() const;
    [[nodiscard]] std::filesystem::path settingsPath() const;

    /// Replaces the localised texts (English).
    void writeTexts(const Texts& texts) const;

    /// Starts an agent service that treats requests so.
    void startService(Treatment treatment = Treatment::answer);
    [[nodiscard]] std::vector<Request> requests() const { return service_->requests(); }
    [[nodiscard]] TestAgentService& service() { return *service_; }

    /// Variables of the desktop session; to be changed before the start where a test needs it.
    Environment& environment() { return environment_; }

    /// Starts the prompt with the arguments after the program's path.
    void start(const std::vector<std::string>& arguments, mode_t umask = 022);
    /// Starts another program of the build in the same session. A display is made first, unless the
    /// session names a Wayland one.
    void startProgram(const std::vector<std::string>& command, mode_t umask = 022);
    [[nodiscard]] ChildProcess& process() { return *process_; }

    /// Waits until the window of `process` is on the screen with its decoration.
    [[nodiscard]] std::optional<WindowId> waitForWindow();
    [[nodiscard]] std::optional<WindowId> waitForWindow(pid_t process);

    /// The showing control of this kind and name, waited for.
    [[nodiscard]] std::optional<Accessible> waitForControl(const std::string& role,
                                                           const std::string& name);
    /// All controls as they are now.
    [[nodiscard]] std::vector<Accessible> controls();
    /// Whether a control of this name gets the focus, waited for.
    [[nodiscard]] bool hasFocus(const std::string& name);
    /// For more than `controls` tells.
    [[nodiscard]] const AccessibilityReader& reader();
    /// Clicks the middle of the control of this kind and name by the pointer; whether it was found.
    [[nodiscard]] bool clickControl(const std::string& role, const std::string& name);
    [[nodiscard]] bool clickButton(const std::string& title) {
        return clickControl("push button", title);
    }

    /// What the program wrote to standard output and error so far.
    [[nodiscard]] std::string output() const { return readFile(directory() / "out"); }
    [[nodiscard]] std::string systemLog() const { return readFile(directory() / "err"); }
    /// Waits until the system log holds the text.
    [[nodiscard]] bool waitForLog(const std::string& text) const;

  private:
    TemporaryDirectory directory_;
    Environment environment_;
    std::unique_ptr<Bus> bus_;
    std::unique_ptr<Display> display_;
    std::unique_ptr<TestAgentService> service_;
    std::unique_ptr<ChildProcess> process_;
    std::unique_ptr<AccessibilityReader> reader_;
    pid_t prompt_ = 0;
};

}  // namespace velunor::testing
