#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/system.h"

namespace velunor {

/// Whether the update needs the user's name and password.
enum class UpdateType : std::uint8_t { withoutCredentials, withCredentials };

/// The kind as the access log writes it.
[[nodiscard]] std::string_view description(UpdateType type);

/// The prompt's input, as the agent describes it on the command line.
struct OSUpdateInput {
    UpdateType updateType = UpdateType::withoutCredentials;
    std::string updateName;
    /// What the countdown decides when time runs out: proceed, or else postpone.
    bool defaultToProceed = true;
    /// Length of the countdown in minutes; may be zero or negative.
    std::int64_t timer = 15;
    /// An interface name, kept on purpose.
    bool isPosponeButtonDisabled = true;
    /// Postponements that the user has left; -1 when the agent gave no count.
    std::int64_t remainingPostponeCount = -1;

    bool operator==(const OSUpdateInput&) const = default;
};

/// The integer that the whole of `text` is: one optional sign and ASCII digits, base 10. None for
/// any other text and for a value outside the signed 64-bit range.
[[nodiscard]] std::optional<std::int64_t> parseInteger(std::string_view text);

/// Reads the prompt's input from the process's arguments, the program's path first. Fewer than
/// five elements end the process with status 1; five or six are a fatal stop.
[[nodiscard]] OSUpdateInput readPromptData(std::span<const std::string> arguments, SystemLog& log,
                                           ProcessExit& processExit);

}  // namespace velunor
