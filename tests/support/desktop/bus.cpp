#include "tests/support/desktop/bus.h"

#include <stdexcept>

#include "tests/support/files.h"

namespace velunor::testing {
namespace {

// The only service that the bus starts: the one that this file of the system describes.
constexpr const char* accessibilityService = "/usr/share/dbus-1/services/org.a11y.Bus.service";

std::string configuration(const std::string& address, const std::string& services) {
    return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>)" +
           address + R"(</listen>
  <auth>EXTERNAL</auth>
  <servicedir>)" +
           services + R"(</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
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

std::string askForAccessibilityAddress(const std::string& address) {
    const BusConnection bus = connectToBus(address);
    sd_bus_message* message = nullptr;
    sd_bus_call_method(bus.get(), "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress",
                       nullptr, &message, nullptr);
    const BusMessage reply(message);
    const char* found = nullptr;
    if (reply == nullptr || sd_bus_message_read(reply.get(), "s", &found) <= 0 || *found == '\0') {
        throw std::runtime_error("the accessibility services did not start");
    }
    return found;
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

Bus::Bus(const std::filesystem::path& directory)
    : address_("unix:path=" + (directory / "bus").string()) {
    const std::filesystem::path settings = directory / "bus.conf";
    const std::filesystem::path services = directory / "services";
    const std::filesystem::path runtime = directory / "bus-runtime";
    std::filesystem::create_directories(runtime);
    std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
    writeFile(services / "org.a11y.Bus.service", readFile(accessibilityService));
    writeFile(settings, configuration(address_, services.string()));
    daemon_ = std::make_unique<ChildProcess>(
        Command{.arguments = {"dbus-daemon", "--nofork", "--nopidfile",
                              "--config-file=" + settings.string()},
                .environment = {{"PATH", "/usr/local/bin:/usr/bin:/bin"},
                                {"HOME", directory.string()},
                                {"XDG_RUNTIME_DIR", runtime.string()},
                                {"GSETTINGS_BACKEND", "memory"}},
                .output = {},
                .errors = directory / "bus.log"});
    if (!eventually([this] { return accepts(address_); })) {
        throw std::runtime_error("the private message bus did not start");
    }
    accessibilityAddress_ = askForAccessibilityAddress(address_);
}

}  // namespace velunor::testing
