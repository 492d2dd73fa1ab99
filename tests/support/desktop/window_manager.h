#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace velunor::testing {

/// A window manager for X11 and how it is started.
struct WindowManager {
    std::string name;
    /// Program and arguments; a program without a slash is looked for in PATH.
    std::vector<std::string> command;
    /// Settings: path below the home directory, and content.
    std::map<std::string, std::string> files{};
};

/// How GoogleTest names it.
inline void PrintTo(const WindowManager& manager, std::ostream* out) {
    *out << manager.name;
}

/// The one that the tests use where it does not matter which.
[[nodiscard]] WindowManager openbox();

/// Those that people use, each as it comes from its maker.
[[nodiscard]] std::vector<WindowManager> windowManagers();

}  // namespace velunor::testing
