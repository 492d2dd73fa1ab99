// Finds a button on this display by its title and clicks it with the pointer, as somebody who sits
// there would. For development: ./dev run answers a prompt with it.

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "tests/e2e/support/accessible.h"

namespace {

using velunor::e2e::AccessibilityReader;
using velunor::e2e::Accessible;

/// All controls, once the button is among them and rests where its window put it.
std::vector<Accessible> waitForRestingButton(const AccessibilityReader& reader,
                                             const std::string& title) {
    std::vector<Accessible> controls;
    std::optional<Accessible> button;
    const bool resting = velunor::e2e::eventually([&] {
        const std::optional<Accessible> before = button;
        controls = reader.controlsOf(std::nullopt);
        button = findControl(controls, "push button", title);
        return before && button && before->extents == button->extents;
    });
    return resting ? controls : std::vector<Accessible>();
}

/// Tells where the window is, as the picture tools write a place; it comes before its controls.
void printWindow(const std::vector<Accessible>& controls) {
    const auto window = std::find_if(controls.begin(), controls.end(), [](const Accessible& one) {
        return one.showing && one.extents.width > 0;
    });
    std::cout << window->extents.width << 'x' << window->extents.height << '+' << window->extents.x
              << '+' << window->extents.y << '\n';
}

int press(const std::string& address, const std::string& display, const std::string& title,
          bool onlyFind) {
    const std::vector<Accessible> controls =
        waitForRestingButton(AccessibilityReader(address), title);
    const std::optional<Accessible> button = findControl(controls, "push button", title);
    if (!button) {
        std::cerr << "press: no button " << title << " is showing\n";
        return 1;
    }
    if (onlyFind) {
        printWindow(controls);
        return 0;
    }
    const AccessibilityReader reader(address);
    velunor::e2e::Screen screen(display);
    // A window manager that is busy with a new window may keep a click to itself; somebody who sits
    // there clicks again until the window goes.
    const bool answered = velunor::e2e::eventually([&] {
        screen.click(button->extents.x + button->extents.width / 2,
                     button->extents.y + button->extents.height / 2);
        return velunor::e2e::eventually(
            [&] { return !findControl(reader.controlsOf(std::nullopt), "push button", title); },
            std::chrono::seconds(12));
    });
    return answered ? 0 : 1;
}

}  // namespace

int main(int count, char** values) {
    const char* address = std::getenv("AT_SPI_BUS_ADDRESS");
    const char* display = std::getenv("DISPLAY");
    const bool onlyFind = count > 1 && std::string(values[1]) == "--find";
    if (address == nullptr || display == nullptr || count != (onlyFind ? 3 : 2)) {
        std::cerr << "usage: press [--find] TITLE, with DISPLAY and AT_SPI_BUS_ADDRESS\n"
                     "--find waits for the button and prints the place of its window.\n";
        return 2;
    }
    try {
        return press(address, display, values[count - 1], onlyFind);
    } catch (const std::exception& error) {
        std::cerr << "press: " << error.what() << '\n';
        return 1;
    }
}
