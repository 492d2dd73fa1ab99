#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/desktop/notification_service.h"
#include "tests/support/desktop/picture.h"
#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {

/// Somebody's session in which the prompt comes up, outside of any suite.
class Session final : public PromptTest {
  public:
    using PromptTest::bus;
    using PromptTest::controls;
    using PromptTest::directory;
    using PromptTest::display;
    using PromptTest::environment;
    using PromptTest::makeDisplay;
    using PromptTest::process;
    using PromptTest::requests;
    using PromptTest::start;
    using PromptTest::startService;
    using PromptTest::systemLog;

    /// With the texts that are shipped, in English.
    Session();

    /// The keyboard and the pointer that the user has, and what the user sees.
    [[nodiscard]] Screen& screen() { return display().screen(); }

    /// Whether a program, started with the session's variables, ends with the status 0.
    [[nodiscard]] bool succeeds(const std::vector<std::string>& command);

    [[nodiscard]] NotificationService& notifications() { return notifications_; }

  private:
    void TestBody() override {}

    /// Before the desktop's own takes the name.
    NotificationService notifications_;
};

/// Another program's window in the session.
class OtherWindow {
  public:
    /// `place` is "full", "maximized", or x, y, width and height in one text each. The window is
    /// there on return; throws when it does not come.
    OtherWindow(Session& session, std::string title, std::uint32_t colour,
                const std::vector<std::string>& place);

    [[nodiscard]] std::uint32_t colour() const { return colour_; }
    /// How many pixels of it are seen.
    [[nodiscard]] std::size_t seen(const Picture& picture) const;
    /// What was typed into it so far.
    [[nodiscard]] std::string typed() const { return readFile(output_); }
    /// Whether it has the keyboard.
    [[nodiscard]] bool isActive() const;
    /// Clicks into it, which makes it the active window; whether it became that.
    [[nodiscard]] bool clickInto();
    [[nodiscard]] pid_t process() const { return process_->id(); }

  private:
    Session& session_;
    std::uint32_t colour_;
    std::filesystem::path output_;
    std::filesystem::path errors_;
    std::unique_ptr<ChildProcess> process_;
};

/// How long is waited for what may not come about.
inline constexpr std::chrono::seconds shortPatience{5};

}  // namespace velunor::testing
