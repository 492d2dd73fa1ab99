#include "platform/qt/prompt_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QTimer>
#include <QWindow>

#include "platform/qt/display.h"
#include "platform/qt/theme.h"
#include "ui_prompt_window.h"

/// Makes the drawings known; the linker would drop a static library's resources unless somebody
/// asks for them by name, and that must be done outside of any namespace.
static void initializeResources() {
    Q_INIT_RESOURCE(prompt_window);
}

namespace velunor {

namespace {

constexpr int cardWidth = 420;
constexpr qreal cardRadius = 12;
/// Distance that the window keeps from both ends of the usable area.
constexpr int screenMargin = 30;

int contentHeight(const QWidget& content, int width) {
    return content.layout()->totalHeightForWidth(width);
}

}  // namespace

/// Connects each outlet to the widget of its name, where the form has one of the right class.
class PromptWindow::OutletConnector {
  public:
    explicit OutletConnector(PromptWindow& window) : window_(window) {}

    void operator()(const char* name, WeakReference<Label>& outlet) {
        connectTo<TextLabel, QtLabel>(name, outlet);
    }
    void operator()(const char* name, WeakReference<View>& outlet) {
        connectTo<QWidget, QtPlainView>(name, outlet);
    }
    void operator()(const char* name, WeakReference<StackView>& outlet) {
        connectTo<QWidget, QtStackView>(name, outlet);
    }
    void operator()(const char* name, WeakReference<ImageView>& outlet) {
        connectTo<PictureView, QtImageView>(name, outlet);
    }
    void operator()(const char* name, WeakReference<Button>& outlet) {
        connectTo<TextButton, QtButton>(name, outlet);
    }
    void operator()(const char* name, WeakReference<EditableField>& outlet) {
        connectTo<CustomTextField, QtTextField>(name, outlet);
    }
    void operator()(const char* name, WeakReference<SecureField>& outlet) {
        connectTo<CustomSecureTextField, QtSecureField>(name, outlet);
    }
    void operator()(const char* name, WeakReference<LayoutConstraint>& outlet) {
        if (auto* gap = window_.findChild<ConstraintGap*>(QString::fromLatin1(name))) {
            window_.constraints_.push_back(std::make_unique<QtLayoutConstraint>(*gap));
            outlet.connect(window_.constraints_.back().get());
        }
    }

  private:
    template <class WidgetType, class Adapter, class Kind>
    void connectTo(const char* name, WeakReference<Kind>& outlet) {
        auto* widget = window_.findChild<WidgetType*>(QString::fromLatin1(name));
        if (widget == nullptr) {
            return;
        }
        auto adapter = std::make_unique<Adapter>(*widget);
        outlet.connect(adapter.get());
        window_.views_.push_back(std::move(adapter));
    }

    PromptWindow& window_;
};

PromptWindow::PromptWindow() : form_(std::make_unique<Ui::PromptWindow>()) {
    initializeResources();
    setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
    setAttribute(Qt::WA_ShowWithoutActivating);
    hasSeeThroughCorners_ = isCompositing();
    setAttribute(Qt::WA_TranslucentBackground, hasSeeThroughCorners_);
    form_->setupUi(this);
    // The window itself holds the focus at first: a person who types elsewhere and gets here by
    // accident must not press a button.
    setFocusPolicy(Qt::ClickFocus);
    setFocus();
    forEachOutlet(view_.outlets, OutletConnector(*this));
    for (ConstraintGap* gap : findChildren<ConstraintGap*>()) {
        if (!gap->identifier().isEmpty()) {
            constraints_.push_back(std::make_unique<QtLayoutConstraint>(*gap));
            view_.constraints.push_back(constraints_.back().get());
        }
    }
    for (QScrollArea* area : {form_->bodyScroll, form_->footerScroll}) {
        // The card shows through.
        area->viewport()->setAutoFillBackground(false);
        area->widget()->setAutoFillBackground(false);
        area->widget()->installEventFilter(this);
    }
    connectSignals();
    followScreens();
}

PromptWindow::~PromptWindow() = default;

PromptView PromptWindow::view() const {
    return view_;
}

void PromptWindow::connectSignals() {
    connect(form_->updateNowButton, &QPushButton::clicked, this, [this] { updateNow_(); });
    connect(form_->postponeButton, &QPushButton::clicked, this, [this] { postpone_(); });
    connect(form_->usernameChangeButton, &QPushButton::clicked, this, [this] {
        changeUserName_();
        form_->userNameTextField->setFocus();
        form_->userNameTextField->selectAll();
    });
    for (QLineEdit* field : {static_cast<QLineEdit*>(form_->userNameTextField),
                             static_cast<QLineEdit*>(form_->passwordTextFiled)}) {
        connect(field, &QLineEdit::returnPressed, form_->updateNowButton, &QPushButton::click);
    }
}

void PromptWindow::followScreens() {
    const auto followMainScreen = [this](QScreen* screen) {
        if (screen != nullptr) {
            connect(screen, &QScreen::availableGeometryChanged, this, [this] {
                fitToContent();
                place();
            });
        }
        place();
    };
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, followMainScreen);
    followMainScreen(QGuiApplication::primaryScreen());
}

