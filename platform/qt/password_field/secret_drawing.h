#pragma once

#include <QPainter>
#include <QRect>
#include <string_view>

namespace velunor {

/// Draws `text` readably on one line in the painter's font and pen, shifted so far that the place
/// before character `caret` is in sight; a short text is at the leading edge. Each character is
/// drawn by itself, in the order of typing, so that no string ever holds them all. Main
/// thread only.
void drawSecret(QPainter& painter, const QRect& area, std::u32string_view text, std::size_t caret);

}  // namespace velunor
