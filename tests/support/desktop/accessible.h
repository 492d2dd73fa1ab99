#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/desktop/bus.h"
#include "tests/support/desktop/display.h"

namespace velunor::testing {

/// Where a control is to be asked: its program's name on the bus and its path there.
struct AccessibleReference {
    std::string owner;
    std::string path;
};

/// One control as a screen reader meets it.
struct Accessible {
    AccessibleReference reference;
    /// The kind in the registry's words: "push button", "label", "password text".
    std::string role;
    /// The same as its number in the registry's protocol, which is what screen readers go by.
    std::uint32_t roleNumber = 0;
    std::string name;
    std::string description;
    /// Place inside its window, in pixels. What a program believes of its window's place on the
    /// screen can be out of date, so that is asked of the X server.
    PixelRect extents;
    bool showing = false;
    bool focusable = false;
    bool focused = false;
};

/// Reads the controls of a running program through the accessibility services of a bus.
class AccessibilityReader {
  public:
    /// `address` is the bus that the program and the registry are on. Throws when it is not there.
    explicit AccessibilityReader(const std::string& address);

    /// All controls of the process, or of every program on the bus; parents first. Empty while none
    /// has registered. A control that vanishes meanwhile is left out.
    [[nodiscard]] std::vector<Accessible> controlsOf(std::optional<pid_t> process) const;
    /// Names of the controls that the program calls the labels of this one.
    [[nodiscard]] std::vector<std::string> labelsOf(const Accessible& control) const;
    /// The text that the control holds, as somebody who cannot see it is told; empty where it has
    /// none.
    [[nodiscard]] std::string contentOf(const Accessible& control) const;
    /// What can be done with the control, such as "Press".
    [[nodiscard]] std::vector<std::string> actionsOf(const Accessible& control) const;
    /// Does one of these actions, with neither pointer nor keyboard; whether the program took it.
    [[nodiscard]] bool act(const Accessible& control, const std::string& action) const;
    /// Fills a field, as dictation or an on-screen keyboard does; whether the program took it.
    [[nodiscard]] bool fill(const Accessible& field, const std::string& content) const;

  private:
    using Reference = AccessibleReference;

    void readWindow(const Reference& window, std::vector<Accessible>& controls) const;
    [[nodiscard]] std::vector<Reference> children(const Reference& parent) const;
    [[nodiscard]] std::optional<Accessible> read(const Reference& reference) const;
    [[nodiscard]] pid_t processOf(const std::string& owner) const;
    [[nodiscard]] std::string text(const Reference& reference, const char* property) const;
    [[nodiscard]] BusMessage call(const Reference& reference, const char* interface,
                                  const char* method) const;

    BusConnection bus_;
};

/// The showing control of this kind whose name is `name`, if it is among `controls`.
[[nodiscard]] std::optional<Accessible> findControl(const std::vector<Accessible>& controls,
                                                    const std::string& role,
                                                    const std::string& name);

}  // namespace velunor::testing
