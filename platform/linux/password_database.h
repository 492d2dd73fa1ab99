#pragma once

#include <sys/types.h>

#include <optional>

#include "platform/console_user.h"

namespace velunor {

/// The password database's entry of a user id, or none. Any thread.
[[nodiscard]] std::optional<PasswordEntry> passwordEntryOf(uid_t userIdentifier);

}  // namespace velunor
