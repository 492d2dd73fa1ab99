#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/desktop/bus.h"
#include "tests/support/wait.h"

namespace velunor::testing {

/// One event of a program as a screen reader is told of it.
struct AccessibilityEvent {
    /// The event's name, such as "TextChanged", and what it says more closely, such as "insert".
    std::string member;
    std::string detail;
    std::int32_t first = 0;
    std::int32_t second = 0;
    /// The text that came with it; empty when it had none.
    std::string text;
    /// The control that it is about.
    std::string owner;
    std::string path;
};

/// Listens on the accessibility bus as a screen reader does, and asks controls about their text.
class AccessibilityEvents {
  public:
    /// Registers for all events of objects at the bus with this address. Programs that start later
    /// know of it. Throws when the bus is not there.
    explicit AccessibilityEvents(const std::string& address);

    /// Takes in what has come until `enough` holds for all events so far; whether it came to that.
    [[nodiscard]] bool waitUntil(const std::function<bool()>& enough,
                                 std::chrono::milliseconds limit = patience);
    [[nodiscard]] const std::vector<AccessibilityEvent>& all() const { return events_; }
    /// How many events of this name with this detail came so far.
    [[nodiscard]] std::size_t count(const std::string& member, const std::string& detail) const;

    /// The whole text of the control that `event` is about, as the Text interface gives it.
    [[nodiscard]] std::string textOf(const AccessibilityEvent& event) const;
    /// A property of that control, such as "Name".
    [[nodiscard]] std::string propertyOf(const AccessibilityEvent& event,
                                         const std::string& property) const;
    /// The number of its kind in the registry's protocol.
    [[nodiscard]] std::uint32_t roleOf(const AccessibilityEvent& event) const;

    /// Whether that control has the state with this number in the registry's protocol.
    [[nodiscard]] bool hasState(const AccessibilityEvent& event, unsigned state) const;
    /// The latest event of this name with this detail about a control with this name.
    [[nodiscard]] std::optional<AccessibilityEvent> last(const std::string& member,
                                                         const std::string& detail,
                                                         const std::string& name) const;

  private:
    static int take(sd_bus_message* message, void* events, sd_bus_error* error);

    BusConnection bus_;
    std::vector<AccessibilityEvent> events_;
};

}  // namespace velunor::testing
