#include "tests/desktops/session.h"

#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "tests/support/prompt/transcript.h"

namespace velunor::testing {
namespace {

// So much of it shows that it can be clicked.
constexpr std::size_t leastSeen = 2000;

std::string nameOf(std::uint32_t colour) {
    std::ostringstream text;
    text << '#' << std::hex << std::setw(6) << std::setfill('0') << colour;
    return text.str();
}

}  // namespace

Session::Session() : notifications_(bus().address()) {
    const std::string english = "application_en.properties";
    std::filesystem::copy_file(std::filesystem::path(SHIPPED_TEXTS) / english,
                               directory() / "base/i18n" / english,
                               std::filesystem::copy_options::overwrite_existing);
    writeFile(settingsPath(), replaced(readFile(settingsPath()), "Test Agent", "Ostrel Agent"));
    startService();
}

bool Session::succeeds(const std::vector<std::string>& command) {
    ChildProcess process({.arguments = command,
                          .environment = environment(),
                          .output = {},
                          .errors = directory() / "commands.log"});
    return process.wait() == Ending{0, 0};
}

OtherWindow::OtherWindow(Session& session, std::string title, std::uint32_t colour,
                         const std::vector<std::string>& place)
    : session_(session),
      colour_(colour),
      output_(session.directory() / (title + ".typed")),
      errors_(session.directory() / (title + ".states")) {
    std::vector<std::string> command{OTHER_WINDOW_PROGRAM, std::move(title), nameOf(colour)};
    command.insert(command.end(), place.begin(), place.end());
    Environment environment = session.environment();
    if (environment.contains("WAYLAND_DISPLAY")) {
        environment["QT_QPA_PLATFORM"] = "wayland";
        // A frame of the card's colour would be taken for the card.
        environment["QT_WAYLAND_DISABLE_WINDOWDECORATION"] = "1";
    }
    process_ = std::make_unique<ChildProcess>(Command{
        .arguments = command, .environment = environment, .output = output_, .errors = errors_});
    if (!eventually([&] { return seen(session.screen().picture()) >= leastSeen; })) {
        throw std::runtime_error("another program's window did not show: " + readFile(errors_));
    }
}

std::size_t OtherWindow::seen(const Picture& picture) const {
    return countOfColour(picture, {0, 0, picture.width, picture.height}, colour_);
}

bool OtherWindow::isActive() const {
    const std::string states = readFile(errors_);
    const std::string last = "inactive\n";
    return states.ends_with("active\n") && !states.ends_with(last);
}

bool OtherWindow::clickInto() {
    const PixelRect place = largestPlaceOfColour(session_.screen().picture(), colour_);
    session_.screen().movePointer(place.x + place.width / 3, place.y + place.height / 3);
    session_.screen().click();
    return eventually([this] { return isActive(); }, shortPatience);
}

}  // namespace velunor::testing
