#include "tests/qt/desktop/fake_portal.h"

#include <cstring>
#include <stdexcept>

namespace velunor {

namespace {

constexpr const char* object = "/org/freedesktop/portal/desktop";
constexpr const char* interface = "org.freedesktop.portal.Settings";
constexpr const char* appearance = "org.freedesktop.appearance";
constexpr const char* gnomeInterface = "org.gnome.desktop.interface";
constexpr std::uint64_t sliceMicroseconds = 10'000;

}  // namespace

FakePortal::FakePortal(const std::string& address, std::uint32_t colorScheme, bool animations)
    : bus_(testing::connectToBus(address)), colorScheme_(colorScheme), animations_(animations) {
    // NOLINTNEXTLINE(modernize-avoid-c-arrays): the elements come from macros for plain arrays.
    static const sd_bus_vtable table[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("Read", "ss", "v", &FakePortal::read, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_SIGNAL("SettingChanged", "ssv", 0), SD_BUS_VTABLE_END};
    if (sd_bus_add_object_vtable(bus_.get(), nullptr, object, interface, table, this) < 0 ||
        sd_bus_request_name(bus_.get(), "org.freedesktop.portal.Desktop", 0) < 0) {
        throw std::runtime_error("no portal");
    }
    thread_ = std::thread([this] { serve(); });
}

FakePortal::~FakePortal() {
    ends_ = true;
    thread_.join();
}

void FakePortal::change(std::uint32_t colorScheme, bool animations) {
    colorScheme_ = colorScheme;
    animations_ = animations;
    changed_ = true;
}

int FakePortal::read(sd_bus_message* message, void* portal, sd_bus_error* error) {
    const auto* self = static_cast<FakePortal*>(portal);
    const char* group = nullptr;
    const char* key = nullptr;
    sd_bus_message_read(message, "ss", &group, &key);
    // Portals wrap the value twice here.
    if (std::strcmp(group, appearance) == 0 && std::strcmp(key, "color-scheme") == 0) {
        return sd_bus_reply_method_return(message, "v", "v", "u", self->colorScheme_.load());
    }
    if (std::strcmp(group, gnomeInterface) == 0 && std::strcmp(key, "enable-animations") == 0) {
        return sd_bus_reply_method_return(message, "v", "v", "b", self->animations_ ? 1 : 0);
    }
    return sd_bus_error_set(error, "org.freedesktop.portal.Error.NotFound", "no such setting");
}

void FakePortal::serve() {
    while (!ends_) {
        while (sd_bus_process(bus_.get(), nullptr) > 0) {
        }
        if (changed_.exchange(false)) {
            tell();
        }
        sd_bus_wait(bus_.get(), sliceMicroseconds);
    }
}

void FakePortal::tell() {
    sd_bus_emit_signal(bus_.get(), object, interface, "SettingChanged", "ssv", appearance,
                       "color-scheme", "u", colorScheme_.load());
    sd_bus_emit_signal(bus_.get(), object, interface, "SettingChanged", "ssv", gnomeInterface,
                       "enable-animations", "b", animations_ ? 1 : 0);
}

}  // namespace velunor
