#pragma once

#include <QDeadlineTimer>
#include <QTimer>
#include <QWidget>
#include <chrono>

#include "platform/qt/desktop/x11_focus.h"

namespace velunor {

/// How somebody comes into a window by keyboard or pointer: on purpose only. While it is new the
/// window takes no key, and a key that was meant for another window opens nothing afterwards. Main
/// thread only; belongs to the window.
class KeyboardEntrance final : public QObject {
    Q_OBJECT

  public:
    explicit KeyboardEntrance(QWidget& window);

    /// The window is about to be shown; until it is offered it gives the focus back.
    void close();
    /// The window is up: it is offered to whoever comes to it from a moment later on.
    void openSoon();
    /// The pointer was pressed in the window: whoever did that means it.
    void openNow();
    /// Somebody types, and no control has the focus.
    void typedInVain();
    /// Whether the Tab key that was pressed last leads into the window. Not while somebody types,
    /// who may not have seen that the window came up.
    [[nodiscard]] bool isOpen() const { return open_ && keyPressed_ >= quietFrom_; }

    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QWidget& window_;
    X11Focus focus_{window_};
    QTimer opening_;
    /// When the last key was pressed that came to the window itself.
    std::chrono::steady_clock::time_point keyPressed_;
    /// Whoever pressed a key before that may be in the midst of a word.
    std::chrono::steady_clock::time_point quietFrom_;
    /// Until then an activation is what the user asked for.
    QDeadlineTimer meant_;
    bool open_ = true;
};

}  // namespace velunor
