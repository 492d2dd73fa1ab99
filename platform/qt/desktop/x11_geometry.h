#pragma once

#include <QMargins>
#include <QRect>
#include <cstdint>
#include <optional>
#include <vector>

namespace velunor {

// What the numbers mean that other programs have put into properties on the X server. Any number
// may stand there. Any thread.

/// `monitor` without the room that the strut of one panel takes of it, both in pixels of a desktop
/// of size `desktop`. `strut` has the twelve numbers of _NET_WM_STRUT_PARTIAL: widths from the
/// desktop's left, right, top and bottom edge, then the first and last pixel that each spans.
[[nodiscard]] QRect withoutStrut(const QRect& monitor, const std::vector<std::uint32_t>& strut,
                                 const QSize& desktop);

/// The first of `areas` that lies within `monitor` and is not empty: four numbers for each, left,
/// top, width and height, in pixels.
[[nodiscard]] std::optional<QRect> workAreaWithin(const QRect& monitor,
                                                  const std::vector<std::uint32_t>& areas);

/// The frame that `extents` (left, right, top and bottom, in pixels) tell of, in points of which
/// each has `scale` pixels; none for fewer than four numbers, or one that no desktop has room for.
[[nodiscard]] QMargins frameMargins(const std::vector<std::uint32_t>& extents, double scale);

}  // namespace velunor
