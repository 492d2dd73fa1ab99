#include "tests/qt/program/accessibility_events.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace velunor::testing {
namespace {

constexpr std::uint64_t sliceMicroseconds = 20'000;

}  // namespace

AccessibilityEvents::AccessibilityEvents(const std::string& address) : bus_(connectToBus(address)) {
    const bool listens = sd_bus_add_match(bus_.get(), nullptr,
                                          "type='signal',interface='org.a11y.atspi.Event.Object'",
                                          &take, &events_) >= 0 &&
                         sd_bus_call_method(bus_.get(), "org.a11y.atspi.Registry",
                                            "/org/a11y/atspi/registry", "org.a11y.atspi.Registry",
                                            "RegisterEvent", nullptr, nullptr, "s", "object:") >= 0;
    if (!listens) {
        throw std::runtime_error("the registry of accessible programs does not answer");
    }
}

int AccessibilityEvents::take(sd_bus_message* message, void* events, sd_bus_error* /*error*/) {
    AccessibilityEvent event;
    event.member = sd_bus_message_get_member(message);
    event.owner = sd_bus_message_get_sender(message);
    event.path = sd_bus_message_get_path(message);
    const char* detail = nullptr;
    if (sd_bus_message_read(message, "sii", &detail, &event.first, &event.second) > 0) {
        event.detail = detail;
        const char* contents = nullptr;
        char kind = 0;
        const char* text = nullptr;
        if (sd_bus_message_peek_type(message, &kind, &contents) > 0 && contents != nullptr &&
            std::strcmp(contents, "s") == 0 && sd_bus_message_read(message, "v", "s", &text) > 0) {
            event.text = text;
        }
    }
    static_cast<std::vector<AccessibilityEvent>*>(events)->push_back(std::move(event));
    return 0;
}

bool AccessibilityEvents::waitUntil(const std::function<bool()>& enough,
                                    std::chrono::milliseconds limit) {
    return eventually(
        [&] {
            while (sd_bus_process(bus_.get(), nullptr) > 0) {
            }
            if (enough()) {
                return true;
            }
            sd_bus_wait(bus_.get(), sliceMicroseconds);
            return false;
        },
        limit);
}

std::size_t AccessibilityEvents::count(const std::string& member, const std::string& detail) const {
    return static_cast<std::size_t>(
        std::count_if(events_.begin(), events_.end(), [&](const AccessibilityEvent& event) {
            return event.member == member && event.detail == detail;
        }));
}

std::string AccessibilityEvents::textOf(const AccessibilityEvent& event) const {
    sd_bus_message* message = nullptr;
    sd_bus_call_method(bus_.get(), event.owner.c_str(), event.path.c_str(), "org.a11y.atspi.Text",
                       "GetText", nullptr, &message, "ii", 0, -1);
    const BusMessage reply(message);
    const char* text = nullptr;
    if (reply == nullptr || sd_bus_message_read(reply.get(), "s", &text) <= 0) {
        throw std::runtime_error("the control does not tell its text");
    }
    return text;
}

std::string AccessibilityEvents::propertyOf(const AccessibilityEvent& event,
                                            const std::string& property) const {
    char* value = nullptr;
    if (sd_bus_get_property_string(bus_.get(), event.owner.c_str(), event.path.c_str(),
                                   "org.a11y.atspi.Accessible", property.c_str(), nullptr,
                                   &value) < 0) {
        throw std::runtime_error("the control has no property " + property);
    }
    std::string result(value);
    std::free(value);
    return result;
}

bool AccessibilityEvents::hasState(const AccessibilityEvent& event, unsigned state) const {
    sd_bus_message* message = nullptr;
    sd_bus_call_method(bus_.get(), event.owner.c_str(), event.path.c_str(),
                       "org.a11y.atspi.Accessible", "GetState", nullptr, &message, "");
    const BusMessage reply(message);
    const void* words = nullptr;
    std::size_t size = 0;
    // The states come as two words of 32 bits.
    if (reply == nullptr || sd_bus_message_read_array(reply.get(), 'u', &words, &size) < 0 ||
        size < 2 * sizeof(std::uint32_t)) {
        throw std::runtime_error("the control does not tell its states");
    }
    return (static_cast<const std::uint32_t*>(words)[state / 32] >> state % 32 & 1U) != 0;
}

std::optional<AccessibilityEvent> AccessibilityEvents::last(const std::string& member,
                                                            const std::string& detail,
                                                            const std::string& name) const {
    const auto found =
        std::find_if(events_.rbegin(), events_.rend(), [&](const AccessibilityEvent& event) {
            return event.member == member && event.detail == detail &&
                   propertyOf(event, "Name") == name;
        });
    return found == events_.rend() ? std::nullopt : std::optional(*found);
}

std::uint32_t AccessibilityEvents::roleOf(const AccessibilityEvent& event) const {
    sd_bus_message* message = nullptr;
    sd_bus_call_method(bus_.get(), event.owner.c_str(), event.path.c_str(),
                       "org.a11y.atspi.Accessible", "GetRole", nullptr, &message, "");
    const BusMessage reply(message);
    std::uint32_t role = 0;
    if (reply == nullptr || sd_bus_message_read(reply.get(), "u", &role) <= 0) {
        throw std::runtime_error("the control does not tell its role");
    }
    return role;
}

}  // namespace velunor::testing
