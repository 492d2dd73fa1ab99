#include "platform/text.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace velunor {
namespace {

constexpr bool isHighHalf(char32_t unit) {
    return unit >= 0xD800U && unit <= 0xDBFFU;
}

constexpr bool isLowHalf(char32_t unit) {
    return unit >= 0xDC00U && unit <= 0xDFFFU;
}

constexpr char32_t ofPair(char32_t high, char32_t low) {
    return 0x10000U + ((high - 0xD800U) << 10U) + (low - 0xDC00U);
}

/// Controls of a terminal, line ends, and the marks that turn the direction of writing around.
constexpr bool isControl(char32_t code) {
    return code < 0x20U || (code >= 0x7FU && code < 0xA0U) || code == 0x061CU || code == 0x200EU ||
           code == 0x200FU || (code >= 0x2028U && code <= 0x202EU) ||
           (code >= 0x2066U && code <= 0x2069U);
}

/// Where the run of printable ASCII characters that no style escapes ends that begins at `index`.
std::size_t endOfPlainLetters(std::string_view text, std::size_t index) {
    while (index < text.size() && text[index] >= ' ' && text[index] <= '~' && text[index] != '"' &&
           text[index] != '\\') {
        ++index;
    }
    return index;
}

std::string hexadecimal(char32_t code, int fewestDigits) {
    std::array<char, 16> digits{};
    static_cast<void>(std::snprintf(digits.data(), digits.size(), "%0*X", fewestDigits,
                                    static_cast<unsigned>(code)));
    return digits.data();
}

std::string escapeOf(char32_t code, EscapeStyle style) {
    if (style == EscapeStyle::json) {
        return code < 0x20U ? " " : "\\u" + hexadecimal(code, 4);
    }
    switch (code) {
        case U'\n':
            return "\\n";
        case U'\r':
            return "\\r";
        case U'\t':
            return "\\t";
        default:
            return "\\u{" + hexadecimal(code, 1) + "}";
    }
}

std::optional<char32_t> takeCodeUnit(std::string_view& text) {
    const auto digits = text.substr(0, 4);
    std::uint16_t unit = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, unit, 16);
    if (digits.size() < 4 || stop != end) {
        return std::nullopt;
    }
    text.remove_prefix(digits.size());
    return unit;
}

}  // namespace

std::optional<CodePoint> firstCodePoint(std::string_view text) noexcept {
    constexpr std::array<char32_t, 5> smallest{0, 0, 0x80U, 0x800U, 0x10000U};
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80U) {
        return CodePoint{first, 1};
    }
    const std::size_t length = first < 0xE0U ? 2 : first < 0xF0U ? 3 : 4;
    if (first < 0xC0U || first > 0xF4U || text.size() < length) {
        return std::nullopt;
    }
    char32_t code = first & (0x7FU >> length);
    for (const char character : text.substr(1, length - 1)) {
        const auto byte = static_cast<unsigned char>(character);
        if ((byte & 0xC0U) != 0x80U) {
            return std::nullopt;
        }
        code = code << 6U | (byte & 0x3FU);
    }
    if (code < smallest[length] || code > 0x10FFFFU || isHighHalf(code) || isLowHalf(code)) {
        return std::nullopt;
    }
    return CodePoint{code, length};
}

bool isValidUtf8(std::string_view text) noexcept {
    while (!text.empty()) {
        const auto first = firstCodePoint(text);
        if (!first) {
            return false;
        }
        text.remove_prefix(first->length);
    }
    return true;
}

std::string inOneLine(std::string_view text, EscapeStyle style) {
    std::string out;
    out.reserve(text.size());
    putInOneLine(text, style, [&](std::string_view piece) { out += piece; });
    return out;
}

void putInOneLine(std::string_view text, EscapeStyle style,
                  const std::function<void(std::string_view piece)>& put) {
    // What stands as it is goes out in one piece: texts are long, and most of them plain.
    std::size_t plain = 0;
    while ((plain = endOfPlainLetters(text, plain)) < text.size()) {
        const auto first = firstCodePoint(text.substr(plain));
        const bool isMark = first && (first->value == U'"' || first->value == U'\\');
        const bool isEscaped = isMark && style == EscapeStyle::listElement;
        if (first && !isControl(first->value) && !isEscaped) {
            plain += first->length;
            continue;
        }
        put(text.substr(0, plain));
        put(!first ? "\uFFFD" : isEscaped ? "\\" : escapeOf(first->value, style));
        const std::size_t replaced = isEscaped ? 0 : first ? first->length : 1;
        text.remove_prefix(plain + replaced);
        plain = isEscaped ? first->length : 0;
    }
    put(text);
}

std::string listDescription(std::span<const std::string> elements) {
    std::string out = "[";
    for (const std::string& element : elements) {
        out += out.size() > 1 ? ", \"" : "\"";
        out += inOneLine(element, EscapeStyle::listElement);
        out += '"';
    }
    return out + "]";
}

std::string encodedUtf8(char32_t code) {
    constexpr std::array<unsigned, 4> leads{0, 0xC0U, 0xE0U, 0xF0U};
    const unsigned tails = code < 0x80U ? 0 : code < 0x800U ? 1 : code < 0x10000U ? 2 : 3;
    std::string out{static_cast<char>(leads[tails] | (code >> (6 * tails)))};
    for (unsigned tail = tails; tail > 0; --tail) {
        out += static_cast<char>(0x80U | ((code >> (6 * (tail - 1))) & 0x3FU));
    }
    return out;
}

std::optional<char32_t> takeEscapedCodePoint(std::string_view& text, std::string_view letters) {
    const auto first = takeCodeUnit(text);
    if (!first || isLowHalf(*first)) {
        return std::nullopt;
    }
    if (!isHighHalf(*first)) {
        return first;
    }
    if (text.size() < 2 || text[0] != '\\' || letters.find(text[1]) == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(2);
    const auto second = takeCodeUnit(text);
    return second && isLowHalf(*second) ? std::optional(ofPair(*first, *second)) : std::nullopt;
}

std::optional<std::string> utf8FromUtf16(std::string_view bytes, std::endian order) {
    if (bytes.size() % 2 != 0) {
        return std::nullopt;
    }
    std::string out;
    char32_t high = 0;
    for (std::size_t index = 0; index < bytes.size(); index += 2) {
        const auto first = static_cast<unsigned char>(bytes[index]);
        const auto second = static_cast<unsigned char>(bytes[index + 1]);
        const char32_t unit =
            order == std::endian::big ? first * 256U + second : second * 256U + first;
        if (isLowHalf(unit) != (high != 0)) {
            return std::nullopt;
        }
        if (isLowHalf(unit)) {
            out += encodedUtf8(ofPair(high, unit));
        } else if (!isHighHalf(unit)) {
            out += encodedUtf8(unit);
        }
        high = isHighHalf(unit) ? unit : 0;
    }
    return high == 0 ? std::optional(std::move(out)) : std::nullopt;
}

}  // namespace velunor
