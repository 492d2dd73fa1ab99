#include "tests/support/desktop/notification_service.h"

#include <stdexcept>
#include <utility>

namespace velunor::testing {
namespace {

constexpr const char* object = "/org/freedesktop/Notifications";
constexpr const char* interface = "org.freedesktop.Notifications";

std::string text(sd_bus_message* message) {
    const char* read = "";
    sd_bus_message_read(message, "s", &read);
    return read;
}

/// What of the hints a test looks at.
void readHints(sd_bus_message* message, Notification& notification) {
    sd_bus_message_enter_container(message, 'a', "{sv}");
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const std::string key = text(message);
        if (key == "desktop-entry") {
            const char* value = "";
            sd_bus_message_read(message, "v", "s", &value);
            notification.desktopEntry = value;
        } else if (key == "urgency") {
            std::uint8_t value = 0;
            sd_bus_message_read(message, "v", "y", &value);
            notification.urgency = value;
        } else {
            sd_bus_message_skip(message, "v");
        }
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
}

}  // namespace

NotificationService::NotificationService(const std::string& address, Notifying treatment)
    : bus_(connectToBus(address)), treatment_(treatment) {
    // NOLINTNEXTLINE(modernize-avoid-c-arrays): the elements come from macros for plain arrays.
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("GetCapabilities", "", "as", &NotificationService::capabilities,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Notify", "susssasa{sv}i", "u", &NotificationService::notify,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("CloseNotification", "u", "", &NotificationService::close,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    if (sd_bus_add_object_vtable(bus_.get(), nullptr, object, interface, methods, this) < 0 ||
        sd_bus_request_name(bus_.get(), interface, 0) < 0) {
        throw std::runtime_error("the test's notification service cannot take its name");
    }
    thread_ = std::jthread([this](const std::stop_token& stop) { serve(stop); });
}

NotificationService::~NotificationService() {
    thread_.request_stop();
    thread_.join();
}

std::vector<Notification> NotificationService::shown() const {
    const std::lock_guard lock(mutex_);
    return shown_;
}

std::vector<std::uint32_t> NotificationService::withdrawn() const {
    const std::lock_guard lock(mutex_);
    return withdrawn_;
}

void NotificationService::click(const std::string& action, const std::string& token) {
    const std::lock_guard lock(mutex_);
    clicks_.emplace_back(action, token);
}

int NotificationService::capabilities(sd_bus_message* message, void* self, sd_bus_error*) {
    auto& service = *static_cast<NotificationService*>(self);
    ++service.calls_;
    switch (service.treatment_) {
        case Notifying::mutely:
            return 1;
        case Notifying::withMarkup:
            return sd_bus_reply_method_return(message, "as", 3, "body", "body-markup", "actions");
        case Notifying::asUsual:
            break;
    }
    return sd_bus_reply_method_return(message, "as", 2, "body", "actions");
}

int NotificationService::notify(sd_bus_message* message, void* self, sd_bus_error*) {
    auto& service = *static_cast<NotificationService*>(self);
    ++service.calls_;
    Notification notification;
    notification.application = text(message);
    sd_bus_message_read(message, "u", &notification.replaced);
    notification.icon = text(message);
    notification.title = text(message);
    notification.body = text(message);
    sd_bus_message_enter_container(message, 'a', "s");
    const char* part = nullptr;
    while (sd_bus_message_read(message, "s", &part) > 0) {
        notification.actions.emplace_back(part);
    }
    sd_bus_message_exit_container(message);
    readHints(message, notification);
    sd_bus_message_read(message, "i", &notification.timeOut);
    const std::lock_guard lock(service.mutex_);
    service.shown_.push_back(std::move(notification));
    return sd_bus_reply_method_return(message, "u",
                                      static_cast<std::uint32_t>(service.shown_.size()));
}

int NotificationService::close(sd_bus_message* message, void* self, sd_bus_error*) {
    auto& service = *static_cast<NotificationService*>(self);
    ++service.calls_;
    std::uint32_t number = 0;
    sd_bus_message_read(message, "u", &number);
    const std::lock_guard lock(service.mutex_);
    service.withdrawn_.push_back(number);
    return sd_bus_reply_method_return(message, "");
}

void NotificationService::serve(const std::stop_token& stop) {
    constexpr std::uint64_t pauseMicroseconds = 20'000;
    while (!stop.stop_requested()) {
        if (sd_bus_process(bus_.get(), nullptr) == 0) {
            sd_bus_wait(bus_.get(), pauseMicroseconds);
        }
        std::vector<std::pair<std::string, std::string>> clicks;
        std::uint32_t last = 0;
        {
            const std::lock_guard lock(mutex_);
            clicks.swap(clicks_);
            last = static_cast<std::uint32_t>(shown_.size());
        }
        for (const auto& [action, token] : clicks) {
            if (!token.empty()) {
                sd_bus_emit_signal(bus_.get(), object, interface, "ActivationToken", "us", last,
                                   token.c_str());
            }
            sd_bus_emit_signal(bus_.get(), object, interface, "ActionInvoked", "us", last,
                               action.c_str());
        }
    }
}

}  // namespace velunor::testing
