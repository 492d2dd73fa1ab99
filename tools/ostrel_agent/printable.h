#pragma once

#include <string>
#include <string_view>

namespace velunor {

/// JSON as one line that does no harm to a terminal: control characters inside a text are written
/// as "\u" escapes, those between tokens as blanks. The rest stays byte for byte. `json` is
/// well-formed.
[[nodiscard]] std::string printableJson(std::string_view json);

/// The body of a request for a person to read: well-formed answers as `printableJson`, anything
/// else with its control characters and its bytes that are no text escaped.
[[nodiscard]] std::string printableBody(std::string_view body);

}  // namespace velunor
