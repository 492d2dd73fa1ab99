#pragma once

#include <atomic>
#include <string>
#include <thread>

#include "tests/support/private_bus.h"

namespace velunor::testing {

/// A desktop's notification service that counts what it is told, on a thread of its own.
class Notifications {
  public:
    /// Owns the service's name when the constructor returns. Throws when it cannot.
    explicit Notifications(const std::string& address);
    Notifications(const Notifications&) = delete;
    Notifications& operator=(const Notifications&) = delete;
    ~Notifications();

    /// How many notifications there have been.
    [[nodiscard]] unsigned count() const { return count_; }

  private:
    static int notify(sd_bus_message* message, void* self, sd_bus_error* error);
    static int close(sd_bus_message* message, void* self, sd_bus_error* error);
    static int capabilities(sd_bus_message* message, void* self, sd_bus_error* error);
    void serve(const std::stop_token& stop);

    BusConnection bus_;
    std::atomic_uint count_ = 0;
    std::jthread thread_;
};

}  // namespace velunor::testing
