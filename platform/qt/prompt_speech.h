#pragma once

#include <QObject>
#include <QString>

namespace Ui {
class PromptForm;
}

namespace velunor {

class Announcer;

/// What a prompt tells assistive technologies by itself: its texts when it opens, the countdown now
/// and then, the notice and a refused password at once; and which text describes which control.
/// Main thread only; belongs to the form's window.
class PromptSpeech : public QObject {
    Q_OBJECT

  public:
    /// `form` must outlive this object.
    PromptSpeech(const Ui::PromptForm& form, QWidget* window);

    /// The window has come up: says what it is about.
    void opened();

    /// Watches the notice.
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    const Ui::PromptForm& form_;
    Announcer* announcer_;
    bool opened_ = false;
};

}  // namespace velunor
