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

}  // namespace velunor
