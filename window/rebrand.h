#pragma once

#include <optional>
#include <string>

#include "platform/expected.h"
#include "platform/property_list.h"

namespace velunor {

/// The rebrand file's record.
struct Rebrand {
    /// The installation counts as rebranded only when this is exactly "TRUE".
    std::optional<std::string> isRebranded;
    /// Display name to show instead of the agent's product name.
    std::optional<std::string> productName;
};

/// The record that the property list holds. Missing keys are absent fields; a key with another
/// type than text fails the whole record.
[[nodiscard]] Expected<Rebrand> decodeRebrand(const PropertyListValue& root);

}  // namespace velunor
