#pragma once

#include <optional>
#include <string_view>

#include "platform/property_list.h"

namespace velunor {

/// Whether the tag of this name holds one value without any inner tags.
[[nodiscard]] bool isXmlLeaf(std::string_view name);

/// The value of the leaf `name` with this content in UTF-8; none when the content is not of the
/// leaf's type. Blanks around a number or date do not count. A number beyond the range of its type
/// becomes the nearest one.
[[nodiscard]] std::optional<PropertyListValue> xmlLeaf(std::string_view name,
                                                       std::string_view content);

}  // namespace velunor
