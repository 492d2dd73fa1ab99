#pragma once

#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

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

/// The languages to look for, best first, such as pt_BR, pt; from the values of LANGUAGE, LC_ALL,
/// LC_MESSAGES and LANG, each empty where it is not set. Names that are no language are left out.
[[nodiscard]] std::vector<std::string> preferredLanguages(std::string_view language,
                                                          std::string_view lcAll,
                                                          std::string_view lcMessages,
                                                          std::string_view lang);

}  // namespace velunor
