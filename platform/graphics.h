#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/interface.h"

namespace velunor {

// What windows and controls show, and where. Lengths are in device-independent points. The screen's
// origin is its lower-left corner and y grows upwards, so that "30 above the bottom" reads as it is
// written.

struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

struct Size {
    double width = 0;
    double height = 0;
    bool operator==(const Size&) const = default;
};

struct Rect {
    Point origin;
    Size size;
    bool operator==(const Rect&) const = default;
};

/// Calibrated RGB with components from 0 to 1.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    bool operator==(const Color&) const = default;
};

/// A decoded picture. Immutable, so one may be used from several threads.
class Image : public Interface {
  public:
    [[nodiscard]] virtual Size size() const = 0;
};

using ImagePointer = std::shared_ptr<const Image>;

/// Makes images, on any thread. A null pointer stands for what is no readable image or beyond the
/// reader's limits.
class ImageReader : public Interface {
  public:
    [[nodiscard]] virtual ImagePointer imageFromFile(const std::string& path) const = 0;
    [[nodiscard]] virtual ImagePointer imageFromData(std::span<const std::byte> data) const = 0;

    /// A new image of the same size: `image` drawn into its full rectangle, clipped to a rounded
    /// rectangle with the given corner radii in points.
    [[nodiscard]] virtual ImagePointer clippedToRoundedRectangle(const ImagePointer& image,
                                                                 double radiusX,
                                                                 double radiusY) const = 0;
};

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
