#include <QMouseEvent>
#include <QScrollArea>
#include <QWindow>
#include <chrono>

#include "platform/qt/controls/widget_layer.h"
#include "ui/form_views.h"
#include "ui/prompt_window.h"
#include "ui_prompt_window.h"

namespace velunor {

namespace {

/// Until what was pressed during a check has arrived.
constexpr std::chrono::milliseconds settlingTime{100};

}  // namespace

void PromptWindow::connectActions() {
    settling_.setSingleShot(true);
    connect(form_->updateNowButton, &QAbstractButton::clicked, this, [this] {
        // A check holds the window up. Whoever went on pressing meant the same attempt, and each
        // further one counts towards the lock of the account.
        if (!settling_.isActive()) {
            updateNow_();
            settling_.start(settlingTime);
        }
    });
    connect(form_->postponeButton, &QAbstractButton::clicked, this, [this] { postpone_(); });
    connect(form_->usernameChangeButton, &QAbstractButton::clicked, this, [this] {
        changeUserName_();
        // The link goes away when it is pressed: typing goes on in the field that takes its place.
        if (!form_->userNameTextField->isHidden()) {
            form_->userNameTextField->setFocus();
            form_->userNameTextField->selectAll();
        }
    });
    for (QLineEdit* field : {static_cast<QLineEdit*>(form_->userNameTextField),
                             static_cast<QLineEdit*>(form_->passwordTextFiled)}) {
        connect(field, &QLineEdit::returnPressed, this, [this] {
            if (!form_->updateNowButton->isHidden()) {
                form_->updateNowButton->click();
            }
        });
    }
    // After a refused password the next attempt is typed over it. Not in the midst of the refusal:
    // a field that loses the focus ends its editing, which has consequences of its own.
    connect(
        form_->passwordTextFiled->findChild<WidgetLayer*>(), &WidgetLayer::animationStarted, this,
        [this] {
            if (isActiveWindow()) {
                form_->passwordTextFiled->setFocus();
                form_->passwordTextFiled->selectAll();
            }
        },
        Qt::QueuedConnection);
}

QWidget* PromptWindow::entryField() const {
    if (form_->credentailsRequiredView->isHidden()) {
        return nullptr;
    }
    QLineEdit* userName = form_->userNameTextField;
    const bool nameFirst = !userName->isHidden() && userName->text().isEmpty();
    return nameFirst ? userName : form_->passwordTextFiled;
}

void PromptWindow::mousePressEvent(QMouseEvent* event) {
    pressedAt_ = event->globalPosition();
}

void PromptWindow::mouseMoveEvent(QMouseEvent* event) {
    // A mere click must not begin a move: the window manager could take the pointer after the
    // button is up again, and keep it.
    const QPointF way = event->globalPosition() - pressedAt_;
    if (event->buttons() == Qt::LeftButton &&
        way.manhattanLength() >= QApplication::startDragDistance() &&
        windowHandle()->startSystemMove()) {
        movedByUser_ = true;
    }
}

}  // namespace velunor
