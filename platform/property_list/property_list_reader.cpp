#include "platform/property_list/property_list_reader.h"

#include <plist/plist.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/file.h"
#include "platform/property_list/openstep_property_list.h"
#include "platform/property_list/property_list_limits.h"
#include "platform/text.h"

namespace velunor {

namespace {

struct FreeNode {
    void operator()(plist_t node) const { plist_free(node); }
};
using Node = std::unique_ptr<std::remove_pointer_t<plist_t>, FreeNode>;

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};

std::string_view asText(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// UTF-16 without its byte-order mark in UTF-8; none when it is malformed.
std::optional<std::string> fromUtf16(std::string_view bytes, bool bigEndian) {
    std::string out;
    char32_t high = 0;
    for (std::size_t index = 0; index + 1 < bytes.size(); index += 2) {
        const auto first = static_cast<unsigned char>(bytes[index]);
        const auto second = static_cast<unsigned char>(bytes[index + 1]);
        const char32_t unit = bigEndian ? first * 256U + second : second * 256U + first;
        const bool isHigh = unit >= 0xD800U && unit <= 0xDBFFU;
        const bool isLow = unit >= 0xDC00U && unit <= 0xDFFFU;
        if (isLow != (high != 0)) {
            return std::nullopt;
        }
        if (isLow) {
            out += encodedUtf8(0x10000U + ((high - 0xD800U) << 10U) + (unit - 0xDC00U));
        } else if (!isHigh) {
            out += encodedUtf8(unit);
        }
        high = isHigh ? unit : 0;
    }
    const bool isWhole = high == 0 && bytes.size() % 2 == 0;
    return isWhole ? std::optional(std::move(out)) : std::nullopt;
}

/// The text in UTF-8, without a byte-order mark; none when it is malformed UTF-16.
std::optional<std::string> inUtf8(std::string_view text) {
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
        return fromUtf16(text.substr(2), text.front() == '\xFE');
    }
    return std::string(text.substr(text.starts_with("\xEF\xBB\xBF") ? 3 : 0));
}

std::optional<PropertyListValue> converted(plist_t node);

std::optional<PropertyListValue> convertedText(plist_t node) {
    std::uint64_t length = 0;
    const char* first = plist_get_string_ptr(node, &length);
    const std::string_view text(first == nullptr ? "" : first, length);
    if (first == nullptr || !isValidUtf8(text)) {
        return std::nullopt;
    }
    return PropertyListValue{std::string(text)};
}

std::optional<PropertyListValue> convertedArray(plist_t node) {
    PropertyListArray elements;
    const std::uint32_t count = plist_array_get_size(node);
    for (std::uint32_t index = 0; index < count; ++index) {
        auto element = converted(plist_array_get_item(node, index));
        if (!element) {
            return std::nullopt;
        }
        elements.push_back(std::move(*element));
    }
    return PropertyListValue{std::move(elements)};
}

std::optional<PropertyListValue> convertedDictionary(plist_t node) {
    PropertyListDictionary members;
    plist_dict_iter position = nullptr;
    plist_dict_new_iter(node, &position);
    const std::unique_ptr<void, FreeMemory> positionOwner(position);
    while (true) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node, position, &key, &value);
        const std::unique_ptr<char, FreeMemory> keyOwner(key);
        if (value == nullptr) {
            return PropertyListValue{std::move(members)};
        }
        auto member = converted(value);
        if (key == nullptr || !member || !isValidUtf8(key)) {
            return std::nullopt;
        }
        members.insert_or_assign(key, std::move(*member));
    }
}

std::optional<PropertyListValue> convertedScalar(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return PropertyListValue{value != 0};
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return PropertyListValue{value};
        }
        case PLIST_DATE: {
            std::int32_t seconds = 0;
            std::int32_t microseconds = 0;
            plist_get_date_val(node, &seconds, &microseconds);
            return PropertyListValue{PropertyListDate{seconds + microseconds / 1e6}};
        }
        case PLIST_DATA: {
            char* data = nullptr;
            std::uint64_t length = 0;
            plist_get_data_val(node, &data, &length);
            const std::unique_ptr<char, FreeMemory> owner(data);
            const auto* first = reinterpret_cast<const std::byte*>(data);
            return PropertyListValue{PropertyListData(first, first + (data ? length : 0))};
        }
        case PLIST_UID: {
            std::uint64_t value = 0;
            plist_get_uid_val(node, &value);
            return PropertyListValue{static_cast<std::int64_t>(value)};
        }
        case PLIST_UINT: {
            std::uint64_t value = 0;
            plist_get_uint_val(node, &value);
            return PropertyListValue{static_cast<std::int64_t>(value)};
        }
        default:
            return std::nullopt;
    }
}

/// The node as a value; none when a text in it is not UTF-8 or its type has no meaning here.
std::optional<PropertyListValue> converted(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_STRING:
            return convertedText(node);
        case PLIST_ARRAY:
            return convertedArray(node);
        case PLIST_DICT:
            return convertedDictionary(node);
        default:
            return convertedScalar(node);
    }
}

Expected<PropertyListValue> resultOf(const Node& node, const char* form) {
    auto value = node ? converted(node.get()) : std::nullopt;
    if (!value) {
        return Error{std::string(form) + " property list is malformed"};
    }
    return std::move(*value);
}

Expected<PropertyListValue> parseBinary(std::span<const std::byte> bytes) {
    auto check = checkBinaryPropertyList(bytes);
    if (check.objection) {
        return Error{std::move(*check.objection)};
    }
    if (check.topLevelHasForeignKeys) {
        return PropertyListValue{PropertyListForeignDictionary{}};
    }
    if (check.hasForeignKeys) {
        return Error{"Binary property list has a key that is not a text"};
    }
    plist_t root = nullptr;
    plist_from_bin(asText(bytes).data(), static_cast<std::uint32_t>(bytes.size()), &root);
    return resultOf(Node(root), "Binary");
}

Expected<PropertyListValue> parseXml(const std::string& text) {
    if (!isValidUtf8(text)) {
        return Error{"XML property list is not valid UTF-8"};
    }
    if (text.find('\0') != std::string::npos) {
        return Error{"XML property list holds a NUL character"};
    }
    if (auto objection = xmlPropertyListObjection(text)) {
        return Error{std::move(*objection)};
    }
    plist_t root = nullptr;
    plist_from_xml(text.c_str(), static_cast<std::uint32_t>(text.size()), &root);
    return resultOf(Node(root), "XML");
}

/// Whether the text is XML. A lone "<" may also begin the data of the old text form.
bool isXml(std::string_view text) {
    constexpr std::array<std::string_view, 8> beginnings{"<?",     "<!",      "<plist",   "<dict",
                                                         "<array", "<string", "<integer", "<real"};
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    return std::any_of(beginnings.begin(), beginnings.end(),
                       [&](std::string_view beginning) { return text.starts_with(beginning); });
}

}  // namespace

Expected<PropertyListValue> LinuxPropertyListReader::parse(std::span<const std::byte> bytes) const {
    if (bytes.size() > largestReadableFile) {
        return Error{"Property list is too large"};
    }
    if (asText(bytes).starts_with("bplist")) {
        return parseBinary(bytes);
    }
    const auto text = inUtf8(asText(bytes));
    if (!text) {
        return Error{"Property list is not valid UTF-16"};
    }
    return isXml(*text) ? parseXml(*text) : parseTextPropertyList(*text);
}

}  // namespace velunor
