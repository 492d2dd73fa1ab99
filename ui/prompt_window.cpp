#include "ui/prompt_window.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QIcon>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QWindow>
#include <algorithm>
#include <chrono>

#include "platform/qt/controls/control_adapters.h"
#include "platform/qt/controls/widget_layer.h"
#include "platform/qt/desktop/desktop_settings.h"
#include "platform/qt/desktop/theme.h"
#include "platform/qt/desktop/window_and_screens.h"
#include "platform/qt/desktop/window_shape.h"
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

namespace {

/// Until what was pressed during a check has arrived.
constexpr std::chrono::milliseconds settlingTime{100};
constexpr int leastCardWidth = 420;
/// Width of the card beside the height of a line: a desktop with large text has a wider card.
constexpr int cardWidthInLines = 21;
constexpr int cardRadius = 12;
/// Distance kept to every edge of the usable area.
constexpr int screenMargin = 30;
/// The part of the window's height that the buttons may take from long texts.
constexpr double footerShare = 0.4;

constexpr Qt::WindowFlags cardFlags =
    Qt::Window | Qt::FramelessWindowHint | Qt::WindowTitleHint | Qt::CustomizeWindowHint;

QString scrollBarStyle(const Theme& theme) {
    return QStringLiteral(
               "QScrollBar { background: transparent; width: 10px; margin: 4px 2px; }"
               "QScrollBar::handle { background: %1; border-radius: 3px; min-height: 32px; }"
               "QScrollBar::add-line, QScrollBar::sub-line { height: 0; }"
               "QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }")
        .arg(theme.fieldBorder.name());
}

/// Width that the controls of `row` ask for side by side.
int rowWidth(const QBoxLayout& row) {
    const QMargins margins = row.contentsMargins();
    int width = margins.left() + margins.right() - row.spacing();
    for (int index = 0; index < row.count(); ++index) {
        const QWidget* control = row.itemAt(index)->widget();
        if (control != nullptr && !control->isHidden()) {
            width += control->sizeHint().width() + row.spacing();
        }
    }
    return width;
}

/// Settles an area's height; one whose contents do not fit can be scrolled, by keyboard as well.
void fitArea(QScrollArea& area, const QSize& size, int contentHeight) {
    const bool scrolls = contentHeight > size.height();
    // Left to itself the area would keep a scroll bar that only its own width makes necessary.
    area.setVerticalScrollBarPolicy(scrolls ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    area.setFocusPolicy(scrolls ? Qt::StrongFocus : Qt::NoFocus);
    area.setFixedHeight(size.height());
    if (!area.isVisible()) {
        // The area does this itself only once it is shown.
        area.widget()->resize(size);
    }
}

}  // namespace

PromptWindow::PromptWindow()
    : QWidget(nullptr, cardFlags), form_(std::make_unique<Ui::PromptForm>()) {
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
    connectOutlets(*this, view_, controls_);
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

void PromptWindow::connectActions() {
    const auto onClick = [this](QAbstractButton* button, std::function<void()>& action) {
        connect(button, &QAbstractButton::clicked, this, [&action] { action(); });
    };
    settling_.setSingleShot(true);
    connect(form_->updateNowButton, &QAbstractButton::clicked, this, [this] {
        // A check holds the window up. Whoever went on pressing meant the same attempt, and each
        // further one counts towards the lock of the account.
        if (!settling_.isActive()) {
            updateNow_();
            settling_.start(settlingTime);
        }
    });
    onClick(form_->postponeButton, postpone_);
    onClick(form_->usernameChangeButton, changeUserName_);
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
    // The link goes away when it is pressed: typing goes on in the field that takes its place.
    connect(form_->usernameChangeButton, &QAbstractButton::clicked, this, [this] {
        if (!form_->userNameTextField->isHidden()) {
            form_->userNameTextField->setFocus();
            form_->userNameTextField->selectAll();
        }
    });
}

void PromptWindow::followDesktop() {
    const auto follow = [this](QScreen* screen) {
        connect(screen, &QScreen::geometryChanged, this, &PromptWindow::scheduleRelayout);
        connect(screen, &QScreen::availableGeometryChanged, this, &PromptWindow::scheduleRelayout);
    };
    for (QScreen* screen : QGuiApplication::screens()) {
        follow(screen);
    }
    connect(qGuiApp, &QGuiApplication::screenAdded, this, follow);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &PromptWindow::scheduleRelayout);
    settingsTimer_.setSingleShot(true);
    connect(&settingsTimer_, &QTimer::timeout, this, [this] {
        if (settings_ == nullptr && hasSessionBus()) {
            settings_ = new DesktopSettings(QDBusConnection::sessionBus(), this);
        }
    });
    relayoutTimer_.setSingleShot(true);
    connect(&relayoutTimer_, &QTimer::timeout, this, &PromptWindow::relayout);
    desktopChanges_ = std::make_unique<X11DesktopChanges>([this] { scheduleRelayout(); });
    qApp->installEventFilter(this);
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

void PromptWindow::scheduleRelayout() {
    if (isVisible()) {
        relayoutTimer_.start(0);
    }
}

void PromptWindow::relayout() {
    const int lowerEdge = geometry().bottom();
    takeSize();
    if (movedByUser_) {
        setGeometry(geometry().x(), lowerEdge - height() + 1, width(), height());
    }
    place();
}

void PromptWindow::takeSize() {
    const TextButton& updateNow = *form_->updateNowButton;
    setLayoutDirection(updateNow.literalText().isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    setWindowTitle(form_->titleLabel->text().replace("[*]", "[*][*]"));

    const QRect usable = usableArea();
    const int wanted = std::max(leastCardWidth, cardWidthInLines * fontMetrics().height());
    const int width = std::min(wanted, usable.width() - 2 * screenMargin);
    const int innerWidth = width - 2;
    const int limit = usable.height() - 2 * screenMargin - 2;

    QHBoxLayout& buttons = *form_->footerLayout;
    // A change of direction asks for a new layout each time, so it is made only where needed.
    const auto direction =
        rowWidth(buttons) > innerWidth ? QBoxLayout::BottomToTop : QBoxLayout::LeftToRight;
    if (buttons.direction() != direction) {
        buttons.setDirection(direction);
    }
    settleLayouts(*this);
    const int bodyContent = form_->bodyLayout->totalHeightForWidth(innerWidth);
    const int footerContent = buttons.totalHeightForWidth(innerWidth);
    const int footer = std::min(
        footerContent, std::max(limit - bodyContent, static_cast<int>(limit * footerShare)));
    const int body = std::min(bodyContent, limit - footer);
    fitArea(*form_->bodyArea, {innerWidth, body}, bodyContent);
    fitArea(*form_->footerArea, {innerWidth, footer}, footerContent);
    setFixedSize(width, body + footer + 2);
    if (!testAttribute(Qt::WA_TranslucentBackground)) {
        setMask(roundedRegion(size(), cardRadius));
    }
    settleLayouts(*this);
}

void PromptWindow::place() {
    if (movedByUser_) {
        // It only comes back into the usable area when it has grown out of it.
        const QRect usable = usableArea();
        const QPoint corner(usable.right() + 1 - width(), usable.bottom() + 1 - height());
        setGeometry(std::clamp(geometry().x(), usable.x(), std::max(usable.x(), corner.x())),
                    std::clamp(geometry().y(), usable.y(), std::max(usable.y(), corner.y())),
                    width(), height());
        return;
    }
    appear_();
}

QWidget* PromptWindow::entryField() const {
    if (form_->credentailsRequiredView->isHidden()) {
        return nullptr;
    }
    QLineEdit* userName = form_->userNameTextField;
    const bool nameFirst = !userName->isHidden() && userName->text().isEmpty();
    return nameFirst ? userName : form_->passwordTextFiled;
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

void PromptWindow::paintEvent(QPaintEvent*) {
    const Theme& theme = currentTheme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF edge = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(theme.cardBorder, 1));
    if (mask().isEmpty()) {
        painter.setBrush(theme.card);
        painter.drawRoundedRect(edge, cardRadius, cardRadius);
    } else {
        // Along the cut corners every pixel of the edge is the border's: nothing shows through, and
        // no half-blended pixel tells of what is not there.
        painter.fillRect(rect(), theme.cardBorder);
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.card);
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), cardRadius - 1,
                                cardRadius - 1);
        painter.setPen(QPen(theme.cardBorder, 1));
    }
    if (form_->bodyArea->verticalScrollBar()->maximum() > 0) {
        const double y = form_->footerArea->y() - 0.5;
        painter.drawLine(QPointF(edge.left(), y), QPointF(edge.right(), y));
    }
}

void PromptWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        applyTheme();
    } else if (event->type() == QEvent::FontChange) {
        scheduleRelayout();
    }
}

void PromptWindow::applyTheme() {
    const QString style = scrollBarStyle(currentTheme());
    for (QScrollArea* area : {form_->bodyArea, form_->footerArea}) {
        if (area->verticalScrollBar()->styleSheet() != style) {
            area->verticalScrollBar()->setStyleSheet(style);
        }
    }
    update();
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
