#pragma once

#include <QAccessible>
#include <QDeadlineTimer>
#include <QObject>
#include <QTimer>

namespace Ui {
class PromptForm;
}

namespace velunor {

class Announcer;

/// What a prompt tells assistive technologies by itself: its texts when it opens, the countdown now
/// and then, the notice and a refused password at once. Main thread only; belongs to the form's
/// window.
class PromptSpeech final : public QObject, private QAccessible::ActivationObserver {
    Q_OBJECT

  public:
    /// `form` must outlive this object.
    PromptSpeech(const Ui::PromptForm& form, QWidget* window);
    Q_DISABLE_COPY_MOVE(PromptSpeech)
    ~PromptSpeech() override;

    /// The window has come up: says what it is about, as soon as somebody can hear it.
    void opened();

    /// Says the notice where it shows, unless it was said just now.
    void sayNotice();

    /// What is said when a password was refused.
    void setRefusalText(const QString& text) { refusalText_ = text; }

    /// Watches the notice.
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void accessibilityActiveChanged(bool active) override;
    void sayWhatItIsAbout();

    const Ui::PromptForm& form_;
    Announcer* announcer_;
    QTimer opening_;
    /// Until then the notice is still in the ear.
    QDeadlineTimer noticeHeard_;
    QString refusalText_ = "The password was not accepted.";
    bool opened_ = false;
};

}  // namespace velunor
