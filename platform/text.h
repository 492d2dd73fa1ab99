#pragma once

#include <bit>
#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/interface.h"

namespace velunor {

// Operations on texts. They hold no state: any thread.

/// A code point of a UTF-8 text and how many bytes it takes there.
struct CodePoint {
    char32_t value = 0;
    std::size_t length = 0;
};

/// The code point that `text`, which is not empty, begins with. None where no well-formed sequence
/// stands (no overlong forms, no surrogates, at most U+10FFFF).
[[nodiscard]] std::optional<CodePoint> firstCodePoint(std::string_view text) noexcept;

/// Whether `text` is well-formed UTF-8 from beginning to end.
[[nodiscard]] bool isValidUtf8(std::string_view text) noexcept;

/// How `inOneLine` writes a control character.
enum class EscapeStyle {
    /// For a log or a terminal: "\n", "\r", "\t", else "\u{1B}" with as many digits as it takes.
    log,
    /// As `log`; quotation marks and backslashes get a backslash too.
    listElement,
    /// For well-formed JSON, which stays the same value: "\u007F", and a blank for those below the
    /// blank, which stand between tokens alone.
    json
};

/// `text` as one line that does no harm to a log or a terminal. Control characters, line ends and
/// marks that turn the direction of writing around are escaped, bytes that are not UTF-8 become
/// U+FFFD. All else stays as it is.
[[nodiscard]] std::string inOneLine(std::string_view text, EscapeStyle style = EscapeStyle::log);

/// Hands `put` the same piece by piece, for a text that no other memory may hold.
void putInOneLine(std::string_view text, EscapeStyle style,
                  const std::function<void(std::string_view piece)>& put);

/// The list as log lines print it: ["a", "b"].
[[nodiscard]] std::string listDescription(std::span<const std::string> elements);

/// The code point in UTF-8. `code` is a Unicode scalar value.
[[nodiscard]] std::string encodedUtf8(char32_t code);

/// Takes from the front of `text` what follows the "\u" of an escape: four hexadecimal digits, and
/// for the first half of a surrogate pair the escape of the second half too, which may begin with
/// any of `letters`. None, with `text` partly consumed, when that is malformed.
[[nodiscard]] std::optional<char32_t> takeEscapedCodePoint(std::string_view& text,
                                                           std::string_view letters = "u");

/// The UTF-8 text that these bytes are in UTF-16, without a byte-order mark; none when they are
/// malformed.
[[nodiscard]] std::optional<std::string> utf8FromUtf16(std::string_view bytes, std::endian order);

/// Finds the boundaries of what a reader perceives as one character.
class TextSegmenter : public Interface {
  public:
    /// Number of user-perceived characters of a UTF-8 text. Any thread.
    [[nodiscard]] virtual std::size_t characterCount(std::string_view text) const = 0;
};

}  // namespace velunor
