#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/desktop/display.h"

namespace velunor::testing {

/// A Wayland compositor without any output device, with or without an X server inside.
class WaylandDesktop {
  public:
    static constexpr int width = 1280;
    static constexpr int height = 900;

    /// Starts it and waits until it takes clients. `runtimeDirectory` gets its socket, `directory`
    /// holds its other files. Throws on failure.
    WaylandDesktop(const std::filesystem::path& directory,
                   const std::filesystem::path& runtimeDirectory, bool withXServer);

    /// The name that clients find it by.
    [[nodiscard]] static std::string name() { return "wayland-e2e"; }
    /// Name of the X server inside, such as ":6"; empty where there is none.
    [[nodiscard]] const std::string& xDisplay() const { return xDisplay_; }

    /// The smallest place of the screen that holds every pixel of exactly this colour ("#ffffff");
    /// without width where there is none. Throws when no picture of the screen can be taken.
    [[nodiscard]] PixelRect placeOfColour(const std::string& colour) const;

  private:
    void run(const std::vector<std::string>& command, const std::filesystem::path& output) const;

    std::filesystem::path directory_;
    Environment environment_;
    std::string xDisplay_;
    std::unique_ptr<ChildProcess> compositor_;
};

}  // namespace velunor::testing
