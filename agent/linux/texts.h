#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/expected.h"

namespace velunor {

using Properties = std::map<std::string, std::string, std::less<>>;

/// The pairs of a property file: key = text in UTF-8, "#" and "!" comments, "\" escapes and
/// continuation lines. Text that is not UTF-8 and a malformed "\u" escape are errors; `file` is the
/// name for their text, which also tells the line where one applies.
[[nodiscard]] Expected<Properties> parseProperties(std::string_view text, const std::string& file);

/// The names under which texts for one language are looked for, best first: sr_RS@latin gives
/// sr_Latn_RS, sr_Latn, sr. An encoding is dropped, and so is a modifier that names no script. None
/// for a name that is no language. Any thread.
[[nodiscard]] std::vector<std::string> languageWithFallbacks(std::string_view locale);

/// The languages to look for, best first, such as pt_BR, pt; from the values of LANGUAGE, LC_ALL,
/// LC_MESSAGES and LANG, each empty where it is not set. Names that are no language are left out.
/// Any thread.
[[nodiscard]] std::vector<std::string> preferredLanguages(std::string_view language,
                                                          std::string_view lcAll,
                                                          std::string_view lcMessages,
                                                          std::string_view lang);

/// Those of this process's session. Any thread, as long as none changes the environment.
[[nodiscard]] std::vector<std::string> sessionLanguages();

}  // namespace velunor
