#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <system_error>

#include "platform/property_list/property_list_forms.h"

namespace velunor {
namespace {

using Value = std::optional<PropertyListValue>;

std::string_view trimmed(std::string_view text) {
    text.remove_suffix(text.size() - (text.find_last_not_of(xmlBlanks) + 1));
    text.remove_prefix(std::min(text.find_first_not_of(xmlBlanks), text.size()));
    return text;
}

/// Takes a sign from the front of `text`; whether it makes a number negative.
bool takeSign(std::string_view& text) {
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    return isNegative;
}

/// Reads the whole of `text` as a number into `number`: what went wrong, or no error.
template <class Number, class... Format>
std::errc readNumber(std::string_view text, Number& number, Format... format) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, format...);
    return stop == end ? error : std::errc::invalid_argument;
}

Value integerIn(std::string_view text) {
    const bool isNegative = takeSign(text);
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
    const bool isNegative = takeSign(text);
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
    const auto fits = [](char sign, char wanted) {
        return wanted == '0' ? sign >= '0' && sign <= '9' : sign == wanted;
    };
    if (!std::equal(text.begin(), text.end(), form.begin(), form.end(), fits)) {
        return std::nullopt;
    }
    const auto number = [&](std::size_t position, std::size_t length) {
        int value = 0;
        static_cast<void>(readNumber(text.substr(position, length), value));
        return value;
    };
    using namespace std::chrono;
    const auto date = year(number(0, 4)) / number(5, 2) / number(8, 2);
    const int hour = number(11, 2);
    const int minute = number(14, 2);
    const int second = number(17, 2);
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
    std::string digits(text);
    std::erase_if(digits, [](char sign) { return xmlBlanks.find(sign) != std::string::npos; });
    const std::size_t length = digits.find_last_not_of('=') + 1;
    const std::size_t padding = digits.size() - length;
    if (digits.size() % 4 != 0 || padding > 2) {
        return std::nullopt;
    }
    PropertyListData data;
    std::uint32_t group = 0;
    for (std::size_t index = 0; index < digits.size(); ++index) {
        const auto sign = index < length ? signs.find(digits[index]) : 0;
        if (sign == std::string_view::npos) {
            return std::nullopt;
        }
        group = group << 6U | static_cast<std::uint32_t>(sign);
        if (index % 4 == 3) {
            for (const unsigned shift : {16U, 8U, 0U}) {
                data.push_back(static_cast<std::byte>(group >> shift));
            }
        }
    }
    data.resize(data.size() - padding);
    return PropertyListValue{std::move(data)};
}

Value flagIn(std::string_view text, bool flag) {
    return text.empty() ? Value(PropertyListValue{flag}) : std::nullopt;
}

}  // namespace

XmlLeafReader xmlLeafReader(std::string_view name) {
    static const std::map<std::string_view, XmlLeafReader> readers{
        {"string",
         [](std::string_view text) { return Value(PropertyListValue{std::string(text)}); }},
        {"integer", [](std::string_view text) { return integerIn(trimmed(text)); }},
        {"real", [](std::string_view text) { return realIn(trimmed(text)); }},
        {"date", [](std::string_view text) { return dateIn(trimmed(text)); }},
        {"data", dataIn},
        {"true", [](std::string_view text) { return flagIn(trimmed(text), true); }},
        {"false", [](std::string_view text) { return flagIn(trimmed(text), false); }},
    };
    const auto found = readers.find(name);
    return found == readers.end() ? nullptr : found->second;
}

}  // namespace velunor
