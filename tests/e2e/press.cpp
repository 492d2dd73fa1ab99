// Finds a button on this display by its title and clicks it with the pointer, as somebody who sits
// there would. For development: ./dev run answers a prompt with it.

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

/// The button, once it rests where its window put it.
std::optional<Accessible> waitForRestingButton(const AccessibilityReader& reader,
                                               const std::string& title) {
    std::optional<Accessible> button;
    const bool resting = velunor::e2e::eventually([&] {
        const std::optional<Accessible> before = button;
        button = findControl(reader.controlsOf(std::nullopt), "push button", title);
        return before && button && before->extents == button->extents;
    });
    return resting ? button : std::nullopt;
}

int press(const std::string& address, const std::string& display, const std::string& title,
          bool onlyFind) {
    const std::optional<Accessible> button =
        waitForRestingButton(AccessibilityReader(address), title);
    velunor::e2e::Screen screen(display);
    const std::vector<velunor::e2e::WindowId> windows = screen.shownWindows();
    if (!button || windows.empty()) {
        std::cerr << "press: no button " << title << " is showing\n";
        return 1;
    }
    if (onlyFind) {
        // As the picture tools write a place.
        const velunor::e2e::PixelRect place = screen.contentOf(windows.back());
        std::cout << place.width << 'x' << place.height << '+' << place.x << '+' << place.y << '\n';
        return 0;
    }
    screen.click(windows.back(), button->extents);
    return 0;
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
