#include "platform/property_list/xml_leaves.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <limits>
#include <system_error>

namespace velunor {

namespace {

constexpr std::string_view blanks = " \t\r\n";

using Value = std::optional<PropertyListValue>;

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(blanks);
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Reads the whole of `text` as a number into `number`: what went wrong, or no error.
template <class Number, class... Format>
std::errc readNumber(std::string_view text, Number& number, Format... format) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, format...);
    return stop == end ? error : std::errc::invalid_argument;
}

Value integerIn(std::string_view text) {
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    std::uint64_t size = 0;
    const auto error =
        readNumber(text.substr(isHexadecimal ? 2 : 0), size, isHexadecimal ? 16 : 10);
    if (error == std::errc::invalid_argument) {
        return std::nullopt;
    }
    constexpr auto greatest = std::numeric_limits<std::int64_t>::max();
    if (error == std::errc::result_out_of_range || size > std::uint64_t{greatest}) {
        return PropertyListValue{isNegative ? std::numeric_limits<std::int64_t>::min() : greatest};
    }
    const auto number = static_cast<std::int64_t>(size);
    return PropertyListValue{isNegative ? -number : number};
}

Value realIn(std::string_view text) {
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    double size = 0;
    const auto error = readNumber(text, size);
    if (error == std::errc::invalid_argument || text.starts_with('-')) {
        return std::nullopt;
    }
    if (error == std::errc::result_out_of_range) {
        const bool isTiny = text.find('-') != std::string_view::npos;
        size = isTiny ? 0 : std::numeric_limits<double>::infinity();
    }
    return PropertyListValue{isNegative ? -size : size};
}

/// A moment such as 2026-11-21T20:15:00Z.
Value dateIn(std::string_view text) {
    constexpr std::string_view form = "0000-00-00T00:00:00Z";
    if (text.size() != form.size()) {
        return std::nullopt;
    }
    std::array<unsigned, 6> fields{};
    std::size_t field = 0;
    for (std::size_t index = 0; index < form.size(); ++index) {
        const bool isDigit = text[index] >= '0' && text[index] <= '9';
        if (isDigit != (form[index] == '0') || (!isDigit && text[index] != form[index])) {
            return std::nullopt;
        }
        if (isDigit) {
            fields[field] = fields[field] * 10 + static_cast<unsigned>(text[index] - '0');
        } else {
            ++field;
        }
    }
    const auto [year, month, day, hour, minute, second] = fields;
    using namespace std::chrono;
    const year_month_day date{std::chrono::year(static_cast<int>(year)), std::chrono::month(month),
                              std::chrono::day(day)};
    if (!date.ok() || hour > 23 || minute > 59 || second > 59) {
        return std::nullopt;
    }
    constexpr sys_days epoch{2001y / January / 1};
    const auto moment = sys_days(date) - epoch + hours(hour) + minutes(minute) + seconds(second);
    return PropertyListValue{PropertyListDate{duration<double>(moment).count()}};
}

/// Base64 with blanks anywhere and with its padding.
Value dataIn(std::string_view text) {
    constexpr std::string_view signs =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    PropertyListData data;
    std::uint32_t group = 0;
    std::size_t count = 0;
    std::size_t padding = 0;
    for (const char character : text) {
        if (blanks.find(character) != std::string_view::npos) {
            continue;
        }
        const auto sign = character == '=' ? 0 : signs.find(character);
        padding += character == '=' ? 1 : 0;
        const bool isMisplaced = padding > 0 && (character != '=' || count % 4 < 2);
        if (sign == std::string_view::npos || isMisplaced) {
            return std::nullopt;
        }
        group = group << 6U | static_cast<std::uint32_t>(sign);
        if (++count % 4 == 0) {
            for (const unsigned shift : {16U, 8U, 0U}) {
                data.push_back(static_cast<std::byte>(group >> shift));
            }
        }
    }
    if (count % 4 != 0 || padding > 2) {
        return std::nullopt;
    }
    data.resize(data.size() - padding);
    return PropertyListValue{std::move(data)};
}

Value flagIn(std::string_view text, bool flag) {
    return text.empty() ? Value(PropertyListValue{flag}) : std::nullopt;
}

struct Leaf {
    std::string_view name;
    Value (*read)(std::string_view content);
};

constexpr std::array<Leaf, 7> leaves{{
    {"string", [](std::string_view text) { return Value(PropertyListValue{std::string(text)}); }},
    {"integer", [](std::string_view text) { return integerIn(trimmed(text)); }},
    {"real", [](std::string_view text) { return realIn(trimmed(text)); }},
    {"date", [](std::string_view text) { return dateIn(trimmed(text)); }},
    {"data", dataIn},
    {"true", [](std::string_view text) { return flagIn(trimmed(text), true); }},
    {"false", [](std::string_view text) { return flagIn(trimmed(text), false); }},
}};

const Leaf* leafNamed(std::string_view name) {
    for (const Leaf& leaf : leaves) {
        if (leaf.name == name) {
            return &leaf;
        }
    }
    return nullptr;
}

}  // namespace

bool isXmlLeaf(std::string_view name) {
    return leafNamed(name) != nullptr;
}

std::optional<PropertyListValue> xmlLeaf(std::string_view name, std::string_view content) {
    const Leaf* leaf = leafNamed(name);
    return leaf == nullptr ? std::nullopt : leaf->read(content);
}

}  // namespace velunor
