#pragma once

#include <atomic>
#include <string>
#include <thread>

#include "tests/support/desktop/bus.h"

namespace velunor {

/// A desktop portal that knows two settings of the user, on a thread of its own.
class FakePortal {
  public:
    /// Owns the portal's name on the bus at `address` once constructed.
    FakePortal(const std::string& address, std::uint32_t colorScheme, bool animations);
    FakePortal(const FakePortal&) = delete;
    FakePortal& operator=(const FakePortal&) = delete;
    ~FakePortal();

    /// The user changes their mind; the portal tells everybody.
    void change(std::uint32_t colorScheme, bool animations);

  private:
    static int read(sd_bus_message* message, void* portal, sd_bus_error* error);
    void serve();
    void tell();

    testing::BusConnection bus_;
    std::atomic<std::uint32_t> colorScheme_;
    std::atomic<bool> animations_;
    std::atomic<bool> changed_{false};
    std::atomic<bool> ends_{false};
    std::thread thread_;
};

}  // namespace velunor