void PromptWindow::present() {
    fitToContent();
    place();
    show();
    // A window manager that adds a frame all the same has done so by the next turn of the loop.
    QTimer::singleShot(0, this, &PromptWindow::place);
}

void PromptWindow::place() {
    if (!movedByUser_) {
        appear_();
    }
}

void PromptWindow::fitToContent() {
    fitQueued_ = false;
    const QScreen* screen = QGuiApplication::primaryScreen();
    const int usable = screen == nullptr ? QWIDGETSIZE_MAX : screen->availableGeometry().height();
    const int available = qMax(1, usable - 2 * screenMargin);
    const int body = contentHeight(*form_->body, cardWidth);
    const int footer = contentHeight(*form_->footer, cardWidth);
    const int shownFooter = qMin(footer, qMax(available - body, available / 2));
    const int shownBody = qMin(body, available - shownFooter);
    form_->bodyScroll->setFixedHeight(shownBody);
    form_->footerScroll->setFixedHeight(shownFooter);
    const QSize wanted(cardWidth, shownBody + shownFooter);
    if (size() != wanted) {
        const int bottom = geometry().bottom();
        setFixedSize(wanted);
        if (movedByUser_) {
            move(x(), bottom - wanted.height() + 1);
        }
        place();
    }
}

void PromptWindow::fitLater() {
    if (!fitQueued_ && isVisible()) {
        fitQueued_ = true;
        QTimer::singleShot(0, this, &PromptWindow::fitToContent);
    }
}

bool PromptWindow::event(QEvent* event) {
    if (event->type() == QEvent::ApplicationFontChange || event->type() == QEvent::PaletteChange) {
        fitLater();
        update();
    }
    return QWidget::event(event);
}

bool PromptWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::LayoutRequest) {
        fitLater();
    }
    return QWidget::eventFilter(watched, event);
}

void PromptWindow::closeEvent(QCloseEvent* event) {
    // Only an answer closes the prompt; the end of the session does not ask by this way.
    event->ignore();
}

void PromptWindow::paintEvent(QPaintEvent* /*event*/) {
    const Theme& theme = themeFor(palette());
    const qreal radius = hasSeeThroughCorners_ ? cardRadius : 0;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing, hasSeeThroughCorners_);
    painter.setPen(theme.border);
    painter.setBrush(theme.card);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

void PromptWindow::mousePressEvent(QMouseEvent* event) {
    pressedAt_ = event->globalPosition();
}

void PromptWindow::mouseMoveEvent(QMouseEvent* event) {
    // A mere click must not begin a move: the window manager could take the pointer after the
    // button is up again, and keep it.
    const QPointF way = event->globalPosition() - pressedAt_;
    if (event->buttons() == Qt::LeftButton && windowHandle() != nullptr &&
        way.manhattanLength() >= QApplication::startDragDistance() &&
        windowHandle()->startSystemMove()) {
        movedByUser_ = true;
    }
}

}  // namespace velunor
