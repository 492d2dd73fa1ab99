#include "tests/support/desktop/bus.h"

#include <stdexcept>

#include "tests/support/files.h"

namespace velunor::testing {
namespace {

// The only service that the bus starts: the one that this file of the system describes.
constexpr const char* accessibilityService = "/usr/share/dbus-1/services/org.a11y.Bus.service";

BusSetup setup(const std::filesystem::path& directory) {
    const std::filesystem::path runtime = directory / "bus-runtime";
    std::filesystem::create_directories(runtime);
    std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
    return {.services = {{"org.a11y.Bus.service", readFile(accessibilityService)}},
            .environment = {{"PATH", "/usr/local/bin:/usr/bin:/bin"},
                            {"HOME", directory.string()},
                            {"XDG_RUNTIME_DIR", runtime.string()},
                            {"GSETTINGS_BACKEND", "memory"}}};
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

Bus::Bus(const std::filesystem::path& directory)
    : bus_(directory, setup(directory)),
      accessibilityAddress_(askForAccessibilityAddress(bus_.address())) {}

}  // namespace velunor::testing
