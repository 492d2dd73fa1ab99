#pragma once

#include <QObject>
#include <QString>

#include "platform/qt/desktop/notification.h"
#include "platform/qt/desktop/window_sight.h"

namespace Ui {
class PromptForm;
}

namespace velunor {

class KeyboardEntrance;

/// Tells the person by a desktop notification when the desktop hides the prompt, and brings the
/// prompt to whoever clicks that. Main thread only; belongs to the window.
class HiddenHint final : public QObject {
    Q_OBJECT

  public:
    /// `window`, which shows `form`, is on the screen. `text` says what a click does.
    HiddenHint(QWidget& window, const Ui::PromptForm& form, KeyboardEntrance& entrance,
               const QString& text);

    /// Takes the notification back: the process is about to end.
    void withdrawAtEnd() { notification_.withdrawAtEnd(); }

  private:
    WindowSight sight_;
    DesktopNotification notification_;
};

}  // namespace velunor
