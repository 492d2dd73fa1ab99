#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "platform/console_user.h"

namespace velunor {

/// The password database's entry of a user id, or none. Any thread.
[[nodiscard]] std::optional<PasswordEntry> passwordEntryOf(uid_t userIdentifier);

/// An account of this machine.
struct LocalAccount {
    std::string name;
    std::string homeDirectory;
};

/// The account looked for; none with `error` 0 when there is no such account, none with an errno
/// when the database could not be read.
struct LocalAccountResult {
    std::optional<LocalAccount> account;
    int error = 0;
};

/// The account whose name is exactly `name`. Any thread.
[[nodiscard]] LocalAccountResult localAccountNamed(const std::string& name);

}  // namespace velunor
