#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velunor {

/// Deepest nesting of arrays and dictionaries that a property list may have.
inline constexpr int deepestPropertyList = 64;
/// Most values that a property list may hold, shared ones counted each time they are referred to.
inline constexpr std::size_t mostPropertyListValues = 100'000;

/// Most bytes that the texts and data of a binary property list may have, shared ones counted each
/// time they are referred to.
inline constexpr std::uint64_t mostPropertyListContent = std::uint64_t{32} * 1024 * 1024;

/// Why an XML property list is not safe to hand to the parser, or none: not well-formed, nested too
/// deeply, too much of everything, or with a document type of its own (which could define entities
/// that grow without end).
[[nodiscard]] std::optional<std::string> xmlPropertyListObjection(std::string_view text);

/// What a look at the structure of a binary property list tells.
struct BinaryPropertyListCheck {
    /// Why it is not safe to hand to the parser: out of bounds, circular, too deep, too large.
    std::optional<std::string> objection;
    /// Whether some dictionary has a key that is not a text.
    bool hasForeignKeys = false;
    /// Whether the dictionary at the top level has such a key.
    bool topLevelHasForeignKeys = false;
};

[[nodiscard]] BinaryPropertyListCheck checkBinaryPropertyList(std::span<const std::byte> bytes);

}  // namespace velunor
