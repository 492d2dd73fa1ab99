#pragma once

#include <systemd/sd-bus.h>

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "tests/support/child_process.h"
#include "tests/support/temporary_directory.h"

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

/// What a private bus is and what it can start.
struct BusSetup {
    /// "system" or "session".
    std::string type = "session";
    /// The services that the bus starts when they are asked for: name of a file, and the file.
    std::map<std::string, std::string> services{};
    /// What services that the bus starts find in their environment.
    Environment environment{{"PATH", "/usr/local/bin:/usr/bin:/bin"}};
};

/// A message bus of its own for one test, on which everybody may do everything.
class PrivateBus {
  public:
    /// Starts a bus and waits until it accepts clients. Throws on failure.
    PrivateBus();
    /// The same in an existing directory, which keeps its files and its socket.
    explicit PrivateBus(const std::filesystem::path& directory, const BusSetup& setup = {});

    /// The address of a bus in this directory, whether it runs or not.
    [[nodiscard]] static std::string addressIn(const std::filesystem::path& directory);

    [[nodiscard]] const std::string& address() const { return address_; }

    /// Whether somebody on the bus has the name, be it a unique one.
    [[nodiscard]] bool hasName(const std::string& name) const;

    /// How many clients the bus has beside the one that asks.
    [[nodiscard]] int clientCount() const;

    /// Ends the bus.
    void stop() { daemon_.reset(); }

  private:
    void start(const std::filesystem::path& directory, const BusSetup& setup);

    std::optional<TemporaryDirectory> own_;
    std::string address_;
    std::unique_ptr<ChildProcess> daemon_;
};

}  // namespace velunor::testing
