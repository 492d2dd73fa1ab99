#pragma once

namespace velunor {

// Lengths are in device-independent points. The screen's origin is its lower-left corner and y
// grows upwards, so that "30 above the bottom" reads as it is written.

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

}  // namespace velunor
