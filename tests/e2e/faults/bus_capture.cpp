#include "tests/e2e/faults/bus_capture.h"

#include <stdexcept>

#include "tests/support/private_bus.h"

namespace velunor::testing {

BusCapture::BusCapture(const std::string& address)
    : address_(address),
      listener_({.arguments = {"dbus-monitor", "--binary", "--address", address},
                 .environment = {{"PATH", "/usr/bin:/bin"}},
                 .output = kept_.file("said")}) {
    const auto hearsSomething = [this] {
        static_cast<void>(say());
        return !heard().empty();
    };
    if (!eventually(hearsSomething)) {
        throw std::runtime_error("the message bus is not heard");
    }
}

std::string BusCapture::bytes() {
    try {
        const std::string last = say();
        // It ends with the bus.
        static_cast<void>(eventually(
            [&] { return heard().find(last) != std::string::npos || !listener_.isRunning(); }));
    } catch (const std::runtime_error&) {
        static_cast<void>(listener_.wait());
    }
    return heard();
}

std::string BusCapture::say() {
    const BusConnection bus = connectToBus(address_);
    std::string word = "word.number" + std::to_string(++said_) + ".end";
    sd_bus_call_method(bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                       "org.freedesktop.DBus", "NameHasOwner", nullptr, nullptr, "s", word.c_str());
    return word;
}

}  // namespace velunor::testing
