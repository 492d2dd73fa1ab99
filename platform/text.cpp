#include "platform/text.h"

namespace velunor {

namespace {

constexpr bool isContinuation(unsigned char byte) {
    return (byte & 0xC0U) == 0x80U;
}

/// Length of the well-formed sequence at the start of `text`, 0 when there is none.
std::size_t sequenceLength(std::string_view text) {
    const auto at = [&](std::size_t index) {
        return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
    };
    const unsigned first = at(0);
    const unsigned second = at(1);
    if (first < 0x80U) {
        return 1;
    }
    if (first >= 0xC2U && first <= 0xDFU) {
        return isContinuation(static_cast<unsigned char>(second)) ? 2 : 0;
    }
    const bool tail = isContinuation(static_cast<unsigned char>(at(2)));
    if (first >= 0xE0U && first <= 0xEFU) {
        const unsigned lowest = first == 0xE0U ? 0xA0U : 0x80U;
        const unsigned highest = first == 0xEDU ? 0x9FU : 0xBFU;
        return second >= lowest && second <= highest && tail ? 3 : 0;
    }
    if (first >= 0xF0U && first <= 0xF4U) {
        const unsigned lowest = first == 0xF0U ? 0x90U : 0x80U;
        const unsigned highest = first == 0xF4U ? 0x8FU : 0xBFU;
        const bool last = isContinuation(static_cast<unsigned char>(at(3)));
        return second >= lowest && second <= highest && tail && last ? 4 : 0;
    }
    return 0;
}

void appendEscaped(std::string& out, char character) {
    constexpr std::string_view hexadecimal = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(character);
    switch (character) {
        case '"':
        case '\\':
            out += '\\';
            out += character;
            return;
        case '\n':
            out += "\\n";
            return;
        case '\r':
            out += "\\r";
            return;
        case '\t':
            out += "\\t";
            return;
        default:
            break;
    }
    if (byte >= 0x20U && byte != 0x7FU) {
        out += character;
        return;
    }
    out += "\\u{";
    if (byte >= 0x10U) {
        out += hexadecimal[byte >> 4U];
    }
    out += hexadecimal[byte & 0x0FU];
    out += '}';
}

std::optional<char32_t> takeCodeUnit(std::string_view& text) {
    constexpr std::string_view digits = "0123456789abcdef0123456789ABCDEF";
    char32_t unit = 0;
    for (int count = 0; count < 4; ++count) {
        const auto digit = text.empty() ? std::string_view::npos : digits.find(text.front());
        if (digit == std::string_view::npos) {
            return std::nullopt;
        }
        unit = unit * 16 + static_cast<char32_t>(digit % 16);
        text.remove_prefix(1);
    }
    return unit;
}

}  // namespace

bool isValidUtf8(std::string_view text) noexcept {
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::string listDescription(std::span<const std::string> elements) {
    std::string out = "[";
    for (const std::string& element : elements) {
        if (out.size() > 1) {
            out += ", ";
        }
        out += '"';
        for (const char character : element) {
            appendEscaped(out, character);
        }
        out += '"';
    }
    return out + "]";
}

std::string decimal(long long value) {
    return std::to_string(value);
}

std::string encodedUtf8(char32_t code) {
    const auto lead = [&](unsigned marker, unsigned shift) {
        return static_cast<char>(marker | (code >> shift));
    };
    const auto tail = [&](unsigned shift) {
        return static_cast<char>(0x80U | ((code >> shift) & 0x3FU));
    };
    if (code < 0x80U) {
        return {static_cast<char>(code)};
    }
    if (code < 0x800U) {
        return {lead(0xC0U, 6), tail(0)};
    }
    if (code < 0x10000U) {
        return {lead(0xE0U, 12), tail(6), tail(0)};
    }
    return {lead(0xF0U, 18), tail(12), tail(6), tail(0)};
}

std::optional<char32_t> takeEscapedCodePoint(std::string_view& text, std::string_view letters) {
    const auto first = takeCodeUnit(text);
    if (!first || (*first >= 0xDC00U && *first <= 0xDFFFU)) {
        return std::nullopt;
    }
    if (*first < 0xD800U || *first > 0xDBFFU) {
        return first;
    }
    if (text.size() < 2 || text[0] != '\\' || letters.find(text[1]) == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(2);
    const auto second = takeCodeUnit(text);
    if (!second || *second < 0xDC00U || *second > 0xDFFFU) {
        return std::nullopt;
    }
    return 0x10000U + ((*first - 0xD800U) << 10U) + (*second - 0xDC00U);
}

}  // namespace velunor
