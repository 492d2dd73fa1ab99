#include "tests/desktops/notifications.h"

#include <stdexcept>

namespace velunor::testing {

Notifications::Notifications(const std::string& address) : bus_(connectToBus(address)) {
    // NOLINTNEXTLINE(modernize-avoid-c-arrays): the elements come from macros for plain arrays.
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("Notify", "susssasa{sv}i", "u", &Notifications::notify,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("CloseNotification", "u", "", &Notifications::close,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("GetCapabilities", "", "as", &Notifications::capabilities,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    if (sd_bus_add_object_vtable(bus_.get(), nullptr, "/org/freedesktop/Notifications",
                                 "org.freedesktop.Notifications", methods, this) < 0 ||
        sd_bus_request_name(bus_.get(), "org.freedesktop.Notifications",
                            SD_BUS_NAME_REPLACE_EXISTING) < 0) {
        throw std::runtime_error("the notification service cannot take its name");
    }
    thread_ = std::jthread([this](const std::stop_token& stop) { serve(stop); });
}

Notifications::~Notifications() {
    thread_.request_stop();
    thread_.join();
}

int Notifications::notify(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    const unsigned number = ++static_cast<Notifications*>(self)->count_;
    return sd_bus_reply_method_return(message, "u", number);
}

int Notifications::close(sd_bus_message* message, void* /*self*/, sd_bus_error* /*error*/) {
    return sd_bus_reply_method_return(message, "");
}

int Notifications::capabilities(sd_bus_message* message, void* /*self*/, sd_bus_error* /*error*/) {
    return sd_bus_reply_method_return(message, "as", 2, "actions", "body");
}

void Notifications::serve(const std::stop_token& stop) {
    constexpr std::uint64_t pauseMicroseconds = 20'000;
    while (!stop.stop_requested()) {
        if (sd_bus_process(bus_.get(), nullptr) == 0) {
            sd_bus_wait(bus_.get(), pauseMicroseconds);
        }
    }
}

}  // namespace velunor::testing
