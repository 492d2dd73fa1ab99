#pragma once

#include <QObject>

#include "platform/application.h"

namespace velunor {

/// The application's event loop. Timers are precise and count by ticks. While a menu is open they
/// pause: a repeating one goes on with its next tick, one that was due runs as soon as the menu is
/// closed. Those that are still active end with this object. Made and destroyed on the main thread.
class QtRunLoop final : public RunLoop {
  public:
    void scheduleTimer(std::chrono::milliseconds interval, TimerKind kind,
                       std::function<void(Timer&)> block) override;
    void performOnMainThread(std::function<void()> work) override;
    void performInBackground(std::function<void()> work) override;

  private:
    /// Lives on the main thread: owner of the timers and addressee of work for that thread.
    QObject mainThread_;
};

/// Calls `terminate` on the main loop at the first SIGTERM, SIGINT or SIGHUP, also where these were
/// blocked; a SIGHUP that is ignored stays so. Called once a process, on the main thread, with an
/// application object.
void onTerminationSignal(std::function<void()> terminate);

/// Gives what the process has freed back to the system, which the allocator would keep for later:
/// a start needs more than a countdown. Any thread.
void releaseFreeMemory();

}  // namespace velunor
