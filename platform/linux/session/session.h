#pragma once

#include <map>
#include <memory>

#include "platform/system.h"

namespace velunor {

/// The owner of the active graphical session of seat0, as the login manager tells it.
class LinuxConsoleUsers final : public ConsoleUsers {
  public:
    [[nodiscard]] std::optional<std::uint32_t> consoleUserIdentifier() override;
    [[nodiscard]] std::optional<PasswordEntry> passwordEntry(std::uint32_t userIdentifier) override;
};

/// Keeps the desktop from idling through the login manager's inhibitor lock, or through the
/// desktop portal where there is no login manager. The lock is asked for on a thread of its own, so
/// a silent bus costs the prompt nothing; where nobody answers, that is one log line. Main thread
/// only.
class LinuxProcessActivity final : public ProcessActivity {
  public:
    /// `log` must live until the process ends.
    explicit LinuxProcessActivity(SystemLog& log);

    Token beginUserInitiated(std::string_view reason) override;
    void end(Token token) override;

  private:
    /// One held lock, shared with the thread that asks for it.
    struct Lock;

    SystemLog& log_;
    std::map<Token, std::shared_ptr<Lock>> locks_;
    Token lastToken_ = 0;
};

}  // namespace velunor
