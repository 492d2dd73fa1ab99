#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velunor {

using Properties = std::map<std::string, std::string, std::less<>>;

/// The pairs of a property file: key = text in UTF-8, "#" and "!" comments, "\" escapes and
/// continuation lines. None when the text is not UTF-8 or an escape is malformed.
[[nodiscard]] std::optional<Properties> parseProperties(std::string_view text);

/// The languages to look for, best first, such as pt_BR, pt; from the values of LANGUAGE, LC_ALL,
/// LC_MESSAGES and LANG, each empty where it is not set. Names that are no language are left out.
[[nodiscard]] std::vector<std::string> preferredLanguages(std::string_view language,
                                                          std::string_view lcAll,
                                                          std::string_view lcMessages,
                                                          std::string_view lang);

}  // namespace velunor
