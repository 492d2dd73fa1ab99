#pragma once

#include <QSocketNotifier>
#include <array>
#include <csignal>
#include <functional>
#include <memory>

namespace velunor {

/// Turns SIGTERM, SIGINT and SIGHUP into a callback on the main thread. At most one object at a
/// time; the former handlers are put back when it is destroyed.
class TerminationSignals {
  public:
    /// `received` is told the signal's number.
    explicit TerminationSignals(std::function<void(int)> received);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

  private:
    static constexpr std::array signals_{SIGTERM, SIGINT, SIGHUP};

    void readSignal();

    std::function<void(int)> received_;
    std::array<int, 2> pipe_{-1, -1};
    std::array<struct sigaction, signals_.size()> former_{};
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace velunor
