#include "ui/prompt_window.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QCloseEvent>
#include <QMouseEvent>
#include <QScrollArea>
#include <QWindow>
#include <algorithm>
#include <chrono>

#include "platform/qt/controls/control_adapters.h"
#include "platform/qt/desktop/appearance.h"
#include "platform/qt/desktop/layer_shell.h"
#include "platform/qt/desktop/x11_desktop.h"
#include "ui/form.h"
#include "ui/hidden_hint.h"
#include "ui/keyboard_entrance.h"
#include "ui/prompt_speech.h"
#include "ui_prompt_window.h"

/// Makes the drawings known; the linker would drop a static library's resources unless somebody
/// asks for them by name, and that must be done outside of any namespace.
static void initializeResources() {
    Q_INIT_RESOURCE(prompt_window);
}

namespace velunor {
namespace {

/// Until what was pressed during a check has arrived.
constexpr std::chrono::milliseconds settlingTime{100};

/// What a window manager takes at most to show a minimised window again.
constexpr std::chrono::milliseconds timeToComeBack{300};

/// While it lives the window looks as if it were checking, and has been painted so.
class CheckingLook {
  public:
    explicit CheckingLook(TextButton& button) : button_(button) {
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
        button_.setBusy(true);
        button_.repaint();
        // What the platform sends to the display only when the main loop waits goes there now.
        emit QAbstractEventDispatcher::instance()->aboutToBlock();
    }
    Q_DISABLE_COPY_MOVE(CheckingLook)
    ~CheckingLook() {
        button_.setBusy(false);
        QGuiApplication::restoreOverrideCursor();
    }

  private:
    TextButton& button_;
};

}  // namespace

PromptWindow::PromptWindow()
    : QWidget(nullptr,
              Qt::Window | Qt::FramelessWindowHint | Qt::WindowTitleHint | Qt::CustomizeWindowHint),
      form_(std::make_unique<Ui::PromptForm>()),
      entrance_(new KeyboardEntrance(*this)) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground, hasCompositor());
    initializeResources();
    form_->setupUi(this);
    for (QScrollArea* area : areas()) {
        area->viewport()->setAutoFillBackground(false);
        area->widget()->setAutoFillBackground(false);
    }
    controls_ = connectOutlets(*this, view_);
    speech_ = new PromptSpeech(*form_, this);
    connectActions();
    followDesktop();
    setTabOrder(form_->passwordTextFiled, &form_->passwordTextFiled->revealButton());
    // The card itself starts with the focus, so that no button is ever pressed by a key that was
    // meant for another window.
    setFocus();
}

PromptWindow::~PromptWindow() = default;

void PromptWindow::localize(const TextSource& texts) {
    const auto take = [&texts](std::string_view key, const auto& give) {
        if (const auto text = texts(key); text && !text->empty()) {
            give(QString::fromStdString(*text));
        }
    };
    const auto name = [&take](std::string_view key, QLineEdit& field) {
        take(key, [&field](const QString& text) {
            field.setAccessibleName(text);
            field.setPlaceholderText(text);
        });
    };
    CustomSecureTextField& password = *form_->passwordTextFiled;
    name("tarn.agent.msghand.prompt.user_name", *form_->userNameTextField);
    name("tarn.agent.msghand.prompt.password", password);
    take("tarn.agent.msghand.prompt.show_password",
         [&](const QString& text) { password.revealButton().setAccessibleName(text); });
    take("tarn.agent.msghand.prompt.caps_lock_on",
         [&](const QString& text) { password.setCapsLockText(text); });
    take("tarn.agent.msghand.prompt.password_refused",
         [&](const QString& text) { speech_->setRefusalText(text); });
    take("tarn.agent.msghand.prompt.hidden", [&](const QString& text) { hiddenText_ = text; });
}

void PromptWindow::present() {
    // Layouts can only be forced as long as the window is hidden.
    takeSize();
    // The native window is made at its place: some window managers take no notice of a move between
    // then and the first show.
    place();
    constexpr int margin = 30;
    putIntoCorner(*this, margin);
    entrance_->close();
    show();
}

void PromptWindow::leave() {
    if (hiddenHint_ != nullptr) {
        hiddenHint_->withdrawAtEnd();
    }
}

bool PromptWindow::eventFilter(QObject* watched, QEvent* event) {
    const auto shows = [watched](const QScrollArea* area) { return watched == area->widget(); };
    if (event->type() == QEvent::LayoutRequest && std::ranges::any_of(areas(), shows)) {
        scheduleRelayout();
    } else if (event->type() == QEvent::Quit && watched == qApp) {
        // The application ends by closing its windows, and this one must not stand in its way.
        sessionEnds_ = true;
    } else if (event->type() == QEvent::FocusIn) {
        scrollTo(qobject_cast<QWidget*>(watched));
    } else if (event->type() == QEvent::MouseButtonPress && watched->isWidgetType()) {
        entrance_->openNow();
    }
    return QWidget::eventFilter(watched, event);
}

