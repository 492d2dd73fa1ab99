#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/interface.h"

namespace velunor {

/// What the password database says of a user id.
struct PasswordEntry {
    /// Account name; none where the entry has no name.
    std::optional<std::string> name;
};

/// Who is logged in at the machine's console. Main thread only.
class ConsoleUsers : public Interface {
  public:
    /// User id of the console user, none when nobody is logged in at the console.
    [[nodiscard]] virtual std::optional<std::uint32_t> consoleUserIdentifier() = 0;

    /// The password-database entry of a user id, or none.
    [[nodiscard]] virtual std::optional<PasswordEntry> passwordEntry(
        std::uint32_t userIdentifier) = 0;
};

}  // namespace velunor
