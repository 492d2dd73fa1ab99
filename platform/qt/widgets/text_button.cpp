#include "platform/qt/widgets/text_button.h"

#include <QEvent>
#include <QKeyEvent>
#include <algorithm>

#include "platform/qt/desktop/appearance.h"

namespace velunor {
namespace {

constexpr int widestHint = 4000;
/// What a button keeps of its title's width when its row is short of room; more, up to so many
/// times the height of a line, for a long word.
constexpr int narrowestText = 96;
constexpr int narrowestTextInLines = 8;
constexpr int leastButtonHeight = 40;
/// Room for the focus ring around the plate.
constexpr int ringRoom = 3;
constexpr double radius = 8;
constexpr double disabledOpacity = 0.5;
/// Radius of the dots of a busy button and the distance between them, beside the height of a line.
constexpr double dotRadius = 0.13;
constexpr double dotDistance = 0.55;

}  // namespace

TextButton::TextButton(QWidget* parent) : QPushButton(parent) {
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setAttribute(Qt::WA_Hover);
    setAutoDefault(false);
    setFocusPolicy(Qt::StrongFocus);
    layout_.centerLines();
    updateFont();
}

void TextButton::setButtonRole(const QString& role) {
    role_ = role;
    setCursor(isLink() ? Qt::PointingHandCursor : Qt::ArrowCursor);
    updateFont();
}

void TextButton::setLiteralText(const QString& text) {
    text_ = text;
    layout_.setText(boundedText({text, {}}));
    setAccessibleName(text);
    updateGeometry();
    update();
}

void TextButton::setBusy(bool busy) {
    busy_ = busy;
    update();
}

void TextButton::setLeastWidth(int width) {
    leastWidth_ = width;
    updateGeometry();
}

int TextButton::widthWithin(int width) const {
    const QMargins room = padding();
    const int sides = room.left() + room.right();
    const int most = std::max(width, minimumSizeHint().width());
    return layout_.usedWidth(most - sides) + sides;
}

QMargins TextButton::padding() const {
    // A link's text is nearly flush with the controls above and below.
    return isLink() ? QMargins(1 + ringRoom, 4 + ringRoom, 1 + ringRoom, 4 + ringRoom)
                    : QMargins(20 + ringRoom, 8 + ringRoom, 20 + ringRoom, 8 + ringRoom);
}

QSize TextButton::sizeHint() const {
    const QMargins room = padding();
    const int natural = layout_.naturalWidth() + room.left() + room.right();
    const int width = std::min(std::max(natural, leastWidth_), widestHint);
    return {width, heightForWidth(width)};
}

QSize TextButton::minimumSizeHint() const {
    const QMargins room = padding();
    const int most = std::max(narrowestText, narrowestTextInLines * fontMetrics().height());
    const int text = std::clamp(layout_.widestWord(), narrowestText, most);
    const int width = std::min(text + room.left() + room.right(), sizeHint().width());
    return {width, heightForWidth(widestHint)};
}

int TextButton::heightForWidth(int width) const {
    const QMargins room = padding();
    // Without a title there is no reason to load its font.
    const int title = text_.isEmpty() ? fontMetrics().height()
                                      : layout_.heightForWidth(width - room.left() - room.right());
    const int height = title + room.top() + room.bottom();
    return isLink() ? height : std::max(height, leastButtonHeight + 2 * ringRoom);
}

void TextButton::drawPlate(QPainter& painter) const {
    const Theme& theme = currentTheme();
    const bool primary = role_ == QLatin1String("primary");
    QColor fill = primary ? theme.accent : theme.button;
    if (busy_) {
        fill = theme.secondaryText;
    } else if (isDown()) {
        fill = primary ? theme.accentPressed : theme.buttonPressed;
    } else if (underMouse() && isEnabled()) {
        fill = primary ? theme.accentHover : theme.buttonHover;
    }
    const QRectF plate = QRectF(rect()).marginsRemoved({ringRoom, ringRoom, ringRoom, ringRoom});
    const double inset = primary ? 0 : theme.line / 2;
    drawRounded(painter, plate.adjusted(inset, inset, -inset, -inset), radius, fill,
                primary ? QPen(Qt::NoPen) : QPen(theme.buttonBorder, theme.line));
}

void TextButton::drawDots(QPainter& painter) const {
    const double size = dotRadius * fontMetrics().height();
    painter.setPen(Qt::NoPen);
    painter.setBrush(currentTheme().card);
    for (const int place : {-1, 0, 1}) {
        const QPointF shift(place * dotDistance * fontMetrics().height(), 0);
        painter.drawEllipse(QRectF(rect()).center() + shift, size, size);
    }
}

void TextButton::paintEvent(QPaintEvent*) {
    const Theme& theme = currentTheme();
    QPainter painter(this);
    if (!isEnabled() && !theme.highContrast) {
        painter.setOpacity(disabledOpacity);
    }
    QColor ink = theme.link;
    if (isLink()) {
        if ((underMouse() || isDown()) && isEnabled()) {
            drawRounded(painter, rect(), radius, theme.linkHover);
        }
    } else {
        drawPlate(painter);
        ink = role_ == QLatin1String("primary") ? theme.onAccent : theme.text;
    }
    if (busy_) {
        drawDots(painter);
        return;
    }
    const QRect room = textRoom();
    const int height = layout_.heightForWidth(room.width());
    const int top = room.top() + std::max(0, (room.height() - height) / 2);
    layout_.draw(painter, QRect(room.left(), top, room.width(), height), ink);
    if (hasFocus()) {
        const double inset = theme.ring / 2;
        drawRounded(painter, QRectF(rect()).adjusted(inset, inset, -inset, -inset),
                    radius + ringRoom, Qt::NoBrush, QPen(theme.link, theme.ring));
    }
}

void TextButton::changeEvent(QEvent* event) {
    QPushButton::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        updateFont();
    }
}

void TextButton::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (!event->isAutoRepeat()) {
            click();
        }
        return;
    }
    QPushButton::keyPressEvent(event);
}

void TextButton::updateFont() {
    QFont titleFont = font();
    titleFont.setWeight(isLink() ? QFont::Medium : QFont::DemiBold);
    layout_.setFont(titleFont);
    updateGeometry();
    update();
}

}  // namespace velunor
