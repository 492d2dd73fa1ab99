#include "tests/support/desktop/display.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

#include "tests/support/files.h"

namespace velunor::testing {
namespace {

// The server writes its number and a line break once it accepts clients.
std::string readDisplayNumber(int descriptor) {
    std::string number;
    pollfd waiting{descriptor, POLLIN, 0};
    while (number.find('\n') == std::string::npos) {
        std::array<char, 16> part{};
        const auto limit =
            static_cast<int>(std::chrono::milliseconds(std::chrono::seconds(patience)).count());
        const ssize_t count =
            ::poll(&waiting, 1, limit) > 0 ? ::read(descriptor, part.data(), part.size()) : 0;
        if (count <= 0) {
            throw std::runtime_error("the virtual X server did not start");
        }
        number.append(part.data(), static_cast<std::size_t>(count));
    }
    number.erase(number.find('\n'));
    return number;
}

}  // namespace

Display::Display(const std::filesystem::path& directory, const DisplaySetup& setup)
    : directory_(directory),
      environment_{{"PATH", "/usr/local/bin:/usr/bin:/bin"},
                   {"HOME", directory.string()},
                   {"LC_ALL", "C.UTF-8"}} {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    const std::string size = std::to_string(setup.width) + "x" + std::to_string(setup.height);
    server_ = std::make_unique<ChildProcess>(
        Command{.arguments = {"Xvfb", "-displayfd", "3", "-screen", "0", size + "x24", "-nolisten",
                              "tcp", "-noreset"},
                .environment = environment_,
                .output = {},
                .errors = directory / "xvfb.log",
                .thirdDescriptor = ends[1]});
    ::close(ends[1]);
    name_ = ":" + readDisplayNumber(ends[0]);
    ::close(ends[0]);
    environment_["DISPLAY"] = name_;
    for (const Monitor& monitor : setup.monitors) {
        addMonitor(monitor);
    }
    screen_ = std::make_unique<Screen>(name_);
    if (!setup.withWindowManager) {
        return;
    }
    const std::filesystem::path log = directory / "window-manager.log";
    for (const auto& [path, content] : setup.windowManager.files) {
        std::filesystem::create_directories((directory / path).parent_path());
        writeFile(directory / path, content);
    }
    Environment managing = environment_;
    managing.insert(setup.environment.begin(), setup.environment.end());
    manager_ = std::make_unique<ChildProcess>(Command{.arguments = setup.windowManager.command,
                                                      .environment = managing,
                                                      .output = {},
                                                      .errors = log});
    if (!screen_->waitForWindowManager()) {
        throw std::runtime_error("the window manager did not start: " + readFile(log));
    }
}

void Display::addMonitor(const Monitor& monitor) {
    const PixelRect& place = monitor.place;
    // The sizes in millimetres are those of 96 pixels per inch.
    const auto length = [](int pixels) {
        return std::to_string(pixels) + "/" + std::to_string(pixels * 254 / 960);
    };
    // The server's one output may belong to one monitor only.
    changeSetUp({"--setmonitor", (monitor.primary ? "*" : "") + monitor.name,
                 length(place.width) + "x" + length(place.height) + "+" + std::to_string(place.x) +
                     "+" + std::to_string(place.y),
                 monitor.primary ? "screen" : "none"});
}

void Display::removeMonitor(const std::string& name) {
    changeSetUp({"--delmonitor", name});
}

void Display::setResolution(int newWidth, int newHeight) {
    const std::string across = std::to_string(newWidth);
    const std::string down = std::to_string(newHeight);
    const std::string mode = across + "x" + down + "-test";
    changeSetUp({"--newmode", mode, "0", across, across, across, across, down, down, down, down});
    changeSetUp({"--addmode", "screen", mode});
    changeSetUp({"--output", "screen", "--mode", mode});
}

void Display::startCompositor() {
    compositor_ = std::make_unique<ChildProcess>(
        Command{.arguments = {"picom", "--config", "/dev/null", "--backend", "xrender"},
                .environment = environment_,
                .output = {},
                .errors = directory_ / "picom.log"});
    if (!eventually([this] { return screen_->hasCompositor(); })) {
        throw std::runtime_error("the compositor did not start");
    }
}

void Display::endCompositor() {
    compositor_.reset();
    if (!eventually([this] { return !screen_->hasCompositor(); })) {
        throw std::runtime_error("the compositor did not end");
    }
}

void Display::killServer() {
    screen_.reset();
    server_.reset();
}

void Display::changeSetUp(const std::vector<std::string>& change) {
    std::vector<std::string> command{"xrandr"};
    command.insert(command.end(), change.begin(), change.end());
    ChildProcess xrandr(Command{.arguments = command,
                                .environment = environment_,
                                .output = {},
                                .errors = directory_ / "xrandr.log"});
    if (xrandr.wait() != Ending{0, 0}) {
        throw std::runtime_error("the monitors could not be set up");
    }
}

}  // namespace velunor::testing
