#pragma once

#include <systemd/sd-bus.h>

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

/// A connection that `open` makes, on which an answer may take five seconds; null when there is no
/// such bus. Any thread.
[[nodiscard]] inline BusHandle openBus(int (*open)(sd_bus**)) {
    constexpr std::uint64_t answerTimeoutMicroseconds = 5'000'000;
    sd_bus* bus = nullptr;
    if (open(&bus) < 0) {
        return nullptr;
    }
    sd_bus_set_method_call_timeout(bus, answerTimeoutMicroseconds);
    return BusHandle(bus);
}

}  // namespace velunor
