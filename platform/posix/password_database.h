#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "platform/system.h"

namespace velunor {

/// The password database's entry of a user id, or none. Any thread.
[[nodiscard]] std::optional<PasswordEntry> passwordEntryOf(uid_t userIdentifier);

/// An account of this machine.
struct LocalAccount {
    std::string name;
    std::string homeDirectory;
    uid_t user = 0;
    /// The primary group.
    gid_t group = 0;
};

/// The account looked for; none with `error` 0 when there is no such account, none with an errno
/// when the database could not be read.
struct LocalAccountResult {
    std::optional<LocalAccount> account;
    int error = 0;
};

/// The account that the database finds under `name`. Some of its sources do not mind the case of
/// letters, so that the account's own name may be another one. Any thread.
[[nodiscard]] LocalAccountResult accountFoundAs(const std::string& name);

/// The account whose name is exactly `name`. Any thread.
[[nodiscard]] LocalAccountResult localAccountNamed(const std::string& name);

/// The group of this name, or none. Any thread.
[[nodiscard]] std::optional<gid_t> groupNamed(const std::string& name);

}  // namespace velunor
