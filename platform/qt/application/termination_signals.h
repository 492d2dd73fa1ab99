#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace velunor {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the main loop. One object a process; main thread
/// only.
class TerminationSignals final {
  public:
    /// `terminate` is called once, however many signals come.
    explicit TerminationSignals(std::function<void()> terminate);
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    ~TerminationSignals() = default;

  private:
    std::function<void()> terminate_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace velunor
