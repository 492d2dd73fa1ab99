#pragma once

#include <span>
#include <string>

namespace velunor {

/// Whether an account may authorise system updates.
enum class TokenHolder { yes, no, unknownAccount };

/// Looks the account up in the system's user and group databases: root holds a token, and so does a
/// member of one of the groups, be it the primary group or a supplementary one. A group that does
/// not exist has no members. Blocks while the databases answer; any thread.
[[nodiscard]] TokenHolder tokenHolder(const std::string& account,
                                      std::span<const std::string> adminGroups);

}  // namespace velunor
