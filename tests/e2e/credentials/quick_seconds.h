#pragma once

// Put before the program's main file: its seconds are shorter, so that a countdown of minutes is
// over in seconds. The prompt is otherwise the whole program.

#include <utility>

#include "platform/qt/application/run_loop.h"

namespace velunor {

/// The application's event loop, with timers that are due fifty times as soon.
class QuickRunLoop final : public RunLoop {
  public:
    void scheduleTimer(std::chrono::milliseconds interval, TimerKind kind,
                       std::function<void(Timer&)> block) override {
        loop_.scheduleTimer(interval / 50, kind, std::move(block));
    }
    void performOnMainThread(std::function<void()> work) override {
        loop_.performOnMainThread(std::move(work));
    }
    void performInBackground(std::function<void()> work) override {
        loop_.performInBackground(std::move(work));
    }

  private:
    QtRunLoop loop_;
};

}  // namespace velunor

#define QtRunLoop QuickRunLoop