bool PromptWindow::event(QEvent* event) {
    if (event->type() == QEvent::LayoutRequest && !isVisible()) {
        takeSize();
    }
    return QWidget::event(event);
}

void PromptWindow::showEvent(QShowEvent* event) {
    relayout();
    QWidget::showEvent(event);
    speech_->opened();
}

void PromptWindow::closeEvent(QCloseEvent* event) {
    event->setAccepted(sessionEnds_);
}

void PromptWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        styleScrollBars();
        update();
    } else if (event->type() == QEvent::FontChange) {
        scheduleRelayout();
    } else if (event->type() == QEvent::WindowStateChange && isMinimized()) {
        comeBackTimer_.start(0);
    }
}

void PromptWindow::comeBack() {
    // A window manager may give it the focus, as it does when it comes up.
    entrance_->close();
    setWindowState(windowState() & ~Qt::WindowMinimized);
    minimizedTimer_.start(timeToComeBack);
    entrance_->openSoon();
}

void PromptWindow::connectActions() {
    comeBackTimer_.setSingleShot(true);
    minimizedTimer_.setSingleShot(true);
    connect(&minimizedTimer_, &QTimer::timeout, this, [this] { showMinimizedAgain(*this); });
    connect(&comeBackTimer_, &QTimer::timeout, this, &PromptWindow::comeBack);
    settling_.setSingleShot(true);
    connect(form_->updateNowButton, &QAbstractButton::clicked, this, [this] {
        // A check holds the window up. Whoever went on pressing meant the same attempt, and each
        // further one counts towards the lock of the account.
        if (!settling_.isActive()) {
            const CheckingLook look(*form_->updateNowButton);
            updateNow_();
            settling_.start(settlingTime);
            speech_->sayNotice();
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
    for (const QLineEdit* field : findChildren<QLineEdit*>()) {
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

bool PromptWindow::enterFirstField(Qt::FocusReason reason) {
    const bool inAControl = focusWidget() != nullptr && focusWidget() != this;
    if (inAControl || form_->credentailsRequiredView->isHidden()) {
        return false;
    }
    QLineEdit* userName = form_->userNameTextField;
    const bool nameFirst = !userName->isHidden() && userName->text().isEmpty();
    (nameFirst ? userName : form_->passwordTextFiled)->setFocus(reason);
    return true;
}

void PromptWindow::scrollTo(QWidget* control) {
    for (QScrollArea* area : areas()) {
        if (area->isAncestorOf(control)) {
            area->ensureWidgetVisible(control);
        }
    }
}

void PromptWindow::mousePressEvent(QMouseEvent* event) {
    pressedAt_ = event->globalPosition();
    placeAtPress_ = geometry();
    moveBegun_ = false;
    // Whoever comes into the window can type at once. It must have been the user: some window
    // managers activate each new window, in the midst of what is being typed elsewhere.
    enterFirstField(Qt::ActiveWindowFocusReason);
}

void PromptWindow::keyPressEvent(QKeyEvent* event) {
    entrance_->typedInVain();
    QWidget::keyPressEvent(event);
}

bool PromptWindow::focusNextPrevChild(bool next) {
    const bool isOutside = focusWidget() == nullptr || focusWidget() == this;
    // On Wayland keys can come before the news that the window has the keyboard.
    if (isOutside && !(isActiveWindow() && entrance_->isOpen())) {
        return true;
    }
    const bool moved =
        (next && enterFirstField(Qt::TabFocusReason)) || QWidget::focusNextPrevChild(next);
    if (auto* field = qobject_cast<RoundedField*>(focusWidget()); moved && field != nullptr) {
        // What is typed now takes the place of what is there.
        field->selectAll();
    }
    return moved;
}

void PromptWindow::mouseMoveEvent(QMouseEvent* event) {
    const QPoint way = (event->globalPosition() - pressedAt_).toPoint();
    if (movesItself_) {
        setGeometry(placeAtPress_.translated(way));
        return;
    }
    // A mere click must not begin a move: the window manager could take the pointer after the
    // button is up again, and keep it. Nor must one press begin two: the release that ends a move
    // goes to the window manager, and the toolkit takes the button for held.
    if (moveBegun_ || event->buttons() != Qt::LeftButton ||
        way.manhattanLength() < QApplication::startDragDistance()) {
        return;
    }
    movesItself_ = !movesWindowsOnRequest();
    if (movesItself_ || windowHandle()->startSystemMove()) {
        moveBegun_ = true;
        movedByUser_ = true;
        screenOfArea_ = screen();
        area_ = area();
    }
}

void PromptWindow::mouseReleaseEvent(QMouseEvent*) {
    movesItself_ = false;
}

std::array<QScrollArea*, 3> PromptWindow::areas() const {
    return {form_->bodyArea, form_->timerArea, form_->footerArea};
}

}  // namespace velunor
