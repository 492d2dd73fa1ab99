// Finds a control on this display by its name and uses it with pointer and keyboard, as somebody
// who sits there would. For development: ./dev run answers a prompt with it.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/desktop/accessible.h"

namespace {

using velunor::testing::AccessibilityReader;
using velunor::testing::Accessible;

/// The showing control, once it rests where its window put it.
std::optional<Accessible> waitForRestingControl(const AccessibilityReader& reader,
                                                const std::string& role, const std::string& name) {
    std::optional<Accessible> control;
    const bool resting = velunor::testing::eventually([&] {
        const std::optional<Accessible> before = control;
        control = findControl(reader.controlsOf(std::nullopt), role, name);
        return before && control && before->extents == control->extents;
    });
    return resting ? control : std::nullopt;
}

struct Task {
    std::string role = "push button";
    std::string name{};
    bool onlyFind = false;
    /// Only tells whether the control is showing now.
    bool onlyAsk = false;
    /// Typed into the control after the click.
    std::string text{};
};

int perform(const std::string& address, const std::string& display, const Task& task) {
    const AccessibilityReader reader(address);
    if (task.onlyAsk) {
        return findControl(reader.controlsOf(std::nullopt), task.role, task.name) ? 0 : 1;
    }
    const auto control = waitForRestingControl(reader, task.role, task.name);
    velunor::testing::Screen screen(display);
    const std::vector<velunor::testing::WindowId> windows = screen.shownWindows();
    if (!control || windows.empty()) {
        std::cerr << "press: no " << task.role << ' ' << task.name << " is showing\n";
        return 1;
    }
    if (task.onlyFind) {
        // As the picture tools write a place.
        const velunor::testing::PixelRect place = screen.contentOf(windows.back());
        std::cout << place.width << 'x' << place.height << '+' << place.x << '+' << place.y << '\n';
        return 0;
    }
    screen.click(windows.back(), control->extents);
    if (task.text.empty()) {
        return 0;
    }
    const bool focused = velunor::testing::eventually([&] {
        const auto now = findControl(reader.controlsOf(std::nullopt), task.role, task.name);
        return now && now->focused;
    });
    if (focused) {
        screen.type(task.text);
    }
    return focused ? 0 : 1;
}

std::optional<Task> taskOf(const std::vector<std::string>& arguments) {
    if (arguments.size() == 1) {
        return Task{.name = arguments[0]};
    }
    if (arguments.size() == 2 && arguments[0] == "--find") {
        return Task{.name = arguments[1], .onlyFind = true};
    }
    if (arguments.size() == 3 && arguments[0] == "--type") {
        Task task{.role = arguments[1], .name = arguments[2]};
        std::getline(std::cin, task.text);
        return task;
    }
    if (arguments.size() == 3 && arguments[0] == "--shows") {
        return Task{.role = arguments[1], .name = arguments[2], .onlyAsk = true};
    }
    return std::nullopt;
}

}  // namespace

int main(int count, char** values) {
    const char* address = std::getenv("AT_SPI_BUS_ADDRESS");
    const char* display = std::getenv("DISPLAY");
    const auto task = taskOf({values + 1, values + count});
    if (address == nullptr || display == nullptr || !task) {
        std::cerr
            << "usage: press [--find] TITLE, or press --type ROLE NAME,\n"
               "with DISPLAY and AT_SPI_BUS_ADDRESS.\n"
               "--find waits for the button and prints the place of its window; --type types\n"
               "the first line of standard input into the control of this kind and name;\n"
               "--shows tells by the exit status whether there is one.\n";
        return 2;
    }
    try {
        return perform(address, display, *task);
    } catch (const std::exception& error) {
        std::cerr << "press: " << error.what() << '\n';
        return 1;
    }
}
