#pragma once

#include <QWidget>

namespace velunor {

// What a Wayland compositor with the layer-shell protocol does for a window: it puts it where it
// asks to be, above the others. The library for it is loaded only where there is such a compositor.
// Main thread only.

/// Whether the compositor that the environment names offers it, and the program has been built with
/// the library. Call it before the application object is made; it waits for a mute compositor three
/// seconds at most.
[[nodiscard]] bool offersLayerShell();

/// Has `window`, which is yet to be shown, put into the lower right corner of the usable area, so
/// many points from both edges, and given the keyboard when the user clicks it. Nothing without a
/// layer shell.
void putIntoCorner(QWidget& window, int margin);

}  // namespace velunor
