#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace velunor {

/// The colours of the card for one scheme. Text on its background has a contrast of 4.5 or more.
struct Theme {
    QColor card;
    QColor border;
    QColor text;
    QColor mutedText;
    QColor accent;
    QColor accentHover;
    QColor accentPressed;
    QColor accentText;
    QColor button;
    QColor buttonHover;
    QColor buttonPressed;
    QColor field;
    QColor fieldBorder;
    QColor noticeCard;
    QColor noticeBorder;
    QColor noticeText;
};

/// The theme that suits a desktop palette: dark where its windows are dark.
[[nodiscard]] const Theme& themeFor(const QPalette& palette);

/// The desktop's font at `ratio` times its size.
[[nodiscard]] QFont desktopFont(qreal ratio, bool bold);

/// How much larger than the common 10 points the desktop's font is: 2 for text at 200 %.
[[nodiscard]] qreal desktopTextScale();

}  // namespace velunor
