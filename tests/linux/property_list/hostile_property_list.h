#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/property_list/property_list_reader.h"
#include "tests/linux/property_list/binary_property_list.h"

namespace velunor {

/// The piece so many times.
inline std::string repeated(std::string_view piece, std::size_t count) {
    std::string out;
    for (std::size_t index = 0; index < count; ++index) {
        out += piece;
    }
    return out;
}

/// What the reader of files makes of these bytes.
inline Expected<PropertyListValue> parse(std::string_view text) {
    return PropertyListFileReader().parse(
        {reinterpret_cast<const std::byte*>(text.data()), text.size()});
}

/// A binary list of so many arrays, each in the one before it.
inline std::string binaryArrays(std::size_t depth) {
    testing::BinaryPropertyList list;
    std::uint32_t top = list.addText("a");
    for (std::size_t level = 0; level < depth; ++level) {
        top = list.addArray({top});
    }
    return list.file(top);
}

/// A list that is refused.
struct HostileCase {
    const char* name;
    std::string bytes;
    /// How the error's text begins.
    const char* reason;

    /// How the test runner prints the case.
    friend void PrintTo(const HostileCase& hostile, std::ostream* out) { *out << hostile.name; }
};

/// Its cases stand beside the form that they are of.
class HostilePropertyList : public ::testing::TestWithParam<HostileCase> {};

/// The name of a case for the test runner.
inline const auto nameOf = [](const auto& information) {
    return std::string(information.param.name);
};

}  // namespace velunor
