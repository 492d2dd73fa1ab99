#include "tests/desktops/nested_desktop.h"

#include <stdexcept>

namespace velunor::testing {
namespace {

/// The card's ground in the light scheme; a border of one point is around it.
constexpr std::uint32_t cardGround = 0xFFFFFF;
/// Whatever is smaller is no card.
constexpr int leastWidth = 300;
constexpr int leastHeight = 200;

}  // namespace

NestedDesktop::NestedDesktop(Session& session) : session_(session) {
    session.bus();
    session.makeDisplay({.withWindowManager = false});
}

std::optional<PixelRect> NestedDesktop::cardPlace() {
    const PixelRect inside = largestPlaceOfColour(session_.screen().picture(), cardGround);
    if (inside.width < leastWidth || inside.height < leastHeight) {
        return std::nullopt;
    }
    return PixelRect{inside.x - 1, inside.y - 1, inside.width + 2, inside.height + 2};
}

void NestedDesktop::startProgram(const std::vector<std::string>& command,
                                 const Environment& variables) {
    Environment environment = variables;
    environment.insert(session_.environment().begin(), session_.environment().end());
    programs_.push_back(std::make_unique<ChildProcess>(Command{
        .arguments = command, .environment = environment, .output = log(), .errors = log()}));
}

void NestedDesktop::settleAt(const std::filesystem::path& socket, const std::string& xDisplay) {
    session_.environment()["WAYLAND_DISPLAY"] = socket;
    session_.environment().erase("DISPLAY");
    if (!xDisplay.empty()) {
        session_.environment()["DISPLAY"] = xDisplay;
    }
}

void NestedDesktop::measureUsableArea() {
    const auto place = [this] { return largestPlaceOfColour(session_.screen().picture(), ground); };
    const bool seen = eventually([&] {
        usable_ = place();
        std::this_thread::sleep_for(std::chrono::milliseconds(1000));
        return usable_.width == Display::width && usable_.height > Display::height / 2 &&
               place() == usable_;
    });
    if (!seen) {
        throw std::runtime_error("the bare desktop did not show: " + readFile(log()));
    }
}

void NestedDesktop::waitForPointer() {
    constexpr PixelRect everywhere{0, 0, Display::width, Display::height};
    constexpr int side = 24;
    constexpr PixelRect arrow{300, 300, side, side};
    constexpr std::size_t bareArrow = std::size_t{side} * side;
    Screen& screen = session_.screen();
    const bool follows = eventually([&] {
        // It hears that the pointer comes in, and where. One that was not up at the first time
        // does not know where it is.
        screen.removeWindow(screen.addCover(everywhere));
        screen.movePointer(arrow.x, arrow.y);
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        return countOfColour(screen.picture(), arrow, ground) < bareArrow;
    });
    if (!follows) {
        throw std::runtime_error("the compositor does not follow the pointer: " + readFile(log()));
    }
}

std::string firstLineOf(const std::filesystem::path& path) {
    std::string text;
    const bool written = eventually([&] {
        text = readFile(path);
        return text.find('\n') != std::string::npos;
    });
    if (!written) {
        throw std::runtime_error("nothing was written to " + path.string());
    }
    return text.substr(0, text.find('\n'));
}

}  // namespace velunor::testing
