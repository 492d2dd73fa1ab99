#pragma once

#include <chrono>
#include <functional>

#include "platform/interface.h"

namespace velunor {

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
    /// interval. The block is told the timer that runs it. Main thread only.
    virtual void scheduleTimer(std::chrono::milliseconds interval, TimerKind kind,
                               std::function<void(Timer&)> block) = 0;

    /// Queues `work` for the main thread. Any thread.
    virtual void performOnMainThread(std::function<void()> work) = 0;

    /// Queues `work` for a background thread at user-initiated priority. Any thread.
    virtual void performInBackground(std::function<void()> work) = 0;
};

}  // namespace velunor
