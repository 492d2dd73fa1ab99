#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/expected.h"
#include "platform/secret.h"

namespace velunor {

/// The answer "proceed": with what was typed into the credentials panel, or with neither.
struct Proceed {
    std::optional<std::string> userName;
    std::optional<Secret> passwd;
};

/// The answer "postpone": naming the user found without a secure token, or nobody. `Postponse` is
/// an interface name, kept on purpose.
struct Postponse {
    std::optional<std::string> userName;
};

/// The one answer that a prompt ends with.
struct OSUpdateNotificationResponse {
    std::variant<Proceed, Postponse> answer;

    /// The answer in one line for the logs; never holds the password.
    [[nodiscard]] std::string description() const;
};

/// The answer's JSON: one member named by the case, absent values left out, compact, "/" written
/// as "\/". Fails for a text that is not UTF-8.
[[nodiscard]] Expected<Secret> encodeJson(const OSUpdateNotificationResponse& response);

/// Why bytes do not decode to an answer.
struct DecodingError {
    enum class Kind { dataCorrupted, typeMismatch };
    Kind kind = Kind::dataCorrupted;
    /// The keys from the outermost object to the place of the error, joined by ".".
    std::string codingPath;
    std::string debugDescription;
};

/// The answer that `json` holds. Exactly one of the top-level keys must be a case name; other keys
/// are not counted.
[[nodiscard]] Expected<OSUpdateNotificationResponse, DecodingError> decodeJson(
    std::string_view json);

}  // namespace velunor
