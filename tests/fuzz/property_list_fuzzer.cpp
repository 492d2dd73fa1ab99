#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/property_list/property_list_forms.h"
#include "platform/property_list/property_list_reader.h"
#include "platform/text.h"

namespace velunor {
namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void checkText(const std::string& text) {
    require(isValidUtf8(text) && text.find('\0') == std::string::npos);
}

/// What the reader promises of every value that it gives.
void checkValue(const PropertyListValue& value, std::size_t depth) {
    require(depth <= deepestPropertyList);
    if (const auto* text = value.text()) {
        checkText(*text);
    } else if (const auto* elements = std::get_if<PropertyListArray>(&value.value)) {
        for (const PropertyListValue& element : *elements) {
            checkValue(element, depth + 1);
        }
    } else if (const auto* members = value.dictionary()) {
        for (const auto& [key, member] : *members) {
            checkText(key);
            checkValue(member, depth + 1);
        }
    }
}

}  // namespace
}  // namespace velunor

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto result =
        velunor::PropertyListFileReader().parse({reinterpret_cast<const std::byte*>(data), size});
    if (!result) {
        velunor::require(!result.error().description.empty());
        velunor::require(result.error().description.find('\n') == std::string::npos);
    } else {
        velunor::checkValue(*result, 0);
    }
    return 0;
}
