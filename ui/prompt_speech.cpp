#include "ui/prompt_speech.h"

#include <QEvent>
#include <chrono>

#include "platform/qt/accessibility/accessibility.h"
#include "platform/qt/controls/control_adapters.h"
#include "ui/prompt_window.h"
#include "ui_prompt_window.h"

namespace velunor {
namespace {

/// A program that has just started is not heard: the toolkit learns on the way who listens, and
/// does not tell when it has.
constexpr std::chrono::milliseconds timeToBeHeard{1000};
/// Leaving the field with the name and pressing the button after it are one attempt.
constexpr std::chrono::milliseconds timeInTheEar{2000};

}  // namespace

PromptSpeech::PromptSpeech(const Ui::PromptForm& form, QWidget* window)
    : QObject(window), form_(form), announcer_(new Announcer(this)) {
    // A dialogue's texts are read out when somebody comes into it: no text is also the description
    // of the window or of a field, which would be read out besides.
    installAccessible<PromptWindow, AccessibleOfRole<QAccessible::Dialog>>();
    opening_.setSingleShot(true);
    opening_.setInterval(timeToBeHeard);
    connect(&opening_, &QTimer::timeout, this, &PromptSpeech::sayWhatItIsAbout);
    QAccessible::installActivationObserver(this);
    form_.unsupportedInfoStackView->installEventFilter(this);
    connect(form_.timerInfoLabel, &TextLabel::textChanged, this,
            [this](const QString& text, Announcement announcement) {
                if (opened_ && announcement == Announcement::spoken) {
                    announcer_->announce(text);
                }
            });
    connect(form_.passwordTextFiled->findChild<WidgetLayer*>(), &WidgetLayer::animationStarted,
            this, [this] { announcer_->announce(refusalText_, true); });
}

PromptSpeech::~PromptSpeech() {
    QAccessible::removeActivationObserver(this);
}

void PromptSpeech::opened() {
    opened_ = true;
    opening_.start();
}

void PromptSpeech::accessibilityActiveChanged(bool active) {
    if (active && opened_) {
        opening_.start();
    }
}

void PromptSpeech::sayWhatItIsAbout() {
    QStringList texts;
    for (const TextLabel* label :
         {form_.titleLabel, form_.messageLabel, form_.updateDescription, form_.timerInfoLabel}) {
        texts.append(label->text());
    }
    if (form_.unsupportedUserCredentailInfoTextLabel->isVisible()) {
        texts.append(form_.unsupportedUserCredentailInfoTextLabel->text());
    }
    announcer_->announce(texts.join('\n'));
}

void PromptSpeech::sayNotice() {
    const TextLabel& notice = *form_.unsupportedUserCredentailInfoTextLabel;
    if (opened_ && notice.isVisible() && noticeHeard_.hasExpired()) {
        announcer_->announce(notice.text(), true);
        noticeHeard_.setRemainingTime(timeInTheEar);
    }
}

bool PromptSpeech::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Show) {
        sayNotice();
    } else if (event->type() == QEvent::Hide) {
        noticeHeard_ = QDeadlineTimer();
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace velunor
