#pragma once

#include <QColor>
#include <QDBusConnection>
#include <QPainter>
#include <QPalette>
#include <QWidget>
#include <memory>

namespace velunor {

/// The colours of the prompt; the toolkit's palette has none for notices and refusals and promises
/// no contrast. Every text and its ground differ by at least 4.5 : 1, every outline of a control
/// and its ground by at least 3 : 1.
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

/// The dark theme for a palette of light text on a dark ground, else the light one. Any thread.
[[nodiscard]] const Theme& themeFor(const QPalette& palette);

/// The theme of the desktop's present palette. Main thread only.
[[nodiscard]] const Theme& currentTheme();

/// Draws a rectangle with smooth, rounded corners. Main thread only.
void drawRounded(QPainter& painter, const QRectF& rect, double radius, const QBrush& fill,
                 const QPen& outline = QPen(Qt::NoPen));

/// Whether `widget` should not move by itself: the desktop's style or its settings ask for less
/// motion. Main thread only.
[[nodiscard]] bool isMotionReduced(const QWidget& widget);

/// Whether the session says where its bus is; asking for one that it does not name would start it.
[[nodiscard]] bool hasSessionBus();

/// Follows, as long as the object lives, what the desktop portal on the session bus tells of the
/// user's settings and the toolkit does not: the light or dark scheme, which becomes the
/// application's palette, and reduced motion. Nothing waits for the portal; without one everything
/// stays as the toolkit has it. Main thread only.
[[nodiscard]] std::unique_ptr<QObject> followDesktopSettings(const QDBusConnection& sessionBus);

}  // namespace velunor
