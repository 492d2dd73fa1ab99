#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "platform/expected.h"
#include "platform/property_list.h"

namespace velunor {

// The parser of each form of a property list, and the limits that they keep to. What they are given
// is at most as large as a file that can be read. Any thread.

/// Deepest nesting of arrays and dictionaries.
inline constexpr std::size_t deepestPropertyList = 64;

/// Most values, shared ones counted each time they are referred to.
inline constexpr std::size_t mostPropertyListValues = 100'000;

/// Parses a binary property list ("bplist00"), with every offset and length checked. Values that
/// are referred to several times are there several times. A dictionary at the top level with a key
/// that is not a text gives a `PropertyListForeignDictionary`; further inside such a key is an
/// error.
[[nodiscard]] Expected<PropertyListValue> parseBinaryPropertyList(std::string_view bytes);

/// Parses the old text form of property lists from UTF-8: texts, bare or quoted; { key = value; },
/// (a, b) and <hex data>; // and /* */ comments. A list of key = value; pairs without braces is a
/// dictionary too.
[[nodiscard]] Expected<PropertyListValue> parseTextPropertyList(std::string_view text);

/// How the bytes of an XML document are to be read.
enum class XmlEncoding {
    /// As its declaration says (UTF-8, ISO-8859-1 or US-ASCII), without one as UTF-8.
    declared,
    /// As UTF-8 whatever the declaration says, because the text has been converted.
    utf8
};

/// Parses an XML property list, strictly: every tag, key and leaf must be what it claims to be. A
/// document type of its own, which could define entities that grow without end, is refused.
[[nodiscard]] Expected<PropertyListValue> parseXmlPropertyList(std::string_view text,
                                                               XmlEncoding encoding);

/// Reads the content of an XML leaf, in UTF-8; none when it is not of the leaf's type. Blanks
/// around a number or date do not count. A number beyond the range of its type becomes the nearest
/// one.
using XmlLeafReader = std::optional<PropertyListValue> (*)(std::string_view content);

/// The reader of the tag `name`; null for a tag that is no leaf.
[[nodiscard]] XmlLeafReader xmlLeafReader(std::string_view name);

/// What XML takes for blanks.
inline constexpr std::string_view xmlBlanks = " \t\r\n";

}  // namespace velunor
