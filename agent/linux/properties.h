#pragma once

#include <map>
#include <string>
#include <string_view>
#include <variant>

namespace velunor {

using Properties = std::map<std::string, std::string, std::less<>>;

/// Why a property file cannot be used: one line that names file and, where it applies, line.
struct PropertiesError {
    std::string description;
};

using PropertiesResult = std::variant<Properties, PropertiesError>;

/// The pairs of a property file: key = text in UTF-8, "#" and "!" comments, "\" escapes and
/// continuation lines. Text that is not UTF-8 and a malformed "\u" escape are errors; `file` is the
/// name for their text.
[[nodiscard]] PropertiesResult parseProperties(std::string_view text, const std::string& file);

}  // namespace velunor
