#include "tests/support/desktop/accessible.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace velunor::testing {
namespace {

constexpr const char* accessibleInterface = "org.a11y.atspi.Accessible";
constexpr const char* actionInterface = "org.a11y.atspi.Action";
constexpr const char* componentInterface = "org.a11y.atspi.Component";
constexpr const char* textInterface = "org.a11y.atspi.Text";
constexpr const char* editableTextInterface = "org.a11y.atspi.EditableText";

// Numbers of the states in the registry's protocol.
constexpr unsigned focusableState = 11;
constexpr unsigned focusedState = 12;
constexpr unsigned showingState = 25;

// Number of the relation in the registry's protocol.
constexpr std::uint32_t labelledBy = 2;

// A program that is busy for a while is asked again by the caller.
constexpr std::uint64_t answerLimitMicroseconds = 3'000'000;

bool readExtents(sd_bus_message* message, PixelRect& extents) {
    return message != nullptr && sd_bus_message_read(message, "(iiii)", &extents.x, &extents.y,
                                                     &extents.width, &extents.height) > 0;
}

// The states come as two words of 32 bits.
std::uint64_t readStates(sd_bus_message* message) {
    const void* words = nullptr;
    std::size_t size = 0;
    if (message == nullptr || sd_bus_message_read_array(message, 'u', &words, &size) < 0 ||
        size < 2 * sizeof(std::uint32_t)) {
        return 0;
    }
    const auto* numbers = static_cast<const std::uint32_t*>(words);
    return numbers[0] | std::uint64_t{numbers[1]} << 32U;
}

bool saysYes(const BusMessage& reply) {
    int yes = 0;
    return reply != nullptr && sd_bus_message_read(reply.get(), "b", &yes) > 0 && yes != 0;
}

bool hasState(std::uint64_t states, unsigned state) {
    return (states >> state & 1U) != 0;
}

}  // namespace

AccessibilityReader::AccessibilityReader(const std::string& address)
    : bus_(connectToBus(address)) {}

std::vector<Accessible> AccessibilityReader::controlsOf(std::optional<pid_t> process) const {
    std::vector<Accessible> controls;
    for (const Reference& program :
         children({"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"})) {
        if (process && processOf(program.owner) != *process) {
            continue;
        }
        for (const Reference& window : children(program)) {
            readWindow(window, controls);
        }
    }
    return controls;
}

void AccessibilityReader::readWindow(const Reference& window,
                                     std::vector<Accessible>& controls) const {
    std::optional<PixelRect> place;
    std::vector<Reference> open{window};
    while (!open.empty()) {
        const Reference next = open.back();
        open.pop_back();
        if (std::optional<Accessible> control = read(next)) {
            place = place.value_or(control->extents);
            control->extents.x -= place->x;
            control->extents.y -= place->y;
            controls.push_back(std::move(*control));
        }
        std::vector<Reference> below = children(next);
        open.insert(open.end(), below.rbegin(), below.rend());
    }
}

std::vector<AccessibilityReader::Reference> AccessibilityReader::children(
    const Reference& parent) const {
    std::vector<Reference> result;
    const BusMessage reply = call(parent, accessibleInterface, "GetChildren");
    if (reply == nullptr || sd_bus_message_enter_container(reply.get(), 'a', "(so)") < 0) {
        return result;
    }
    const char* owner = nullptr;
    const char* path = nullptr;
    while (sd_bus_message_read(reply.get(), "(so)", &owner, &path) > 0) {
        result.push_back({owner, path});
    }
    return result;
}

std::optional<Accessible> AccessibilityReader::read(const Reference& reference) const {
    Accessible control;
    const BusMessage role = call(reference, accessibleInterface, "GetRoleName");
    const char* roleName = nullptr;
    if (role == nullptr || sd_bus_message_read(role.get(), "s", &roleName) <= 0) {
        return std::nullopt;
    }
    control.reference = reference;
    control.role = roleName;
    const BusMessage number = call(reference, accessibleInterface, "GetRole");
    if (number != nullptr) {
        sd_bus_message_read(number.get(), "u", &control.roleNumber);
    }
    control.name = text(reference, "Name");
    control.description = text(reference, "Description");
    sd_bus_message* extents = nullptr;
    // Coordinates of kind 0 are those of the screen.
    sd_bus_call_method(bus_.get(), reference.owner.c_str(), reference.path.c_str(),
                       componentInterface, "GetExtents", nullptr, &extents, "u", 0U);
    const BusMessage extentsReply(extents);
    readExtents(extentsReply.get(), control.extents);
    const BusMessage stateReply = call(reference, accessibleInterface, "GetState");
    const std::uint64_t states = readStates(stateReply.get());
    control.showing = hasState(states, showingState);
    control.focusable = hasState(states, focusableState);
    control.focused = hasState(states, focusedState);
    return control;
}

