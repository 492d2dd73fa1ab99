#pragma once

#include <optional>
#include <string>
#include <variant>

#include "platform/property_list.h"

namespace velunor {

/// The rebrand file's record.
struct Rebrand {
    /// The installation counts as rebranded only when this is exactly "TRUE".
    std::optional<std::string> isRebranded;
    /// Display name to show instead of the agent's product name.
    std::optional<std::string> productName;
};

/// Why a property list does not decode to a record, as one line of text.
struct RebrandError {
    std::string description;
};

/// The record that the property list holds. Missing keys are absent fields; a key with another
/// type than text fails the whole record.
[[nodiscard]] std::variant<Rebrand, RebrandError> decodeRebrand(const PropertyListValue& root);

}  // namespace velunor
