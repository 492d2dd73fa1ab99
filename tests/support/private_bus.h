#pragma once

#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "tests/support/temporary_directory.h"

namespace velunor::testing {

/// A message bus of its own, without any service.
class PrivateBus {
  public:
    PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus();

    [[nodiscard]] const std::string& address() const { return address_; }

    /// A new connection; null when the bus refuses it.
    [[nodiscard]] sd_bus* connect() const;

    /// Whether somebody on the bus has the name, be it a unique one.
    [[nodiscard]] bool hasName(const std::string& name) const;

  private:
    TemporaryDirectory directory_;
    std::string address_;
    pid_t daemon_ = 0;
};

/// Serves one object on a bus from a thread of its own.
class BusService {
  public:
    struct Place {
        const char* name;
        const char* path;
        const char* interface;
    };

    /// `vtable` and `owner`, the handlers' data, must outlive the service. `onTurn` runs on the
    /// service's thread every few milliseconds.
    BusService(const PrivateBus& bus, const Place& place, const sd_bus_vtable* vtable, void* owner,
               std::function<void()> onTurn);
    BusService(const BusService&) = delete;
    BusService& operator=(const BusService&) = delete;
    ~BusService();

  private:
    sd_bus* bus_;
    std::atomic<bool> stopped_{false};
    std::thread thread_;
};

/// Waits until `condition` holds, at most half a minute; whether it does.
bool waitUntil(const std::function<bool()>& condition);

}  // namespace velunor::testing
