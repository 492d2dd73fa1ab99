#include "tests/support/desktop/wayland.h"

#include <regex>
#include <sstream>
#include <stdexcept>

#include "tests/support/files.h"

namespace velunor::testing {

WaylandDesktop::WaylandDesktop(const std::filesystem::path& directory,
                               const std::filesystem::path& runtimeDirectory, bool withXServer)
    : directory_(directory / "weston"),
      environment_{{"PATH", "/usr/local/bin:/usr/bin:/bin"},
                   {"HOME", directory_.string()},
                   {"LC_ALL", "C.UTF-8"},
                   {"XDG_RUNTIME_DIR", runtimeDirectory.string()}} {
    std::filesystem::create_directories(directory_);
    const std::filesystem::path log = directory_ / "weston.log";
    const std::filesystem::path settings = directory_ / "weston.ini";
    writeFile(settings, "[shell]\npanel-position=none\nbackground-color=0xff446688\n");
    // The protocol for pictures of the screen comes with "debug" only.
    std::vector<std::string> command{"weston",
                                     "--backend=headless-backend.so",
                                     "--use-pixman",
                                     "--config=" + settings.string(),
                                     "--idle-time=0",
                                     "--debug",
                                     "--socket=" + name(),
                                     "--width=" + std::to_string(width),
                                     "--height=" + std::to_string(height)};
    if (withXServer) {
        command.emplace_back("--xwayland");
    }
    compositor_ = std::make_unique<ChildProcess>(
        Command{.arguments = command, .environment = environment_, .output = {}, .errors = log});
    environment_["WAYLAND_DISPLAY"] = name();
    const bool started = eventually([&] {
        const std::string text = readFile(log);
        std::smatch found;
        if (withXServer &&
            std::regex_search(text, found, std::regex(R"(xserver listening on display (:\d+))"))) {
            xDisplay_ = found[1];
        }
        return (text.find("weston-desktop-shell") != std::string::npos &&
                withXServer == !xDisplay_.empty()) ||
               !compositor_->isRunning();
    });
    if (!started || !compositor_->isRunning()) {
        throw std::runtime_error("the compositor did not start: " + readFile(log));
    }
}

PixelRect WaylandDesktop::placeOfColour(const std::string& colour) const {
    const std::filesystem::path pictures = directory_ / "pictures";
    std::filesystem::remove_all(pictures);
    std::filesystem::create_directories(pictures);
    // The tool names the picture itself, in the directory where it is started.
    run({"sh", "-c", "cd \"$1\" && exec weston-screenshooter", "sh", pictures.string()}, {});
    const std::filesystem::path bounds = directory_ / "bounds";
    std::filesystem::remove(bounds);
    run({"sh", "-c",
         R"(exec convert "$1"/*.png -alpha off -fill black +opaque "$2" -format '%@' info:)", "sh",
         pictures.string(), colour},
        bounds);
    PixelRect place;
    char between = 0;
    std::istringstream text(readFile(bounds));
    text >> place.width >> between >> place.height >> place.x >> place.y;
    return place;
}

void WaylandDesktop::run(const std::vector<std::string>& command,
                         const std::filesystem::path& output) const {
    ChildProcess tool(Command{.arguments = command,
                              .environment = environment_,
                              .output = output,
                              .errors = directory_ / "tool.log"});
    if (tool.wait() != Ending{0, 0}) {
        throw std::runtime_error(command.back() + ": " + readFile(directory_ / "tool.log"));
    }
}

}  // namespace velunor::testing
