#include "tests/support/private_bus.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <utility>

namespace velunor::testing {

PrivateBus::PrivateBus() : address_("unix:path=" + directory_.file("socket")) {
    directory_.write("bus.conf",
                     "<busconfig><type>session</type><listen>" + address_ +
                         R"(</listen><policy context="default"><allow send_destination="*"/>)"
                         R"(<allow receive_sender="*"/><allow own="*"/></policy></busconfig>)");
    std::array<int, 2> ready{};
    EXPECT_EQ(pipe(ready.data()), 0);
    const std::string configuration = "--config-file=" + directory_.file("bus.conf");
    const std::string tell = "--print-address=" + std::to_string(ready[1]);
    daemon_ = fork();
    if (daemon_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close(ready[0]);
        execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nosyslog", configuration.c_str(),
               tell.c_str(), nullptr);
        _exit(EXIT_FAILURE);
    }
    close(ready[1]);
    char first = 0;
    EXPECT_EQ(read(ready[0], &first, 1), 1) << "dbus-daemon does not start";
    close(ready[0]);
}

PrivateBus::~PrivateBus() {
    kill(daemon_, SIGTERM);
    waitpid(daemon_, nullptr, 0);
}

sd_bus* PrivateBus::connect() const {
    sd_bus* bus = nullptr;
    const bool connected = sd_bus_new(&bus) >= 0 &&
                           sd_bus_set_address(bus, address_.c_str()) >= 0 &&
                           sd_bus_set_bus_client(bus, 1) >= 0 &&
                           sd_bus_negotiate_fds(bus, 1) >= 0 && sd_bus_start(bus) >= 0;
    return connected ? bus : sd_bus_unref(bus);
}

bool PrivateBus::hasName(const std::string& name) const {
    sd_bus* bus = connect();
    const bool isThere = sd_bus_get_name_creds(bus, name.c_str(), 0, nullptr) >= 0;
    sd_bus_flush_close_unref(bus);
    return isThere;
}

BusService::BusService(const PrivateBus& bus, const Place& place, const sd_bus_vtable* vtable,
                       void* owner, std::function<void()> onTurn)
    : bus_(bus.connect()) {
    EXPECT_GE(sd_bus_add_object_vtable(bus_, nullptr, place.path, place.interface, vtable, owner),
              0);
    EXPECT_GE(sd_bus_request_name(bus_, place.name, 0), 0);
    thread_ = std::thread([this, turn = std::move(onTurn)] {
        constexpr std::uint64_t turnMicroseconds = 5000;
        while (!stopped_) {
            if (sd_bus_process(bus_, nullptr) == 0) {
                turn();
                sd_bus_wait(bus_, turnMicroseconds);
            }
        }
    });
}

BusService::~BusService() {
    stopped_ = true;
    thread_.join();
    sd_bus_flush_close_unref(bus_);
}

bool waitUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace velunor::testing
