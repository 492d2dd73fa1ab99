#pragma once

#include <QColor>
#include <QPainter>
#include <QPalette>

namespace velunor {

/// The colours and lines of the prompt; the toolkit's palette has none for notices and refusals and
/// promises no contrast. Every text and its ground differ by at least 4.5 : 1, every outline of a
/// control and its ground by at least 3 : 1; where the desktop asks for high contrast, both by at
/// least 7 : 1.
struct Theme {
    bool dark = false;
    /// Every part has an outline, and nothing shows through.
    bool highContrast = false;
    /// Width of outlines and of the focus ring in points.
    double line = 1;
    double ring = 2;
    QColor card;
    QColor cardBorder;
    QColor panel;
    QColor text;
    QColor secondaryText;
    QColor link;
    /// Ground of a link beneath the pointer.
    QColor linkHover;
    QColor accent;
    QColor accentHover;
    QColor accentPressed;
    QColor onAccent;
    QColor button;
    QColor buttonHover;
    QColor buttonPressed;
    QColor buttonBorder;
    QColor field;
    QColor fieldBorder;
    QColor notice;
    QColor noticeBorder;
    QColor noticeText;
    /// Outline of a field whose content was refused.
    QColor refused;
};

/// The dark theme for a palette of light text on a dark ground, else the light one, in high
/// contrast where that is set. Main thread only.
[[nodiscard]] const Theme& themeFor(const QPalette& palette);

/// The theme of the desktop's present palette. Main thread only.
[[nodiscard]] const Theme& currentTheme();

/// Whether the themes have high contrast from now on; the widgets that are there are drawn anew.
/// Main thread only.
void setHighContrast(bool high);

/// Draws a rectangle with smooth, rounded corners. Main thread only.
void drawRounded(QPainter& painter, const QRectF& rect, double radius, const QBrush& fill,
                 const QPen& outline = QPen(Qt::NoPen));

}  // namespace velunor
