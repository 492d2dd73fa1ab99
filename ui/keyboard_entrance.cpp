#include "ui/keyboard_entrance.h"

#include <QEvent>
#include <chrono>

namespace velunor {
namespace {

/// Nobody sees a new window and comes to it by a task list in less, and no window manager takes so
/// long to make it the active one.
constexpr std::chrono::milliseconds timeToSettle{1000};
/// Whoever pauses so long between two keys is not in the midst of a word.
constexpr std::chrono::milliseconds pauseOfTyping{1000};

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
    pause_ = QDeadlineTimer();
    meant_.setRemainingTime(pauseOfTyping);
    if (!open_) {
        opening_.stop();
        open_ = true;
        focus_.offer();
        window_.activateWindow();
    }
}

void KeyboardEntrance::typedInVain() {
    pause_.setRemainingTime(pauseOfTyping);
}

bool KeyboardEntrance::eventFilter(QObject* watched, QEvent* event) {
    // Where nothing keeps the desktop from giving the window the keyboard, it may do so at any
    // time: the first key can be a Tab in the midst of a word.
    if (event->type() == QEvent::WindowActivate && !X11Focus::isPossible() && meant_.hasExpired()) {
        pause_.setRemainingTime(pauseOfTyping);
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace velunor
