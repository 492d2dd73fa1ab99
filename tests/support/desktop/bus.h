#pragma once

#include <filesystem>
#include <string>

#include "tests/support/private_bus.h"

namespace velunor::testing {

/// A session bus of its own for one test, with the accessibility services and nothing else on it.
class Bus {
  public:
    /// Starts the bus and waits until it accepts clients and the accessibility services are there:
    /// the toolkit looks for them once, when a program starts. Throws on failure.
    explicit Bus(const std::filesystem::path& directory);

    [[nodiscard]] const std::string& address() const { return bus_.address(); }
    /// Address of the bus on which programs describe their controls.
    [[nodiscard]] const std::string& accessibilityAddress() const { return accessibilityAddress_; }

    /// Kills the bus, and with it the accessibility services.
    void kill() { bus_.stop(); }

  private:
    PrivateBus bus_;
    std::string accessibilityAddress_;
};

}  // namespace velunor::testing
