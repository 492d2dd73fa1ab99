#pragma once

#include <chrono>
#include <functional>

namespace velunor {

/// A scheduled timer, as its own callback sees it.
class Timer {
  public:
    virtual ~Timer() = default;
    /// Stops the timer; its callback does not run again.
    virtual void invalidate() = 0;
};

/// The main run loop.
class RunLoop {
  public:
    virtual ~RunLoop() = default;

    /// Runs `block` on the main thread after `interval`, then again after each further one when
    /// `repeats`. The block is told the timer that runs it. Main thread only.
    virtual void scheduleTimer(std::chrono::milliseconds interval, bool repeats,
                               std::function<void(Timer&)> block) = 0;

    /// Queues `work` for the main thread. Any thread.
    virtual void performOnMainThread(std::function<void()> work) = 0;

    /// Queues `work` for a background thread at user-initiated priority. Any thread.
    virtual void performInBackground(std::function<void()> work) = 0;
};

}  // namespace velunor
