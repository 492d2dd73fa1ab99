#pragma once

#include <QColor>
#include <QPalette>

namespace velunor {

/// The colours of the prompt; the toolkit's palette has none for notices and refusals and promises
/// no contrast. Every text and its ground differ by at least 4.5 : 1, every outline
/// of a control and its ground by at least 3 : 1.
struct Theme {
    bool dark = false;
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

/// The dark theme where the palette shows light text on a dark ground, else the light one. Any
/// thread.
[[nodiscard]] const Theme& themeFor(const QPalette& palette);

/// The theme of the desktop's present palette. Main thread only.
[[nodiscard]] const Theme& currentTheme();

}  // namespace velunor
