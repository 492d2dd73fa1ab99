#pragma once

#include <systemd/sd-bus.h>

#include <filesystem>
#include <memory>
#include <string>

#include "tests/support/child_process.h"

namespace velunor::testing {

struct BusCloser {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
/// A connection to a message bus. One thread at a time.
using BusConnection = std::unique_ptr<sd_bus, BusCloser>;

struct MessageReleaser {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusMessage = std::unique_ptr<sd_bus_message, MessageReleaser>;

/// Connects to the bus at `address`. Throws when it is not there.
[[nodiscard]] BusConnection connectToBus(const std::string& address);

/// A session bus of its own for one test, with the accessibility services and nothing else on it.
class Bus {
  public:
    /// Starts the bus and waits until it accepts clients and the accessibility services are there:
    /// the toolkit looks for them once, when a program starts. Throws on failure.
    explicit Bus(const std::filesystem::path& directory);

    [[nodiscard]] const std::string& address() const { return address_; }
    /// Address of the bus on which programs describe their controls.
    [[nodiscard]] const std::string& accessibilityAddress() const { return accessibilityAddress_; }

  private:
    std::string address_;
    std::string accessibilityAddress_;
    std::unique_ptr<ChildProcess> daemon_;
};

}  // namespace velunor::testing
