#include "ui/keyboard_entrance.h"

#include <QKeyEvent>
#include <cstdint>

namespace velunor {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// Nobody sees a new window and comes to it by a task list in less, and no window manager takes so
/// long to make it the active one.
constexpr milliseconds timeToSettle{1000};
/// Whoever pauses so long between two keys is not in the midst of a word.
constexpr milliseconds pauseOfTyping{1000};

/// When the key was pressed, which may be long before its event arrives on a busy machine. Now,
/// where the desktop does not count the time since the machine's start, as all but a few do.
steady_clock::time_point pressedAt(const QKeyEvent& key) {
    constexpr std::uint32_t longestWay = 60'000;
    const auto now = steady_clock::now();
    const auto count = std::chrono::duration_cast<milliseconds>(now.time_since_epoch()).count();
    // Desktops count with 32 bits.
    const std::uint32_t age =
        static_cast<std::uint32_t>(count) - static_cast<std::uint32_t>(key.timestamp());
    const bool isKnown = key.timestamp() != 0 && age <= longestWay;
    return isKnown ? now - milliseconds(age) : now;
}

}  // namespace

KeyboardEntrance::KeyboardEntrance(QWidget& window) : QObject(&window), window_(window) {
    window_.installEventFilter(this);
    opening_.setSingleShot(true);
    opening_.setInterval(timeToSettle);
    connect(&opening_, &QTimer::timeout, this, [this] {
        open_ = true;
        focus_.offer();
    });
}

void KeyboardEntrance::close() {
    open_ = false;
    focus_.withhold();
}

void KeyboardEntrance::openSoon() {
    opening_.start();
}

void KeyboardEntrance::openNow() {
    quietFrom_ = {};
    meant_.setRemainingTime(pauseOfTyping);
    if (!open_) {
        opening_.stop();
        open_ = true;
        focus_.offer();
        window_.activateWindow();
    }
}

void KeyboardEntrance::typedInVain() {
    quietFrom_ = keyPressed_ + pauseOfTyping;
}

bool KeyboardEntrance::eventFilter(QObject* watched, QEvent* event) {
    // Where nothing keeps the desktop from giving the window the keyboard, it may do so at any
    // time: the first key can be a Tab in the midst of a word.
    if (event->type() == QEvent::WindowActivate && !X11Focus::isPossible() && meant_.hasExpired()) {
        quietFrom_ = steady_clock::now() + pauseOfTyping;
    } else if (event->type() == QEvent::KeyPress) {
        keyPressed_ = pressedAt(*static_cast<QKeyEvent*>(event));
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace velunor
