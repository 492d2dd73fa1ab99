#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/desktops/desktop.h"

namespace velunor::testing {

/// A Wayland compositor that shows its screen in a window which covers a virtual X server's, so
/// that real keys and clicks reach it, and what it shows can be looked at.
class NestedDesktop : public Desktop {
  public:
    PixelRect usableArea() override { return usable_; }
    std::optional<PixelRect> cardPlace() override;

  protected:
    /// The ground of the bare desktop.
    static constexpr std::uint32_t ground = 0x5A6B7B;
    static constexpr const char* groundName = "5a6b7b";

    /// Makes the virtual X server; its variables are not yet those of another display.
    explicit NestedDesktop(Session& session);

    [[nodiscard]] Session& session() { return session_; }
    [[nodiscard]] std::filesystem::path log() const { return session_.directory() / "desktop.log"; }
    /// Starts a program of the desktop with these variables beside the session's.
    void startProgram(const std::vector<std::string>& command, const Environment& variables = {});
    /// Programs that are started from now on belong to the compositor at this socket, and to the X
    /// server inside, unless `xDisplay` is empty. Waits until the bare desktop is seen.
    void settleAt(const std::filesystem::path& socket, const std::string& xDisplay);
    /// Notes what of the screen the panel leaves.
    void measureUsableArea();
    /// Has the compositor follow the pointer, on the bare desktop. Throws where it does not.
    void waitForPointer();
    /// The prompt's process number.
    [[nodiscard]] std::string prompt() { return std::to_string(session_.process().id()); }

  private:
    Session& session_;
    PixelRect usable_;
    std::vector<std::unique_ptr<ChildProcess>> programs_;
};

/// Waits until a file has content, and gives its first line. Throws when it stays empty.
[[nodiscard]] std::string firstLineOf(const std::filesystem::path& path);

}  // namespace velunor::testing
