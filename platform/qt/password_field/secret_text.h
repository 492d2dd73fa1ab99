#pragma once

#include <QPainter>
#include <QRect>
#include <cstddef>
#include <string_view>
#include <vector>

#include "platform/secret.h"

namespace velunor {

/// A text that is edited and must not outlive its use, one element a code point. Its storage is
/// overwritten where characters are removed, when it is outgrown and at its end, and kept out of
/// swap as far as the system allows. Not thread-safe.
class SecretText {
  public:
    SecretText();
    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;
    ~SecretText();

    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    /// The clear text; the view is valid until the next change or the end of this object.
    [[nodiscard]] std::u32string_view reveal() const noexcept { return {storage_.data(), size_}; }
    /// A copy of the text in UTF-8; what is no code point becomes U+FFFD.
    [[nodiscard]] Secret utf8() const;

    /// Puts a code point before the one at `index`, which is at most the size.
    void insert(std::size_t index, char32_t codePoint);
    /// Removes `count` code points from `index` on; what is beyond the end is passed over.
    void erase(std::size_t index, std::size_t count) noexcept;
    void clear() noexcept { erase(0, size_); }

  private:
    std::vector<char32_t> storage_;
    std::size_t size_ = 0;
};

/// Draws `text` readably on one line in the painter's font and pen, shifted so far that the place
/// before character `caret` is in sight; a short text is at the leading edge. Each character is
/// drawn by itself, so that no string ever holds them all. Main thread only.
void drawSecret(QPainter& painter, const QRect& area, std::u32string_view text, std::size_t caret);

}  // namespace velunor
