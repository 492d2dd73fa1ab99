#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace velunor::testing {

// Texts of a prompt's records, as the model expects them.

/// A text as a list in a log line shows it. The texts of the model hold no other characters that
/// are escaped.
[[nodiscard]] std::string quoted(const std::string& text);

/// A list in a log line.
[[nodiscard]] std::string listed(const std::vector<std::string>& texts);

/// A text as JSON writes it; no text of the model needs another escape.
[[nodiscard]] std::string json(const std::string& text);

/// Seconds since 1970 by the calendar, the zone's seconds already added.
[[nodiscard]] std::string calendar(std::int64_t seconds);

}  // namespace velunor::testing
