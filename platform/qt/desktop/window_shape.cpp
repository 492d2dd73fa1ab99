#include "platform/qt/desktop/window_shape.h"

#include <algorithm>
#include <cmath>

namespace velunor {

QRegion roundedRegion(const QSize& size, int radius) {
    const int corner = std::clamp(radius, 0, std::min(size.width(), size.height()) / 2);
    QRegion region(0, corner, size.width(), size.height() - 2 * corner);
    for (int row = 0; row < corner; ++row) {
        const double height = corner - (row + 0.5);
        const double reach = std::sqrt(static_cast<double>(corner) * corner - height * height);
        const int inset = static_cast<int>(std::ceil(corner - reach - 0.5));
        const int width = size.width() - 2 * inset;
        region += QRect(inset, row, width, 1);
        region += QRect(inset, size.height() - 1 - row, width, 1);
    }
    return region;
}

}  // namespace velunor
