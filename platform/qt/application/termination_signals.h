#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace velunor {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the main loop. One object a process; main thread
/// only.
class TerminationSignals {
  public:
    explicit TerminationSignals(std::function<void()> terminate);

  private:
    std::function<void()> terminate_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace velunor
