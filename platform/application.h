#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include "platform/graphics.h"
#include "platform/interface.h"

namespace velunor {

// The running desktop application: its windows and screens, and its run loop. Main thread only,
// where nothing else is said.

/// Stacking level of ordinary windows.
inline constexpr int normalWindowLevel = 0;
/// Stacking level of a window that floats above ordinary ones.
inline constexpr int floatingWindowLevel = 3;

/// A top-level window.
class Window : public Interface {
  public:
    /// Position and size on the desktop, decoration included.
    [[nodiscard]] virtual Rect frame() const = 0;
    /// Moves the lower-left corner of the frame; the size stays.
    virtual void setFrameOrigin(const Point& origin) = 0;
    virtual void setLevel(int level) = 0;
};

/// The screens of the desktop.
class Screens : public Interface {
  public:
    /// Usable area of the main screen (panels and docks excluded), none without a screen.
    [[nodiscard]] virtual std::optional<Rect> mainScreenVisibleFrame() const = 0;
};

class Application : public Interface {
  public:
    /// The application's windows, first one first; owned by the application.
    [[nodiscard]] virtual std::vector<Window*> windows() = 0;
    /// Asks for the user's attention until the application is activated.
    virtual void requestCriticalAttention() = 0;
    virtual void setApplicationIconImage(const ImagePointer& image) = 0;
};

/// A scheduled timer, as its own callback sees it.
class Timer : public Interface {
  public:
    /// Stops the timer; its callback does not run again.
    virtual void invalidate() = 0;
};

/// How often a timer's callback runs.
enum class TimerKind { once, repeating };

/// The main run loop.
class RunLoop : public Interface {
  public:
    /// Runs `block` on the main thread after `interval`, and a repeating one after each further
    /// interval. The block is told the timer that runs it.
    virtual void scheduleTimer(std::chrono::milliseconds interval, TimerKind kind,
                               std::function<void(Timer&)> block) = 0;

    /// Queues `work` for the main thread. Any thread.
    virtual void performOnMainThread(std::function<void()> work) = 0;

    /// Queues `work` for a background thread at user-initiated priority. Any thread.
    virtual void performInBackground(std::function<void()> work) = 0;
};

}  // namespace velunor
