#include <QKeyEvent>
#include <QMouseEvent>
#include <algorithm>

#include "platform/qt/desktop/appearance.h"
#include "platform/qt/password_field/secure_text_field.h"
#include "platform/qt/widgets/picture_view.h"

namespace velunor {
namespace {

constexpr int leastSide = 28;
/// Length of a side beside the height of a line: it grows with large text.
constexpr double sideInLines = 1.3;
/// Room around the glyph.
constexpr int glyphInset = 5;
constexpr double radius = 6;
constexpr double disabledOpacity = 0.45;

}  // namespace

RevealButton::RevealButton(QWidget* parent) : QAbstractButton(parent) {
    // A click leaves the caret in the field.
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::ArrowCursor);
    setAccessibleName("Show password while held");
}

QSize RevealButton::sizeHint() const {
    const int side = std::max(leastSide, qRound(sideInLines * fontMetrics().height()));
    return {side, side};
}

void RevealButton::setHeld(bool held) {
    // A window in the background shows nothing to somebody who is at work in another.
    const bool mayChange = !held || (isEnabled() && isActiveWindow());
    if (held != held_ && mayChange) {
        held_ = held;
        setDown(held);
        emit heldChanged(held);
    }
}

bool RevealButton::event(QEvent* event) {
    switch (event->type()) {
        case QEvent::FocusOut:
        case QEvent::WindowDeactivate:
        case QEvent::Hide:
        case QEvent::EnabledChange:
        case QEvent::Leave:
        case QEvent::UngrabMouse:
            letGo();
            break;
        default:
            break;
    }
    return QAbstractButton::event(event);
}

void RevealButton::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        setHeld(true);
    }
}

void RevealButton::mouseMoveEvent(QMouseEvent* event) {
    if (!rect().contains(event->position().toPoint())) {
        letGo();
    }
}

void RevealButton::mouseReleaseEvent(QMouseEvent*) {
    letGo();
}

void RevealButton::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Space) {
        letGo();
        event->ignore();
    } else if (!event->isAutoRepeat()) {
        setHeld(true);
    }
}

void RevealButton::keyReleaseEvent(QKeyEvent* event) {
    if (!event->isAutoRepeat()) {
        letGo();
    }
}

void RevealButton::paintEvent(QPaintEvent*) {
    const Theme& theme = currentTheme();
    QPainter painter(this);
    const double inset = theme.ring / 2;
    const QRectF plate = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
    if (held_ || (underMouse() && isEnabled())) {
        drawRounded(painter, plate, radius, held_ ? theme.buttonPressed : theme.buttonHover);
    }
    if (hasFocus()) {
        drawRounded(painter, plate, radius, Qt::NoBrush, QPen(theme.link, theme.ring));
    }
    if (!isEnabled() && theme.highContrast) {
        // There is nothing to show, and no grey to say so.
        return;
    }
    if (!isEnabled()) {
        painter.setOpacity(disabledOpacity);
    }
    drawVectorPicture(painter, rect().adjusted(glyphInset, glyphInset, -glyphInset, -glyphInset),
                      ":/icons/eye-glyph.picture", held_ ? theme.link : theme.secondaryText);
}

}  // namespace velunor
