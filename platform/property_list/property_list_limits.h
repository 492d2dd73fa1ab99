#pragma once

#include <cstddef>
#include <cstdint>

namespace velunor {

/// Deepest nesting of arrays and dictionaries that a property list may have.
inline constexpr int deepestPropertyList = 64;

/// Most values that a property list may hold, shared ones counted each time they are referred to.
inline constexpr std::size_t mostPropertyListValues = 100'000;

/// Most bytes that the texts and data of a binary property list may have, shared ones counted each
/// time they are referred to.
inline constexpr std::uint64_t mostPropertyListContent = std::uint64_t{32} * 1024 * 1024;

}  // namespace velunor
