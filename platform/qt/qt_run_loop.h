#pragma once

#include <QObject>
#include <QThreadPool>

#include "platform/run_loop.h"

namespace velunor {

/// The run loop of the Qt application. Made and destroyed on the main thread; destroying it waits
/// for background work that has begun and drops what is queued.
class QtRunLoop : public RunLoop {
  public:
    QtRunLoop() = default;
    QtRunLoop(const QtRunLoop&) = delete;
    QtRunLoop& operator=(const QtRunLoop&) = delete;
    ~QtRunLoop() override;

    /// Precise; an interval that was missed while the main thread was busy is not made up for.
    void scheduleTimer(std::chrono::milliseconds interval, bool repeats,
                       std::function<void(Timer&)> block) override;
    void performOnMainThread(std::function<void()> work) override;
    void performInBackground(std::function<void()> work) override;

  private:
    /// Lives on the main thread: owns the timers and receives queued work.
    QObject context_;
    QThreadPool pool_;
};

}  // namespace velunor
