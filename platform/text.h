#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velunor {

/// Whether `text` is well-formed UTF-8 (no overlong forms, no surrogates, at most U+10FFFF).
[[nodiscard]] bool isValidUtf8(std::string_view text) noexcept;

/// The list as log lines print it: ["a", "b"]. Quotation marks, backslashes and control
/// characters inside an element are escaped with a backslash.
[[nodiscard]] std::string listDescription(std::span<const std::string> elements);

/// `value` in plain decimal without leading zeros.
[[nodiscard]] std::string decimal(long long value);

/// The code point in UTF-8. `code` is a Unicode scalar value.
[[nodiscard]] std::string encodedUtf8(char32_t code);

/// Takes from the front of `text` what follows the "\u" of an escape: four hexadecimal digits, and
/// for the first half of a surrogate pair the escape of the second half too, which may begin with
/// any of `letters`. None, with `text` partly consumed, when that is malformed.
[[nodiscard]] std::optional<char32_t> takeEscapedCodePoint(std::string_view& text,
                                                           std::string_view letters = "u");

/// Finds the boundaries of what a reader perceives as one character.
class TextSegmenter {
  public:
    virtual ~TextSegmenter() = default;
    /// Number of user-perceived characters of a UTF-8 text. Any thread.
    [[nodiscard]] virtual std::size_t characterCount(std::string_view text) const = 0;
};

}  // namespace velunor
