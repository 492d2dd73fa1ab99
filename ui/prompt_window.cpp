#include "ui/prompt_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QIcon>
#include <QScrollArea>

#include "platform/qt/desktop/desktop_settings.h"
#include "platform/qt/password_field/secure_text_field.h"
#include "platform/qt/widgets/picture_view.h"
#include "ui/form_outlets.h"
#include "ui/form_views.h"
#include "ui/prompt_speech.h"
#include "ui_prompt_window.h"

/// Makes the drawings known; the linker would drop a static library's resources unless somebody
/// asks for them by name, and that must be done outside of any namespace.
static void initializeResources() {
    Q_INIT_RESOURCE(prompt_window);
}

namespace velunor {

PromptWindow::PromptWindow()
    : QWidget(nullptr,
              Qt::Window | Qt::FramelessWindowHint | Qt::WindowTitleHint | Qt::CustomizeWindowHint),
      form_(std::make_unique<Ui::PromptForm>()) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground, hasCompositor());
    initializeResources();
    QGuiApplication::setWindowIcon(QIcon(vectorPicture(":/icons/velunor-os-update.svg", 256)));
    form_->setupUi(this);
    for (QScrollArea* area : {form_->bodyArea, form_->footerArea}) {
        area->viewport()->setAutoFillBackground(false);
        area->widget()->setAutoFillBackground(false);
        area->widget()->installEventFilter(this);
    }
    applyTheme();
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

void PromptWindow::present() {
    // Layouts can only be forced as long as the window is hidden.
    takeSize();
    // The native window is made at its place: some window managers take no notice of a move between
    // then and the first show.
    place();
    show();
    // Only once the window is up: connecting to a bus takes its time.
    settingsTimer_.start(0);
}

bool PromptWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::LayoutRequest &&
        (watched == form_->bodyContents || watched == form_->footerContents)) {
        scheduleRelayout();
    } else if (event->type() == QEvent::Quit && watched == qApp) {
        // The application ends by closing its windows, and this one must not stand in its way.
        sessionEnds_ = true;
    }
    return QWidget::eventFilter(watched, event);
}

bool PromptWindow::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate &&
        (focusWidget() == nullptr || focusWidget() == this)) {
        // Whoever comes into the window can type at once.
        if (QWidget* field = entryField()) {
            field->setFocus(Qt::ActiveWindowFocusReason);
            form_->bodyArea->ensureWidgetVisible(field);
        }
    }
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
        applyTheme();
    } else if (event->type() == QEvent::FontChange) {
        scheduleRelayout();
    }
}

}  // namespace velunor
