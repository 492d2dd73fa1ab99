#pragma once

namespace velunor {

/// Makes the application reach a display: prefers X11 where an X server answers, because a window
/// can place itself only there, and lets the toolkit trust the desktop's work area. False when no
/// display can be reached; the toolkit would end the process with a core dump then. Main thread,
/// before the application object is made.
[[nodiscard]] bool prepareDisplay();

/// Whether a compositor draws the windows, so that they may have see-through corners. Main thread,
/// once there is an application object.
[[nodiscard]] bool isCompositing();

}  // namespace velunor
