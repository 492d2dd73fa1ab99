#pragma once

#include <string>
#include <string_view>

namespace velunor {

/// The line that tells a refusal: the library's number, never 0, and a text without line breaks.
/// Never longer than the protocol allows.
[[nodiscard]] std::string refusal(int code, std::string_view text);

/// Whether the whole line could be written.
[[nodiscard]] bool answer(int stream, std::string_view line);

}  // namespace velunor