std::vector<std::string> AccessibilityReader::labelsOf(const Accessible& control) const {
    std::vector<std::string> labels;
    const BusMessage reply = call(control.reference, accessibleInterface, "GetRelationSet");
    if (reply == nullptr || sd_bus_message_enter_container(reply.get(), 'a', "(ua(so))") < 0) {
        return labels;
    }
    while (sd_bus_message_enter_container(reply.get(), 'r', "ua(so)") > 0) {
        std::uint32_t relation = 0;
        sd_bus_message_read(reply.get(), "u", &relation);
        sd_bus_message_enter_container(reply.get(), 'a', "(so)");
        const char* owner = nullptr;
        const char* path = nullptr;
        while (sd_bus_message_read(reply.get(), "(so)", &owner, &path) > 0) {
            if (relation == labelledBy) {
                labels.push_back(text({owner, path}, "Name"));
            }
        }
        sd_bus_message_exit_container(reply.get());
        sd_bus_message_exit_container(reply.get());
    }
    return labels;
}

std::string AccessibilityReader::contentOf(const Accessible& control) const {
    sd_bus_message* message = nullptr;
    sd_bus_call_method(bus_.get(), control.reference.owner.c_str(), control.reference.path.c_str(),
                       textInterface, "GetText", nullptr, &message, "ii", 0, -1);
    const BusMessage reply(message);
    const char* content = nullptr;
    const bool isTold = reply != nullptr && sd_bus_message_read(reply.get(), "s", &content) > 0;
    return isTold ? content : std::string();
}

std::vector<std::string> AccessibilityReader::actionsOf(const Accessible& control) const {
    std::vector<std::string> actions;
    const BusMessage reply = call(control.reference, actionInterface, "GetActions");
    if (reply == nullptr || sd_bus_message_enter_container(reply.get(), 'a', "(sss)") < 0) {
        return actions;
    }
    const char* name = nullptr;
    const char* description = nullptr;
    const char* keys = nullptr;
    while (sd_bus_message_read(reply.get(), "(sss)", &name, &description, &keys) > 0) {
        actions.emplace_back(name);
    }
    return actions;
}

bool AccessibilityReader::act(const Accessible& control, const std::string& action) const {
    const std::vector<std::string> actions = actionsOf(control);
    const auto found = std::find(actions.begin(), actions.end(), action);
    if (found == actions.end()) {
        return false;
    }
    sd_bus_message* message = nullptr;
    sd_bus_call_method(bus_.get(), control.reference.owner.c_str(), control.reference.path.c_str(),
                       actionInterface, "DoAction", nullptr, &message, "i",
                       static_cast<std::int32_t>(found - actions.begin()));
    return saysYes(BusMessage(message));
}

bool AccessibilityReader::fill(const Accessible& field, const std::string& content) const {
    sd_bus_message* message = nullptr;
    sd_bus_call_method(bus_.get(), field.reference.owner.c_str(), field.reference.path.c_str(),
                       editableTextInterface, "SetTextContents", nullptr, &message, "s",
                       content.c_str());
    return saysYes(BusMessage(message));
}

pid_t AccessibilityReader::processOf(const std::string& owner) const {
    sd_bus_message* message = nullptr;
    sd_bus_call_method(bus_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                       "org.freedesktop.DBus", "GetConnectionUnixProcessID", nullptr, &message, "s",
                       owner.c_str());
    const BusMessage reply(message);
    std::uint32_t process = 0;
    if (reply == nullptr || sd_bus_message_read(reply.get(), "u", &process) <= 0) {
        return -1;
    }
    return static_cast<pid_t>(process);
}

std::string AccessibilityReader::text(const Reference& reference, const char* property) const {
    char* value = nullptr;
    if (sd_bus_get_property_string(bus_.get(), reference.owner.c_str(), reference.path.c_str(),
                                   accessibleInterface, property, nullptr, &value) < 0) {
        return {};
    }
    std::string result(value);
    std::free(value);
    return result;
}

BusMessage AccessibilityReader::call(const Reference& reference, const char* interface,
                                     const char* method) const {
    sd_bus_set_method_call_timeout(bus_.get(), answerLimitMicroseconds);
    sd_bus_message* reply = nullptr;
    sd_bus_call_method(bus_.get(), reference.owner.c_str(), reference.path.c_str(), interface,
                       method, nullptr, &reply, nullptr);
    return BusMessage(reply);
}

std::optional<Accessible> findControl(const std::vector<Accessible>& controls,
                                      const std::string& role, const std::string& name) {
    const auto found = std::find_if(controls.begin(), controls.end(), [&](const Accessible& one) {
        return one.showing && one.role == role && one.name == name;
    });
    return found == controls.end() ? std::nullopt : std::optional(*found);
}

}  // namespace velunor::testing
