#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/desktops/session.h"

namespace velunor::testing {

/// A desktop on which the prompt is tried, as it is asked and told from outside of the prompt.
class Desktop {
  public:
    Desktop() = default;
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;
    virtual ~Desktop() = default;

    /// The screen without the panel.
    [[nodiscard]] virtual PixelRect usableArea() = 0;
    /// Where the card is, with whatever the desktop has put around it; none while it is not there.
    [[nodiscard]] virtual std::optional<PixelRect> cardPlace() = 0;
    /// The same without what the desktop has put around it.
    [[nodiscard]] virtual std::optional<PixelRect> contentPlace() { return cardPlace(); }
    /// Asks the desktop to go to another workspace, or back to the first; false where it has one.
    [[nodiscard]] virtual bool goToWorkspace(int number) = 0;
    /// Minimises the prompt, as a task list does; false where the desktop has no way to do that.
    [[nodiscard]] virtual bool minimize() = 0;
    /// Puts a prompt that has not come back by itself where it was.
    virtual void bringBack() {}
    /// Has the desktop close the prompt; false where it has no way to do that.
    [[nodiscard]] virtual bool requestClose() = 0;
    /// Whether the desktop knows that the prompt asks for attention.
    [[nodiscard]] virtual bool demandsAttention() = 0;
};

/// A desktop that can be tried.
struct DesktopKind {
    std::string name;
    /// What draws the panel; empty where there is none.
    std::string panel;
    /// "X11" or "Wayland".
    std::string system;
    /// The Debian packages that it comes from.
    std::vector<std::string> packages;
    /// Starts it in the session, and makes it the one that programs of the session are shown on.
    std::function<std::unique_ptr<Desktop>(Session&)> start;
};

/// All of them, in the order of the table.
[[nodiscard]] const std::vector<DesktopKind>& desktopKinds();

}  // namespace velunor::testing
