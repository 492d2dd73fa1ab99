#pragma once

#include "platform/property_list.h"

namespace velunor {

/// Finds out which form a property list has and reads it with the parser of that form. Holds no
/// state; any thread.
class PropertyListFileReader final : public PropertyListReader {
  public:
    [[nodiscard]] Expected<PropertyListValue> parse(
        std::span<const std::byte> bytes) const override;
};

}  // namespace velunor
