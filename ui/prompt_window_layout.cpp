#include <QAbstractButton>
#include <QApplication>
#include <QBoxLayout>
#include <QScreen>
#include <QScrollArea>
#include <algorithm>
#include <chrono>

#include "platform/qt/controls/control_adapters.h"
#include "platform/qt/desktop/appearance.h"
#include "platform/qt/desktop/display.h"
#include "ui/form.h"
#include "ui/prompt_window.h"
#include "ui_prompt_window.h"

namespace velunor {
namespace {

constexpr int leastCardWidth = 420;
/// Width of the card beside the height of a line: a desktop with large text has a wider card.
constexpr int cardWidthInLines = 21;
/// Distance kept to every edge of the usable area.
constexpr int screenMargin = 30;
/// The part of the window's height that countdown and buttons may take from long texts, and the
/// part of that which is the countdown's.
constexpr double lowerShare = 0.7;
constexpr double timerShare = 0.5;
/// Distance between the texts that scroll and the countdown.
constexpr int scrollGap = 12;
/// Until a layout that waits for a held button is tried again.
constexpr std::chrono::milliseconds untilReleased{20};

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

/// Gives a long account name the room that the lines of the link beside it leave. The form is
/// `width` wide.
void shareAccountRow(const Ui::PromptForm& form, int width) {
    for (const QLayout* around : {form.bodyLayout, form.credentailsPanelLayout}) {
        width -= around->contentsMargins().left() + around->contentsMargins().right();
    }
    const int room =
        width - form.userIcon->sizeHint().width() - 2 * form.userStackLayout->spacing();
    const int left = room - form.userNameLabel->sizeHint().width();
    TextButton& link = *form.usernameChangeButton;
    link.setFixedWidth(link.widthWithin(std::max(room / 2, left)));
}

}  // namespace

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
    afterPictureTimer_.setSingleShot(true);
    connect(&afterPictureTimer_, &QTimer::timeout, this, &PromptWindow::afterFirstPicture);
    relayoutTimer_.setSingleShot(true);
    connect(&relayoutTimer_, &QTimer::timeout, this, [this] {
        // A button that moved away from under the pointer would lose the click.
        if (isPressed()) {
            relayoutTimer_.start(untilReleased);
        } else {
            relayout();
        }
    });
    qApp->installEventFilter(this);
}

bool PromptWindow::isPressed() const {
    return std::ranges::any_of(findChildren<QAbstractButton*>(), [](const QAbstractButton* button) {
        return button->isVisible() && button->isDown();
    });
}

void PromptWindow::scheduleRelayout() {
    if (isVisible()) {
        relayoutTimer_.start(0);
    }
}

void PromptWindow::relayout() {
    const QRect before = geometry();
    takeSize();
    if (QWidget* focused = focusWidget(); focused != nullptr && focused != this) {
        // A notice may have pushed it out of what is in sight.
        scrollTo(focused);
    }
    if (movedByUser_) {
        const bool isElsewhere = screen() != screenOfArea_;
        const QRect usable = area();
        // The user may still be dragging it: it is moved only where its screen or its size asks for
        // that.
        if (size() == before.size() && (isElsewhere || usable == area_)) {
            screenOfArea_ = screen();
            area_ = usable;
            return;
        }
        setGeometry(geometry().x(), before.bottom() - height() + 1, width(), height());
    }
    place();
}

void PromptWindow::takeSize() {
    const TextButton& updateNow = *form_->updateNowButton;
    setLayoutDirection(updateNow.literalText().isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    setWindowTitle(form_->titleLabel->text().replace("[*]", "[*][*]"));

    const QRect usable = area();
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
    if (form_->userStackView->isVisibleTo(this)) {
        shareAccountRow(*form_, innerWidth);
    }
    settleLayouts(*this);
    const int bodyContent = form_->bodyLayout->totalHeightForWidth(innerWidth);
    const int footerContent = buttons.totalHeightForWidth(innerWidth);
    QMargins timerMargins = form_->timerLayout->contentsMargins();
    const int timerLines = form_->timerLayout->totalHeightForWidth(innerWidth) - timerMargins.top();
    timerMargins.setTop(bodyContent + timerLines + footerContent > limit ? scrollGap : 0);
    form_->timerLayout->setContentsMargins(timerMargins);
    const int timerContent = timerLines + timerMargins.top();
    const int lower = std::max(limit - bodyContent, static_cast<int>(limit * lowerShare));
    const int timer = std::min(
        timerContent, std::max(lower - footerContent, static_cast<int>(lower * timerShare)));
    const int footer = std::min(footerContent, lower - timer);
    const int body = std::min(bodyContent, limit - timer - footer);
    fitArea(*form_->bodyArea, {innerWidth, body}, bodyContent);
    fitArea(*form_->timerArea, {innerWidth, timer}, timerContent);
    fitArea(*form_->footerArea, {innerWidth, footer}, footerContent);
    styleScrollBars();
    setFixedSize(width, body + timer + footer + 2);
    if (!testAttribute(Qt::WA_TranslucentBackground) && mask().boundingRect() != rect()) {
        setMask(roundedRegion(size(), cardRadius));
    }
    settleLayouts(*this);
}

QRect PromptWindow::area() const {
    return usableArea(movedByUser_ ? screen() : QGuiApplication::primaryScreen());
}

void PromptWindow::place() {
    if (movedByUser_) {
        // It only comes back into the usable area when it has grown out of it.
        const QRect usable = area();
        screenOfArea_ = screen();
        area_ = usable;
        const QPoint corner(usable.right() + 1 - width(), usable.bottom() + 1 - height());
        setGeometry(std::clamp(geometry().x(), usable.x(), std::max(usable.x(), corner.x())),
                    std::clamp(geometry().y(), usable.y(), std::max(usable.y(), corner.y())),
                    width(), height());
        return;
    }
    appear_();
}

}  // namespace velunor
