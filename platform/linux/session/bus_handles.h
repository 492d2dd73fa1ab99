#pragma once

#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstdint>
#include <memory>

namespace velunor {

struct CloseBus {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};

/// An open connection to a message bus. One thread at a time.
using BusHandle = std::unique_ptr<sd_bus, CloseBus>;

struct DropMessage {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

using BusMessageHandle = std::unique_ptr<sd_bus_message, DropMessage>;

struct DropCredentials {
    void operator()(sd_bus_creds* credentials) const { sd_bus_creds_unref(credentials); }
};

/// What the bus tells of one of its clients.
using BusCredentialsHandle = std::unique_ptr<sd_bus_creds, DropCredentials>;

/// A connection that `open` makes, on which an answer may take five seconds; null when there is no
/// such bus, with the reason in errno. Any thread.
[[nodiscard]] inline BusHandle openBus(int (*open)(sd_bus**)) {
    constexpr std::uint64_t answerTimeoutMicroseconds = 5'000'000;
    sd_bus* bus = nullptr;
    if (const int error = open(&bus); error < 0) {
        errno = -error;
        return nullptr;
    }
    sd_bus_set_method_call_timeout(bus, answerTimeoutMicroseconds);
    return BusHandle(bus);
}

}  // namespace velunor
