#pragma once

#include <optional>
#include <vector>

#include "platform/graphics.h"
#include "platform/interface.h"

namespace velunor {

/// Stacking level of ordinary windows.
inline constexpr int normalWindowLevel = 0;
/// Stacking level of a window that floats above ordinary ones.
inline constexpr int floatingWindowLevel = 3;

/// A top-level window. Main thread only.
class Window : public Interface {
  public:
    /// Position and size on the desktop, decoration included.
    [[nodiscard]] virtual Rect frame() const = 0;
    /// Moves the lower-left corner of the frame; the size stays.
    virtual void setFrameOrigin(const Point& origin) = 0;
    virtual void setLevel(int level) = 0;
};

/// The screens of the desktop. Main thread only.
class Screens : public Interface {
  public:
    /// Usable area of the main screen (panels and docks excluded), none without a screen.
    [[nodiscard]] virtual std::optional<Rect> mainScreenVisibleFrame() const = 0;
};

/// The running desktop application. Main thread only.
class Application : public Interface {
  public:
    /// The application's windows, first one first; owned by the application.
    [[nodiscard]] virtual std::vector<Window*> windows() = 0;
    /// Asks for the user's attention until the application is activated.
    virtual void requestCriticalAttention() = 0;
    virtual void setApplicationIconImage(const ImagePointer& image) = 0;
};

}  // namespace velunor
