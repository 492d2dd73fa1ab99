#pragma once

namespace velunor {

/// Whether the desktop that the environment names can be reached. Call it before the application
/// object is made, which would end the process with a core dump where there is none. Prefers an X
/// server on a Wayland desktop (a window can place itself there) and settles that by setting
/// QT_QPA_PLATFORM where it is unset. Main thread, before any other thread starts.
[[nodiscard]] bool prepareDisplay();

}  // namespace velunor
