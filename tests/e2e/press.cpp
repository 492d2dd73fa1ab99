// Finds a button on this display by its title and clicks it with the pointer, as
// somebody who sits there would. For development: ./dev run answers a prompt with it.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <string>

#include "tests/e2e/support/accessible.h"

namespace {

using namespace velunor::e2e;

std::optional<Accessible> waitForRestingButton(const AccessibilityReader& reader,
                                               const std::string& title) {
    std::optional<Accessible> button;
    const bool resting = eventually([&] {
        const std::optional<Accessible> before = button;
        button = findControl(reader.controlsOf(std::nullopt), "push button", title);
        return before && button && before->extents == button->extents;
    });
    return resting ? button : std::nullopt;
}

int press(const std::string& address, const std::string& display, const std::string& title,
          bool onlyFind) {
    const AccessibilityReader reader(address);
    const std::optional<Accessible> button = waitForRestingButton(reader, title);
    if (!button) {
        std::cerr << "press: no button " << title << " is showing\n";
        return 1;
    }
    const int x = button->extents.x + button->extents.width / 2;
    const int y = button->extents.y + button->extents.height / 2;
    std::cout << x << ' ' << y << '\n';
    if (!onlyFind) {
        Screen(display).click(x, y);
    }
    return 0;
}

}  // namespace

int main(int count, char** values) {
    const char* address = std::getenv("AT_SPI_BUS_ADDRESS");
    const char* display = std::getenv("DISPLAY");
    const std::string option = count > 1 ? values[1] : "";
    const bool onlyFind = option == "--find";
    if (address == nullptr || display == nullptr || count != (onlyFind ? 3 : 2)) {
        std::cerr << "usage: press [--find] TITLE, with DISPLAY and AT_SPI_BUS_ADDRESS\n";
        return 2;
    }
    try {
        return press(address, display, values[count - 1], onlyFind);
    } catch (const std::exception& error) {
        std::cerr << "press: " << error.what() << '\n';
        return 1;
    }
}
