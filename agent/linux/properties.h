#pragma once

#include <map>
#include <string>
#include <string_view>

#include "platform/expected.h"

namespace velunor {

using Properties = std::map<std::string, std::string, std::less<>>;

/// The pairs of a property file: key = text in UTF-8, "#" and "!" comments, "\" escapes and
/// continuation lines. Text that is not UTF-8 and a malformed "\u" escape are errors; `file` is the
/// name for their text, which also tells the line where one applies.
[[nodiscard]] Expected<Properties> parseProperties(std::string_view text, const std::string& file);

}  // namespace velunor
