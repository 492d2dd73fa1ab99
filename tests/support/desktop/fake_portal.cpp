#include "tests/support/desktop/fake_portal.h"

#include <stdexcept>

namespace velunor::testing {
namespace {

constexpr const char* object = "/org/freedesktop/portal/desktop";
constexpr const char* interface = "org.freedesktop.portal.Settings";
constexpr const char* appearance = "org.freedesktop.appearance";
constexpr const char* gnomeInterface = "org.gnome.desktop.interface";
constexpr const char* gnomeAccess = "org.gnome.desktop.a11y.interface";
constexpr std::uint64_t sliceMicroseconds = 10'000;

/// Calls `give(group, key, type, value)` for each setting.
template <class Give>
void forEach(const UserSettings& settings, const Give& give) {
    give(appearance, "color-scheme", "u", settings.colorScheme);
    give(appearance, "contrast", "u", settings.contrast);
    give(gnomeAccess, "high-contrast", "b", settings.highContrast ? 1 : 0);
    give(gnomeInterface, "text-scaling-factor", "d", settings.textScale);
    give(gnomeInterface, "enable-animations", "b", settings.animations ? 1 : 0);
}

}  // namespace

FakePortal::FakePortal(const std::string& address, const UserSettings& settings)
    : bus_(connectToBus(address)), settings_(settings) {
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

void FakePortal::change(const UserSettings& settings) {
    {
        const std::lock_guard lock(mutex_);
        settings_ = settings;
    }
    changed_ = true;
}

UserSettings FakePortal::settings() const {
    const std::lock_guard lock(mutex_);
    return settings_;
}

int FakePortal::read(sd_bus_message* message, void* portal, sd_bus_error* error) {
    const char* wantedGroup = "";
    const char* wantedKey = "";
    sd_bus_message_read(message, "ss", &wantedGroup, &wantedKey);
    int answered = 0;
    forEach(static_cast<FakePortal*>(portal)->settings(),
            [&](const std::string& group, const std::string& key, const char* type, auto value) {
                if (group == wantedGroup && key == wantedKey) {
                    // Portals wrap the value twice here.
                    answered = sd_bus_reply_method_return(message, "v", "v", type, value);
                }
            });
    return answered != 0 ? answered
                         : sd_bus_error_set(error, "org.freedesktop.portal.Error.NotFound",
                                            "no such setting");
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
    forEach(settings(), [this](const char* group, const char* key, const char* type, auto value) {
        sd_bus_emit_signal(bus_.get(), object, interface, "SettingChanged", "ssv", group, key, type,
                           value);
    });
}

}  // namespace velunor::testing
