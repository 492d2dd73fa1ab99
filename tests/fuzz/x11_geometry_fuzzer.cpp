// Numbers that any program may have put on the X server: the area that is left for the window is a
// part of the monitor and not empty, and a frame is never wider than a desktop can be.
#include <cstring>

#include "platform/qt/desktop/x11_geometry.h"
#include "tests/fuzz/fuzzing.h"

namespace velunor {
namespace {

void checkMargins(const std::vector<std::uint32_t>& numbers, double scale) {
    constexpr int widest = 65535;
    const QMargins margins = frameMargins(numbers, scale);
    for (const int side : {margins.left(), margins.top(), margins.right(), margins.bottom()}) {
        require(side >= 0 && side <= widest);
    }
}

}  // namespace

void fuzz(std::string_view input) {
    std::vector<std::uint32_t> numbers(input.size() / sizeof(std::uint32_t));
    if (!numbers.empty()) {
        std::memcpy(numbers.data(), input.data(), numbers.size() * sizeof(std::uint32_t));
    }
    constexpr QSize desktop(3200, 1080);
    for (const QRect monitor : {QRect(0, 0, 1280, 1024), QRect(1280, 0, 1920, 1080)}) {
        if (const auto area = workAreaWithin(monitor, numbers)) {
            require(!area->isEmpty() && monitor.contains(*area));
        }
        if (numbers.size() >= 12) {
            const QRect left = withoutStrut(monitor, numbers, desktop);
            require(!left.isEmpty() && monitor.contains(left));
        }
    }
    checkMargins(numbers, 1);
    checkMargins(numbers, 2.5);
}

}  // namespace velunor
