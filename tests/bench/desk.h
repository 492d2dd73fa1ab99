#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/bench/window_watch.h"
#include "tests/support/child_process.h"
#include "tests/support/desktop/bus.h"
#include "tests/support/desktop/display.h"
#include "tests/support/prompt/agent_service.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {

/// A program that shows one small window.
struct Program {
    std::string name;
    std::vector<std::string> command;
    /// The button that ends it: its title, or its place where it cannot be asked.
    std::string button{};
    PixelRect buttonPlace{};
};

/// The prompt with its usual texts, and the arguments of one without credentials.
[[nodiscard]] std::vector<std::string> promptCommand(const std::string& updateName = "Debian 12.9");

/// Where programs are measured: a virtual display without a window manager, a bus with an agent
/// service and no screen reader on it, and the agent's directories.
class Desk {
  public:
    Desk();

    [[nodiscard]] WindowWatch& watch() { return watch_; }
    [[nodiscard]] TestAgentService& service() { return service_; }
    [[nodiscard]] std::filesystem::path directory() const { return directory_.path(); }

    /// Starts a program of this desk.
    [[nodiscard]] std::unique_ptr<ChildProcess> start(
        const std::vector<std::string>& command) const;

    /// Makes `text` the prompt's message.
    void customizeMessage(const std::string& text) const;
    /// Puts back the usual message.
    void forgetMessage() const;

    /// Finds the place of the program's button once, by the accessibility services.
    void findButton(Program& program);
    /// Moves the pointer to the program's button in `window`.
    void pointAtButton(const Program& program, WindowId window);
    /// Clicks where the pointer is.
    void click();

  private:
    TemporaryDirectory directory_;
    Display display_;
    WindowWatch watch_;
    Bus bus_;
    TestAgentService service_;
    Environment environment_;
};

}  // namespace velunor::testing
