#pragma once

#include <QRegion>
#include <QSize>

namespace velunor {

/// The pixels of a rectangle of this size whose corners are rounded with `radius`: those whose
/// middle is inside. For windows on a screen that cannot blend them. Main
/// thread only.
[[nodiscard]] QRegion roundedRegion(const QSize& size, int radius);

}  // namespace velunor
