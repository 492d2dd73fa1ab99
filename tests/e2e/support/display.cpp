#include "tests/e2e/support/display.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace velunor::e2e {
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

Display::Display(const std::filesystem::path& directory) {
    const Environment environment{{"PATH", "/usr/local/bin:/usr/bin:/bin"},
                                  {"HOME", directory.string()},
                                  {"LC_ALL", "C.UTF-8"}};
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    const std::string size = std::to_string(width) + "x" + std::to_string(height) + "x24";
    server_ = std::make_unique<ChildProcess>(
        Command{.arguments = {"Xvfb", "-displayfd", "3", "-screen", "0", size, "-nolisten", "tcp",
                              "-noreset"},
                .environment = environment,
                .output = {},
                .errors = directory / "xvfb.log",
                .thirdDescriptor = ends[1]});
    ::close(ends[1]);
    name_ = ":" + readDisplayNumber(ends[0]);
    ::close(ends[0]);

    Environment withDisplay = environment;
    withDisplay["DISPLAY"] = name_;
    manager_ = std::make_unique<ChildProcess>(Command{.arguments = {"openbox", "--sm-disable"},
                                                      .environment = withDisplay,
                                                      .output = {},
                                                      .errors = directory / "openbox.log"});
    screen_ = std::make_unique<Screen>(name_);
    if (!screen_->waitForWindowManager()) {
        throw std::runtime_error("the window manager did not start");
    }
}

}  // namespace velunor::e2e
