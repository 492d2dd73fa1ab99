#pragma once

#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstdint>

#include "platform/owned.h"

namespace velunor {

/// An open connection to a message bus. One thread at a time.
using BusHandle = Owned<sd_bus, sd_bus_close_unref>;

using BusMessageHandle = Owned<sd_bus_message, sd_bus_message_unref>;

/// What the bus tells of one of its clients.
using BusCredentialsHandle = Owned<sd_bus_creds, sd_bus_creds_unref>;

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
