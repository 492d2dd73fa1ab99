#pragma once

#include <QDBusConnection>
#include <QWidget>
#include <memory>

namespace velunor {

/// Whether `widget` should not move by itself: the desktop's style or its settings ask for less
/// motion. Main thread only.
[[nodiscard]] bool isMotionReduced(const QWidget& widget);

/// Whether the session says where its bus is; asking for one that it does not name would start it.
[[nodiscard]] bool hasSessionBus();

/// Follows, as long as the object lives, what the desktop portal on the session bus tells of the
/// user's settings and the toolkit does not: the light or dark scheme, which becomes the
/// application's palette, high contrast, the size of texts, which becomes that of the application's
/// font, and reduced motion. Nothing waits for the portal; without one everything stays as the
/// toolkit has it. Main thread only.
[[nodiscard]] std::unique_ptr<QObject> followDesktopSettings(const QDBusConnection& sessionBus);

}  // namespace velunor
