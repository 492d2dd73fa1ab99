#pragma once

#include <optional>

#include "platform/attributed_string.h"

namespace velunor {

/// Seconds left by a countdown's text, whose two styled runs are the minutes and the seconds. None
/// for any other text.
[[nodiscard]] std::optional<long> countdownSeconds(const AttributedString& text);

/// Whether a listener hears of this moment of a countdown: each whole minute, then 30 s and 10 s
/// before the end.
[[nodiscard]] bool isSpokenMoment(long secondsLeft);

}  // namespace velunor
