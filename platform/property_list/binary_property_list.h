#pragma once

#include <cstddef>
#include <span>

#include "platform/expected.h"
#include "platform/property_list.h"

namespace velunor {

/// Parses a binary property list ("bplist00"), with every offset and length checked. Values that
/// are referred to several times are there several times. A dictionary at the top level with a key
/// that is not a text gives a `PropertyListForeignDictionary`; further inside such a key is an
/// error. Any thread.
[[nodiscard]] Expected<PropertyListValue> parseBinaryPropertyList(std::span<const std::byte> bytes);

}  // namespace velunor
