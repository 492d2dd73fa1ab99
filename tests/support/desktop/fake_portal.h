#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "tests/support/private_bus.h"

namespace velunor::testing {

/// What a user has set on their desktop, as a portal tells it.
struct UserSettings {
    /// 0 is no preference, 1 dark, 2 light.
    std::uint32_t colorScheme = 0;
    bool animations = true;
    /// 1 is high contrast.
    std::uint32_t contrast = 0;
    /// The same in GNOME's own words.
    bool highContrast = false;
    double textScale = 1;
};

/// A desktop portal that knows settings of the user, on a thread of its own.
class FakePortal {
  public:
    /// Owns the portal's name on the bus at `address` once constructed.
    explicit FakePortal(const std::string& address, const UserSettings& settings = {});
    FakePortal(const FakePortal&) = delete;
    FakePortal& operator=(const FakePortal&) = delete;
    ~FakePortal();

    /// The user changes their mind; the portal tells everybody.
    void change(const UserSettings& settings);

  private:
    static int read(sd_bus_message* message, void* portal, sd_bus_error* error);
    [[nodiscard]] UserSettings settings() const;
    void serve();
    void tell();

    BusConnection bus_;
    mutable std::mutex mutex_;
    UserSettings settings_;
    std::atomic<bool> changed_{false};
    std::atomic<bool> ends_{false};
    std::thread thread_;
};

}  // namespace velunor::testing
