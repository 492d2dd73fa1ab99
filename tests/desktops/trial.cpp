#include "tests/desktops/trial.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace velunor::testing {
namespace {

using std::chrono::milliseconds;

/// The card's ground in the light scheme, and the colours of other windows.
constexpr std::uint32_t cardGround = 0xFFFFFF;
constexpr std::uint32_t terminalColour = 0x2E4057;
constexpr std::uint32_t ordinaryColour = 0x7A5C58;
constexpr std::uint32_t fullScreenColour = 0x3F6B4F;

// A nested compositor that has no time loses a press of the button; a person presses it again.
constexpr int mostTries = 3;

constexpr int margin = 30;
/// Below this a part of the card is covered; its shadow or corners are not.
constexpr double nearlyAll = 0.95;

std::string at(int x, int y) {
    return std::to_string(x) + "," + std::to_string(y);
}

std::string share(double part) {
    return std::to_string(std::lround(100 * part)) + " % seen";
}

}  // namespace

Trial::Trial(Session& session, Desktop& desktop) : session_(session), desktop_(desktop) {
    usable_ = desktop_.usableArea();
    terminal_ = std::make_unique<OtherWindow>(session, "terminal", terminalColour,
                                              std::vector<std::string>{"60", "60", "420", "300"});
    if (!terminal_->clickInto()) {
        throw std::runtime_error("nobody can type into another window");
    }
}

PixelRect Trial::restingPlace() {
    std::optional<PixelRect> place;
    static_cast<void>(eventually([&] {
        place = desktop_.cardPlace();
        std::this_thread::sleep_for(milliseconds(200));
        return place && desktop_.cardPlace() == place;
    }));
    if (!place) {
        const std::string log = session_.systemLog();
        constexpr std::size_t end = 300;
        throw std::runtime_error(
            (session_.process().isRunning() ? "the card is not there: " : "the prompt ended: ") +
            log.substr(log.size() - std::min(log.size(), end)));
    }
    return *place;
}

double Trial::seenPart(const PixelRect& place) {
    const std::size_t seen = countOfColour(session_.screen().picture(), place, cardGround);
    return wholeCard_ == 0 ? 0 : static_cast<double>(seen) / static_cast<double>(wholeCard_);
}

bool Trial::isSeen(milliseconds limit) {
    return eventually(
        [this] {
            const auto place = desktop_.cardPlace();
            return place && seenPart(*place) >= nearlyAll;
        },
        limit);
}

void Trial::bringToFront() {
    const PixelRect place = restingPlace();
    if (!isSeen(milliseconds(0))) {
        session_.screen().movePointer(place.x + place.width / 2, place.y + place.height - 6);
        session_.screen().click();
        static_cast<void>(isSeen());
    }
}

std::string Trial::focusedControls() {
    std::string names;
    for (const Accessible& control : session_.controls()) {
        // The window itself, which has the keyboard where no control has it, does nothing with it.
        if (control.focused && control.role != "dialog" && control.role != "frame") {
            names += (names.empty() ? "" : ", ") + control.name;
        }
    }
    return names;
}

