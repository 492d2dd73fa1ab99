#include "tests/support/bus_service.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>

namespace velunor::testing {

BusService::BusService(const PrivateBus& bus, const Place& place, const sd_bus_vtable* vtable,
                       void* owner, std::function<void()> onTurn)
    : bus_(connectToBus(bus.address())) {
    EXPECT_GE(
        sd_bus_add_object_vtable(bus_.get(), nullptr, place.path, place.interface, vtable, owner),
        0);
    EXPECT_GE(sd_bus_request_name(bus_.get(), place.name, 0), 0);
    thread_ = std::thread([this, turn = std::move(onTurn)] {
        constexpr std::uint64_t turnMicroseconds = 5000;
        while (!stopped_) {
            if (sd_bus_process(bus_.get(), nullptr) == 0) {
                turn();
                sd_bus_wait(bus_.get(), turnMicroseconds);
            }
        }
    });
}

BusService::~BusService() {
    stopped_ = true;
    thread_.join();
}

}  // namespace velunor::testing
