#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace velunor {

enum class FontWeight { regular, bold };
enum class TextColor { standard };

/// The look of a styled run: the system font in this weight and size, in this colour.
struct TextAttributes {
    FontWeight weight = FontWeight::regular;
    double pointSize = 0;
    TextColor color = TextColor::standard;
    bool operator==(const TextAttributes&) const = default;
};

/// A piece of text. The first `styledLength` UTF-16 units carry `attributes`; what follows them,
/// and the whole of a run without attributes, shows in the receiving control's font and colour.
struct TextRun {
    std::string text;
    std::optional<TextAttributes> attributes;
    std::size_t styledLength = 0;
    bool operator==(const TextRun&) const = default;
};

/// Styled text: its runs, in order. Runs may be empty.
using AttributedString = std::vector<TextRun>;

/// The text of all runs without their styling.
[[nodiscard]] inline std::string plainText(const AttributedString& styled) {
    std::string text;
    for (const TextRun& run : styled) {
        text += run.text;
    }
    return text;
}

}  // namespace velunor
