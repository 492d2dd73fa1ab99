#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "platform/expected.h"
#include "platform/interface.h"

namespace velunor {

struct PropertyListValue;

using PropertyListArray = std::vector<PropertyListValue>;
using PropertyListDictionary = std::map<std::string, PropertyListValue, std::less<>>;
using PropertyListData = std::vector<std::byte>;

/// Seconds since 2001-01-01 00:00:00 UTC.
struct PropertyListDate {
    double seconds = 0;
    bool operator==(const PropertyListDate&) const = default;
};

/// Nothing, as only a binary list can say it.
struct PropertyListNull {
    bool operator==(const PropertyListNull&) const = default;
};

/// A dictionary that has a key which is not a text; its contents are of no use here.
struct PropertyListForeignDictionary {
    bool operator==(const PropertyListForeignDictionary&) const = default;
};

/// One value of a property list. Texts are valid UTF-8 without NUL.
struct PropertyListValue {
    std::variant<std::string, bool, std::int64_t, double, PropertyListDate, PropertyListData,
                 PropertyListArray, PropertyListDictionary, PropertyListForeignDictionary,
                 PropertyListNull>
        value;
    bool operator==(const PropertyListValue&) const = default;

    /// The text, or null when this value is of another type.
    [[nodiscard]] const std::string* text() const { return std::get_if<std::string>(&value); }

    /// The dictionary with text keys, or null when this value is of another type.
    [[nodiscard]] const PropertyListDictionary* dictionary() const {
        return std::get_if<PropertyListDictionary>(&value);
    }
};

/// Reads property lists.
class PropertyListReader : public Interface {
  public:
    /// Parses a whole property list in XML, binary or old text form. Bytes that are malformed, too
    /// many or too deeply nested give an error. Any thread.
    [[nodiscard]] virtual Expected<PropertyListValue> parse(
        std::span<const std::byte> bytes) const = 0;
};

}  // namespace velunor
