#pragma once

#include "platform/console_user.h"

namespace velunor {

/// The owner of the active graphical session of seat0, as the login manager tells it.
class LinuxConsoleUsers final : public ConsoleUsers {
  public:
    [[nodiscard]] std::optional<std::uint32_t> consoleUserIdentifier() override;
    [[nodiscard]] std::optional<PasswordEntry> passwordEntry(std::uint32_t userIdentifier) override;
};

}  // namespace velunor
