#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include "tests/support/private_bus.h"

namespace velunor::testing {

/// Serves one object on a bus from a thread of its own.
class BusService {
  public:
    struct Place {
        const char* name;
        const char* path;
        const char* interface;
    };

    /// `vtable` and `owner`, the handlers' data, must outlive the service. `onTurn` runs on the
    /// service's thread every few milliseconds. Throws when the bus is not there.
    BusService(const PrivateBus& bus, const Place& place, const sd_bus_vtable* vtable, void* owner,
               std::function<void()> onTurn);
    BusService(const BusService&) = delete;
    BusService& operator=(const BusService&) = delete;
    ~BusService();

  private:
    BusConnection bus_;
    std::atomic<bool> stopped_{false};
    std::thread thread_;
};

}  // namespace velunor::testing
