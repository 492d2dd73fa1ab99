#include "tests/support/private_bus.h"

#include <cstdlib>
#include <stdexcept>

#include "tests/support/files.h"
#include "tests/support/wait.h"

namespace velunor::testing {
namespace {

std::string configuration(const std::string& type, const std::string& address,
                          const std::string& services) {
    return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>)" +
           type + R"(</type>
  <listen>)" +
           address + R"(</listen>
  <auth>EXTERNAL</auth>
  <servicedir>)" +
           services + R"(</servicedir>
  <policy context="default">
    <allow user="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
}

bool accepts(const std::string& address) {
    try {
        return connectToBus(address) != nullptr;
    } catch (const std::runtime_error&) {
        return false;
    }
}

}  // namespace

BusConnection connectToBus(const std::string& address) {
    sd_bus* made = nullptr;
    sd_bus_new(&made);
    BusConnection bus(made);
    if (sd_bus_set_address(made, address.c_str()) < 0 || sd_bus_set_bus_client(made, 1) < 0 ||
        sd_bus_start(made) < 0) {
        throw std::runtime_error("no message bus at " + address);
    }
    const char* name = nullptr;
    if (sd_bus_get_unique_name(made, &name) < 0) {
        throw std::runtime_error("the message bus does not answer at " + address);
    }
    return bus;
}

PrivateBus::PrivateBus() : own_(std::in_place) {
    start(own_->path(), {});
}

PrivateBus::PrivateBus(const std::filesystem::path& directory, const BusSetup& setup) {
    start(directory, setup);
}

std::string PrivateBus::addressIn(const std::filesystem::path& directory) {
    return "unix:path=" + (directory / "bus").string();
}

int PrivateBus::clientCount() const {
    const BusConnection connection = connectToBus(address_);
    char** names = nullptr;
    if (sd_bus_list_names(connection.get(), &names, nullptr) < 0) {
        return -1;
    }
    int count = -1;
    for (char** name = names; *name != nullptr; ++name) {
        count += **name == ':' ? 1 : 0;
        std::free(*name);
    }
    std::free(names);
    return count;
}

bool PrivateBus::hasName(const std::string& name) const {
    return sd_bus_get_name_creds(connectToBus(address_).get(), name.c_str(), 0, nullptr) >= 0;
}

void PrivateBus::start(const std::filesystem::path& directory, const BusSetup& setup) {
    address_ = addressIn(directory);
    const std::filesystem::path settings = directory / "bus.conf";
    const std::filesystem::path services = directory / "services";
    std::filesystem::create_directories(services);
    for (const auto& [name, file] : setup.services) {
        writeFile(services / name, file);
    }
    writeFile(settings, configuration(setup.type, address_, services.string()));
    daemon_ = std::make_unique<ChildProcess>(
        Command{.arguments = {"dbus-daemon", "--nofork", "--nopidfile",
                              "--config-file=" + settings.string()},
                .environment = setup.environment,
                .output = {},
                .errors = directory / "bus.log"});
    if (!eventually([this] { return accepts(address_); })) {
        throw std::runtime_error("the private message bus did not start: " +
                                 readFile(directory / "bus.log"));
    }
}

}  // namespace velunor::testing
