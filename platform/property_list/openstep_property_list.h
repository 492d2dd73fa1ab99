#pragma once

#include <string_view>

#include "platform/property_list.h"

namespace velunor {

/// Parses the old text form of property lists from UTF-8: texts, bare or quoted; { key = value; },
/// (a, b) and <hex data>; // and /* */ comments. A list of key = value; pairs without braces is a
/// dictionary too.
[[nodiscard]] Expected<PropertyListValue> parseTextPropertyList(std::string_view text);

}  // namespace velunor