Finding Trial::typingElsewhere() {
    // Among them the keys that lead to a button and press it.
    const std::string word = "hel\tlo\n";
    const milliseconds pause{20};
    constexpr int words = 100;
    std::string sent;
    const auto type = [&] {
        session_.screen().type(word);
        sent += word;
        std::this_thread::sleep_for(pause);
    };
    session_.start({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
    // On and on, from before the window is there until it takes in those who come to it.
    const bool up = eventually([&] {
        type();
        return desktop_.cardPlace().has_value();
    });
    if (!up) {
        throw std::runtime_error("the prompt did not show: " + session_.systemLog());
    }
    for (int count = 0; count < words; ++count) {
        type();
    }
    static_cast<void>(eventually([&] { return terminal_->typed() == sent; }, milliseconds(1500)));
    const std::size_t lost = sent.size() - std::min(sent.size(), terminal_->typed().size());
    const bool stillThere = terminal_->isActive();
    // Some of them may have gone to the prompt, where they must do nothing.
    const std::string focused = focusedControls();
    const std::string log = session_.systemLog();
    const bool taken = !focused.empty() || log.find("Clicked") != std::string::npos ||
                       log.find("Failed") != std::string::npos || !session_.process().isRunning();
    const std::string figures =
        std::to_string(lost) + " of " + std::to_string(sent.size()) + " keys lost";
    const PixelRect place = restingPlace();
    wholeCard_ = countOfColour(session_.screen().picture(), place, cardGround);
    if (taken) {
        return {false, "the prompt takes keys that were meant for another window",
                focused.empty() ? figures : figures + ", focus in " + focused};
    }
    if (!stillThere) {
        static_cast<void>(terminal_->clickInto());
        return {false, "the desktop gives the prompt the keyboard, and the keys do nothing there",
                figures};
    }
    return lost == 0 ? Finding{true, "all keys arrive in the other window",
                               std::to_string(sent.size()) + " keys"}
                     : Finding{false, "some keys arrive nowhere", figures};
}

Finding Trial::place() {
    const int right = usable_.x + usable_.width - margin;
    const int bottom = usable_.y + usable_.height - margin;
    const auto isInCorner = [&](const PixelRect& card) {
        return card.x + card.width == right && card.y + card.height == bottom;
    };
    PixelRect card = restingPlace();
    static_cast<void>(eventually(
        [&] {
            card = restingPlace();
            return isInCorner(card);
        },
        shortPatience));
    const std::string figures = at(card.x + card.width, card.y + card.height) + " of " +
                                at(usable_.x + usable_.width, usable_.y + usable_.height);
    if (isInCorner(card)) {
        return {true, "30 points from the right and from the bottom", figures};
    }
    // What an X server inside says of a place can be wrong by a pixel.
    if (std::abs(card.x + card.width - Display::width + margin) <= 1 &&
        std::abs(card.y + card.height - Display::height + margin) <= 1) {
        return {false, "in the corner of the whole screen", figures};
    }
    constexpr int nearTheMiddle = 40;
    const int offAcross = 2 * card.x + card.width - 2 * usable_.x - usable_.width;
    const int offDown = 2 * card.y + card.height - 2 * usable_.y - usable_.height;
    if (std::abs(offAcross) <= 2 * nearTheMiddle && std::abs(offDown) <= 2 * nearTheMiddle) {
        return {false, "in the middle of the work", figures};
    }
    return {false, "where the desktop puts new windows", figures};
}

Finding Trial::attention() {
    const auto asked = [this] {
        return session_.systemLog().find("Dock bounce") != std::string::npos;
    };
    if (!eventually(asked)) {
        return {false, "the prompt does not ask for it"};
    }
    if (eventually([this] { return desktop_.demandsAttention(); }, milliseconds(1500))) {
        return {true, "the desktop is asked for it"};
    }
    return {false, "the desktop does not hear of it"};
}

Finding Trial::aboveOtherWindows() {
    const PixelRect before = restingPlace();
    OtherWindow cover(session_, "ordinary", ordinaryColour, {"maximized"});
    static_cast<void>(cover.clickInto());
    const bool above = isSeen();
    const std::string figures = share(seenPart(before));
    return {above, above ? "above a window that is worked in" : "covered by the window at work",
            figures};
}

Finding Trial::everyWorkspace() {
    if (!desktop_.goToWorkspace(2)) {
        return {false, "the desktop has one workspace only"};
    }
    const bool there = eventually(
        [this] { return terminal_->seen(session_.screen().picture()) == 0; }, shortPatience);
    const bool seen = isSeen();
    if (!desktop_.goToWorkspace(1)) {
        throw std::runtime_error("there is no way back to the first workspace");
    }
    static_cast<void>(isSeen());
    if (!there) {
        return {false, "the desktop does not go to another workspace"};
    }
    return seen ? Finding{true, "on each of them"} : Finding{false, "on the one where it came up"};
}

Finding Trial::fullScreen() {
    const std::size_t before = session_.notifications().shown().size();
    Finding finding;
    {
        OtherWindow film(session_, "film", fullScreenColour, {"full"});
        static_cast<void>(film.clickInto());
        const auto told = [&] { return session_.notifications().shown().size() > before; };
        // What is above is so at once, or comes up again in a moment.
        if (isSeen()) {
            finding = {true, "above it"};
        } else if (eventually(told, shortPatience)) {
            finding = {true, "behind it, and a notification says so"};
        } else {
            finding = {false, "behind it, and nothing says so"};
        }
    }
    static_cast<void>(isSeen());
    return finding;
}

Finding Trial::minimized() {
    bringToFront();
    const PixelRect before = restingPlace();
    for (int time = 0; time < 3; ++time) {
        if (!desktop_.minimize()) {
            return {false, "the desktop has no way to minimise it"};
        }
        // It may take a moment until it goes, too.
        std::this_thread::sleep_for(milliseconds(300));
        if (!isSeen()) {
            desktop_.bringBack();
            static_cast<void>(isSeen());
            return {false, "it stays away", "at the " + std::to_string(time + 1) + ". time"};
        }
    }
    const PixelRect after = restingPlace();
    return after == before
               ? Finding{true, "it comes back, to its place"}
               : Finding{false, "it comes back elsewhere",
                         at(after.x, after.y) + " instead of " + at(before.x, before.y)};
}

Finding Trial::closing() {
    bringToFront();
    if (!desktop_.requestClose()) {
        return {false, "the desktop has no way to close it"};
    }
    const bool ended =
        eventually([this] { return !session_.process().isRunning(); }, milliseconds(1000));
    return !ended && isSeen() ? Finding{true, "it stays"} : Finding{false, "it goes"};
}

Finding Trial::dragging() {
    bringToFront();
    constexpr int left = 200;
    constexpr int up = 100;
    // What a window manager takes for the beginning of a drag does not count.
    constexpr int tolerance = 60;
    const PixelRect before = restingPlace();
    PixelRect after = before;
    int tries = 0;
    for (; tries < mostTries && after == before; ++tries) {
        const PixelRect content = *desktop_.contentPlace();
        session_.screen().drag(content.x + content.width / 2, content.y + 6, -left, -up);
        after = restingPlace();
    }
    const std::string figures = "moved by " + at(after.x - before.x, after.y - before.y) + " of " +
                                at(-left, -up) + ", try " + std::to_string(tries);
    for (int step = 0; step < 10; ++step) {
        session_.screen().movePointer(after.x + after.width / 2 + 10 * step, after.y + 6);
    }
    if (restingPlace() != after) {
        return {false, "it sticks to the pointer", figures};
    }
    if (after == before) {
        return {false, "it cannot be moved", figures};
    }
    const bool right = std::abs(after.x - before.x + left) <= tolerance &&
                       std::abs(after.y - before.y + up) <= tolerance;
    return right ? Finding{true, "it moves while the button is held", figures}
                 : Finding{false, "it moves elsewhere", figures};
}

bool Trial::clickControl(const std::string& role, const std::string& name) {
    std::optional<Accessible> control;
    PixelRect card;
    const bool resting = eventually([&] {
        const std::optional<Accessible> before = control;
        control = findControl(session_.controls(), role, name);
        card = desktop_.contentPlace().value_or(restingPlace());
        return before && control && before->extents == control->extents;
    });
    if (resting) {
        const PixelRect& place = control->extents;
        session_.screen().movePointer(card.x + place.x + place.width / 2,
                                      card.y + place.y + place.height / 2);
        session_.screen().click();
    }
    return resting;
}

Finding Trial::answering() {
    bringToFront();
    const auto focusIn = [this](const std::string& name) {
        return eventually([&] { return focusedControls() == name; }, shortPatience);
    };
    bool entered = false;
    for (int tries = 0; tries < mostTries && !entered; ++tries) {
        entered = clickControl("text", "User name") && focusIn("User name");
    }
    if (!entered) {
        return {false, "a click does not reach the field", "focus in " + focusedControls()};
    }
    session_.screen().type("bob\n");
    const bool typed = eventually(
        [this] {
            return session_.systemLog().find("Failed to validate credentials bob\n") !=
                   std::string::npos;
        },
        shortPatience);
    if (!typed) {
        return {false, "what is typed does not reach the field"};
    }
    if (!clickControl("push button", "Postpone") ||
        session_.process().wait(shortPatience) != Ending{0, 0}) {
        return {false, "a click does not reach the button"};
    }
    const std::vector<Request> wanted{{"PatchOSUpdateNotificationStatus", R"({"postponse":{}})"}};
    return session_.requests() == wanted ? Finding{true, "the answer arrives"}
                                         : Finding{false, "another answer arrives"};
}

}  // namespace velunor::testing
