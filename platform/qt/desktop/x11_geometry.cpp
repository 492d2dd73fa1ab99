#include "platform/qt/desktop/x11_geometry.h"

#include <algorithm>

namespace velunor {
namespace {

/// X11's own coordinates have 16 bits.
constexpr std::uint32_t mostPixels = 0xFFFF;

}  // namespace

QRect withoutStrut(const QRect& monitor, const std::vector<std::uint32_t>& strut,
                   const QSize& desktop) {
    const auto width = [&](std::size_t side) {
        return static_cast<int>(std::min(strut[side], mostPixels));
    };
    const auto spans = [&](std::size_t side, std::int64_t from, std::int64_t to) {
        return strut[side] > 0 && strut[4 + 2 * side] < to && strut[5 + 2 * side] >= from;
    };
    QRect left = monitor;
    const int top = monitor.y();
    const int bottom = top + monitor.height();
    const int start = monitor.x();
    const int end = start + monitor.width();
    if (spans(0, top, bottom)) {
        left.setLeft(std::max(start, width(0)));
    }
    if (spans(1, top, bottom)) {
        left.setRight(std::min(end, desktop.width() - width(1)) - 1);
    }
    if (spans(2, start, end)) {
        left.setTop(std::max(top, width(2)));
    }
    if (spans(3, start, end)) {
        left.setBottom(std::min(bottom, desktop.height() - width(3)) - 1);
    }
    // A strut across a whole monitor belongs to a panel on the one beyond it.
    return left.isEmpty() ? monitor : left;
}

std::optional<QRect> workAreaWithin(const QRect& monitor, const std::vector<std::uint32_t>& areas) {
    for (std::size_t index = 0; index + 3 < areas.size(); index += 4) {
        const auto number = [&](std::size_t place) {
            return static_cast<int>(std::min(areas[index + place], mostPixels));
        };
        const QRect area(number(0), number(1), number(2), number(3));
        if (!area.isEmpty() && monitor.contains(area)) {
            return area;
        }
    }
    return std::nullopt;
}

QMargins frameMargins(const std::vector<std::uint32_t>& extents, double scale) {
    if (extents.size() < 4 || std::ranges::max(extents) > mostPixels) {
        return {};
    }
    const auto points = [&](std::size_t side) { return qRound(extents[side] / scale); };
    return {points(0), points(2), points(1), points(3)};
}

}  // namespace velunor
