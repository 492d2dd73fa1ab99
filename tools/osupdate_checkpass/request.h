#pragma once

#include <chrono>
#include <optional>

#include "platform/secret.h"

namespace velunor {

/// One question: whether this is the account's password. Neither part is empty or holds a NUL.
struct CheckRequest {
    Secret userName;
    Secret password;
};

/// Reads the whole request, up to the end of the stream; none when it is malformed, too long or
/// not complete at `deadline`.
[[nodiscard]] std::optional<CheckRequest> readRequest(
    int input, std::chrono::steady_clock::time_point deadline);

}  // namespace velunor
