#pragma once

#include <string>
#include <vector>

namespace velunor {

/// Whether an account may authorise system updates, as far as this machine knows the account.
enum class TokenAnswer { enabled, disabled, unknownUser };

/// Looks the account up: root and the members of the administrators' groups hold a token.
[[nodiscard]] TokenAnswer secureTokenOf(const std::string& user,
                                        const std::vector<std::string>& adminGroups);

}  // namespace velunor
